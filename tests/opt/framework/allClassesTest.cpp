// What is true of every class there is.
#include "tests/opt/framework/testOptimizations.h"
#include "tests/opt/testRun.h"

#include "opt/iterate/kxOptVisitObject.h"
#include "platform/core/kxListBase.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{

namespace
{

/// A text that sets a field to something else than what it holds; empty where text cannot.
std::string otherValue(const kxMetaField* field, const void* value)
{
    switch (field->getKind())
    {
    case kxFieldKind::BOOL: return field->valueToText(value) == "true" ? "false" : "true";
    case kxFieldKind::INT:
    case kxFieldKind::UNSIGNED:
    case kxFieldKind::LONG: return "77";
    case kxFieldKind::FLOAT:
    case kxFieldKind::DOUBLE: return "0.375";
    case kxFieldKind::STRING: return "another text";
    case kxFieldKind::ENUM:
        for (const kxMetaEnum::Value& other : field->getMetaEnum()->getValues())
            if (field->valueToText(value) != other.name)
                return other.name;
        return "";
    case kxFieldKind::VEC2F: return "1 2";
    case kxFieldKind::VEC3F: return "1 2 3";
    case kxFieldKind::VEC4F:
    case kxFieldKind::QUATF: return "1 2 3 4";
    case kxFieldKind::AABOX: return "1 2 3 4 5 6";
    case kxFieldKind::MATRIX44F: return "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16";
    case kxFieldKind::OBJECT: return field->getReferencedType() == kxMetaObject::staticMetaObject() ? "kxGeometry" : "";
    default: return "";
    }
}

} // namespace

TEST(AllClasses, AreDescribedAndMade)
{
    registerTestOptimizations();
    for (kxMetaObject* type : kxMetaObject::getAll())
    {
        SCOPED_TRACE(type->getName().c_str());
        EXPECT_TRUE(type->getName().view().starts_with("kx"));
        EXPECT_GT(std::string_view(type->getHelp()).size(), 2u);
        EXPECT_EQ(std::string_view(type->getHelp()).find('\n'), std::string_view::npos);
        EXPECT_EQ(kxMetaObject::find(type->getName()), type);
        if (!type->isDerivedFrom(kxMetaField::staticMetaObject()) && type != kxMetaObject::staticMetaObject())
        {
            const kxSmartPointer<kxObject> object = type->createInstance();
            EXPECT_EQ(object == nullptr, type->isAbstract());
            EXPECT_TRUE(!object || object->isOfExactType(type));
        }
        for (const kxMetaField* field : type->getFields())
        {
            EXPECT_FALSE(field->getName().isEmpty());
            EXPECT_GT(std::string_view(field->getHelp()).size(), 3u) << field->getName().c_str();
            EXPECT_EQ(type->findField(field->getName()), field) << "two fields are called " << field->getName().c_str();
        }
    }
}

TEST(AllClasses, HoldTheirDefaultsAndCopyEveryValue)
{
    registerTestOptimizations();
    for (kxMetaObject* type : kxMetaObject::getAll())
    {
        if (type->isAbstract() || type->isDerivedFrom(kxMetaField::staticMetaObject()) ||
            type->isDerivedFrom(kxMetaObject::staticMetaObject()))
            continue;
        SCOPED_TRACE(type->getName().c_str());
        const kxSmartPointer<kxObject> fresh = type->createInstance();
        for (const kxMetaField* field : type->getFields())
        {
            if (field->isAppended())
                continue;
            SCOPED_TRACE(field->getName().c_str());
            const kxSmartPointer<kxObject> object = type->createInstance();
            void* value = field->getAddress(object.get());
            EXPECT_EQ(field->valueToText(value), field->valueToText(field->getAddress(fresh.get())));
            const std::string text = otherValue(field, value);
            if (text.empty())
                continue;
            EXPECT_TRUE(field->valueFromText(text, value));
            EXPECT_EQ(field->valueToText(value), text);
            object->userLoaded(); // some fields follow from others
            if (field->hasFlag(kxMetaField::NOT_SAVED) || field->hasFlag(kxMetaField::LINK_BACK))
                continue;
            const kxSmartPointer<kxObject> copy = object->copyShallow();
            EXPECT_EQ(field->valueToText(field->getAddress(copy.get())), field->valueToText(value));
            EXPECT_TRUE(object->isAlikeShallow(copy));
            EXPECT_EQ(object->hashShallow(), copy->hashShallow());
        }
    }
}

TEST(AllClasses, RunOnEmptyAndOddScenesWithoutHarm)
{
    const size_t before = (registerTestOptimizations(), kxObject::getLiveCount());
    const kxReportCollector reports;
    for (kxMetaObject* type : kxOptBase::staticMetaObject()->getDerived())
    {
        if (type->isAbstract())
            continue;
        SCOPED_TRACE(type->getName().c_str());
        for (const char* text : {"null", "Group", "Group(null, AttrSet{Material}(null, Geometry, null), Switch)"})
        {
            TestRun run(kxNew<kxTestService>());
            NamedScene scene(text);
            const auto driver = run.createDriver("[OPTIMIZE]\noptimizationCount = 1\n");
            driver->getRegistry()->setValue("OPTIMIZATION1", "name", type->getName());
            EXPECT_TRUE(driver->apply(scene.m_root));
            EXPECT_EQ(run.takeText().find("skipped"), std::string::npos);

            // And past the driver, without a check before.
            const auto optimization = run.getService()->createOptBase(type);
            optimization->setRegistry(driver->getRegistry());
            if (optimization->configure(-1))
                optimization->apply(scene.m_root);
        }
    }
    EXPECT_EQ(kxObject::getLiveCount(), before);
}

// A script may say what is visited: then objects come that the class has nothing to do with.
TEST(AllClasses, VisitorsPassOverObjectsOfOtherTypes)
{
    registerTestOptimizations();
    int visitorCount = 0;
    for (kxMetaObject* type : kxOptVisitObject::staticMetaObject()->getDerived())
    {
        if (type->isAbstract())
            continue;
        SCOPED_TRACE(type->getName().c_str());
        ++visitorCount;
        TestRun run(kxNew<kxTestService>());
        NamedScene scene("Group(Actor(Geometry{cube}), AttrSet{Material red, Texture}(Geometry{tri}), LightSet{Light "
                         "red}, Switch<0>(Camera))");
        const std::string text = scene.print();
        const auto driver = run.createDriver("[OPTIMIZE]\noptimizationCount = 1\n");
        driver->getRegistry()->setValue("OPTIMIZATION1", "name", type->getName());
        driver->getRegistry()->setValue("OPTIMIZATION1", "visitedMetaObject", "kxObject");
        EXPECT_TRUE(driver->apply(scene.m_root));
        EXPECT_EQ(scene.print(), text);
    }
    EXPECT_GE(visitorCount, 6);
}

} // namespace Kel::Opt
