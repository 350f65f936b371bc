// What objects look like, as numbers.
#pragma once

#include "platform/attrs/kxTextureAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxNode.h"

#include <unordered_map>
#include <vector>

namespace Kel::Sg
{
class kxSkin;
}

namespace Kel::Opt
{

using namespace Kel::Attrs;
using namespace Kel::Core;
using namespace Kel::Sg;

/// How something looks, as two numbers. Equal looks have equal numbers.
struct kxLook
{
    uint64_t value = 0;  ///< everything but images
    uint64_t images = 0; ///< contents of the images that it reaches; 0 when there are none

    void add(const kxLook& part);
    friend bool operator==(const kxLook& a, const kxLook& b) = default;
};

/// Names of the joints of a skin, in order.
struct kxJointNames
{
    uint64_t hash = 0;
    bool isAnyMissing = false; ///< a joint has no name
};

/// Hashes of how objects look: of their values, never of identities, so that what two loads of a file give can be
/// compared. Names, user data and where a thing stands in its file do not count; nodes that an object refers to count
/// by their names, joints of skins by their number. Of a texture's images the first counts: the others show the same to
/// readers that know other kinds of files.
///
/// Hashes are kept by object: the objects must neither change nor go between two calls of `forget`.
class kxPictureHash
{
public:
    /// Look of an attribute, a skin, a list or anything else but a node; its value is never 0. Null has a look of its
    /// own.
    kxLook hashValue(const kxObject* object);

    /// Look of what a node's type says about how things below it are drawn, beyond what every node, group, attribute
    /// set and transform has: choices, distance ranges, weights, skins, instances. Its value is 0 when it says nothing.
    kxLook hashDrawing(const kxNode* node);
    /// False for types whose nodes never say anything of that kind.
    bool mayHashDrawing(const kxMetaObject* type);

    /// What tells the joints of a skin from those of another, beside their number; null joints have no name.
    const kxJointNames& getJointNames(const kxSkin* skin);

    /// Forgets the hashes.
    void forget()
    {
        m_known.clear();
        m_jointNames.clear();
    }

private:
    using FieldList = std::vector<const kxMetaField*>;

    kxLook hashContents(const kxObject* object);
    kxLook hashTexture(const kxTextureAttr* texture, kxLook look);
    kxLook hashField(const kxMetaField* field, const kxObject* object);
    const FieldList& getDrawingFields(const kxMetaObject* type);

    kxTSerialMap<kxLook> m_known; // value 0: not known
    std::unordered_map<const kxSkin*, kxJointNames> m_jointNames;
    std::vector<FieldList> m_drawingFields; // by index of the type
    std::vector<bool> m_hasDrawingFields;
};

/// Hash of two numbers in order.
inline uint64_t combineHash(uint64_t hash, uint64_t value)
{
    return hashBytes(&value, sizeof value, hash);
}

inline void kxLook::add(const kxLook& part)
{
    value = combineHash(value, part.value);
    if (part.images)
        images = combineHash(images, part.images);
}

} // namespace Kel::Opt
