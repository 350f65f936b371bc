#include "interop/gltf/kxGltfKeys.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace Kel::Gltf
{

KX_IMPLEMENT(kxGltfKeyForm)

void kxGltfKeyForm::listFields(kxFields<kxGltfKeyForm>& fields)
{
    fields.add(&kxGltfKeyForm::_interpolation, "_interpolation",
               "LINEAR, STEP or CUBICSPLINE; null where nothing is said");
    fields.add(&kxGltfKeyForm::_timeForm, "_timeForm",
               "array that held the times, with them only where ticks are too coarse");
    fields.add(&kxGltfKeyForm::_valueForm, "_valueForm", "array that held the values, without them");
}

kxKeySizes kxGltfKeyForm::getSizes() const
{
    kxKeySizes sizes;
    sizes.timeBytes = 4;
    sizes.numberBytes = _valueForm ? componentBytes(_valueForm->_componentType) : 4;
    // The text of an accessor with its bounds, and what it says of itself.
    size_t text = 0;
    for (const kxVertexArray* form : {_timeForm.get(), _valueForm.get()})
        if (form)
        {
            text += form->_name.view().size();
            if (const kxUserData* userData = form->_userData)
                text += userData->_extras.view().size() + userData->_extensions.view().size();
            sizes.isPacked |= form->_sparse;
        }
    sizes.listBytes += static_cast<uint32_t>(text);
    // Bounds of other values may have more digits.
    sizes.changeBytes = _valueForm && _valueForm->_hasBounds ? _valueForm->_componentCount * 2 * 16 : 0;
    return sizes;
}

namespace
{

constexpr double kTicks = double(kxTransformSequence::kTicksPerSecond);

int64_t toTicks(float seconds)
{
    const double ticks = double(seconds) * kTicks;
    if (std::isnan(ticks))
        return 0;
    // The largest double below 2^63.
    constexpr double kMost = 9223372036854774784.0;
    return std::llrint(std::min(std::max(ticks, -kMost), kMost));
}

float toSeconds(int64_t ticks)
{
    return static_cast<float>(double(ticks) / kTicks);
}

float floatAt(const kxVertexArray& array, int64_t index, uint32_t component)
{
    float value;
    std::memcpy(&value, array.getElement(index) + component * sizeof value, sizeof value);
    return value;
}

// Integers below -1 stand for -1. The next number beyond it remembers them: it turns by the same, and is told apart when it is
// written.
const float kBeyondMinusOne = std::nextafter(-1.0f, -2.0f);

float rotationNumber(const kxVertexArray& array, int64_t index, uint32_t component)
{
    if (array._componentType == kxComponentType::FLOAT32)
        return floatAt(array, index, component);
    const uint8_t* at = array.getElement(index) + component * componentBytes(array._componentType);
    int16_t wide;
    std::memcpy(&wide, at, array._componentType == kxComponentType::INT16 ? 2 : 1);
    if ((array._componentType == kxComponentType::INT16 && wide == INT16_MIN) ||
        (array._componentType == kxComponentType::INT8 && static_cast<int8_t>(*at) == INT8_MIN))
        return kBeyondMinusOne;
    return static_cast<float>(array.getComponent(index, component));
}

template <class T>
void storeAs(float value, double largest, uint8_t* target)
{
    const T number = value == kBeyondMinusOne
                         ? std::numeric_limits<T>::min()
                         : static_cast<T>(std::clamp<double>(std::nearbyint(double(value) * largest),
                                                             std::is_signed_v<T> ? -largest : 0, largest));
    std::memcpy(target, &number, sizeof number);
}

void storeNumber(float value, kxComponentType type, uint8_t* target)
{
    switch (type)
    {
    case kxComponentType::INT8: return storeAs<int8_t>(value, 127, target);
    case kxComponentType::UINT8: return storeAs<uint8_t>(value, 255, target);
    case kxComponentType::INT16: return storeAs<int16_t>(value, 32767, target);
    case kxComponentType::UINT16: return storeAs<uint16_t>(value, 65535, target);
    default: std::memcpy(target, &value, sizeof value);
    }
}

double largestOf(kxComponentType type)
{
    switch (type)
    {
    case kxComponentType::INT8: return 127;
    case kxComponentType::UINT8: return 255;
    case kxComponentType::INT16: return 32767;
    default: return 65535;
    }
}

// An integer type holds this number to the bit.
bool isKept(float value, kxComponentType type)
{
    const double largest = largestOf(type);
    const bool isSigned = type == kxComponentType::INT8 || type == kxComponentType::INT16;
    const double number = std::nearbyint(double(value) * largest);
    return (isSigned && value == kBeyondMinusOne) ||
           (number <= largest && number >= (isSigned ? -largest : 0) && static_cast<float>(number / largest) == value);
}

} // namespace

template <class List, class Convert>
List* kxGltfKeyReader::getList(const kxVertexArray* array, Convert convert)
{
    kxSmartPointer<kxListBase>& slot = m_lists[{array, List::staticMetaObject()}];
    if (!slot)
    {
        auto list = kxNew<List>();
        list->reserve(static_cast<size_t>(array->_count));
        for (int64_t i = 0; i < array->_count; ++i)
            list->append(convert(*array, i));
        slot = list;
    }
    return static_cast<List*>(slot.get());
}

kxLongList* kxGltfKeyReader::getTimes(const kxVertexArray* array)
{
    return getList<kxLongList>(array, [](const kxVertexArray& a, int64_t i) { return toTicks(floatAt(a, i, 0)); });
}

kxVec3fList* kxGltfKeyReader::getVectors(const kxVertexArray* array)
{
    return getList<kxVec3fList>(array, [](const kxVertexArray& a, int64_t i)
                                { return kxVec3f(floatAt(a, i, 0), floatAt(a, i, 1), floatAt(a, i, 2)); });
}

kxQuatfList* kxGltfKeyReader::getQuaternions(const kxVertexArray* array)
{
    return getList<kxQuatfList>(array,
                                [](const kxVertexArray& a, int64_t i)
                                {
                                    return kxQuatf(rotationNumber(a, i, 3), rotationNumber(a, i, 0),
                                                   rotationNumber(a, i, 1), rotationNumber(a, i, 2));
                                });
}

kxVertexArray* kxGltfKeyReader::getForm(const kxVertexArray* array, bool areTimes)
{
    kxSmartPointer<kxVertexArray>& form = m_forms[array];
    if (form)
        return form;
    const kxSmartPointer<kxObject> copied = array->copyShallow();
    form = kxCast<kxVertexArray>(copied);
    bool isExact = true;
    for (int64_t i = 0; areTimes && isExact && i < array->_count; ++i)
    {
        const float seconds = floatAt(*array, i, 0);
        isExact = std::bit_cast<uint32_t>(toSeconds(toTicks(seconds))) == std::bit_cast<uint32_t>(seconds);
    }
    if (isExact)
    {
        form->_data = nullptr;
        form->_count = form->_offset = form->_stride = 0;
    }
    return form;
}

namespace
{

kxSmartPointer<kxVertexArray> makeArray(const kxVertexArray* form, kxComponentType type, uint32_t componentCount,
                                        uint32_t count)
{
    auto array = kxNew<kxVertexArray>();
    if (form)
    {
        array->_name = form->_name;
        array->_semantic = form->_semantic;
        array->_sparse = form->_sparse;
        array->_hasBounds = form->_hasBounds;
        array->_userData = form->_userData;
    }
    array->_componentType = type;
    array->_componentCount = componentCount;
    array->_normalized = type != kxComponentType::FLOAT32;
    array->_count = count;
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::create(size_t(count) * array->getElementBytes());
    return array;
}

} // namespace

kxSmartPointer<kxVertexArray>& kxGltfKeyWriter::getSlot(const kxListBase* list, kxComponentType type)
{
    return m_arrays[{list, type}];
}

const kxVertexArray* kxGltfKeyWriter::getTimes(const kxLongList* times, const kxGltfKeyForm* form)
{
    kxSmartPointer<kxVertexArray>& array = getSlot(times, kxComponentType::FLOAT32);
    if (array)
        return array;
    const kxVertexArray* held = form ? form->_timeForm.get() : nullptr;
    array = makeArray(held, kxComponentType::FLOAT32, 1, times->getCount());
    std::string fault;
    const bool hasExact = held && held->_count && held->_componentCount == 1 && !held->_matrix &&
                          held->_componentType == kxComponentType::FLOAT32 && held->userCheckLoaded(fault);
    uint8_t* target = array->_data->getWritableData();
    int64_t at = 0;
    for (uint32_t i = 0; i < times->getCount(); ++i)
    {
        float seconds = toSeconds(times->get(i));
        if (hasExact)
        {
            // The keys that are left are some of those that the file had, in its order.
            const int64_t before = at;
            while (at < held->_count && toTicks(floatAt(*held, at, 0)) != times->get(i))
                ++at;
            if (at < held->_count)
                seconds = floatAt(*held, at++, 0);
            else
                at = before;
        }
        std::memcpy(target + i * sizeof seconds, &seconds, sizeof seconds);
    }
    return array;
}

const kxVertexArray* kxGltfKeyWriter::getVectors(const kxVec3fList* vectors, const kxGltfKeyForm* form)
{
    kxSmartPointer<kxVertexArray>& array = getSlot(vectors, kxComponentType::FLOAT32);
    if (array)
        return array;
    static_assert(sizeof(kxVec3f) == 3 * sizeof(float));
    array = makeArray(form ? form->_valueForm.get() : nullptr, kxComponentType::FLOAT32, 3, vectors->getCount());
    if (!vectors->isEmpty())
        std::memcpy(array->_data->getWritableData(), vectors->getData(), array->_data->getSize());
    return array;
}

const kxVertexArray* kxGltfKeyWriter::getQuaternions(const kxQuatfList* quaternions, const kxGltfKeyForm* form)
{
    const kxVertexArray* held = form ? form->_valueForm.get() : nullptr;
    kxComponentType type = kxComponentType::FLOAT32;
    if (held && held->_normalized && held->_componentType != kxComponentType::UINT32)
        type = held->_componentType;
    // Rotations that came as integers go as such, unless others have taken their place.
    for (uint32_t i = 0; type != kxComponentType::FLOAT32 && i < quaternions->getCount(); ++i)
    {
        const kxQuatf& q = quaternions->getData()[i];
        for (const float number : {q.v.x, q.v.y, q.v.z, q.r})
            if (!isKept(number, type))
                type = kxComponentType::FLOAT32;
    }
    kxSmartPointer<kxVertexArray>& array = getSlot(quaternions, type);
    if (array)
        return array;
    array = makeArray(held, type, 4, quaternions->getCount());
    const uint32_t bytes = componentBytes(type);
    uint8_t* target = array->_data->getWritableData();
    for (uint32_t i = 0; i < quaternions->getCount(); ++i, target += 4 * bytes)
    {
        const kxQuatf& q = quaternions->getData()[i];
        storeNumber(q.v.x, type, target);
        storeNumber(q.v.y, type, target + bytes);
        storeNumber(q.v.z, type, target + 2 * bytes);
        storeNumber(q.r, type, target + 3 * bytes);
    }
    return array;
}

} // namespace Kel::Gltf
