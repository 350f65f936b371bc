#include "opt/verify/kxPictureHash.h"

#include "platform/attrs/kxVertexArray.h"
#include "platform/core/kxFields.h"
#include "platform/gfx/kxImage.h"
#include "platform/sg/kxCompiledGraph.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxSegment.h"
#include "platform/sg/kxShader.h"
#include "platform/sg/kxSkin.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxTransformRecorder.h"
#include "platform/sg/kxUserInfo.h"

#include <algorithm>

namespace Kel::Opt
{

using namespace Kel::Attrs;
using namespace Kel::Gfx;

namespace
{

constexpr uint64_t kNullHash = 1;
constexpr uint64_t kImageHash = 2; // value of every image

// Fields that say what a thing is called or where it stands in a file, not how it looks.
bool isLabel(const kxMetaField* field)
{
    static const kxStringRef name("_name"), uri("_uri");
    return field->getName() == name || field->getName() == uri ||
           field->getReferencedType() == kxUserData::staticMetaObject() || field->hasFlag(kxMetaField::NOT_COMPARED) ||
           field->hasFlag(kxMetaField::LINK_BACK) || field->isAppended();
}

// A shader of a kind of its own draws in its own way, whether it has fields or not.
bool isOwnShader(const kxMetaObject* type)
{
    return type != kxShader::staticMetaObject() && type->isDerivedFrom(kxShader::staticMetaObject());
}

// Fields of nodes that the draw list looks at by itself, or that draw nothing.
bool isNoDrawingField(const kxMetaField* field)
{
    static const kxMetaObject* const owners[] = {kxNode::staticMetaObject(),
                                                 kxGroup::staticMetaObject(),
                                                 kxAttrSet::staticMetaObject(),
                                                 kxTransform::staticMetaObject(),
                                                 kxGeometry::staticMetaObject(),
                                                 kxLightSet::staticMetaObject(),
                                                 kxLightStateSet::staticMetaObject(),
                                                 kxUserInfo::staticMetaObject(),
                                                 kxCompiledGraph::staticMetaObject(),
                                                 kxSegment::staticMetaObject(),
                                                 kxTransformRecorder::staticMetaObject()};
    static const kxStringRef passes("_passes"), targetNames("_targetNames");
    if (std::find(std::begin(owners), std::end(owners), field->getOwner()) != std::end(owners))
        return true;
    return (field->getOwner() == kxShader::staticMetaObject() && field->getName() == passes) ||
           (field->getOwner() == kxMesh::staticMetaObject() && field->getName() == targetNames);
}

bool refersToObject(const kxMetaField* field)
{
    return field->getKind() == kxFieldKind::OBJECT || field->getKind() == kxFieldKind::MEMORY;
}

const kxObject* getReference(const kxMetaField* field, const kxObject* object)
{
    return static_cast<const kxObjectField*>(field)->getObject(field->getAddress(object));
}

// Element by element: an array means the same wherever and however its elements lie.
uint64_t hashArray(const kxVertexArray* array, uint64_t hash)
{
    hash = combineHash(hash, array->_semantic.getHash());
    hash = combineHash(hash, static_cast<uint64_t>(array->_componentType));
    hash = combineHash(hash, array->_componentCount * 4u + array->_normalized * 2u + array->_matrix);
    hash = combineHash(hash, static_cast<uint64_t>(array->_count));
    if (!array->_data || array->_count <= 0)
        return hash;
    const auto bytes = static_cast<int64_t>(array->getElementBytes());
    if (array->_stride == bytes)
        return hashBytes(array->getElement(0), static_cast<size_t>(array->_count * bytes), hash);
    std::vector<uint8_t> packed(static_cast<size_t>(array->_count * bytes));
    for (int64_t i = 0; i < array->_count; ++i)
        std::copy_n(array->getElement(i), bytes, packed.data() + i * bytes);
    return hashBytes(packed.data(), packed.size(), hash);
}

} // namespace

kxLook kxPictureHash::hashValue(const kxObject* object)
{
    if (!object)
        return {kNullHash};
    // A node that an attribute or a skin refers to is named, not followed.
    if (object->isOfType(kxNode::staticMetaObject()))
        return {combineHash(kNullHash, static_cast<const kxNode*>(object)->getName().getHash())};
    if (const kxLook known = m_known.get(object); known.value)
        return known;
    // Noted before the contents are looked at, so that an object which reaches itself comes to an end.
    m_known[object] = {kNullHash};
    kxLook look = hashContents(object);
    look.value = look.value ? look.value : kNullHash;
    return m_known[object] = look;
}

kxLook kxPictureHash::hashContents(const kxObject* object)
{
    kxLook look{object->getMetaObject()->getName().getHash()};
    if (const auto* array = kxCast<kxVertexArray>(object))
        return {hashArray(array, look.value)};
    if (const auto* block = kxCast<kxMemoryBlock>(object))
        return {block->getContentHash()};
    if (const auto* list = kxCast<kxObjectList>(object))
    {
        for (const kxObject* element : *list)
            look.add(hashValue(element));
        return look;
    }
    if (const auto* values = kxCast<kxListBase>(object))
        return {combineHash(look.value, values->hash())};
    if (const auto* skin = kxCast<kxSkin>(object))
    {
        // What it draws and where its bones hang is seen elsewhere.
        look.add({skin->_joints ? skin->_joints->getCount() : 0});
        look.add(hashValue(skin->_inverseBindMatrices));
        return look;
    }
    if (const auto* texture = kxCast<kxTextureAttr>(object))
        return hashTexture(texture, look);
    const auto* image = kxCast<kxImage>(object);
    if (image && image->_encoded)
        // Encoded bytes are there until the pixels change; that somebody looked at the pixels changes nothing.
        return {kImageHash, combineHash(look.value, image->_encoded->getContentHash())};
    if (image && !image->_pixels)
        // All that is known of an image that was not there. What else a file says of it, such as its type, is not drawn.
        return {kImageHash, combineHash(look.value, image->_uri.getHash())};
    for (const kxMetaField* field : object->getMetaObject()->getFields())
        if (!isLabel(field))
            look.add(hashField(field, object));
    return image ? kxLook{kImageHash, look.value} : look;
}

const kxJointNames& kxPictureHash::getJointNames(const kxSkin* skin)
{
    const auto [at, isNew] = m_jointNames.try_emplace(skin);
    kxJointNames& names = at->second;
    if (isNew && skin->_joints)
        for (const kxNode* joint : *skin->_joints)
        {
            const kxStringRef name = joint ? joint->getName() : kxStringRef();
            names.hash = combineHash(names.hash, name.getHash());
            names.isAnyMissing |= name.isEmpty();
        }
    return names;
}

kxLook kxPictureHash::hashTexture(const kxTextureAttr* texture, kxLook look)
{
    static const kxStringRef imageList("_imageList"), imageExtensions("_imageExtensions");
    for (const kxMetaField* field : texture->getMetaObject()->getFields())
        if (!isLabel(field) && field->getName() != imageList && field->getName() != imageExtensions)
            look.add(hashField(field, texture));
    if (const kxImage* image = texture->getFirstImage())
        look.images = combineHash(look.images, hashValue(image).images);
    return look;
}

kxLook kxPictureHash::hashField(const kxMetaField* field, const kxObject* object)
{
    if (refersToObject(field))
        return hashValue(getReference(field, object));
    const void* value = field->getAddress(object);
    if (field->getKind() != kxFieldKind::STRING)
        return {field->hashValue(value)};
    const auto text = *static_cast<const kxStringRef*>(value);
    return {text.isEmpty() ? 0 : text.getHash()};
}

const kxPictureHash::FieldList& kxPictureHash::getDrawingFields(const kxMetaObject* type)
{
    const uint32_t index = type->getIndex();
    if (index >= m_drawingFields.size())
    {
        m_drawingFields.resize(index + 1);
        m_hasDrawingFields.resize(index + 1);
    }
    FieldList& fields = m_drawingFields[index];
    if (!m_hasDrawingFields[index])
    {
        m_hasDrawingFields[index] = true;
        for (const kxMetaField* field : type->getFields())
            if (!isLabel(field) && !isNoDrawingField(field))
                fields.push_back(field);
    }
    return fields;
}

bool kxPictureHash::mayHashDrawing(const kxMetaObject* type)
{
    return isOwnShader(type) || !getDrawingFields(type).empty();
}

kxLook kxPictureHash::hashDrawing(const kxNode* node)
{
    const kxMetaObject* type = node->getMetaObject();
    kxLook look;
    if (isOwnShader(type))
        look.value = type->getName().getHash();
    for (const kxMetaField* field : getDrawingFields(type))
    {
        if (refersToObject(field))
        {
            // Nothing and an empty list say nothing.
            const kxObject* object = getReference(field, node);
            const auto* list = kxCast<kxListBase>(object);
            if (!object || (list && list->isEmpty()))
                continue;
        }
        if (look.value == 0)
            look.value = type->getName().getHash();
        look.add({field->getName().getHash()});
        look.add(hashField(field, node));
    }
    return look;
}

} // namespace Kel::Opt
