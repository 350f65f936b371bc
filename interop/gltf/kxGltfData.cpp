#include "interop/gltf/kxGltfData.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Kel::Gltf
{

namespace
{

uint64_t alignUp(uint64_t offset, uint64_t alignment = 4)
{
    return (offset + alignment - 1) & ~(alignment - 1);
}

// Whoever reads what is carried may take numbers of eight bytes from it.
constexpr uint64_t kCarriedAlignment = 8;

bool isZero(const uint8_t* bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
        if (bytes[i])
            return false;
    return true;
}

// Rough size of the text that the sparse form takes in addition.
constexpr uint64_t kSparseTextBytes = 200;

template <class T>
void findBounds(const kxVertexArray& array, double* smallest, double* largest)
{
    const uint32_t components = array._componentCount;
    T least[16], most[16];
    std::fill(least, least + components, std::numeric_limits<T>::max());
    std::fill(most, most + components, std::numeric_limits<T>::lowest());
    for (int64_t i = 0; i < array._count; ++i)
    {
        T values[16];
        std::memcpy(values, array.getElement(i), components * sizeof(T));
        for (uint32_t c = 0; c < components; ++c)
        {
            least[c] = values[c] < least[c] ? values[c] : least[c];
            most[c] = values[c] > most[c] ? values[c] : most[c];
        }
    }
    for (uint32_t c = 0; c < components; ++c)
    {
        // Without any number, which is when all are NaN or there are none, the bounds stay turned round.
        const bool found = least[c] <= most[c];
        smallest[c] = found ? static_cast<double>(least[c]) : 0;
        largest[c] = found ? static_cast<double>(most[c]) : 0;
    }
}

const char* typeName(const kxVertexArray& array)
{
    if (array._matrix)
        return array._componentCount == 4 ? "MAT2" : array._componentCount == 9 ? "MAT3" : "MAT4";
    static constexpr const char* kNames[] = {"SCALAR", "VEC2", "VEC3", "VEC4"};
    return kNames[std::clamp(array._componentCount, 1u, 4u) - 1];
}

} // namespace

size_t kxGltfData::KeyHash::operator()(const Key& key) const
{
    return std::hash<const void*>()(key.data) ^ static_cast<size_t>(key.count) * 0x9e3779b97f4a7c15u ^
           static_cast<size_t>(key.shape) * 0xff51afd7ed558ccdu;
}

uint32_t kxGltfData::viewFor(Use use, uint32_t stride)
{
    // Few: one for each use, and for vertices one for each stride.
    for (uint32_t i = 0; i < m_views.size(); ++i)
        if (m_views[i].use == use && m_views[i].stride == stride && !m_views[i].block)
            return i;
    m_views.push_back({use, stride, 0, 0, {}, nullptr, nullptr});
    return static_cast<uint32_t>(m_views.size() - 1);
}

bool kxGltfData::makeSparse(Accessor& accessor)
{
    const kxVertexArray& array = *accessor.array;
    const uint32_t elementBytes = array.getElementBytes();
    uint64_t differing = 0;
    int64_t last = 0;
    for (int64_t i = 0; i < array._count; ++i)
        if (!isZero(array.getElement(i), elementBytes))
        {
            ++differing;
            last = i;
        }
    // The format has no sparse accessor without a value: one zero is named.
    const uint64_t count = std::max<uint64_t>(differing, 1);
    const uint32_t indexBytes = last < 0x100 ? 1 : last < 0x10000 ? 2 : 4;
    const uint64_t dense = static_cast<uint64_t>(array._count) * elementBytes;
    if (array._count == 0 || last > UINT32_MAX ||
        (alignUp(count * indexBytes) + alignUp(count * elementBytes) + kSparseTextBytes >= dense &&
         !kxGltfCarriedWriter::hasInner(array._userData, "sparse")))
        return false;
    accessor.sparseCount = static_cast<uint32_t>(count);
    accessor.sparseIndexType = indexBytes == 1 ? 5121 : indexBytes == 2 ? 5123 : 5125;
    View& indices = m_views[viewFor(SPARSE_INDICES, 0)];
    accessor.sparseIndexOffset = indices.bytes;
    indices.bytes = alignUp(indices.bytes + count * indexBytes);
    View& values = m_views[viewFor(SPARSE_VALUES, 0)];
    accessor.sparseValueOffset = values.bytes;
    values.bytes = alignUp(values.bytes + count * elementBytes);
    return true;
}

kxGltfData::Key kxGltfData::withUse(Key key, Use use)
{
    key.shape = (key.shape & ~uint64_t(0xff00)) | use << 8;
    return key;
}

uint32_t kxGltfData::addArray(const kxVertexArray* array, Use use, bool needsBounds)
{
    if (!m_fault.empty() || !array->userCheckLoaded(m_fault))
        return 0;
    needsBounds |= array->_hasBounds;
    const Key key{array->_count ? array->getElement(0) : nullptr,
                  array->_stride,
                  array->_count,
                  uint64_t(array->_componentType) << 32 | array->_componentCount << 16 | use << 8 |
                      uint64_t(array->_matrix) << 2 | uint64_t(array->_normalized) << 1 | uint64_t(array->_sparse),
                  array->_name.getNumber(),
                  array->_userData.get()};
    auto [at, isNew] = m_byKey.emplace(key, static_cast<uint32_t>(m_accessors.size()));
    if (isNew && use == OTHER)
        at->second = findForOther(key);
    else if (isNew && m_unplaced)
    {
        // What only others have asked for so far goes where this use wants it.
        const auto other = m_byKey.find(withUse(key, OTHER));
        if (other != m_byKey.end() && !m_accessors[other->second].isPlaced)
        {
            at->second = other->second;
            --m_unplaced;
            place(at->second, use);
        }
    }
    const uint32_t number = at->second;
    if (number < m_accessors.size())
    {
        m_accessors[number].hasBounds |= needsBounds;
        return number;
    }
    if (m_isListed)
    {
        m_fault = "values are asked for when their list is written";
        m_byKey.erase(at);
        return 0;
    }
    m_accessors.push_back({array, needsBounds});
    if (use == OTHER && !m_isComplete)
        ++m_unplaced;
    else
        place(number, use);
    return number;
}

uint32_t kxGltfData::findForOther(const Key& key) const
{
    for (const Use use : {INDICES, VERTICES, BIND_MATRICES, KEYS, INSTANCES})
        if (const auto at = m_byKey.find(withUse(key, use)); at != m_byKey.end())
            return at->second;
    return static_cast<uint32_t>(m_accessors.size());
}

void kxGltfData::place(uint32_t number, Use use)
{
    Accessor& accessor = m_accessors[number];
    const kxVertexArray& array = *accessor.array;
    accessor.isPlaced = true;
    if (array._sparse && use != INDICES && makeSparse(accessor))
    {
        // The values of all accessors of a view are written one after the other, so both views have to know this one.
        m_views[viewFor(SPARSE_INDICES, 0)].accessors.push_back(number);
        m_views[viewFor(SPARSE_VALUES, 0)].accessors.push_back(number);
        return;
    }
    const uint32_t elementBytes = array.getElementBytes();
    const auto stride = static_cast<uint32_t>(use == VERTICES ? alignUp(elementBytes) : 0);
    accessor.view = viewFor(use, stride);
    View& view = m_views[accessor.view];
    accessor.offset = view.bytes;
    view.bytes = alignUp(view.bytes + static_cast<uint64_t>(array._count) * (stride ? stride : elementBytes));
    view.accessors.push_back(number);
}

uint32_t kxGltfData::addBlock(Use use, kxMemoryBlock* bytes)
{
    const auto [at, isNew] = m_blocks.emplace(bytes, static_cast<uint32_t>(m_views.size()));
    if (isNew && m_isListed)
        m_fault = "bytes are asked for when the list of buffer views is written";
    else if (isNew)
        m_views.push_back({use, 0, bytes->getSize(), 0, {}, bytes, nullptr});
    return at->second;
}

uint32_t kxGltfData::addImage(kxMemoryBlock* bytes)
{
    return addBlock(IMAGE, bytes);
}

uint32_t kxGltfData::addView(const kxGltfBufferView* view)
{
    if (!view->_bytes)
    {
        m_fault = "a carried buffer view has no bytes";
        return 0;
    }
    const auto [known, isNew] = m_carriedViews.try_emplace(view, 0);
    if (!isNew)
        return known->second;
    const uint32_t first = addBlock(CARRIED, view->_bytes);
    if (!m_fault.empty())
        return 0;
    known->second = first;
    const kxGltfBufferView* other = m_views[first].carried;
    if (!other)
        m_views[first].carried = view;
    else if (other->_name != view->_name || other->_byteStride != view->_byteStride ||
             other->_target != view->_target || other->_userData || view->_userData)
    {
        if (m_isListed)
            m_fault = "a buffer view is asked for when their list is written";
        known->second = static_cast<uint32_t>(m_views.size());
        m_views.push_back({CARRIED, 0, m_views[first].bytes, 0, {}, view->_bytes, view, first});
    }
    return known->second;
}

// What is said of arrays, buffer views and the buffer may refer to more of them, which have to be there before the lists are
// written. A trial of the writing finds them in the order in which the file names them: who reads it and writes it again gives
// them the same numbers.
void kxGltfData::addReferred(kxGltfCarriedWriter& carried, const kxUserData* ofBuffer)
{
    const auto add = [&](const kxUserData* userData, bool isSparse)
    {
        if (!userData || userData->getReferenceCount() == 0)
            return;
        kxJsonText trial;
        trial.beginObject();
        if (isSparse)
            for (const char* path : {"sparse/indices", "sparse/values", "sparse"})
                carried.writeInner(trial, userData, path);
        carried.write(trial, userData);
    };
    m_isComplete = true;
    for (uint32_t i = 0; i < m_accessors.size() && m_unplaced; ++i)
        if (!m_accessors[i].isPlaced)
        {
            place(i, OTHER);
            --m_unplaced;
        }
    size_t array = 0, view = 0;
    for (bool isBufferDone = false;;)
        if (array < m_accessors.size())
        {
            const Accessor& accessor = m_accessors[array++];
            add(accessor.array->_userData, accessor.sparseCount != 0);
        }
        else if (view < m_views.size())
        {
            if (const kxGltfBufferView* source = m_views[view++].carried)
                add(source->_userData, false);
        }
        else if (!isBufferDone)
        {
            isBufferDone = true;
            add(ofBuffer, false);
        }
        else
            break;
    m_isListed = true;
}

void kxGltfData::writeBounds(kxJsonText& json, const kxVertexArray& array) const
{
    double smallest[16], largest[16];
    switch (array._componentType)
    {
    case kxComponentType::INT8: findBounds<int8_t>(array, smallest, largest); break;
    case kxComponentType::UINT8: findBounds<uint8_t>(array, smallest, largest); break;
    case kxComponentType::INT16: findBounds<int16_t>(array, smallest, largest); break;
    case kxComponentType::UINT16: findBounds<uint16_t>(array, smallest, largest); break;
    case kxComponentType::UINT32: findBounds<uint32_t>(array, smallest, largest); break;
    case kxComponentType::FLOAT32: findBounds<float>(array, smallest, largest); break;
    }
    const bool isFloat = array._componentType == kxComponentType::FLOAT32;
    for (const bool upper : {false, true})
    {
        json.key(upper ? "max" : "min");
        json.beginArray();
        for (uint32_t c = 0; c < array._componentCount; ++c)
        {
            const double bound = upper ? largest[c] : smallest[c];
            if (isFloat)
                json.number(static_cast<float>(bound));
            else
                json.integer(static_cast<int64_t>(bound));
        }
        json.endArray();
    }
}

void kxGltfData::writeLists(kxJsonText& json, kxGltfCarriedWriter& carried, const kxUserData* ofBuffer)
{
    addReferred(carried, ofBuffer);
    if (!m_accessors.empty())
    {
        json.key("accessors");
        json.beginArray();
    }
    for (const Accessor& accessor : m_accessors)
    {
        const kxVertexArray& array = *accessor.array;
        json.beginObject();
        if (!array._name.isEmpty())
            json.member("name", array._name.view());
        if (accessor.view != UINT32_MAX)
        {
            json.member("bufferView", uint64_t(accessor.view));
            if (accessor.offset)
                json.member("byteOffset", accessor.offset);
        }
        json.member("componentType", static_cast<uint64_t>(array._componentType));
        if (array._normalized)
        {
            json.key("normalized");
            json.boolean(true);
        }
        json.member("count", static_cast<uint64_t>(array._count));
        json.member("type", std::string_view(typeName(array)));
        if (accessor.hasBounds && (!array._matrix || array._componentType == kxComponentType::FLOAT32))
            writeBounds(json, array);
        if (accessor.sparseCount)
        {
            json.key("sparse");
            json.beginObject();
            json.member("count", uint64_t(accessor.sparseCount));
            json.key("indices");
            json.beginObject();
            json.member("bufferView", uint64_t(viewFor(SPARSE_INDICES, 0)));
            json.member("byteOffset", accessor.sparseIndexOffset);
            json.member("componentType", uint64_t(accessor.sparseIndexType));
            carried.writeInner(json, array._userData, "sparse/indices");
            json.endObject();
            json.key("values");
            json.beginObject();
            json.member("bufferView", uint64_t(viewFor(SPARSE_VALUES, 0)));
            json.member("byteOffset", accessor.sparseValueOffset);
            carried.writeInner(json, array._userData, "sparse/values");
            json.endObject();
            carried.writeInner(json, array._userData, "sparse");
            json.endObject();
        }
        carried.write(json, array._userData);
        json.endObject();
    }
    if (!m_accessors.empty())
        json.endArray();

    m_byteCount = 0;
    if (m_views.empty())
        return;
    json.key("bufferViews");
    json.beginArray();
    for (View& view : m_views)
    {
        if (view.same != UINT32_MAX)
            view.offset = m_views[view.same].offset;
        else
        {
            view.offset = alignUp(m_byteCount, view.carried ? kCarriedAlignment : 4);
            m_byteCount = alignUp(view.offset + view.bytes);
        }
        json.beginObject();
        if (view.carried && !view.carried->_name.isEmpty())
            json.member("name", view.carried->_name.view());
        json.member("buffer", uint64_t(0));
        if (view.offset)
            json.member("byteOffset", view.offset);
        json.member("byteLength", view.bytes);
        if (view.use == VERTICES)
            json.member("byteStride", uint64_t(view.stride));
        if (view.use == VERTICES || view.use == INDICES)
            json.member("target", uint64_t(view.use == VERTICES ? 34962 : 34963));
        if (view.carried)
        {
            if (view.carried->_byteStride)
                json.member("byteStride", static_cast<uint64_t>(view.carried->_byteStride));
            if (view.carried->_target)
                json.member("target", static_cast<uint64_t>(view.carried->_target));
            carried.write(json, view.carried->_userData);
        }
        json.endObject();
    }
    json.endArray();
}

bool kxGltfData::writeArray(const Accessor& accessor, uint32_t stride,
                            const std::function<bool(const void*, uint64_t)>& write) const
{
    const kxVertexArray& array = *accessor.array;
    const uint32_t elementBytes = array.getElementBytes();
    if (stride == 0)
        stride = elementBytes;
    const auto count = static_cast<uint64_t>(array._count);
    if (count == 0 || (array._stride == elementBytes && stride == elementBytes))
        return count == 0 || write(array.getElement(0), count * elementBytes);
    constexpr uint64_t kPieceBytes = 1 << 16;
    std::vector<uint8_t> piece;
    for (uint64_t i = 0; i < count; ++i)
    {
        const uint8_t* element = array.getElement(static_cast<int64_t>(i));
        piece.insert(piece.end(), element, element + elementBytes);
        piece.resize(piece.size() + stride - elementBytes);
        if (piece.size() >= kPieceBytes || i + 1 == count)
        {
            if (!write(piece.data(), piece.size()))
                return false;
            piece.clear();
        }
    }
    return true;
}

bool kxGltfData::writeSparsePart(const Accessor& accessor, bool indices,
                                 const std::function<bool(const void*, uint64_t)>& write) const
{
    const kxVertexArray& array = *accessor.array;
    const uint32_t elementBytes = array.getElementBytes();
    const uint32_t indexBytes = accessor.sparseIndexType == 5121 ? 1 : accessor.sparseIndexType == 5123 ? 2 : 4;
    std::vector<uint8_t> bytes;
    uint32_t found = 0;
    for (int64_t i = 0; i < array._count && found < accessor.sparseCount; ++i)
    {
        const uint8_t* element = array.getElement(i);
        // An array of zeros names its first element.
        if (isZero(element, elementBytes) && !(accessor.sparseCount == 1 && i + 1 == array._count && found == 0))
            continue;
        ++found;
        const auto index = static_cast<uint32_t>(isZero(element, elementBytes) ? 0 : i);
        const auto* indexAt = reinterpret_cast<const uint8_t*>(&index);
        if (indices)
            bytes.insert(bytes.end(), indexAt, indexAt + indexBytes);
        else
            bytes.insert(bytes.end(), element, element + elementBytes);
    }
    return write(bytes.data(), bytes.size());
}

bool kxGltfData::writeBytes(const std::function<bool(const void*, uint64_t)>& write) const
{
    static constexpr uint8_t kZeros[kCarriedAlignment] = {};
    uint64_t written = 0;
    auto put = [&](const void* bytes, uint64_t count)
    {
        written += count;
        return count == 0 || write(bytes, count);
    };
    auto fillUp = [&] { return put(kZeros, alignUp(written) - written); };
    for (const View& view : m_views)
    {
        if (view.same != UINT32_MAX)
            continue;
        if (view.offset < written || view.offset - written >= kCarriedAlignment || !put(kZeros, view.offset - written))
            return false;
        if (view.block && !put(view.block->getData(), view.block->getSize()))
            return false;
        for (const uint32_t number : view.accessors)
        {
            const Accessor& accessor = m_accessors[number];
            const bool done = view.use == SPARSE_INDICES || view.use == SPARSE_VALUES
                                  ? writeSparsePart(accessor, view.use == SPARSE_INDICES, put)
                                  : writeArray(accessor, view.stride, put);
            if (!done || !fillUp())
                return false;
        }
        if (!fillUp())
            return false;
    }
    return true;
}

} // namespace Kel::Gltf
