// Units, likeness and hashes of attributes.
#include "platform/attrs/kxTextureBindAttr.h"
#include "tests/support/kxTestScene.h"

#include <gtest/gtest.h>

namespace Kel::Test
{
namespace
{

TEST(kxTextureBindAttr, HasTheUnitOfItsSlot)
{
    const char* core[] = {"baseColorTexture", "metallicRoughnessTexture", "normalTexture", "occlusionTexture",
                          "emissiveTexture"};
    for (uint32_t unit = 0; unit < 5; ++unit)
        EXPECT_EQ(kxTextureBindAttr::unitOfSlot(core[unit]), unit);
    const uint32_t sheen = kxTextureBindAttr::unitOfSlot("KHR_materials_sheen/sheenColorTexture");
    const uint32_t specular = kxTextureBindAttr::unitOfSlot("KHR_materials_specular/specularTexture");
    EXPECT_GE(sheen, 5u);
    EXPECT_NE(sheen, specular);
    EXPECT_EQ(kxTextureBindAttr::unitOfSlot("KHR_materials_sheen/sheenColorTexture"), sheen);

    auto bind = kxNew<kxTextureBindAttr>();
    bind->_unit = 3;
    bind->userLoaded();
    EXPECT_EQ(bind->getUnit(), 3) << "a bind without a slot keeps its unit";
    bind->_slot = "KHR_materials_sheen/sheenColorTexture";
    bind->userLoaded();
    EXPECT_EQ(bind->getUnit(), sheen);
}

TEST(kxAttr, IsAlikeByValueAndHashesAlike)
{
    const struct
    {
        const char* one;
        const char* other;
        bool alike;
    } cases[] = {
        {"Material \"a\" red[roughnessFactor=0.5]", "Material \"b\" red[roughnessFactor=0.5]",
         true}, // but for the name
        {"Material red", "Material blue", false},
        {"Material[metallicFactor=0]", "Material[metallicFactor=-0]", true},
        {"Material[alphaCutoff=nan]", "Material[alphaCutoff=nan]", true},
        {"Material[extensionNames=(\"x\",\"y\")]", "Material[extensionNames=(\"x\",\"y\")]", true},
        {"Material[extensionNames=(\"x\",\"y\")]", "Material[extensionNames=(\"y\",\"x\")]", false},
        {"Material[extensionNames=(\"x\")]", "Material[extensionNames=(\"x\",null)]", false},
        {"Light", "Light[intensity=1]", true},
        {"State", "Particle", false}, // equal fields would not be enough
        {"Texture[samplerName=\"a\" wrapS=33071]", "Texture[samplerName=\"b\" wrapS=33071]", true},
        {"TextureBind<\"a.png\">", "TextureBind<\"a.png\">", false}, // two textures: references count by identity
        {"TextureBind[scale=2]", "TextureBind[scale=2]", true},
    };
    for (const auto& c : cases)
    {
        const kxSmartPointer<kxObject> one = parseTestObject(c.one);
        const kxSmartPointer<kxObject> other = parseTestObject(c.other);
        EXPECT_EQ(one->isAlikeShallow(other), c.alike) << c.one << " and " << c.other;
        EXPECT_EQ(one->hashShallow() == other->hashShallow(), c.alike) << c.one << " and " << c.other;
        EXPECT_TRUE(one->isAlikeShallow(one->copyShallow())) << c.one;
        EXPECT_EQ(one->copyShallow()->hashShallow(), one->hashShallow()) << c.one;
    }
}

} // namespace
} // namespace Kel::Test
