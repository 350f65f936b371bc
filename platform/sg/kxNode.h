// Base of everything in a scene graph.
#pragma once

#include "platform/core/kxUserData.h"
#include "platform/sg/kxBoundingVolume.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

class kxNode;
class kxGroup;
class kxNodeList;

/// A node of the scene graph. It knows all its parents, once for each time that it is their child; a node with several is
/// drawn once for each. Parents hold their children, not the other way round.
class kxNode : public kxObject
{
    KX_OBJECT(kxNode, kxObject)
    static void listFields(kxFields<kxNode>& fields);

    /// Bits of `_flags`.
    static constexpr uint32_t IS_DYNAMIC = 0x40;  ///< the node changes while the scene runs
    static constexpr uint32_t IS_ANIMATED = 0x80; ///< a track or another program drives the node

    kxStringRef _name;
    uint32_t _flags = 0;
    kxSmartPointer<kxNodeList> _parentList; ///< null or empty: no parents
    kxSmartPointer<kxBoundingVolume> _boundingVolume;
    kxSmartPointer<kxUserData> _userData;

    kxNode();

    kxStringRef getName() const { return _name; }
    void setName(kxStringRef name) { _name = name; }
    bool isDynamic() const { return (_flags & IS_DYNAMIC) != 0; }
    bool isAnimated() const { return (_flags & IS_ANIMATED) != 0; }

    uint32_t getParentCount() const;
    kxGroup* getParent(uint32_t index) const;

protected:
    ~kxNode() override;

private:
    friend class kxGroup;
    void addParent(kxGroup* parent);
    /// Removes one entry of `parent`; does nothing when there is none.
    void removeParent(const kxGroup* parent);
};

KX_OBJECT_LIST(kxNodeList, kxNode)
KX_NON_COUNTED_LIST(kxNonRefCountedNodeList, kxNodeList)

} // namespace Kel::Sg
