#include "tests/opt/items/itemTestClasses.h"

#include "opt/libKXOpt.h"
#include "platform/sg/kxAttrSet.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxTestItem)

void kxTestItem::listFields(kxFields<kxTestItem>& fields)
{
    fields.add(&kxTestItem::_group, "_group", "a group").setFlags(kxMetaField::PARAMETER | kxMetaField::REQUIRED);
    fields.add(&kxTestItem::_object, "_object", "any object").setFlags(kxMetaField::PARAMETER);
    fields.add(&kxTestItem::_number, "_number", "a number").setFlags(kxMetaField::PARAMETER);
    fields.add(&kxTestItem::_text, "_text", "a text").setFlags(kxMetaField::PARAMETER);
    fields.add(&kxTestItem::_working, "_working", "no parameter");
}

void kxTestItem::userSetupInput(kxParameterSet* input)
{
    m_trace += "input ";
    // What a constraint sees is the input, not the fields.
    if (input && input->hasField("_loseGroup"))
        _group = nullptr;
    if (input && input->hasField("_loseInput"))
        input->setFieldValue("_group", static_cast<kxObject*>(nullptr));
}

void kxTestItem::userSetupOutput(kxParameterSet* result)
{
    m_trace += "output ";
    result->setFieldValue("_trace", m_trace.c_str());
}

kxSmartPointer<kxParameterSetConstraintList> kxTestItem::getConstraints()
{
    auto match = kxNew<kxParameterMatch>();
    match->setFieldOneName("_number");
    match->setFieldTwoName("_limit");
    auto list = kxNew<kxParameterSetConstraintList>();
    list->append(match);
    return list;
}

kxMetaObject* kxTestItem::getInterfacedType()
{
    return kxGroup::staticMetaObject();
}

kxStringRef kxTestItem::getInterfaceName()
{
    return "kxTestItem";
}

kxSmartPointer<kxInterfaceDeclarationList> kxTestItem::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"report", &kxTestItem::report},
                                                   {"report", &kxTestItem::other}, // too late
                                                   {"unmarked", &kxTestItem::unmarked},
                                                   {"nothing", &kxTestItem::nothing},
                                                   {"two", &kxTestItem::two}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

kxSmartPointer<kxParameterSet> kxTestItem::report(kxParameterSet*)
{
    m_trace += "report ";
    kxParameterSetWrapper result;
    result->setFieldValue("_number", _number);
    result->setFieldValue("_text", _text);
    result->setFieldValue("_group", _group);
    result->setFieldValue("_object", _object);
    result->setFieldValue("_working", _working);
    result.success();
    return result;
}

kxSmartPointer<kxParameterSet> kxTestItem::other(kxParameterSet*)
{
    m_trace += "other ";
    return kxParameterSetWrapper();
}

kxSmartPointer<kxParameterSet> kxTestItem::nothing(kxParameterSet*)
{
    return nullptr;
}

kxSmartPointer<kxParameterSet> kxTestItem::unmarked(kxParameterSet*)
{
    kxParameterSetWrapper result;
    result.setErrorMessage("no luck\n");
    return result;
}

kxSmartPointer<kxParameterSet> kxTestItem::two(kxParameterSet*)
{
    kxParameterSetWrapper result;
    result->setFieldValue(kxParameterSet::succeed, 2);
    return result;
}

void registerTestItems()
{
    libKXOpt_arkRegister();
    kxRegisterClass<kxTestItem>("kxTestItem", "item of the tests");
}

namespace
{

/// Constraint that does not care which field it is set up from: it gets one for each.
class kxTestConstraint : public kxParameterSetConstraint
{
    KX_OBJECT(kxTestConstraint, kxParameterSetConstraint)

    static bool s_refuse;
    static int s_checks;

    kxResult checkParameter(kxParameterSet*) override
    {
        ++s_checks;
        return s_refuse ? fail("refused") : kSuccess;
    }
};
KX_IMPLEMENT(kxTestConstraint)
bool kxTestConstraint::s_refuse = false;
int kxTestConstraint::s_checks = 0;

class kxItemDispatch : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        registerTestItems();
        // With a registry, which keeps what item classes declare, and without one.
        m_item = GetParam() ? m_run.create<kxTestItem>() : kxNew<kxTestItem>();
        m_input->setFieldValue("_group", m_group);
    }
    kxParameterSetWrapper apply(const char* function) { return m_item->apply(function, m_input).get(); }
    std::string traceOf(const kxParameterSetWrapper& result)
    {
        kxStringRef trace;
        result->getFieldValue("_trace", trace);
        return trace.str();
    }

    TestRun m_run;
    kxSmartPointer<kxTestItem> m_item;
    kxSmartPointer<kxGroup> m_group = kxNew<kxGroup>();
    kxSmartPointer<kxParameterSet> m_input = kxNew<kxParameterSet>();
};

TEST_P(kxItemDispatch, InputsReachTheFieldsAndOutputsTheResult)
{
    m_input->setFieldValue("_number", 3);
    m_input->setFieldValue("_limit", 9); // of the type of the number, as the item wants it
    m_input->setFieldValue("_working", 5);
    m_input->setFieldValue("_extra", 5);
    const kxParameterSetWrapper result = apply("report");
    EXPECT_TRUE(result.hasSucceeded());
    EXPECT_EQ(traceOf(result), "input report output ");
    int32_t number = 0, working = 0;
    kxStringRef text;
    kxObject* group = nullptr;
    result->getFieldValue("_number", number);
    result->getFieldValue("_working", working);
    result->getFieldValue("_text", text);
    result->getFieldValue("_group", group);
    EXPECT_EQ(number, 3);
    EXPECT_EQ(working, 1) << "no parameter, so not copied";
    EXPECT_EQ(text, kxStringRef("default")) << "not given";
    EXPECT_EQ(group, m_group.get());
}

TEST_P(kxItemDispatch, WhatDoesNotFitAFieldDoesNotGetIn)
{
    m_item->_object = m_group;
    m_input->setFieldValue("_object", 4);      // not a reference: the field stays as it was
    m_input->setFieldValue("_number", "many"); // the same
    m_input->setFieldValue("_limit", "few");
    m_input->setFieldValue("_group", m_item); // a reference of another type counts as null
    const kxParameterSetWrapper result = apply("report");
    EXPECT_TRUE(result.hasSucceeded()) << result.getErrorMessage();
    EXPECT_EQ(m_item->_object.get(), m_group.get());
    EXPECT_EQ(m_item->_number, 7);
    EXPECT_EQ(m_item->_group, nullptr);
}

TEST_P(kxItemDispatch, LinkedInputsAreCurrent)
{
    const auto source = kxNew<kxParameterSet>();
    m_input->setFieldSource("_number", "_count", source);
    for (int32_t i = 1; i < 3; ++i)
    {
        source->setFieldValue("_count", i);
        apply("report");
        EXPECT_EQ(m_item->_number, i);
    }
}

TEST_P(kxItemDispatch, SaysWhyACallFailed)
{
    struct
    {
        const char* what;
        const char* function;
        void (*prepare)(kxParameterSet* input);
        int32_t succeed;
        const char* message;
        const char* trace; // what ran
    } const rows[] = {
        {"an unknown function", "fly", nullptr, 0, "The function fly is not available for the interface kxTestItem\n",
         ""},
        {"a function in another case", "Report", nullptr, 0,
         "The function Report is not available for the interface kxTestItem\n", ""},
        {"the null name", nullptr, nullptr, 0, "The function  is not available for the interface kxTestItem\n", ""},
        {"a required object that is null", "report",
         [](kxParameterSet* input) { input->setFieldValue("_group", static_cast<kxObject*>(nullptr)); }, 0, "",
         "input "},
        {"the item's own constraint", "report",
         [](kxParameterSet* input)
         {
             input->setFieldValue("_number", 1);
             input->setFieldValue("_limit", 1.0f);
         },
         0, "", "input "},
        {"a constraint looks at the input, not at the fields", "report",
         [](kxParameterSet* input) { input->setFieldValue("_loseGroup", 1); }, 1, "", "input report output "},
        {"a constraint looks behind userSetupInput", "report",
         [](kxParameterSet* input) { input->setFieldValue("_loseInput", 1); }, 0, "", "input "},
        {"a function that marks nothing", "unmarked", nullptr, 0, "no luck\n", "input output "},
        {"a function that gives nothing", "nothing", nullptr, 0, "", "input output "},
        {"a function that marks in its own way", "two", nullptr, 2, "", "input output "},
    };
    for (const auto& row : rows)
    {
        SetUp();
        m_input = kxNew<kxParameterSet>();
        m_input->setFieldValue("_group", m_group);
        if (row.prepare)
            row.prepare(m_input);
        const kxParameterSetWrapper result = m_item->apply(row.function, m_input).get();
        int32_t succeed = -1;
        EXPECT_EQ(result->getFieldValue(kxParameterSet::succeed, succeed), kSuccess) << row.what;
        EXPECT_EQ(succeed, row.succeed) << row.what;
        EXPECT_STREQ(result.getErrorMessage(), row.message) << row.what;
        EXPECT_EQ(m_item->m_trace, row.trace) << row.what;
    }
    m_input = kxNew<kxParameterSet>();
    EXPECT_STREQ(apply("report").getErrorMessage(), "the field _group is not defined\n");
    EXPECT_TRUE(kxParameterSetWrapper(m_item->apply("report", nullptr)).hasSucceeded()) << "no input, nothing to check";
    EXPECT_EQ(m_item->checkConstraints(nullptr), nullptr);
}

TEST_P(kxItemDispatch, ClassesRegisteredMeanwhileCount)
{
    EXPECT_TRUE(apply("report").hasSucceeded());
    kxRegisterClass<kxTestConstraint>("kxTestConstraint", "constraint of the tests");
    kxTestConstraint::s_checks = 0;
    EXPECT_TRUE(apply("report").hasSucceeded());
    EXPECT_EQ(kxTestConstraint::s_checks, 5)
        << "one for each field of the item classes, those of the services left out";
    kxTestConstraint::s_refuse = true;
    EXPECT_STREQ(apply("report").getErrorMessage(), "refused");
    ASSERT_NE(m_item->checkConstraints(m_input), nullptr);
    EXPECT_EQ(m_item->checkConstraints(m_input)->getMetaObject(), kxTestConstraint::staticMetaObject());
    kxTestConstraint::s_refuse = false;
}

INSTANTIATE_TEST_SUITE_P(Items, kxItemDispatch, testing::Bool());

TEST(kxItemBase, TablesAreSortedAndJoinedAsTheyAre)
{
    registerTestItems();
    const auto functions = kxNew<kxTestItem>()->getFunctions();
    EXPECT_EQ(functions->getCount(), 4u) << "of two functions of one name the first counts";
    EXPECT_TRUE(functions->m_declarations.isSorted());

    const auto joined = kxTestItem::concatenateDeclarations(functions, kxNew<kxTestItem>()->getFunctions());
    EXPECT_EQ(joined, functions);
    EXPECT_EQ(joined->getCount(), 8u);
    EXPECT_FALSE(joined->m_declarations.isSorted());
    EXPECT_EQ(kxTestItem::concatenateDeclarations(nullptr, functions), functions);
    EXPECT_EQ(kxTestItem::concatenateDeclarations(functions, nullptr), functions);

    const auto first = kxNew<kxTestItem>()->getConstraints();
    const auto second = kxNew<kxTestItem>()->getConstraints();
    EXPECT_EQ(kxTestItem::concatenateConstraints(first, second), first);
    EXPECT_EQ(first->getCount(), 2u);
    EXPECT_EQ(first->get(1), second->get(0));
    EXPECT_EQ(kxTestItem::concatenateConstraints(nullptr, second), second);
    EXPECT_EQ(kxTestItem::concatenateConstraints(nullptr, nullptr), nullptr);
}

} // namespace
} // namespace Kel::Opt
