// The test program's start and the classes of its tests.
#include "tests/core/coreTestClasses.h"

#include "platform/core/libKXCore.h"

#include <gtest/gtest.h>

#include <set>

namespace Kel::Core
{

KX_IMPLEMENT(kxTestValues)
KX_IMPLEMENT(kxTestNode)
KX_IMPLEMENT(kxTestNodeList)
KX_IMPLEMENT(kxTestNodeNonCountedList)

std::string kxTestNode::s_loaded;

const kxMetaEnum& kxMetaEnumOf(kxTestColour)
{
    static const kxMetaEnum names("kxTestColour", {{"RED", 0}, {"GREEN", 5}, {"BLUE", -3}});
    return names;
}

void kxTestValues::listFields(kxFields<kxTestValues>& fields)
{
    fields.add(&kxTestValues::_bool, "_bool", "a bool");
    fields.add(&kxTestValues::_int, "_int", "an int");
    fields.add(&kxTestValues::_unsigned, "_unsigned", "an unsigned");
    fields.add(&kxTestValues::_long, "_long", "a long");
    fields.add(&kxTestValues::_float, "_float", "a float");
    fields.add(&kxTestValues::_double, "_double", "a double");
    fields.add(&kxTestValues::_string, "_string", "a string");
    fields.add(&kxTestValues::_colour, "_colour", "an enumeration");
    fields.add(&kxTestValues::_vec2, "_vec2", "a vector");
    fields.add(&kxTestValues::_vec3, "_vec3", "a vector");
    fields.add(&kxTestValues::_vec4, "_vec4", "a vector");
    fields.add(&kxTestValues::_quat, "_quat", "a quaternion");
    fields.add(&kxTestValues::_matrix, "_matrix", "a matrix");
    fields.add(&kxTestValues::_box, "_box", "a box");
    fields.add(&kxTestValues::_object, "_object", "any object");
    fields.add(&kxTestValues::_class, "_class", "a class");
    fields.add(&kxTestValues::_field, "_field", "a field");
    fields.add(&kxTestValues::_memory, "_memory", "bytes");
    fields.add(&kxTestValues::_ints, "_ints", "a list that is always there");
    fields.add(&kxTestValues::_list, "_list", "any list");
    fields.add(&kxTestValues::_notSaved, "_notSaved", "not saved")
        .setFlags(kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED);
}

void kxTestNode::listFields(kxFields<kxTestNode>& fields)
{
    fields.add(&kxTestNode::_children, "_children", "children");
    fields.add(&kxTestNode::_parents, "_parents", "parents")
        .setFlags(kxMetaField::LINK_BACK | kxMetaField::NOT_COMPARED);
    fields.add(&kxTestNode::_other, "_other", "any object");
    fields.add(&kxTestNode::_known, "_known", "nodes that others own");
    fields.add(&kxTestNode::_bytes, "_bytes", "bytes");
    fields.add(&kxTestNode::_owner, "_owner", "owner").setFlags(kxMetaField::LINK_BACK | kxMetaField::NOT_COMPARED);
}

kxTestNode::~kxTestNode()
{
    if (_children)
        for (kxTestNode* child : *_children)
            if (child && child->_parents)
                child->_parents->remove(this);
}

kxTestNode* kxTestNode::addChild(kxTestNode* child)
{
    if (!_children)
        _children = kxNew<kxTestNodeList>();
    if (!child->_parents)
        child->_parents = kxNew<kxTestNodeNonCountedList>();
    _children->append(child);
    child->_parents->append(this);
    return child;
}

bool kxTestNode::userCheckLoaded(std::string& fault) const
{
    fault = "the node is called " + _name.str();
    return _name != kxStringRef("refused");
}

void registerTestClasses()
{
    kxRegisterClass<kxTestValues>("kxTestValues", "a field of every kind");
    kxRegisterClass<kxTestNode>("kxTestNode", "a node of a graph");
    kxRegisterClass<kxTestNodeList>("kxTestNodeList", "list of nodes");
    kxRegisterClass<kxTestNodeNonCountedList>("kxTestNodeNonCountedList", "list of nodes that others own");
}

namespace
{

std::string nodeText(const kxTestNode* node, std::set<const kxTestNode*>& met)
{
    if (!node)
        return "null";
    std::string text = node->_name.str();
    if (!met.insert(node).second || !node->_children)
        return text;
    text += "(";
    for (const kxTestNode* child : *node->_children)
        text += (text.back() == '(' ? "" : ", ") + nodeText(child, met);
    return text + ")";
}

} // namespace

std::string nodeText(const kxTestNode* node)
{
    std::set<const kxTestNode*> met;
    return nodeText(node, met);
}

void takeApart(kxDirectory& directory)
{
    std::vector<kxSmartPointer<kxObject>> objects;
    for (uint32_t i = 0; i < directory.getSharedEntryCount(); ++i)
        objects.emplace_back(directory.getSharedObject(i));
    directory.clear();
    for (kxObject* object : objects)
        for (const kxMetaField* field : object->getMetaObject()->getFields())
            if (field->getKind() == kxFieldKind::OBJECT)
            {
                const auto* reference = static_cast<const kxObjectField*>(field);
                if (auto* list = kxCast<kxListBase>(reference->getObject(field->getAddress(object))))
                    list->clear();
                else
                    reference->setObject(field->getAddress(object), nullptr);
            }
}

} // namespace Kel::Core

int main(int argumentCount, char** arguments)
{
    testing::InitGoogleTest(&argumentCount, arguments);
    Kel::libKXCore_arkRegister();
    Kel::Core::registerTestClasses();
    return RUN_ALL_TESTS();
}
