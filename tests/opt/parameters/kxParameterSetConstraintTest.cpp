#include "opt/parameters/kxParameterSetConstraint.h"

#include "platform/sg/kxAttrSet.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{
namespace
{

/// A set with an integer, a text, a null object and an object that is declared to be a group.
kxSmartPointer<kxParameterSet> makeSet()
{
    auto set = kxNew<kxParameterSet>();
    set->setFieldValue("_int", 1);
    set->setFieldValue("_text", "text");
    set->setFieldValue("_nullText", kxStringRef());
    set->setFieldValue("_null", static_cast<kxObject*>(nullptr));
    set->setFieldValue("_object", kxNew<kxGroup>());
    set->setFieldValue("_group", kxNew<kxGroup>());
    static_cast<kxObjectField*>(set->getField("_group"))->setReferencedType(kxGroup::staticMetaObject());
    set->createField(kxMemoryField::staticMetaObject(), "_memory");
    return set;
}

constexpr const char* kMet = nullptr;

TEST(kxParameterExist, ChecksNameKindAndType)
{
    struct
    {
        const char* field;
        kxMetaObject* fieldType;
        kxMetaObject* referenceType;
        const char* message;
    } const rows[] = {
        {nullptr, nullptr, nullptr, "the kxParameterExist constraint has a null field name as input"},
        {"_int", kxGroup::staticMetaObject(), nullptr,
         "the kxParameterExist constraint has a field type which is not an kxMetaField but a kxGroup\n"},
        {"_missing", nullptr, nullptr, "the field _missing is not defined\n"},
        {"_int", nullptr, nullptr, kMet},
        {"_text", nullptr, nullptr, kMet},
        {"_int", kxIntField::staticMetaObject(), nullptr, kMet},
        {"_int", kxFloatField::staticMetaObject(), nullptr,
         "the field _int should be defined as kxFloatField and not as kxIntField\n"},
        {"_memory", kxObjectField::staticMetaObject(), nullptr, kMet}, // a field of a derived class
        {"_object", kxMemoryField::staticMetaObject(), nullptr,
         "the field _object should be defined as kxMemoryField and not as kxObjectField\n"},
        {"_object", kxObjectField::staticMetaObject(), kxGroup::staticMetaObject(), kMet}, // declared as nothing
        {"_null", kxObjectField::staticMetaObject(), kxGroup::staticMetaObject(), kMet},
        {"_group", kxObjectField::staticMetaObject(), kxNode::staticMetaObject(), kMet},
        {"_group", kxObjectField::staticMetaObject(), kxAttrSet::staticMetaObject(),
         "the field _group should be of type kxAttrSet and not of type kxGroup\n"},
        {"_int", kxIntField::staticMetaObject(), kxGroup::staticMetaObject(), kMet}, // no reference
    };
    const auto set = makeSet();
    for (const auto& row : rows)
    {
        const auto constraint = kxNew<kxParameterExist>();
        constraint->setFieldName(row.field);
        constraint->setFieldType(row.fieldType);
        constraint->setReferenceType(row.referenceType);
        const kxResult result = constraint->checkParameter(set);
        EXPECT_EQ(result, row.message ? kFailure : kSuccess) << (row.field ? row.field : "no name");
        EXPECT_EQ(constraint->getErrorMessage(), kxStringRef(row.message));
    }
}

TEST(kxParameterMatch, ComparesTheKindsOfTwoFields)
{
    struct
    {
        const char* one;
        const char* two;
        kxResult result;
        const char* message;
    } const rows[] = {
        {"_int", "_int", kSuccess, nullptr},
        {"_object", "_null", kSuccess, nullptr},
        {"_missing", "_absent", kSuccess, nullptr},
        {"_int", "_missing", kFailure, nullptr},
        {"_missing", "_int", kFailure, nullptr},
        {"_int", "_text", kFailure, nullptr},
        {"_object", "_memory", kFailure, nullptr}, // a derived class is another kind
        {"_int", nullptr, kFailure, "the kxParameterMatch constraint should have two non empty field names as input"},
    };
    const auto set = makeSet();
    for (const auto& row : rows)
    {
        const auto constraint = kxNew<kxParameterMatch>();
        constraint->setFieldOneName(row.one);
        constraint->setFieldTwoName(row.two);
        EXPECT_EQ(constraint->checkParameter(set), row.result) << row.one << " " << (row.two ? row.two : "no name");
        EXPECT_EQ(constraint->getErrorMessage(), kxStringRef(row.message));
    }
}

TEST(kxParameterNonNull, RefusesNullObjectsAndTexts)
{
    struct
    {
        const char* field;
        kxResult result;
    } const rows[] = {{"_int", kSuccess},      {"_text", kSuccess}, {"_object", kSuccess}, {"_missing", kFailure},
                      {"_nullText", kFailure}, {"_null", kFailure}, {"_memory", kFailure}, {nullptr, kFailure}};
    const auto set = makeSet();
    for (const auto& row : rows)
    {
        const auto constraint = kxNew<kxParameterNonNull>();
        constraint->setFieldName(row.field);
        EXPECT_EQ(constraint->checkParameter(set), row.result) << (row.field ? row.field : "no name");
        EXPECT_TRUE(constraint->getErrorMessage().isNull());
    }
}

TEST(kxParameterSetConstraint, TakesFromAFieldWhatItAsks)
{
    kxMetaField* name = kxNode::staticMetaObject()->findField("_name");
    kxMetaField* flags = kxNode::staticMetaObject()->findField("_flags");
    kxMetaField* volume = kxNode::staticMetaObject()->findField("_boundingVolume");
    const auto required = kxObjectField::staticMetaObject()->createInstanceRef<kxMetaField>();
    required->_fieldName = "_required";
    required->setFlags(kxMetaField::REQUIRED);
    const auto requiredInt = kxIntField::staticMetaObject()->createInstanceRef<kxMetaField>();
    requiredInt->setFlags(kxMetaField::REQUIRED);

    const auto exist = kxNew<kxParameterExist>();
    EXPECT_EQ(exist->setupDefaultConstraint(volume), kSuccess);
    EXPECT_EQ(exist->getFieldName(), kxStringRef("_boundingVolume"));
    EXPECT_EQ(exist->_fieldType, kxObjectField::staticMetaObject());
    EXPECT_EQ(exist->_referenceType, kxBoundingVolume::staticMetaObject());
    EXPECT_EQ(exist->setupDefaultConstraint(required), kSuccess);

    const auto nonNull = kxNew<kxParameterNonNull>();
    EXPECT_EQ(nonNull->setupDefaultConstraint(name), kFailure);
    EXPECT_EQ(nonNull->setupDefaultConstraint(flags), kFailure);
    EXPECT_EQ(nonNull->setupDefaultConstraint(requiredInt), kFailure) << "an integer is never null";
    EXPECT_EQ(nonNull->setupDefaultConstraint(required), kSuccess);
    EXPECT_EQ(nonNull->getFieldName(), kxStringRef("_required"));
    EXPECT_EQ(kxNew<kxParameterMatch>()->setupDefaultConstraint(required), kFailure);
}

} // namespace
} // namespace Kel::Opt
