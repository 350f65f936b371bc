#include "opt/parameters/kxParameterSet.h"

#include "platform/sg/kxGroup.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace Kel::Opt
{

TEST(kxParameterSet, AFieldKeepsTheTypeThatItWasMadeWith)
{
    const auto set = kxNew<kxParameterSet>();
    EXPECT_EQ(set->setFieldValue("_count", 3), kSuccess);
    EXPECT_EQ(set->setFieldValue("_count", 4), kSuccess);
    EXPECT_EQ(set->getFieldCount(), 1);

    float asFloat = 7;
    EXPECT_EQ(set->getFieldValue("_count", asFloat), kFailure);
    EXPECT_EQ(asFloat, 7) << "a failed look-up leaves the destination alone";
    EXPECT_EQ(set->setFieldValue("_count", 5.0f), kFailure);
    int32_t value = 0;
    EXPECT_EQ(set->getFieldValue("_count", value), kSuccess);
    EXPECT_EQ(value, 4);

    EXPECT_EQ(set->getFieldValue("_other", value), kFailure);
    EXPECT_EQ(set->getField(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(set->setFieldValue(static_cast<const char*>(nullptr), 1), kFailure);
    EXPECT_EQ(set->createField(kxObject::staticMetaObject(), "_x"), nullptr) << "not a class of fields";
    EXPECT_EQ(set->createField(kxMetaField::staticMetaObject(), "_x"), nullptr) << "an abstract class of fields";
    EXPECT_EQ(set->createField(kxFloatField::staticMetaObject(), "_count"), nullptr) << "there with another type";
    EXPECT_EQ(set->getFieldCount(), 1);
    EXPECT_EQ(set->getField(0)->getName(), kxStringRef("_count"));
    EXPECT_EQ(set->getField(1), nullptr);
    EXPECT_EQ(set->getField(-1), nullptr);
}

TEST(kxParameterSet, EveryTypeComesBackAsItWasPut)
{
    const auto set = kxNew<kxParameterSet>();
    const auto object = kxNew<kxGroup>();
    set->setFieldValue("_bool", true);
    set->setFieldValue("_float", 1.5f);
    set->setFieldValue("_vec3", kxVec3f(1, 2, 3));
    set->setFieldValue("_vec4", kxVec4f(1, 2, 3, 4));
    set->setFieldValue("_text", "text"); // not taken for a bool
    set->setFieldValue("_object", object);

    bool flag = false;
    float number = 0;
    kxVec3f vec3;
    kxVec4f vec4;
    kxStringRef text;
    kxObject* raw = nullptr;
    EXPECT_EQ(set->getFieldValue("_bool", flag), kSuccess);
    EXPECT_EQ(set->getFieldValue("_float", number), kSuccess);
    EXPECT_EQ(set->getFieldValue("_vec3", vec3), kSuccess);
    EXPECT_EQ(set->getFieldValue("_vec4", vec4), kSuccess);
    EXPECT_EQ(set->getFieldValue("_text", text), kSuccess);
    EXPECT_EQ(set->getFieldValue("_object", raw), kSuccess);
    EXPECT_TRUE(flag && number == 1.5f && vec3 == kxVec3f(1, 2, 3) && vec4 == kxVec4f(1, 2, 3, 4) && text == "text");
    EXPECT_EQ(raw, object.get());

    kxSmartPointer<kxNode> node;
    EXPECT_EQ(set->getFieldValue("_object", node), kSuccess);
    EXPECT_EQ(node.get(), object.get());
    kxSmartPointer<kxParameterSet> other = set;
    EXPECT_EQ(set->getFieldValue("_object", other), kSuccess);
    EXPECT_EQ(other, nullptr) << "an object of another type counts as none";
}

TEST(kxParameterSet, HoldsItsObjectsAndLetsThemGo)
{
    const size_t before = kxObject::getLiveCount();
    {
        const auto object = kxNew<kxGroup>();
        {
            const auto set = kxNew<kxParameterSet>();
            set->setFieldValue("_a", object);
            set->setFieldValue("_b", object);
            EXPECT_EQ(object->getRefCount(), 3u);
            set->setFieldValue("_a", static_cast<kxObject*>(nullptr));
            EXPECT_EQ(object->getRefCount(), 2u);
            kxObject* raw = nullptr;
            set->getFieldValue("_b", raw);
            EXPECT_EQ(object->getRefCount(), 2u) << "a plain pointer holds nothing";
            set->getData();
            EXPECT_EQ(object->getRefCount(), 2u) << "the reference moved with its bytes";
        }
        EXPECT_EQ(object->getRefCount(), 1u);
    }
    EXPECT_EQ(kxObject::getLiveCount(), before);
}

// Sets that grow past their own storage, past what layouts are shared for, and while their values lie in a block,
// against a map.
TEST(kxParameterSet, RandomFieldsAgainstAMap)
{
    for (uint32_t seed = 1; seed <= 30; ++seed)
    {
        std::mt19937 random(seed);
        const auto set = kxNew<kxParameterSet>();
        std::map<std::string, int32_t> ints;
        std::map<std::string, float> floats;
        const uint32_t nameCount = 1 + random() % 60;
        for (int step = 0; step < 200; ++step)
        {
            const std::string name = "_f" + std::to_string(random() % nameCount);
            const auto number = static_cast<int32_t>(random() % 1000);
            switch (random() % 16)
            {
            case 0:
                set->getField(name.c_str()); // makes the layout the set's own
                break;
            case 1: set->getData(); break;
            default:
                if (random() % 2)
                {
                    EXPECT_EQ(set->setFieldValue(name.c_str(), number) == kSuccess, !floats.contains(name));
                    if (!floats.contains(name))
                        ints[name] = number;
                }
                else
                {
                    const auto fraction = static_cast<float>(number) / 8;
                    EXPECT_EQ(set->setFieldValue(name.c_str(), fraction) == kSuccess, !ints.contains(name));
                    if (!ints.contains(name))
                        floats[name] = fraction;
                }
            }
        }
        ASSERT_EQ(static_cast<size_t>(set->getFieldCount()), ints.size() + floats.size()) << "seed " << seed;
        for (const auto& [name, expected] : ints)
        {
            int32_t value = -1;
            EXPECT_EQ(set->getFieldValue(name.c_str(), value), kSuccess);
            EXPECT_EQ(value, expected) << "seed " << seed << " " << name;
        }
        for (const auto& [name, expected] : floats)
        {
            float value = -1;
            EXPECT_EQ(set->getFieldValue(name.c_str(), value), kSuccess);
            EXPECT_EQ(value, expected) << "seed " << seed << " " << name;
        }
    }
}

TEST(kxParameterSet, ChangingAFieldOfOneSetLeavesTheOthersAlone)
{
    const auto make = []
    {
        auto set = kxNew<kxParameterSet>();
        set->setFieldValue("_first", 1);
        set->setFieldValue("_object", static_cast<kxObject*>(nullptr));
        return set;
    };
    const auto first = make();
    const auto second = make();
    static_cast<kxObjectField*>(first->getField("_object"))->setReferencedType(kxGroup::staticMetaObject());
    first->getField("_first")->setFlags(kxMetaField::REQUIRED);
    EXPECT_EQ(first->findField("_object")->getReferencedType(), kxGroup::staticMetaObject());
    for (const auto& other : {second, make()})
    {
        EXPECT_EQ(other->findField("_object")->getReferencedType(), nullptr);
        EXPECT_FALSE(other->findField("_first")->hasFlag(kxMetaField::REQUIRED));
    }
    EXPECT_EQ(first->setFieldValue("_later", 2), kSuccess);
    EXPECT_EQ(first->findField("_object")->getReferencedType(), kxGroup::staticMetaObject()) << "kept as the set grows";
    EXPECT_EQ(second->getFieldCount(), 2);
}

TEST(kxParameterSet, FieldsAddedToItsClassAreTakenOver)
{
    const auto set = kxNew<kxParameterSet>();
    set->setFieldValue("_first", 1);
    set->getField("_first");
    set->_dynamicMeta->addRecordField(kxObjectField::staticMetaObject(), "_object");
    set->resetFields();
    kxObject* object = set;
    EXPECT_EQ(set->getFieldValue("_object", object), kSuccess);
    EXPECT_EQ(object, nullptr);
    int32_t value = 0;
    EXPECT_EQ(set->getFieldValue("_first", value), kSuccess);
    EXPECT_EQ(value, 1) << "fields are never taken away";
}

TEST(kxParameterSet, LinkedFieldsTakeTheirValuesWhenResolved)
{
    const auto source = kxNew<kxParameterSet>();
    const auto set = kxNew<kxParameterSet>();
    EXPECT_EQ(set->resolveFieldSource(), kSuccess) << "no links";

    source->setFieldValue("_number", 5);
    const auto object = kxNew<kxGroup>();
    source->setFieldValue("_thing", object);
    EXPECT_EQ(set->setFieldSource("_count", "_number", source), kSuccess);
    EXPECT_EQ(set->setFieldSource("_child", "_thing", source), kSuccess);
    EXPECT_EQ(set->setFieldSource("_count", "_thing", source), kFailure) << "the first link stays";
    EXPECT_EQ(set->setFieldSource("_again", "_count", set), kSuccess) << "a set may be linked to itself";
    EXPECT_EQ(set->getFieldCount(), 0);
    for (uint32_t i = 0; i + 1 < set->_fieldNameList->getCount(); ++i)
        EXPECT_TRUE(set->_fieldNameList->get(i) < set->_fieldNameList->get(i + 1));

    set->setFieldValue("_count", 0);
    EXPECT_EQ(set->resolveFieldSource(), kSuccess);
    source->setFieldValue("_number", 6);
    EXPECT_EQ(set->resolveFieldSource(), kSuccess) << "links stay in place";
    int32_t count = 0;
    kxObject* child = nullptr;
    set->getFieldValue("_count", count);
    set->getFieldValue("_child", child);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(child, object.get());
    set->_parameterSetList->clear(); // the set holds itself
}

TEST(kxParameterSet, ResolvingStopsAtTheFirstLinkThatFails)
{
    const auto source = kxNew<kxParameterSet>();
    source->setFieldValue("_number", 5);
    // Links are copied in the order of the names' identity, which is that of their first use.
    const char* names[] = {"_resolveFirst", "_resolveSecond", "_resolveThird"};
    for (const char* name : names)
        kxStringRef{name};

    struct
    {
        const char* what;
        const char* secondSource;
        bool secondIsText;
        int copied;
    } const rows[] = {
        {"a source without the field", "_missing", false, 1},
        {"a field of another type", "_number", true, 1},
        {"nothing wrong", "_number", false, 3},
    };
    for (const auto& row : rows)
    {
        const auto set = kxNew<kxParameterSet>();
        if (row.secondIsText)
            set->setFieldValue(names[1], "text");
        for (const char* name : names)
            set->setFieldSource(name, name == names[1] ? row.secondSource : "_number", source);
        EXPECT_EQ(set->resolveFieldSource(), row.copied == 3 ? kSuccess : kFailure) << row.what;
        int copied = 0;
        for (const char* name : names)
        {
            int32_t value = 0;
            copied += set->getFieldValue(name, value) == kSuccess && value == 5;
        }
        EXPECT_EQ(copied, row.copied) << row.what;
    }
}

TEST(kxParameterSetWrapper, SaysWhatEveryResultSays)
{
    kxParameterSetWrapper result;
    EXPECT_FALSE(result.hasSucceeded());
    EXPECT_STREQ(result.getErrorMessage(), "");
    result.success();
    EXPECT_TRUE(result.hasSucceeded());
    result.formatErrorMessage("%s is %d%%\n", std::string(3000, 'x').c_str(), 7);
    EXPECT_EQ(std::string(result.getErrorMessage()), std::string(3000, 'x') + " is 7%\n");
    result.failure();
    EXPECT_FALSE(result.hasSucceeded());

    const kxParameterSetWrapper none(nullptr);
    EXPECT_FALSE(none.hasSucceeded());
    EXPECT_STREQ(none.getErrorMessage(), "");
}

} // namespace Kel::Opt
