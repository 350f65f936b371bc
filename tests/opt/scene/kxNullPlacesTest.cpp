// Lists may have places that stay empty: a file brings objects of classes that nobody knows here.
#include "opt/verify/kxPictureComparison.h"
#include "platform/core/kxDirectory.h"
#include "platform/core/kxFieldTypes.h"
#include "platform/core/kxObjectList.h"
#include "tests/opt/testRun.h"

namespace Kel::Opt
{

namespace
{

constexpr char kScene[] = R"(Group "root"(
    Transform "t"<1 2 3>(Mesh "m"(Geometry{tri, Material red, TextureBind<"wood.png">}, Geometry{morphed}, Geometry{cube})),
    Lod<0 10>(Group "near", Geometry{cube}), Switch<1>(Group, AttrSet{Material blue}(Geometry{quad})),
    Shader[passes=(ShaderPass{Material red})](Geometry{tri#2}), LightSet{Light}(Group),
    Joint#j(Joint#k), Actor[skin=Skin[joints=(Joint#j, Joint#k)]](Mesh(Geometry{skinned}))))";

constexpr char kScript[] = R"([OPTIMIZE]
optimizationCount = 12
[OPTIMIZATION1]
name = kxShareAttrs
attributeType = kxAttr
[OPTIMIZATION2]
name = kxPromoteAttrs
attributeType = kxMaterialAttr
[OPTIMIZATION3]
name = kxCollapseHierarchy
nodeType = kxGroup
[OPTIMIZATION4]
name = kxLimitActorBlendPalettes
maxBlendMatrixCount = 1
[OPTIMIZATION5]
name = kxVertexBlending
[OPTIMIZATION6]
name = kxResizeImage
maxWidth = 8
[OPTIMIZATION7]
name = kxConvertImage
[OPTIMIZATION8]
name = kxOptimizeActorAnimations
[OPTIMIZATION9]
name = kxSpatialPartition
[OPTIMIZATION10]
name = kxCreateBoundingBoxes
[OPTIMIZATION11]
name = kxFlattenHierarchy
[OPTIMIZATION12]
name = kxCompileGraph
)";

/// A list, and one of its places.
struct Place
{
    kxGroup* group; // whose children the list holds, null for other lists
    kxObjectList* list;
    uint32_t index;
    std::string text;

    void empty() const
    {
        if (group)
            group->setChild(index, nullptr); // the child lets go of its parent, as a reader sees to it
        else
            list->set(index, nullptr);
    }
};

std::vector<Place> placesOf(kxDirectory& directory)
{
    std::vector<Place> places;
    for (uint32_t i = 0; i < directory.getSharedEntryCount(); ++i)
    {
        kxObject* object = directory.getSharedObject(i);
        auto* group = kxCast<kxGroup>(object);
        for (const kxMetaField* field : object->getMetaObject()->getFields())
        {
            if (field->getKind() != kxFieldKind::OBJECT || field->hasFlag(kxMetaField::LINK_BACK))
                continue;
            const auto* reference = static_cast<const kxObjectField*>(field);
            auto* list = kxCast<kxObjectList>(reference->getObject(field->getAddress(object)));
            for (uint32_t place = 0; list && place < list->getCount(); ++place)
                places.push_back({group && list == group->_childList.get() ? group : nullptr, list, place,
                                  kxFormat("%s.%s[%u]", object->getTypeName(), field->getName().c_str(), place)});
        }
    }
    return places;
}

} // namespace

TEST(NullPlaces, DoNoHarmToStepsAndComparisons)
{
    size_t count = 1;
    for (size_t i = 0; i < count; ++i)
    {
        const kxReportCollector unheard;
        const Kel::Test::TestScene scene = Kel::Test::parseScene(kScene);
        const auto directory = kxNew<kxDirectory>();
        directory->addEntry(scene.info, "scene");
        const std::vector<Place> places = placesOf(*directory);
        count = places.size();
        SCOPED_TRACE(places[i].text);
        places[i].empty(); // the directory keeps what stood there: a skin does not hold its joints

        TestRun run;
        run.getService()->_file = scene.asFile();
        kxDrawList draws, again;
        draws.collect(run.getService()->getInfos());
        again.collect(run.getService()->getInfos());
        EXPECT_TRUE(kxPictureComparison().compare(draws, again));
        run.createDriver(kScript)->apply(static_cast<kxInfo*>(nullptr));
        EXPECT_EQ(Kel::Test::findLinkFaults(scene.root()), "");
    }
    EXPECT_GT(count, 40u);
}

} // namespace Kel::Opt
