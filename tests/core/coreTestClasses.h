// Classes that the tests of the core layer make objects of.
#pragma once

#include "platform/core/kxDirectory.h"
#include "platform/core/kxInfo.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxStringObj.h"

#include <string>

namespace Kel::Core
{

enum class kxTestColour : int32_t
{
    RED = 0,
    GREEN = 5,
    BLUE = -3
};
const kxMetaEnum& kxMetaEnumOf(kxTestColour);

/// A field of every kind.
class kxTestValues : public kxInfo
{
    KX_OBJECT(kxTestValues, kxInfo)
    static void listFields(kxFields<kxTestValues>& fields);

    bool _bool = true;
    int32_t _int = -1;
    uint32_t _unsigned = 2;
    int64_t _long = 3;
    float _float = 0.5f;
    double _double = 0.25;
    kxStringRef _string{"default"};
    kxTestColour _colour = kxTestColour::GREEN;
    kxVec2f _vec2{1, 2};
    kxVec3f _vec3{1, 2, 3};
    kxVec4f _vec4{1, 2, 3, 4};
    kxQuatf _quat;
    kxMatrix44f _matrix;
    kxAABox _box;
    kxSmartPointer<kxObject> _object;
    kxSmartPointer<kxMetaObject> _class;
    kxSmartPointer<kxMetaField> _field;
    kxSmartPointer<kxMemoryBlock> _memory;
    kxSmartPointer<kxIntList> _ints = kxNew<kxIntList>();
    kxSmartPointer<kxListBase> _list;
    int32_t _notSaved = 7;
};

class kxTestNodeList;
class kxTestNodeNonCountedList;

/// A node of a graph, as scenes have them: owns its children, knows its parents.
class kxTestNode : public kxInfo
{
    KX_OBJECT(kxTestNode, kxInfo)
    static void listFields(kxFields<kxTestNode>& fields);

    kxTestNode() = default;
    explicit kxTestNode(kxStringRef name) { _name = name; }
    ~kxTestNode() override;

    kxSmartPointer<kxTestNodeList> _children;
    kxSmartPointer<kxTestNodeNonCountedList> _parents; ///< LINK_BACK
    kxSmartPointer<kxObject> _other;
    kxSmartPointer<kxTestNodeNonCountedList> _known; ///< not owned
    kxSmartPointer<kxMemoryBlock> _bytes;
    kxSmartPointer<kxTestNode> _owner; ///< LINK_BACK, not a list

    kxTestNode* addChild(kxTestNode* child);
    void userLoaded() override { s_loaded += _name.str() + " "; }
    bool userCheckLoaded(std::string& fault) const override;

    static std::string s_loaded; ///< names in the order of userLoaded
};

KX_OBJECT_LIST(kxTestNodeList, kxTestNode)
KX_NON_COUNTED_LIST(kxTestNodeNonCountedList, kxTestNodeList)

void registerTestClasses();

/// "a(b, c(d))": a node and its children; a node met before is its name alone.
std::string nodeText(const kxTestNode* node);

/// Breaks every circle among what a directory reaches and empties it, so that nothing is left behind.
void takeApart(kxDirectory& directory);

} // namespace Kel::Core
