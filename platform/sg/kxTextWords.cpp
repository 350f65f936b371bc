#include "platform/sg/kxTextWords.h"

#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxStringObj.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxMorphInstance.h"
#include "platform/sg/kxSwitch.h"
#include "platform/sg/kxTransform.h"

#include <cstring>
#include <span>

namespace Kel::Sg
{

// --- classes ---

namespace
{

// A field that a class holds its main thing in.
struct MainField
{
    const kxMetaObject* type;
    const char* field;
};

const kxMetaField* findMainField(const kxMetaObject* type)
{
    const MainField table[] = {{kxLod::staticMetaObject(), "_ranges"},
                               {kxSwitch::staticMetaObject(), "_whichChild"},
                               {kxMorphInstance::staticMetaObject(), "_weights"}};
    for (const MainField& main : table)
        if (type->isDerivedFrom(main.type))
            return type->findField(main.field);
    return nullptr;
}

kxTextClass::Kind kindOf(const kxMetaObject* type)
{
    if (type->isDerivedFrom(kxTransform::staticMetaObject()))
        return kxTextClass::TRANSFORM;
    if (type->isDerivedFrom(kxGeometryAttr::staticMetaObject()))
        return kxTextClass::VERTEX_DATA;
    if (type == kxImage::staticMetaObject())
        return kxTextClass::IMAGE;
    if (type == kxTextureAttr::staticMetaObject())
        return kxTextClass::TEXTURE;
    if (type->isDerivedFrom(kxTextureBindAttr::staticMetaObject()))
        return kxTextClass::TEXTURE_BIND;
    return kxTextClass::PLAIN;
}

// True for a list of attributes. The class of the field says it, or the list that a fresh object has.
bool holdsAttributes(const kxObjectField& field, const kxObject* fresh)
{
    const kxObject* list = fresh ? field.getObject(field.getAddress(fresh)) : nullptr;
    kxSmartPointer<kxObject> made;
    if (!list && field.getReferencedType())
        list = made = field.getReferencedType()->createInstance();
    const auto* objects = kxCast<kxObjectList>(list);
    return objects && objects->getElementType()->isDerivedFrom(kxAttr::staticMetaObject());
}

// True for a reference whose value is written as a value: a list of values, a class, a text, bytes.
bool isWrittenAsValue(const kxMetaField& field)
{
    const kxMetaObject* type = field.getReferencedType();
    if (field.getKind() != kxFieldKind::OBJECT || !type)
        return field.getKind() != kxFieldKind::OBJECT;
    return (type->isDerivedFrom(kxListBase::staticMetaObject()) && type != kxListBase::staticMetaObject() &&
            !type->isDerivedFrom(kxObjectList::staticMetaObject())) ||
           type->isDerivedFrom(kxMetaObject::staticMetaObject()) ||
           type->isDerivedFrom(kxStringObj::staticMetaObject());
}

void fillClass(kxTextClass& textClass, const kxMetaObject* type)
{
    textClass.type = type;
    textClass.kind = kindOf(type);
    textClass.fresh = type->createInstance();
    textClass.main = findMainField(type);
    const kxObject* fresh = textClass.fresh;
    for (const kxMetaField* field : type->getFields())
    {
        if (field->isAppended() || field->hasFlag(kxMetaField::NOT_SAVED) || field->hasFlag(kxMetaField::LINK_BACK))
            continue;
        const std::string_view name = field->getName().view();
        const kxFieldKind kind = field->getKind();
        const bool isVertexData = field->getOwner() == kxGeometryAttr::staticMetaObject();
        if (name == "_name" && kind == kxFieldKind::STRING)
            textClass.name = field;
        else if (name == "_flags" && field->getOwner() == kxNode::staticMetaObject())
            textClass.flags = field;
        else if (field == textClass.main || field->getOwner() == kxTransform::staticMetaObject() || isVertexData)
            continue;
        else if (name == "_childList" && type->isDerivedFrom(kxGroup::staticMetaObject()))
            textClass.children = static_cast<const kxObjectField*>(field);
        else if (isWrittenAsValue(*field))
        {
            if ((name == "_baseColorFactor" && kind == kxFieldKind::VEC4F) ||
                (name == "_color" && kind == kxFieldKind::VEC3F))
                textClass.color = field;
            textClass.values.push_back(field);
        }
        else
        {
            const auto* reference = static_cast<const kxObjectField*>(field);
            if (!textClass.attributes && holdsAttributes(*reference, fresh))
                textClass.attributes = reference;
            else
                textClass.objects.push_back(reference);
        }
    }
}

} // namespace

const kxTextClass& kxTextClasses::of(const kxMetaObject* type)
{
    const uint32_t index = type->getIndex();
    if (index >= m_classes.size())
        m_classes.resize(index + 1);
    if (!m_classes[index])
    {
        m_classes[index] = std::make_unique<kxTextClass>();
        fillClass(*m_classes[index], type);
    }
    return *m_classes[index];
}

const kxMetaObject* kxTextClasses::find(std::string_view word, const kxMetaObject* wanted)
{
    // One buffer for the three names: "kx" + word + "Attr", "kx" + word, and the word itself.
    std::string name("kx");
    name.append(word).append("Attr");
    const std::string_view all = name;
    for (const std::string_view candidate : {all, all.substr(0, all.size() - 4), word})
    {
        const kxMetaObject* type = kxMetaObject::find(candidate);
        if (type && type->isDerivedFrom(wanted))
            return type;
    }
    return nullptr;
}

const std::string& kxTextClasses::wordOf(const kxMetaObject* type, const kxMetaObject* wanted)
{
    const uint32_t index = type->getIndex();
    if (index >= m_words.size())
        m_words.resize(index + 1);
    for (const Word& known : m_words[index])
        if (known.wanted == wanted)
            return known.word;

    std::string word = type->getName().str();
    const auto takeShorter = [&](const std::string& shorter)
    {
        if (!shorter.empty() && find(shorter, wanted) == type)
            word = shorter;
    };
    if (word.starts_with("kx"))
    {
        const std::string unprefixed = word.substr(2);
        takeShorter(unprefixed);
        if (unprefixed.ends_with("Attr"))
            takeShorter(unprefixed.substr(0, unprefixed.size() - 4));
    }
    m_words[index].push_back({wanted, word});
    return m_words[index].back().word;
}

// --- colours ---

namespace
{

struct Color
{
    const char* word;
    float numbers[4];
};
const Color kColors[] = {{"white", {1, 1, 1, 1}},    {"black", {0, 0, 0, 1}},   {"red", {1, 0, 0, 1}},
                         {"green", {0, 1, 0, 1}},    {"blue", {0, 0, 1, 1}},    {"yellow", {1, 1, 0, 1}},
                         {"cyan", {0, 1, 1, 1}},     {"magenta", {1, 0, 1, 1}}, {"grey", {0.5f, 0.5f, 0.5f, 1}},
                         {"orange", {1, 0.5f, 0, 1}}};

} // namespace

bool findTextColor(std::string_view word, uint32_t count, float* numbers)
{
    for (const Color& color : kColors)
        if (word == color.word)
        {
            std::memcpy(numbers, color.numbers, count * sizeof(float));
            return true;
        }
    return false;
}

const char* findTextColorWord(const float* numbers, uint32_t count)
{
    for (const Color& color : kColors)
        if (std::equal(numbers, numbers + count, color.numbers))
            return color.word;
    return nullptr;
}

// --- vertex data ---

namespace
{

struct ArrayText
{
    const char* semantic;
    kxComponentType type;
    uint32_t componentCount;
    std::span<const float> numbers;
};

const float kTriangle[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
const float kRaisedTriangle[] = {0, 0, 1, 0, 0, 1, 0, 0, 1};
const float kTriangleJoints[] = {0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0};
const float kTriangleWeights[] = {1, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0.5f, 0, 0};
const float kSquare[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
const float kSquareNormals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
const float kSquareCoordinates[] = {0, 0, 1, 0, 0, 1, 1, 1};
const float kSquareIndices[] = {0, 1, 2, 2, 1, 3};
const float kCube[] = {-1, -1, -1, -1, -1, 1,  -1, 1,  -1, -1, 1,  1,  1,  -1, -1, 1,  1,  -1, 1,  -1, 1,  1, 1, 1,
                       -1, -1, -1, 1,  -1, -1, -1, -1, 1,  1,  -1, 1,  -1, 1,  -1, -1, 1,  1,  1,  1,  -1, 1, 1, 1,
                       -1, -1, -1, -1, 1,  -1, 1,  -1, -1, 1,  1,  -1, -1, -1, 1,  1,  -1, 1,  -1, 1,  1,  1, 1, 1};
const float kCubeNormals[] = {-1, 0,  0,  -1, 0,  0,  -1, 0,  0,  -1, 0,  0,  1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0,
                              0,  -1, 0,  0,  -1, 0,  0,  -1, 0,  0,  -1, 0,  0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0,
                              0,  0,  -1, 0,  0,  -1, 0,  0,  -1, 0,  0,  -1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
const float kCubeIndices[] = {0,  1,  2,  2,  1,  3,  4,  5,  6,  6,  5,  7,  8,  9,  10, 10, 9,  11,
                              12, 13, 14, 14, 13, 15, 16, 17, 18, 18, 17, 19, 20, 21, 22, 22, 21, 23};

const ArrayText kTriangleArrays[] = {{"POSITION", kxComponentType::FLOAT32, 3, kTriangle}};
const ArrayText kRaisedArrays[] = {{"POSITION", kxComponentType::FLOAT32, 3, kRaisedTriangle}};
const ArrayText kSkinnedArrays[] = {{"POSITION", kxComponentType::FLOAT32, 3, kTriangle},
                                    {"JOINTS_0", kxComponentType::UINT8, 4, kTriangleJoints},
                                    {"WEIGHTS_0", kxComponentType::FLOAT32, 4, kTriangleWeights}};
const ArrayText kPointArrays[] = {{"POSITION", kxComponentType::FLOAT32, 3, kSquare}};
const ArrayText kQuadArrays[] = {{"POSITION", kxComponentType::FLOAT32, 3, kSquare},
                                 {"NORMAL", kxComponentType::FLOAT32, 3, kSquareNormals},
                                 {"TEXCOORD_0", kxComponentType::FLOAT32, 2, kSquareCoordinates}};
const ArrayText kCubeArrays[] = {{"POSITION", kxComponentType::FLOAT32, 3, kCube},
                                 {"NORMAL", kxComponentType::FLOAT32, 3, kCubeNormals}};

struct GeometryText
{
    const char* word;
    kxPrimitiveMode mode;
    std::span<const ArrayText> arrays;
    std::span<const float> indices;
    std::span<const ArrayText> morphArrays;
};
const GeometryText kGeometries[] = {{"tri", kxPrimitiveMode::TRIANGLES, kTriangleArrays, {}, {}},
                                    {"quad", kxPrimitiveMode::TRIANGLES, kQuadArrays, kSquareIndices, {}},
                                    {"cube", kxPrimitiveMode::TRIANGLES, kCubeArrays, kCubeIndices, {}},
                                    {"points", kxPrimitiveMode::POINTS, kPointArrays, {}, {}},
                                    {"lines", kxPrimitiveMode::LINES, kPointArrays, {}, {}},
                                    {"strip", kxPrimitiveMode::TRIANGLE_STRIP, kPointArrays, {}, {}},
                                    {"skinned", kxPrimitiveMode::TRIANGLES, kSkinnedArrays, {}, {}},
                                    {"morphed", kxPrimitiveMode::TRIANGLES, kTriangleArrays, {}, kRaisedArrays}};

template <class T>
void writeNumbers(std::span<const float> numbers, kxMemoryBlock* block)
{
    uint8_t* target = block->getWritableData();
    for (const float number : numbers)
    {
        const T value = static_cast<T>(number);
        std::memcpy(target, &value, sizeof value);
        target += sizeof value;
    }
}

kxSmartPointer<kxVertexArray> makeArray(const ArrayText& text)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = text.semantic;
    array->_componentType = text.type;
    array->_componentCount = text.componentCount;
    array->_count = static_cast<int64_t>(text.numbers.size() / text.componentCount);
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::create(text.numbers.size() * componentBytes(text.type));
    switch (text.type)
    {
    case kxComponentType::UINT8: writeNumbers<uint8_t>(text.numbers, array->_data); break;
    case kxComponentType::UINT16: writeNumbers<uint16_t>(text.numbers, array->_data); break;
    default: writeNumbers<float>(text.numbers, array->_data); break;
    }
    return array;
}

uint64_t hashArray(const kxVertexArray* array)
{
    if (!array)
        return 0;
    const uint64_t head[] = {array->_semantic.getHash(), static_cast<uint64_t>(array->_componentType),
                             array->_componentCount,     array->_matrix,
                             array->_normalized,         static_cast<uint64_t>(array->_count)};
    uint64_t hash = hashBytes(head, sizeof head);
    const uint32_t elementBytes = array->getElementBytes();
    if (!array->_data)
        return hash;
    for (int64_t i = 0; i < array->_count; ++i)
        hash = hashBytes(array->getElement(i), elementBytes, hash);
    return hash;
}

bool isSameArray(const kxVertexArray* a, const kxVertexArray* b)
{
    if (!a || !b)
        return a == b;
    if (a->_name != b->_name || a->_semantic != b->_semantic || a->_componentType != b->_componentType ||
        a->_componentCount != b->_componentCount || a->_matrix != b->_matrix || a->_normalized != b->_normalized ||
        a->_count != b->_count || a->_sparse != b->_sparse || a->_userData || b->_userData || !a->_data || !b->_data)
        return false;
    const uint32_t elementBytes = a->getElementBytes();
    for (int64_t i = 0; i < a->_count; ++i)
        if (std::memcmp(a->getElement(i), b->getElement(i), elementBytes) != 0)
            return false;
    return true;
}

bool isSameArrayList(const kxVertexArrayList* a, const kxVertexArrayList* b)
{
    if (a->getCount() != b->getCount())
        return false;
    for (uint32_t i = 0; i < a->getCount(); ++i)
        if (!isSameArray(a->get(i), b->get(i)))
            return false;
    return true;
}

bool isSameGeometry(const kxGeometryAttr* a, const kxGeometryAttr* b)
{
    if (a->_primitiveMode != b->_primitiveMode || a->_morphTargets->getCount() != b->_morphTargets->getCount() ||
        !isSameArray(a->_indices, b->_indices) || !isSameArrayList(a->_arrays, b->_arrays))
        return false;
    for (uint32_t i = 0; i < a->_morphTargets->getCount(); ++i)
    {
        const kxMorphTarget* one = a->_morphTargets->get(i);
        const kxMorphTarget* two = b->_morphTargets->get(i);
        if (!one || !two || one->_name != two->_name || !isSameArrayList(one->_arrays, two->_arrays))
            return false;
    }
    return true;
}

} // namespace

kxSmartPointer<kxGeometryAttr> makeTextGeometry(std::string_view word)
{
    for (const GeometryText& text : kGeometries)
    {
        if (word != text.word)
            continue;
        auto data = kxNew<kxGeometryAttr>();
        data->_primitiveMode = text.mode;
        for (const ArrayText& array : text.arrays)
            data->_arrays->append(makeArray(array));
        if (!text.indices.empty())
            data->_indices = makeArray({nullptr, kxComponentType::UINT16, 1, text.indices});
        if (!text.morphArrays.empty())
        {
            auto target = kxNew<kxMorphTarget>();
            for (const ArrayText& array : text.morphArrays)
                target->_arrays->append(makeArray(array));
            data->_morphTargets->append(target);
        }
        return data;
    }
    return nullptr;
}

const char* kxTextGeometries::findWord(const kxGeometryAttr* data)
{
    if (m_known.empty())
        for (const GeometryText& text : kGeometries)
            m_known.push_back(makeTextGeometry(text.word));
    for (size_t i = 0; i < m_known.size(); ++i)
        if (isSameGeometry(data, m_known[i]))
            return kGeometries[i].word;
    return nullptr;
}

uint64_t hashTextGeometry(const kxGeometryAttr* data)
{
    uint64_t hash = static_cast<uint64_t>(data->_primitiveMode);
    const auto add = [&](uint64_t value) { hash = hashBytes(&value, sizeof value, hash); };
    add(hashArray(data->_indices));
    for (const kxVertexArray* array : *data->_arrays)
        add(hashArray(array));
    for (const kxMorphTarget* target : *data->_morphTargets)
    {
        add(target ? target->_name.getHash() : 1);
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                add(hashArray(array));
    }
    return hash;
}

} // namespace Kel::Sg
