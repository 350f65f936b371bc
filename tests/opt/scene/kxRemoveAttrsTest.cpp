#include "opt/scene/kxRemoveAttrs.h"

#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

#include "platform/attrs/kxMaterialAttr.h"

namespace Kel::Opt
{

using Kel::Test::expectOptimized;
using Kel::Test::kUnchanged;
using Kel::Test::OptimizationCase;

namespace
{

// The picture changes: that is what removal is for.
const OptimizationCase kCases[] = {
    {"every occurrence", "Group(AttrSet{Material red, Material blue}(AttrSet{Material red}))",
     "Group(AttrSet(AttrSet))"},
    {"the same one twice in a set", "AttrSet{Material#1 red, State[state=\"fog\"], Material#1}",
     "AttrSet{State[state=\"fog\"]}"},
    {"other types", "AttrSet{State[state=\"fog\"]}", kUnchanged},
    {"locked sets", "Group(AttrSet{Material red}, AttrSet!{Material red})", "Group(AttrSet, AttrSet!{Material red})"},
    {"sets whose attributes are part of what they are",
     "Group(OverrideAttrSet{Material red}, Geometry{tri, Material red})", kUnchanged},
};

} // namespace

TEST(kxRemoveAttrs, RemovesOneType)
{
    for (OptimizationCase c : kCases)
    {
        c.flags = Kel::Test::PICTURE_CHANGES;
        expectOptimized("kxRemoveAttrs", {{"attributeType", "kxMaterialAttr"}}, c);
    }
    expectOptimized("kxRemoveAttrs", {{"attributeType", "kxAttr"}},
                    {"derived types", "AttrSet{Material red, State[state=\"fog\"]}", "AttrSet"});
}

TEST(kxRemoveAttrs, RefusesTypesThatBelongToTheirNode)
{
    TestRun run;
    auto remove = run.create<kxRemoveAttrs>();
    EXPECT_FALSE(remove->configure(0));
    EXPECT_EQ(run.takeText(), "ERROR: There is no registered attribute type\n");
    remove->_attributeType = kxMetaObject::find(kxStringRef("kxGeometryAttr"));
    EXPECT_FALSE(remove->configure(0));
    EXPECT_EQ(run.takeText(),
              "ERROR: The attribute kxGeometryAttr can't be removed since it is not defined in kxAttrSet\n");
}

} // namespace Kel::Opt
