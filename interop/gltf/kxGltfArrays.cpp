#include "interop/gltf/kxGltfArrays.h"

#include "interop/gltf/kxGltfUri.h"

#include <algorithm>
#include <cstring>

namespace Kel::Gltf
{

namespace
{

using Number = unsigned long long; // for messages

constexpr std::string_view kAccessorMembers[] = {"bufferView",
                                                 "byteOffset",
                                                 "componentType",
                                                 "normalized",
                                                 "count",
                                                 "type",
                                                 "max",
                                                 "min",
                                                 "name",
                                                 "sparse/count",
                                                 "sparse/indices/bufferView",
                                                 "sparse/indices/byteOffset",
                                                 "sparse/indices/componentType",
                                                 "sparse/values/bufferView",
                                                 "sparse/values/byteOffset"};
constexpr std::string_view kViewMembers[] = {"buffer", "byteOffset", "byteLength", "byteStride", "target", "name"};
constexpr std::string_view kViewExtensions[] = {"EXT_meshopt_compression", "KHR_meshopt_compression"};
constexpr std::string_view kBufferMembers[] = {"uri", "byteLength", "name"};
const kxKnownKeys kAccessorKeys = {"accessor", kAccessorMembers, {}};
const kxKnownKeys kViewKeys = {"buffer view", kViewMembers, kViewExtensions};
const kxKnownKeys kBufferKeys = {"buffer", kBufferMembers, kViewExtensions};

struct Type
{
    std::string_view name;
    uint8_t components;
    bool matrix;
};
constexpr Type kTypes[] = {{"SCALAR", 1, false}, {"VEC2", 2, false}, {"VEC3", 3, false}, {"VEC4", 4, false},
                           {"MAT2", 4, true},    {"MAT3", 9, true},  {"MAT4", 16, true}};

// Largest count times stride stays below 2^63: counts are below 2^53 and elements below 2^8 bytes.
constexpr uint64_t kMaxStride = 255;

// A file may ask for this many bytes of memory for each of its own where it describes data without holding them: sparse
// values, mostly. More than that is no scene but an attack.
constexpr uint64_t kDensePerByte = 64;

bool readOptionalCount(const kxJsonValue& object, const char* key, uint64_t& count)
{
    const kxJsonValue* value = findMember(object, key);
    return !value || readCount(*value, count);
}

} // namespace

bool kxGltfArrays::prepare()
{
    const kxJsonValue& root = m_container.json.getRoot();
    m_denseBudget = (uint64_t(64) << 20) + kDensePerByte * m_container.file->getSize();
    const kxJsonValue* buffers = findMember(root, "buffers");
    const kxJsonValue* views = findMember(root, "bufferViews");
    const kxJsonValue* accessors = findMember(root, "accessors");
    for (const kxJsonValue* list : {buffers, views, accessors})
        if (list && !list->IsArray())
            return m_faults.refuse("%s is not an array", list == buffers ? "buffers"
                                                         : list == views ? "bufferViews"
                                                                         : "accessors");
    if (buffers && !prepareBuffers(*buffers))
        return false;
    if (views && !prepareViews(*views))
        return false;
    if (!accessors)
        return true;
    m_accessors.resize(accessors->Size());
    for (uint32_t i = 0; i < accessors->Size(); ++i)
        if (!prepareAccessor(i, (*accessors)[i]))
            return false;
    return true;
}

bool kxGltfArrays::prepareBuffers(const kxJsonValue& list)
{
    m_buffers.resize(list.Size());
    for (uint32_t i = 0; i < list.Size(); ++i)
    {
        Buffer& buffer = m_buffers[i];
        buffer.json = &list[i];
        const kxJsonValue* bytes = findMember(list[i], "byteLength");
        if (!bytes || !readCount(*bytes, buffer.bytes))
            return m_faults.refuse("buffer %u has no valid byteLength", i);
    }
    return true;
}

bool kxGltfArrays::prepareViews(const kxJsonValue& list)
{
    m_views.resize(list.Size());
    for (uint32_t i = 0; i < list.Size(); ++i)
    {
        View& view = m_views[i];
        const kxJsonValue* buffer = findMember(list[i], "buffer");
        if (!buffer || !readIndex(*buffer, view.buffer))
            return m_faults.refuse("buffer view %u names no buffer", i);
        if (view.buffer >= m_buffers.size())
            return m_faults.refuse("buffer view %u is in buffer %u, the file has %zu", i, view.buffer,
                                   m_buffers.size());
        const kxJsonValue* bytes = findMember(list[i], "byteLength");
        if (!bytes || !readCount(*bytes, view.bytes) || !readOptionalCount(list[i], "byteOffset", view.offset))
            return m_faults.refuse("buffer view %u has no valid byteLength or byteOffset", i);
        // Both are at most 2^53, so the sum cannot overflow.
        const uint64_t end = view.offset + view.bytes;
        if (end > m_buffers[view.buffer].bytes)
            return m_faults.refuse("buffer view %u ends %llu bytes past its buffer", i,
                                   static_cast<Number>(end - m_buffers[view.buffer].bytes));
        if (!readOptionalCount(list[i], "byteStride", view.stride) || view.stride > kMaxStride)
            return m_faults.refuse("buffer view %u has a byteStride outside of 4 to 252", i);
        view.json = &list[i];
        if (const kxJsonValue* extensions = findMember(list[i], "extensions"))
            for (const std::string_view name : kViewExtensions)
                if (findMember(*extensions, name))
                    view.compression = name;
    }
    return true;
}

bool kxGltfArrays::checkWithinView(const std::string& what, uint32_t view, uint64_t offset, uint64_t needed)
{
    if (view >= m_views.size())
        return m_faults.refuse("%s is in buffer view %u, the file has %zu", what.c_str(), view, m_views.size());
    const uint64_t available = m_views[view].bytes;
    if (offset > available || needed > available - offset)
        return m_faults.refuse("%s ends %llu bytes past its buffer view", what.c_str(),
                               static_cast<Number>(needed + offset - available));
    return true;
}

bool kxGltfArrays::prepareAccessor(uint32_t index, const kxJsonValue& json)
{
    Accessor& accessor = m_accessors[index];
    accessor.json = &json;
    const kxJsonValue* type = findMember(json, "type");
    const Type* found = nullptr;
    for (const Type& known : kTypes)
        if (type && type->IsString() && known.name == textOf(*type))
            found = &known;
    if (!found)
        return m_faults.refuse("accessor %u has no known type", index);
    accessor.componentCount = found->components;
    accessor.matrix = found->matrix;

    uint32_t componentType = 0;
    const kxJsonValue* component = findMember(json, "componentType");
    if (!component || !readIndex(*component, componentType) ||
        componentBytes(static_cast<kxComponentType>(componentType)) == 0)
        return m_faults.refuse("accessor %u has no known componentType", index);
    accessor.componentType = static_cast<kxComponentType>(componentType);
    const kxJsonValue* normalized = findMember(json, "normalized");
    accessor.normalized = normalized && normalized->IsBool() && normalized->GetBool();
    const kxJsonValue* count = findMember(json, "count");
    if (!count || !readCount(*count, accessor.count) || !readOptionalCount(json, "byteOffset", accessor.offset))
        return m_faults.refuse("accessor %u has no valid count or byteOffset", index);

    const uint32_t elementBytes = Attrs::elementBytes(accessor.componentType, accessor.componentCount, accessor.matrix);
    accessor.stride = elementBytes;
    if (const kxJsonValue* view = findMember(json, "bufferView"))
    {
        if (!readIndex(*view, accessor.view))
            return m_faults.refuse("accessor %u has no valid bufferView", index);
        if (accessor.view < m_views.size() && m_views[accessor.view].stride)
            accessor.stride = m_views[accessor.view].stride;
        if (accessor.stride < elementBytes)
            return m_faults.refuse("accessor %u has elements of %u bytes, its buffer view a byteStride of %llu", index,
                                   elementBytes, static_cast<Number>(accessor.stride));
        const uint64_t needed = accessor.count ? (accessor.count - 1) * accessor.stride + elementBytes : 0;
        if (!checkWithinView(kxFormat("accessor %u", index), accessor.view, accessor.offset, needed))
            return false;
    }
    if (const kxJsonValue* sparse = findMember(json, "sparse"))
    {
        accessor.sparse = sparse;
        return checkSparse(index, accessor, elementBytes);
    }
    return true;
}

namespace
{

/// The parts of a sparse accessor; valid once they have been checked.
struct Sparse
{
    uint64_t count = 0;
    uint32_t indexView = 0, valueView = 0, indexType = 0;
    uint64_t indexOffset = 0, valueOffset = 0;
    uint32_t indexBytes = 0;

    bool read(const kxJsonValue& json)
    {
        const kxJsonValue* indices = findMember(json, "indices");
        const kxJsonValue* values = findMember(json, "values");
        const kxJsonValue* counted = findMember(json, "count");
        if (!indices || !values || !counted || !readCount(*counted, count))
            return false;
        const kxJsonValue* type = findMember(*indices, "componentType");
        const kxJsonValue* indicesIn = findMember(*indices, "bufferView");
        const kxJsonValue* valuesIn = findMember(*values, "bufferView");
        if (!type || !indicesIn || !valuesIn || !readIndex(*type, indexType) || !readIndex(*indicesIn, indexView) ||
            !readIndex(*valuesIn, valueView))
            return false;
        indexBytes = indexType == 5121 ? 1 : indexType == 5123 ? 2 : indexType == 5125 ? 4 : 0;
        return indexBytes && readOptionalCount(*indices, "byteOffset", indexOffset) &&
               readOptionalCount(*values, "byteOffset", valueOffset);
    }
};

} // namespace

bool kxGltfArrays::checkSparse(uint32_t index, const Accessor& accessor, uint32_t elementBytes)
{
    Sparse sparse;
    if (!sparse.read(*accessor.sparse) || sparse.count > accessor.count)
        return m_faults.refuse("accessor %u has no valid sparse values", index);
    return checkWithinView(kxFormat("index list of accessor %u", index), sparse.indexView, sparse.indexOffset,
                           sparse.count * sparse.indexBytes) &&
           checkWithinView(kxFormat("value list of accessor %u", index), sparse.valueView, sparse.valueOffset,
                           sparse.count * elementBytes);
}

kxSmartPointer<kxMemoryBlock> kxGltfArrays::openFile(std::string_view uri, const std::string& what, std::string& fault,
                                                     bool& isForbidden) const
{
    std::string relative;
    const kxUriKind kind = classifyUri(uri, relative);
    const std::string shown(uri.substr(0, 200));
    isForbidden = kind == kxUriKind::OTHER || (kind == kxUriKind::OUTSIDE && !m_options._allowOutside);
    if (isForbidden)
    {
        fault = kxFormat("%s is at \"%s\", %s", what.c_str(), shown.c_str(),
                         kind == kxUriKind::OTHER ? "which is no file" : "outside the scene's folder");
        return nullptr;
    }
    const std::string path = relative[0] == '/' ? relative : folderOf(m_faults.getPath()) + relative;
    const kxSmartPointer<kxMappedFile> file = kxMappedFile::open(path.c_str(), &fault);
    return file ? file->getBlock(0, file->getSize()) : nullptr;
}

kxSmartPointer<kxMemoryBlock> kxGltfArrays::readFile(std::string_view uri, const std::string& what, std::string& fault)
{
    bool isForbidden = false;
    auto bytes = openFile(uri, what, fault, isForbidden);
    if (isForbidden)
        m_faults.refuse("%s", fault.c_str());
    return bytes;
}

bool kxGltfArrays::resolveBuffer(uint32_t index)
{
    std::string fault;
    return loadBuffer(index, fault) || m_faults.refuse("%s", fault.c_str());
}

bool kxGltfArrays::loadBuffer(uint32_t index, std::string& fault)
{
    Buffer& buffer = m_buffers[index];
    if (buffer.data)
        return true;
    const kxJsonValue* uri = findMember(*buffer.json, "uri");
    std::string reason, mediaType, name;
    kxSmartPointer<kxMemoryBlock> data;
    if (uri && !uri->IsString())
    {
        fault = kxFormat("buffer %u has a uri that is no text", index);
        return false;
    }
    if (!uri && m_container.isBinary && index == 0 && m_container.binChunk)
    {
        data = m_container.binChunk;
        if (data->getSize() > buffer.bytes + 3)
            m_faults.warn("binary chunk is longer than its buffer", kxFormat("buffer %u", index));
    }
    else if (!uri)
    {
        // The format allows it: the bytes may be known to somebody else. Nobody is here.
        if (!takeFromBudget(kxFormat("buffer %u", index), buffer.bytes))
            return false;
        buffer.data = kxMemoryBlock::create(buffer.bytes);
        std::memset(buffer.data->getWritableData(), 0, buffer.bytes);
        m_faults.warn("names no file, and there is no binary chunk for it; its bytes count as zero",
                      kxFormat("buffer %u", index));
        return true;
    }
    else if (isDataUri(textOf(*uri)))
        data = decodeDataUri(textOf(*uri), mediaType, reason);
    else
    {
        bool isForbidden = false;
        name =
            kxFormat(", \"%.*s\"", static_cast<int>(std::min<size_t>(uri->GetStringLength(), 200)), uri->GetString());
        data = openFile(textOf(*uri), kxFormat("buffer %u", index), reason, isForbidden);
        if (isForbidden)
        {
            fault = reason;
            return false;
        }
    }
    if (!data)
    {
        fault = kxFormat("buffer %u%s: %s", index, name.c_str(), reason.c_str());
        return false;
    }
    if (data->getSize() < buffer.bytes)
    {
        fault = kxFormat("buffer %u has %zu bytes, the file says %llu", index, data->getSize(),
                         static_cast<Number>(buffer.bytes));
        return false;
    }
    buffer.data = data;
    m_denseBudget += kDensePerByte * data->getSize();
    return true;
}

const uint8_t* kxGltfArrays::bytesOf(uint32_t index)
{
    View& view = m_views[index];
    const Buffer& buffer = m_buffers[view.buffer];
    view.used = true;
    if (!view.compression.empty())
    {
        // The buffer that the view itself names holds the same data uncompressed, where the writer has put them there.
        const bool inChunk = m_container.isBinary && view.buffer == 0 && m_container.binChunk;
        if (!findMember(*buffer.json, "uri") && !inChunk)
        {
            m_faults.refuse("needs %.*s, which this program cannot decode", static_cast<int>(view.compression.size()),
                            view.compression.data());
            return nullptr;
        }
        m_faults.warn("compressed copy of data is not carried; the data are written uncompressed",
                      std::string(view.compression));
    }
    return resolveBuffer(view.buffer) ? buffer.data->getData() + view.offset : nullptr;
}

kxSmartPointer<kxMemoryBlock> kxGltfArrays::getViewBytes(uint32_t index)
{
    if (index >= m_views.size() || !bytesOf(index))
        return nullptr;
    const View& view = m_views[index];
    auto& block = m_slices[{view.buffer, view.offset, view.bytes}];
    if (!block)
        block = m_buffers[view.buffer].data->slice(view.offset, view.bytes);
    return block;
}

kxGltfBufferView* kxGltfArrays::getView(uint32_t index)
{
    if (index >= m_views.size())
        return nullptr;
    View& view = m_views[index];
    if (view.object)
        return view.object;
    const auto leaveOut = [&](const std::string& reason)
    {
        if (!view.used)
            m_faults.warn("buffer view that only an extension may use is left out",
                          kxFormat("buffer view %u, %s", index, reason.c_str()));
        view.used = view.leftOut = true;
        return nullptr;
    };
    // A scene can be drawn without these bytes, so what is wrong with them does not refuse the file.
    std::string fault;
    const bool inChunk = m_container.isBinary && view.buffer == 0 && m_container.binChunk;
    if (!findMember(*m_buffers[view.buffer].json, "uri") && !inChunk)
        return leaveOut(view.compression.empty() ? "its buffer names no file" : std::string(view.compression));
    if (!loadBuffer(view.buffer, fault))
        return leaveOut(fault);
    auto object = kxNew<kxGltfBufferView>();
    object->_bytes = getViewBytes(index);
    if (const kxJsonValue* name = findMember(*view.json, "name"); name && name->IsString())
        object->_name = kxStringRef(textOf(*name));
    object->_byteStride = static_cast<int32_t>(view.stride);
    uint32_t target = 0;
    if (const kxJsonValue* value = findMember(*view.json, "target"); value && readIndex(*value, target))
        object->_target = static_cast<int32_t>(std::min<uint32_t>(target, INT32_MAX));
    object->_userData = m_carried.read(*view.json, kViewKeys);
    view.object = object;
    return object;
}

std::vector<uint32_t> kxGltfArrays::findUnusedViews()
{
    // Ranges that are taken, by buffer and begin; they lie apart from each other.
    std::map<std::pair<uint32_t, uint64_t>, uint64_t> taken;
    const auto overlaps = [&](uint32_t buffer, uint64_t begin, uint64_t end)
    {
        auto at = taken.lower_bound({buffer, end});
        return at != taken.begin() && (--at)->first.first == buffer && at->second > begin;
    };
    const auto take = [&](uint32_t buffer, uint64_t begin, uint64_t end)
    {
        while (overlaps(buffer, begin, end))
        {
            const auto at = std::prev(taken.lower_bound({buffer, end}));
            begin = std::min(begin, at->first.second);
            end = std::max(end, at->second);
            taken.erase(at);
        }
        if (begin < end)
            taken[{buffer, begin}] = end;
    };
    for (const View& view : m_views)
        if (view.used && !view.leftOut)
            take(view.buffer, view.offset, view.offset + view.bytes);
    std::vector<uint32_t> unused;
    std::set<std::array<uint64_t, 3>> same; // views of the same bytes share them
    for (uint32_t i = 0; i < m_views.size(); ++i)
    {
        View& view = m_views[i];
        if (view.used)
            continue;
        const uint64_t end = view.offset + view.bytes;
        const bool isNew = same.insert({view.buffer, view.offset, view.bytes}).second;
        view.overlaps = isNew && overlaps(view.buffer, view.offset, end);
        if (view.overlaps)
        {
            same.erase({view.buffer, view.offset, view.bytes});
            continue;
        }
        take(view.buffer, view.offset, end);
        unused.push_back(i);
    }
    return unused;
}

void kxGltfArrays::setViewUsed(uint32_t view)
{
    if (view < m_views.size())
        m_views[view].used = true;
}

void kxGltfArrays::warnOfLost()
{
    const auto saysMore = [&](const kxJsonValue& json, const kxKnownKeys& known)
    { return findMember(json, "name") || m_carried.saysMore(json, known); };
    for (uint32_t i = 1; i < m_buffers.size(); ++i)
        if (saysMore(*m_buffers[i].json, kBufferKeys))
            m_faults.warn("buffers become one, and what is said of this one is not carried", kxFormat("buffer %u", i));
    for (uint32_t i = 0; i < m_views.size(); ++i)
    {
        const View& view = m_views[i];
        if (!view.used && view.overlaps)
            m_faults.warn("buffer view that nobody refers to lies over others and is left out",
                          kxFormat("buffer view %u", i));
        else if (!view.object && !view.leftOut && saysMore(*view.json, kViewKeys))
            m_faults.warn("values are packed anew, and what is said of their buffer view is not carried",
                          kxFormat("buffer view %u", i));
    }
}

kxSmartPointer<kxUserData> kxGltfArrays::takeBufferData(kxStringRef& name)
{
    if (m_buffers.empty())
        return nullptr;
    const kxJsonValue& first = *m_buffers[0].json;
    if (const kxJsonValue* value = findMember(first, "name"); value && value->IsString())
        name = kxStringRef(textOf(*value));
    return m_carried.read(first, kBufferKeys);
}

bool kxGltfArrays::takeFromBudget(const std::string& what, uint64_t bytes)
{
    if (bytes > m_denseBudget)
        return m_faults.refuse("%s asks for %llu bytes that are not in the file", what.c_str(),
                               static_cast<Number>(bytes));
    m_denseBudget -= bytes;
    return true;
}

bool kxGltfArrays::applySparse(uint32_t index, uint32_t elementBytes, uint8_t* target)
{
    Sparse sparse;
    sparse.read(*m_accessors[index].sparse);
    const uint8_t* indices = bytesOf(sparse.indexView);
    const uint8_t* values = indices ? bytesOf(sparse.valueView) : nullptr;
    if (!values)
        return false;
    indices += sparse.indexOffset;
    values += sparse.valueOffset;
    for (uint64_t i = 0; i < sparse.count; ++i)
    {
        uint32_t element = 0;
        std::memcpy(&element, indices + i * sparse.indexBytes, sparse.indexBytes);
        if (element >= m_accessors[index].count)
            return m_faults.refuse("accessor %u has %llu elements, its sparse values name number %u", index,
                                   static_cast<Number>(m_accessors[index].count), element);
        std::memcpy(target + uint64_t(element) * elementBytes, values + i * elementBytes, elementBytes);
    }
    return true;
}

bool kxGltfArrays::loadBlock(uint32_t index)
{
    Accessor& accessor = m_accessors[index];
    if (accessor.block)
        return true;
    const uint32_t elementBytes = Attrs::elementBytes(accessor.componentType, accessor.componentCount, accessor.matrix);
    const uint8_t* source = nullptr;
    if (accessor.view != kNone)
    {
        source = bytesOf(accessor.view);
        if (!source)
            return false;
        source += accessor.offset;
    }

    const uint32_t alignment = componentBytes(accessor.componentType);
    const bool aligned = reinterpret_cast<uintptr_t>(source) % alignment == 0 && accessor.stride % alignment == 0;
    if (source && !aligned)
        m_faults.warn("values do not lie at multiples of their size and are copied", kxFormat("accessor %u", index));
    if (source && aligned && !accessor.sparse)
    {
        const View& view = m_views[accessor.view];
        kxMemoryBlock& data = *m_buffers[view.buffer].data;
        const uint64_t begin = view.offset + accessor.offset;
        if (accessor.stride == elementBytes || accessor.count < 2)
        {
            accessor.stride = elementBytes;
            accessor.block = data.slice(begin, accessor.count * elementBytes);
            return true;
        }
        // Interleaved attributes of the same vertices share one block.
        const uint64_t start = accessor.offset - accessor.offset % accessor.stride;
        const uint64_t bytes = std::min(accessor.count * accessor.stride, view.bytes - start);
        const uint64_t needed = accessor.offset - start + (accessor.count - 1) * accessor.stride + elementBytes;
        auto& shared = m_interleaved[{accessor.view, start, accessor.stride, std::max(bytes, needed)}];
        if (!shared)
            shared = data.slice(view.offset + start, std::max(bytes, needed));
        accessor.block = shared;
        accessor.blockOffset = accessor.offset - start;
        return true;
    }

    const uint64_t bytes = accessor.count * elementBytes;
    if (!takeFromBudget(kxFormat("accessor %u", index), bytes))
        return false;
    accessor.block = kxMemoryBlock::create(bytes);
    uint8_t* target = accessor.block->getWritableData();
    if (!source && bytes)
        std::memset(target, 0, bytes);
    for (uint64_t i = 0; source && i < accessor.count; ++i)
        std::memcpy(target + i * elementBytes, source + i * accessor.stride, elementBytes);
    accessor.stride = elementBytes;
    return !accessor.sparse || applySparse(index, elementBytes, target);
}

kxVertexArray* kxGltfArrays::get(uint32_t index, kxStringRef semantic)
{
    if (index >= m_accessors.size())
        return nullptr;
    Accessor& accessor = m_accessors[index];
    accessor.used = true;
    for (kxVertexArray* array : accessor.arrays)
        if (array->_semantic == semantic)
            return array;
    if (!loadBlock(index))
        return nullptr;
    if (accessor.arrays.empty())
        accessor.userData = m_carried.read(*accessor.json, kAccessorKeys);
    auto array = kxNew<kxVertexArray>();
    if (const kxJsonValue* name = findMember(*accessor.json, "name"); name && name->IsString())
        array->_name = kxStringRef(textOf(*name));
    array->_semantic = semantic;
    array->_componentType = accessor.componentType;
    array->_componentCount = accessor.componentCount;
    array->_matrix = accessor.matrix;
    array->_normalized = accessor.normalized;
    array->_count = static_cast<int64_t>(accessor.count);
    array->_offset = static_cast<int64_t>(accessor.blockOffset);
    array->_stride = static_cast<int64_t>(accessor.stride);
    array->_data = accessor.block;
    array->_sparse = accessor.sparse != nullptr;
    array->_hasBounds = findMember(*accessor.json, "min") && findMember(*accessor.json, "max");
    array->_userData = accessor.userData;
    accessor.arrays.push_back(array);
    return array;
}

} // namespace Kel::Gltf
