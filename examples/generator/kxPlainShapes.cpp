// The shapes of any size: city, chain and star.
//
// They share a dozen small geometries, so that the vertex data stays the same few kilobytes from a thousand nodes to a
// million, and the hierarchy is what grows. Materials are many but look like one of eighteen: all are spelled out, as
// an exporter does that writes one per object.
#include "kxGeometryBuilder.h"
#include "kxPlacements.h"
#include "kxShapes.h"
#include "kxTextureMaker.h"

#include <algorithm>

namespace Kel::Examples
{

namespace
{

enum kxPart : int32_t
{
    WALLS,
    GABLE,
    HIP,
    CHIMNEY,
    WINDOW,
    DOOR,
    TANK,
    TREE,
    LAMP,
    BENCH,
    AWNING,
    GROUND,
    PART_COUNT
};

void addPart(kxScene& scene, kxGeometryBuilder& builder, const char* name)
{
    scene.geometries.push_back(builder.take(name));
    scene.meshes.push_back({name, {{static_cast<int32_t>(scene.geometries.size() - 1), -1}}});
}

/// The parts of a house are one metre wide and stand on the ground, so that a scale gives their size.
void addParts(kxScene& scene)
{
    kxGeometryBuilder builder;
    builder.addBox({-0.5, 0, -0.5}, {0.5, 1, 0.5});
    addPart(scene, builder, "walls");
    builder.addExtrusion({{-0.5625, 0}, {0.5625, 0}, {0, 1}}, -0.53125, 0.53125);
    addPart(scene, builder, "gable");
    builder.addLathe({{0.75, 0}, {0, 1}}, 4, true, 0.125);
    addPart(scene, builder, "hip");
    builder.addBox({-0.375, 0, -0.375}, {0.375, 1, 0.375});
    builder.addBox({-0.5, 1, -0.5}, {0.5, 1.125, 0.5});
    addPart(scene, builder, "chimney");
    builder.addBox({-0.5, 0, 0}, {0.5, 1, 0.0625});
    builder.addBox({-0.625, -0.125, 0}, {0.625, 0, 0.1875});
    addPart(scene, builder, "window");
    builder.addBox({-0.5, 0, 0}, {0.5, 2, 0.0625});
    builder.addBox({-0.75, 0, 0}, {0.75, 0.125, 0.5});
    addPart(scene, builder, "door");
    builder.addLathe({{0.5, 0}, {0.5, 1}, {0.25, 1.125}}, 12, true);
    addPart(scene, builder, "tank");
    builder.addLathe({{0.125, 0}, {0.125, 1}}, 5);
    builder.addLathe({{1, 0.75}, {0.5, 2}, {0.75, 1.875}, {0, 3.5}}, 7, true);
    addPart(scene, builder, "tree");
    builder.addLathe({{0.125, 0}, {0.0625, 0.25}, {0.0625, 3.5}}, 6);
    builder.addLathe({{0.125, 3.5}, {0.25, 4}, {0, 4.25}}, 6, true);
    addPart(scene, builder, "lamp");
    builder.addBox({-1, 0.375, -0.25}, {1, 0.5, 0.25});
    builder.addBox({-0.875, 0, -0.1875}, {-0.75, 0.375, 0.1875});
    builder.addBox({0.75, 0, -0.1875}, {0.875, 0.375, 0.1875});
    addPart(scene, builder, "bench");
    builder.addExtrusion({{0, 0}, {1, -0.25}, {0, 0.375}}, -1, 1);
    addPart(scene, builder, "awning");
    builder.addBox({-0.5, -1, -0.5}, {0.5, 0, 0.5});
    addPart(scene, builder, "ground");
}

uint32_t materialCountOf(const kxSceneOptions& options)
{
    return options.materialCount > 0 ? options.materialCount : std::max(2u, options.nodeCount / 50);
}

/// Even materials look like walls, odd ones like roofs and woodwork.
void addMaterials(kxScene& scene, uint32_t count)
{
    constexpr int kWalls[][3] = {{232, 214, 180}, {214, 170, 130}, {240, 236, 224}, {196, 128, 96},
                                 {206, 206, 198}, {226, 190, 110}, {176, 190, 200}, {222, 178, 168},
                                 {188, 196, 164}, {150, 134, 122}, {244, 222, 190}, {168, 96, 80}};
    constexpr int kRoofs[][3] = {{150, 70, 52}, {110, 60, 50}, {84, 90, 98},
                                 {120, 84, 56}, {66, 92, 80},  {176, 92, 60}};
    scene.images = {paintPlaster("plaster", 32), paintTiles("tiles", 32), paintMasonry("masonry", 32)};
    scene.textures = {{"plaster", 0, 0}, {"tiles", 1, 0}, {"masonry", 2, 0}};
    scene.materials.reserve(count);
    for (uint32_t index = 0; index < count; ++index)
    {
        const bool isWall = index % 2 == 0;
        const uint32_t look = isWall ? index / 2 % 12 : index / 2 % 6;
        const int* color = isWall ? kWalls[look] : kRoofs[look];
        kxSceneMaterial material;
        material.name = (isWall ? "facade." : "roof.") + std::to_string(index);
        for (size_t channel = 0; channel < 3; ++channel)
            material.color[channel] = linearComponent(color[channel]);
        material.roughness = isWall ? 0.875f : 0.75f;
        material.texture = isWall ? (look % 4 == 3 ? 2 : 0) : (look % 2 == 0 ? 1 : -1);
        scene.materials.push_back(std::move(material));
    }
}

kxScene startScene(const kxSceneOptions& options, const char* name)
{
    kxScene scene;
    scene.name = name;
    scene.plan.reserve(options.nodeCount);
    addParts(scene);
    addMaterials(scene, materialCountOf(options));
    return scene;
}

/// Lays houses until the nodes are used up; the last house may lack a few parts.
class kxCityBuilder
{
public:
    explicit kxCityBuilder(const kxSceneOptions& options)
        : m_options(options), m_scene(startScene(options, "City")), m_random(options.seed)
    {
        // About seven houses share their two materials when the number of materials is left to itself.
        const double houseCount = options.nodeCount / kNodesPerHouse;
        const double groupCount = std::max(1.0, m_scene.materials.size() / 2.0);
        m_housesPerGroup = std::max(1u, static_cast<uint32_t>(houseCount / groupCount));
    }

    kxScene build()
    {
        const uint32_t districtCount = m_options.nodeCount / kNodesPerDistrict + 1;
        uint32_t side = 1;
        while (side * side < districtCount)
            ++side;
        const double naturalExtent = side * kBlocksPerSide * kBlockPitch;
        m_spacing = m_options.extent > 0 ? m_options.extent / naturalExtent : 1.0;
        const double districtPitch = kBlocksPerSide * kBlockPitch * m_spacing;
        const int32_t root = add(-1, "City", unplaced());
        for (uint32_t district = 0; !isFull(); ++district)
        {
            const uint32_t column = district % side, row = district / side;
            const double x = (column - (side - 1) * 0.5) * districtPitch;
            const double z = (row - (side - 1) * 0.5) * districtPitch;
            addDistrict(root, std::string("D").append(std::to_string(district)), {x, 0, z});
        }
        return std::move(m_scene);
    }

private:
    static constexpr double kNodesPerHouse = 14.5;
    static constexpr uint32_t kNodesPerDistrict = 4200; // how many the loops below give on average
    static constexpr uint32_t kBlocksPerSide = 5;
    static constexpr double kBlockPitch = 64.0;

    bool isFull() const { return m_scene.plan.size() >= m_options.nodeCount; }

    /// Adds a node while there is room. What is added below a node that found no room finds none either.
    int32_t add(int32_t parent, const std::string& name, const kxPlacement& where, int32_t part = -1,
                int32_t material = -1)
    {
        return isFull() ? -1 : m_scene.plan.addNode(parent, name, where, part, material);
    }

    /// A level that changes nothing: a plain group or a transform that is the identity.
    int32_t addIdleLevel(int32_t parent, const std::string& name)
    {
        switch (m_random.below(5))
        {
        case 0: return add(parent, name, spelledIdentity(kxTransformKind::TRANSLATION));
        case 1: return add(parent, name, spelledIdentity(kxTransformKind::TRS));
        default: return add(parent, name, unplaced());
        }
    }

    void addDistrict(int32_t root, const std::string& name, const kxPoint& position)
    {
        int32_t parent = add(root, name, placedAt(position));
        if (m_random.below(3) == 0)
            parent = addIdleLevel(parent, name + "_zone");
        for (uint32_t block = 0; block < kBlocksPerSide * kBlocksPerSide && !isFull(); ++block)
        {
            const uint32_t column = block % kBlocksPerSide, row = block / kBlocksPerSide;
            const double x = (column - 2.0) * kBlockPitch * m_spacing;
            const double z = (row - 2.0) * kBlockPitch * m_spacing;
            addBlock(parent, name + "_B" + std::to_string(block), {x, 0, z});
        }
    }

    void addBlock(int32_t parent, const std::string& name, const kxPoint& position)
    {
        const kxPlacement where = placedAt(position);
        const int32_t block = add(parent, name, m_random.below(4) == 0 ? asMatrix(where) : where);
        add(block, name + "_ground", placed({}, {}, {56, 1, 56}), GROUND, materialOfHouse(0));
        const int32_t lots = m_random.below(4) == 0 ? block : addIdleLevel(block, name + "_lots");
        for (uint32_t lot = 0; lot < 12 && !isFull(); ++lot)
        {
            if (m_random.below(12) == 0)
                addGarden(lots, name + "_garden" + std::to_string(lot), lotPosition(lot));
            else
                addHouse(lots, name + "_H" + std::to_string(lot), lotPosition(lot));
        }
        for (uint32_t lamp = 0; lamp < 4; ++lamp)
            add(block, name + "_lamp" + std::to_string(lamp), placedAt({lamp * 16.0 - 24.0, 0, 27}), LAMP,
                materialOfHouse(1));
    }

    static kxPoint lotPosition(uint32_t lot)
    {
        const uint32_t column = lot % 4, row = lot / 4;
        return {column * 13.0 - 19.5, 0, row * 17.0 - 17.0};
    }

    int32_t materialOfHouse(uint32_t kind) const
    {
        const uint32_t group = m_houseCount / m_housesPerGroup;
        return static_cast<int32_t>((group * 2 + kind) % m_scene.materials.size());
    }

    void addGarden(int32_t parent, const std::string& name, const kxPoint& position)
    {
        const int32_t garden = add(parent, name, placedAt(position));
        const uint32_t treeCount = 2 + m_random.below(4);
        for (uint32_t tree = 0; tree < treeCount; ++tree)
        {
            const kxPoint place{m_random.between(-5, 5), 0, m_random.between(-6, 6)};
            const double size = m_random.between(0.75, 1.75);
            add(garden, name + "_tree" + std::to_string(tree),
                placed(place, rotationAbout({0, 1, 0}, m_random.between(0, 1)), {size, size, size}), TREE,
                materialOfHouse(1));
        }
        add(garden, name + "_bench", placed({0, 0, 4}, quarterTurns(m_random.below(4))), BENCH, materialOfHouse(1));
    }

    void addHouse(int32_t parent, const std::string& name, const kxPoint& position)
    {
        const double size = 1.0 + 0.0625 * m_random.below(4);
        const kxPlacement where = placed(position, quarterTurns(m_random.below(4)), {size, size, size});
        const int32_t house = add(parent, name, m_random.below(6) == 0 ? asMatrix(where) : where);
        const int32_t model = m_random.below(2) == 0 ? house : addIdleLevel(house, name + "_model");
        const double width = 7.0 + m_random.below(3);
        const double depth = 6.0 + m_random.below(3);
        const uint32_t floorCount = 1 + m_random.below(4);
        const double height = 3.0 * floorCount;
        const int32_t wall = materialOfHouse(0);
        const int32_t trim = materialOfHouse(1);

        add(model, name + "_walls", placed({}, {}, {width, height, depth}), WALLS, wall);
        const bool isHip = m_random.below(3) == 0;
        const double lift = 2.0 + 0.5 * m_random.below(3);
        const kxPlacement roof = placed({0, height, 0}, {}, {width, lift, depth});
        add(model, name + "_roof", m_random.below(4) == 0 ? asMatrix(roof) : roof, isHip ? HIP : GABLE, trim);
        add(model, name + "_chimney", placed({width * 0.25, height + 0.5, 0}, {}, {1, lift, 1}), CHIMNEY, wall);
        add(model, name + "_door", placedAt({-width * 0.25, 0, depth * 0.5}), DOOR, trim);
        if (m_random.below(3) == 0)
            add(model, name + "_awning", placedAt({width * 0.125, 2.5, depth * 0.5}), AWNING, trim);
        if (m_random.below(6) == 0)
            add(model, name + "_tank", placedAt({-width * 0.25, height, 0}), TANK, trim);
        const int32_t details = m_random.below(3) == 0 ? model : addIdleLevel(model, name + "_windows");
        for (uint32_t floor = 0; floor < floorCount; ++floor)
            for (uint32_t column = 0; column < 3; ++column)
            {
                if (floor == 0 && column == 0)
                    continue; // the door stands there
                const kxPoint place{(column - 1.0) * width * 0.25, 3.0 * floor + 1.0, depth * 0.5};
                const std::string window = name + "_window" + std::to_string(floor * 3 + column);
                if (m_random.below(3) == 0)
                    add(details, window, placed(place, {}, {1, 1.25, 1}), WINDOW, trim);
                else
                    add(details, window, placedAt(place), WINDOW, trim);
            }
        ++m_houseCount;
    }

    const kxSceneOptions& m_options;
    kxScene m_scene;
    kxMakerRandom m_random;
    double m_spacing = 1.0;
    uint32_t m_housesPerGroup = 1;
    uint32_t m_houseCount = 0;
};

int32_t anyMaterial(const kxScene& scene, kxMakerRandom& random)
{
    return static_cast<int32_t>(random.below(static_cast<uint32_t>(scene.materials.size())));
}

} // namespace

kxScene makeCity(const kxSceneOptions& options)
{
    return kxCityBuilder(options).build();
}

kxScene makeChain(const kxSceneOptions& options)
{
    kxScene scene = startScene(options, "Chain");
    kxMakerRandom random(options.seed);
    const double extent = options.extent > 0 ? options.extent : std::min(1000.0, 0.25 * options.nodeCount);
    double reached = 0.0;
    bool isTurned = false; // a node after a turned one turns back, so that the chain stays straight
    const kxRotation turn = rotationAbout({0, 1, 0}, 0.125);
    const kxRotation turnBack = rotationAbout({0, 1, 0}, -0.125);
    for (uint32_t node = 0; node < options.nodeCount; ++node)
    {
        const double wanted = onGrid(extent * node / options.nodeCount, kPositionGrid);
        const kxPoint step{wanted - reached, 0, 0};
        kxPlacement where;
        if (isTurned)
        {
            where = placed({}, turnBack);
            isTurned = false;
        }
        else
        {
            const uint32_t kind = random.below(8);
            isTurned = kind == 0;
            reached = kind < 6 ? wanted : reached;
            switch (kind)
            {
            case 0: where = placed(step, turn); break;
            case 1: where = asMatrix(placedAt(step)); break;
            case 2: where = placed(step, {}); break;
            case 6: where = unplaced(); break;
            case 7: where = spelledIdentity(kxTransformKind::TRS); break;
            default: where = placedAt(step); break;
            }
        }
        const bool isDrawn = node + 1 == options.nodeCount || random.below(16) == 0;
        const int32_t part = isDrawn ? static_cast<int32_t>(random.below(PART_COUNT)) : -1;
        scene.plan.addNode(static_cast<int32_t>(node) - 1, "link" + std::to_string(node), where, part,
                           isDrawn ? anyMaterial(scene, random) : -1);
    }
    return scene;
}

kxScene makeStar(const kxSceneOptions& options)
{
    kxScene scene = startScene(options, "Star");
    kxMakerRandom random(options.seed);
    uint32_t side = 1;
    while (uint64_t(side) * side + 1 < options.nodeCount)
        ++side;
    const double pitch = (options.extent > 0 ? options.extent : 16.0 * side) / side;
    scene.plan.addNode(-1, "centre", unplaced());
    for (uint32_t node = 1; node < options.nodeCount; ++node)
    {
        const uint32_t column = (node - 1) % side, row = (node - 1) / side;
        const kxPoint position{(column - (side - 1) * 0.5) * pitch, 0, (row - (side - 1) * 0.5) * pitch};
        kxPlacement where = placedAt(position);
        const uint32_t kind = random.below(8);
        if (kind == 0)
            where = placed(position, rotationAbout({0, 1, 0}, random.between(0, 1)));
        else if (kind == 1)
            where = asMatrix(placed(position, quarterTurns(random.below(4)), {1, 2, 1}));
        else if (kind == 2)
            where = unplaced();
        const int32_t part = static_cast<int32_t>(random.below(PART_COUNT));
        scene.plan.addNode(0, "ray" + std::to_string(node), where, part, anyMaterial(scene, random));
    }
    return scene;
}

kxScene makeScene(const kxSceneOptions& options)
{
    kxSceneOptions checked = options;
    checked.nodeCount = std::max(1u, options.nodeCount);
    switch (options.shape)
    {
    case kxSceneShape::CITY: return makeCity(checked);
    case kxSceneShape::CHAIN: return makeChain(checked);
    case kxSceneShape::STAR: return makeStar(checked);
    case kxSceneShape::VILLAGE: break;
    }
    return makeVillage(checked);
}

} // namespace Kel::Examples
