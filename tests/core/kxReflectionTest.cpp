// Objects through their fields: copies, likeness, hashes, text, fields appended at run time.
#include "tests/core/coreTestClasses.h"

#include <gtest/gtest.h>

namespace Kel::Core
{
namespace
{

TEST(kxMetaObject, EveryClassCanBeAskedAndMade)
{
    for (const kxMetaObject* type : kxMetaObject::getAll())
    {
        SCOPED_TRACE(type->getName().c_str());
        EXPECT_NE(std::string(type->getHelp()), "");
        EXPECT_EQ(kxMetaObject::find(type->getName()), type);
        uint32_t derived = 0;
        for (const kxMetaObject* other : kxMetaObject::getAll())
            derived += other->isDerivedFrom(type);
        EXPECT_EQ(type->getDerivedCount(), derived);
        uint32_t lastIndex = 0;
        for (const kxMetaObject* other : type->getDerived())
        {
            EXPECT_TRUE(other == type || other->getBase()->isDerivedFrom(type));
            EXPECT_TRUE(other == type || other->getIndex() > lastIndex);
            lastIndex = other->getIndex();
        }
        for (const kxMetaField* field : type->getFields())
            EXPECT_NE(std::string(field->getHelp()), "") << field->getName().c_str();

        const kxSmartPointer<kxObject> object = type->createInstance();
        const bool isList = type->isDerivedFrom(kxListBase::staticMetaObject());
        EXPECT_EQ(object == nullptr, type->isAbstract());
        EXPECT_TRUE(object || !isList || type == kxListBase::staticMetaObject()) << "a list that cannot be made";
        if (!object)
            continue;
        EXPECT_TRUE(object->isOfExactType(type));
        EXPECT_TRUE(object->isOfType(type->getBase()) || type == kxObject::staticMetaObject());
        if (isList)
        {
            const kxSmartPointer<kxObject> copy = object->copyShallow();
            EXPECT_TRUE(copy->isAlikeShallow(object));
        }
    }
}

using Change = void (*)(kxTestValues& values);
const std::pair<const char*, Change> kChanges[] = {
    {"_bool", [](kxTestValues& v) { v._bool = false; }},
    {"_int", [](kxTestValues& v) { v._int = -2147483647; }},
    {"_unsigned", [](kxTestValues& v) { v._unsigned = 4294967295u; }},
    {"_long", [](kxTestValues& v) { v._long = int64_t(-1) << 62; }},
    {"_float", [](kxTestValues& v) { v._float = 0.1f; }},
    {"_double", [](kxTestValues& v) { v._double = 0.1; }},
    {"_string", [](kxTestValues& v) { v._string = "other"; }},
    {"_colour", [](kxTestValues& v) { v._colour = kxTestColour::BLUE; }},
    {"_vec2", [](kxTestValues& v) { v._vec2.y = 9; }},
    {"_vec3", [](kxTestValues& v) { v._vec3.z = 0.3f; }},
    {"_vec4", [](kxTestValues& v) { v._vec4.w = 1e-20f; }},
    {"_quat", [](kxTestValues& v) { v._quat.v.z = 0.5f; }},
    {"_matrix", [](kxTestValues& v) { v._matrix[3][3] = 0.7f; }},
    {"_box", [](kxTestValues& v) { v._box.extendBy(kxVec3f(1, 2, 3)); }},
    {"_object", [](kxTestValues& v) { v._object = kxNew<kxTestNode>(); }},
    {"_class", [](kxTestValues& v) { v._class = kxTestNode::staticMetaObject(); }},
    {"_memory", [](kxTestValues& v) { v._memory = kxMemoryBlock::copyOf("xyz", 3); }},
    {"_ints", [](kxTestValues& v) { v._ints->append(4); }},
    {"_list", [](kxTestValues& v) { v._list = kxNew<kxObjectList>(); }},
};

TEST(kxObject, LikenessHashAndCopiesFollowEveryField)
{
    const auto plain = kxNew<kxTestValues>();
    for (const auto& [name, change] : kChanges)
    {
        SCOPED_TRACE(name);
        const auto changed = kxNew<kxTestValues>();
        EXPECT_TRUE(plain->isAlikeShallow(changed));
        EXPECT_EQ(plain->hashShallow(), changed->hashShallow());
        change(*changed);
        EXPECT_FALSE(plain->isAlikeShallow(changed));
        EXPECT_NE(plain->hashShallow(), changed->hashShallow());

        changed->_notSaved = 8; // counts in neither
        const kxSmartPointer<kxObject> copy = changed->copyShallow();
        EXPECT_TRUE(copy->isAlikeShallow(changed));
        EXPECT_EQ(copy->hashShallow(), changed->hashShallow());
        changed->resetFields();
        EXPECT_TRUE(changed->isAlikeShallow(plain));
        EXPECT_FALSE(copy->isAlikeShallow(plain)) << "the copy shared a list";

        const kxMetaField* field = kxTestValues::staticMetaObject()->findField(name);
        if (field->getKind() == kxFieldKind::OBJECT || field->getKind() == kxFieldKind::MEMORY)
            continue;
        const void* value = field->getAddress(static_cast<const kxObject*>(copy));
        EXPECT_TRUE(field->valueFromText(field->valueToText(value), field->getAddress(changed)));
        EXPECT_TRUE(changed->isAlikeShallow(copy)) << field->valueToText(value);
    }
}

TEST(kxObject, DeepCopyKeepsWhatIsSharedAndCutsNoCircle)
{
    const size_t alive = kxObject::getLiveCount();
    {
        auto root = kxNew<kxTestNode>("a");
        kxTestNode* shared = root->addChild(kxNew<kxTestNode>("b"))->addChild(kxNew<kxTestNode>("c"));
        root->addChild(shared);
        shared->_other = root;
        shared->_bytes = kxMemoryBlock::copyOf("12", 2);
        const kxSmartPointer<kxObject> copied = root->copyDeep();
        auto* copy = static_cast<kxTestNode*>(copied.get());
        EXPECT_EQ(nodeText(copy), "a(b(c), c)");
        kxTestNode* sharedCopy = copy->_children->get(1);
        EXPECT_NE(sharedCopy, shared);
        EXPECT_EQ(sharedCopy, copy->_children->get(0)->_children->get(0));
        EXPECT_EQ(sharedCopy->_other.get(), copy);

        sharedCopy->_bytes->getWritableData()[0] = 'x';
        EXPECT_EQ(shared->_bytes->getData()[0], '1') << "bytes are shared only until they are written";
        shared->_other = nullptr;
        sharedCopy->_other = nullptr;
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxObject, AMillionLinksNeedNoStack)
{
    const size_t alive = kxObject::getLiveCount();
    {
        auto root = kxNew<kxTestNode>();
        kxTestNode* last = root;
        for (int i = 0; i < 1000000; ++i)
        {
            auto next = kxNew<kxTestNode>();
            last->_other = next;
            last = next;
        }
        EXPECT_NE(root->copyDeep(), nullptr);
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxObject, TraversalMeetsReferencesInOrder)
{
    const auto node = kxNew<kxTestNode>("a");
    node->addChild(kxNew<kxTestNode>("b"));
    const auto parent = kxNew<kxTestNode>("p");
    parent->addChild(node);
    node->_owner = parent;
    node->_other = kxNew<kxStringObj>("s");
    std::string met;
    const int sum = node->traverseFields(
        [](kxObject* object, const kxMetaField* field, void* context)
        {
            *static_cast<std::string*>(context) += field->getName().str() + ":" + object->getTypeName() + " ";
            return 2;
        },
        &met);
    EXPECT_EQ(met, "_children:kxTestNodeList _children:kxTestNode _other:kxStringObj ");
    EXPECT_EQ(sum, 6);
    node->_owner = nullptr;
}

TEST(kxMetaObject, AppendedFieldsLieBesideTheObjects)
{
    kxMetaObject* type = kxTestNode::staticMetaObject();
    const auto node = kxNew<kxTestNode>();
    const auto other = kxNew<kxTestNode>();
    const kxMetaField* counter =
        kxInfo::staticMetaObject()->appendField(kxIntField::staticMetaObject(), "_testCounter", "a counter");
    const kxMetaField* string = type->appendField(kxObjectField::staticMetaObject(), "_testString", "an object");
    EXPECT_EQ(type->appendField(kxIntField::staticMetaObject(), "_testCounter", ""), counter);
    EXPECT_EQ(type->findField("_testCounter"), counter);
    EXPECT_EQ(kxObject::staticMetaObject()->findField("_testCounter"), nullptr);

    EXPECT_EQ(counter->getAddress(static_cast<const kxObject*>(node)), nullptr);
    *static_cast<int32_t*>(counter->getAddress(node)) += 3;
    static_cast<const kxObjectField*>(string)->setObject(string->getAddress(node), other);
    EXPECT_TRUE(node->isAlikeShallow(other)) << "appended fields do not count";
    const kxSmartPointer<kxObject> copy = node->copyShallow();
    EXPECT_EQ(*static_cast<int32_t*>(counter->getAddress(copy)), 3);
    EXPECT_EQ(other->getRefCount(), 3u);
}

} // namespace
} // namespace Kel::Core
