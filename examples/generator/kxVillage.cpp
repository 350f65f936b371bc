// The village: where everything stands, moves and shines.
//
// It holds on purpose what piles up in a scene that many hands have worked on, so that every kind of optimization finds
// something: groups in groups, identities spelled out, copies of materials and pictures, one picture far too large for
// its size on screen, keys that say nothing new, empty groups; and beside these the things that an optimization has to
// leave as they are: a skin, a morph target, a mirrored house, moving nodes, cameras, lights, notes of other programs.
#include "kxPlacements.h"
#include "kxShapes.h"
#include "kxVillageClips.h"
#include "kxVillageGround.h"
#include "kxVillageLooks.h"
#include "kxVillageMeshes.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace Kel::Examples
{

namespace
{

constexpr double kNaturalExtent = 260.0;

std::string numbered(const char* name, int number)
{
    return std::string(name) + (number < 10 ? " 0" : " ") + std::to_string(number);
}

class kxVillageBuilder
{
public:
    explicit kxVillageBuilder(const kxSceneOptions& options) : m_random(options.seed), m_seed(options.seed)
    {
        m_scene.name = "Veltrin";
        m_extentScale = options.extent > 0 ? options.extent / kNaturalExtent : 1.0;
    }

    kxScene build()
    {
        addVillageLooks(m_scene);
        addVillageMeshes(m_scene, m_seed);
        copyMaterials();
        addLightKinds();

        const kxPlacement size = placed({}, {}, {m_extentScale, m_extentScale, m_extentScale});
        const int32_t root = add(-1, "Veltrin", m_extentScale == 1.0 ? unplaced() : size);
        attach(root).extras = R"({"units":"metre","revision":12,"tags":["harbour","example"]})";
        const int32_t layout = add(root, "Layout", unplaced());
        addGround(add(layout, "Ground", spelledIdentity(kxTransformKind::TRS)));
        const int32_t town = add(layout, "Town", unplaced());
        addHouses(add(town, "Houses", unplaced()));
        addChurch(town);
        addMarket(add(town, "Market", placedAt({0, kQuayTop, -13})));
        addHarbour(add(layout, "Harbour", unplaced()));
        addBoats(add(layout, "Boats", spelledIdentity(kxTransformKind::TRANSLATION)));
        addPlants(add(layout, "Plants", unplaced()));
        addGulls(add(layout, "Gulls", unplaced()));
        addFlag(add(layout, "Flag", placedAt({17, kQuayTop, -3})));
        addViews(add(root, "Views", unplaced()));
        std::stable_sort(m_scene.attachments.begin(), m_scene.attachments.end(),
                         [](const kxSceneAttachment& a, const kxSceneAttachment& b) { return a.node < b.node; });
        return std::move(m_scene);
    }

private:
    enum kxLightKind : int32_t
    {
        SUN,
        BEACON,
        LANTERN,
        LANTERN_COPY
    };

    int32_t add(int32_t parent, const std::string& name, const kxPlacement& where, int32_t mesh = -1,
                int32_t material = -1)
    {
        return m_scene.plan.addNode(parent, name, where, mesh, material);
    }

    /// A thing as it comes out of another program: where it stands, what the import wraps around it, and the thing itself.
    int32_t addImported(int32_t parent, const std::string& name, const kxPlacement& where, int32_t mesh,
                        int32_t material = -1)
    {
        const int32_t node = add(parent, name, where);
        const bool isPlain = ++m_importCount % 2 == 0;
        const int32_t import =
            add(node, name + " import", isPlain ? unplaced() : spelledIdentity(kxTransformKind::MATRIX));
        add(import, name + " model", isPlain ? spelledIdentity(kxTransformKind::TRS) : unplaced(), mesh, material);
        return node;
    }

    /// Each mesh came with materials of its own, however often they were there already.
    void copyMaterials()
    {
        std::vector<bool> isUsed(m_scene.materials.size());
        for (kxSceneMesh& mesh : m_scene.meshes)
            for (kxScenePrimitive& primitive : mesh.primitives)
            {
                if (primitive.material < 0)
                    continue;
                const auto material = static_cast<size_t>(primitive.material);
                if (isUsed[material])
                    primitive.material = copyOf(primitive.material);
                isUsed[material] = true;
            }
    }

    int32_t copyOf(int32_t material)
    {
        kxSceneMaterial copy = m_scene.materials[static_cast<size_t>(material)];
        char number[16];
        std::snprintf(number, sizeof number, ".%03d", ++m_copyCounts[material]);
        copy.name += number;
        m_scene.materials.push_back(copy);
        return static_cast<int32_t>(m_scene.materials.size() - 1);
    }

    kxSceneAttachment& attach(int32_t node)
    {
        m_scene.attachments.push_back({});
        m_scene.attachments.back().node = node;
        return m_scene.attachments.back();
    }

    void addLightKinds()
    {
        m_scene.lights = {{"sun", "directional", {1, 0.9375f, 0.8125f}, 3.0f, 0.5f},
                          {"beacon", "spot", {1, 0.9375f, 0.75f}, 2000.0f, 0.25f},
                          {"lantern", "point", {1, 0.8125f, 0.5f}, 20.0f, 0.5f},
                          {"lantern.001", "point", {1, 0.8125f, 0.5f}, 20.0f, 0.5f}};
    }

    void addGround(int32_t ground)
    {
        add(ground, "Land", unplaced(), LAND_MESH);
        add(ground, "Sea", unplaced(), SEA_MESH);
        add(ground, "Quay", unplaced(), QUAY_MESH);
        const int32_t terraces = add(ground, "Terraces", unplaced());
        for (int level = 0; level < 3; ++level)
        {
            add(terraces, numbered("Terrace", level + 1), unplaced(), TERRACE_1_MESH + level);
            const double foot = kTerraceFronts[level] + 5.0;
            add(terraces, numbered("Stairs", level + 1), placedAt({0, kQuayTop + kTerraceRise * level, foot}),
                STAIRS_MESH);
        }
        add(ground, "Locator", unplaced()); // empty, as helpers are that somebody forgot
    }

    /// A house is a group with a level between that changes nothing, because the houses came from another program.
    void addHouse(int32_t parent, const kxPoint& position, double turns, bool isMirrored = false)
    {
        constexpr int32_t kKinds[] = {COTTAGE_MESH, TOWNHOUSE_MESH, CORNER_HOUSE_MESH, COTTAGE_MESH};
        constexpr double kChimneyFeet[] = {5.25, 7.625, 7.5, 5.25}; // just below the roof
        const int number = ++m_houseCount;
        const uint32_t kind = isMirrored ? 2 : m_random.below(4);
        const std::string name = numbered("House", number);
        const double size = 1.0 + 0.03125 * m_random.below(4);
        const kxPoint scale{isMirrored ? -size : size, size, size};
        const int32_t house = add(parent, name, placed(position, headingOf(turns), scale));
        if (number % 4 == 1)
            attach(house).extras = R"({"household":)" + std::to_string(100 + number) + R"(,"collider":"box"})";
        int32_t model =
            add(house, name + " import", number % 2 == 0 ? unplaced() : spelledIdentity(kxTransformKind::MATRIX));
        if (number % 5 == 0)
            model = add(model, name + " group", spelledIdentity(kxTransformKind::TRS));
        const auto wall = static_cast<int32_t>(FIRST_WALL + m_random.below(WALL_COUNT));
        add(model, name + " shell", unplaced(), kKinds[kind], wall);
        const double across = kind == 1 ? 1.5 : 0.0, along = kind == 1 ? -1.0 : 1.75;
        add(model, name + " chimney", placedAt({along, kChimneyFeet[kind], across}), CHIMNEY_MESH);
        if (m_random.below(3) == 0)
        {
            const kxPoint sill = kind == 0 || kind == 3 ? kxPoint{2.125, 0.625, 3.0625}
                                 : kind == 1            ? kxPoint{1.25, 0.5, 3.5625}
                                                        : kxPoint{-2.625, 0.5, 2.8125};
            add(model, name + " flowers", placedAt(sill), FLOWER_BOX_MESH);
        }
    }

    void addHouses(int32_t houses)
    {
        const auto jitter = [this] { return m_random.between(-0.75, 0.75); };
        const int32_t quay = add(houses, "Quay row", unplaced());
        for (const int side : {-1, 1})
            for (int place = 0; place < 4; ++place)
                addHouse(quay, {side * (22 + 9.25 * place), kQuayTop, -20 + jitter()}, 0);
        for (int level = 0; level < 3; ++level)
        {
            const double y = kQuayTop + kTerraceRise * (level + 1);
            const double z = (kTerraceFronts[level] + kTerraceFronts[level + 1]) / 2 + 1;
            const int32_t row = add(houses, numbered("Row", level + 1), unplaced());
            for (const int side : {-1, 1})
                for (int place = 0; place < 5 - level; ++place)
                {
                    const double x = side * (9 + level * 0.5 + (9.75 + level) * place);
                    if (level == 2 && side < 0)
                        continue; // the church
                    const bool isMirrored = level == 1 && side > 0 && place == 1;
                    const kxPoint position{x + jitter() * 0.5, y, z + jitter()};
                    addHouse(row, position, m_random.between(-0.02, 0.02), isMirrored);
                }
        }
        // Two warehouses by the breakwater share the quay with the nets.
        const int32_t stores = add(houses, "Stores", unplaced());
        add(stores, "Store 01", placed({-48, kQuayTop, -6.5}, headingOf(0.25)), WAREHOUSE_MESH);
        add(stores, "Store 02", asMatrix(placed({36, kQuayTop, -7}, headingOf(0))), WAREHOUSE_MESH);
    }

    void addChurch(int32_t town)
    {
        const int32_t church = add(town, "Church", placed({-20, kQuayTop + 3 * kTerraceRise, -62.5}, headingOf(0)));
        const int32_t inner = add(church, "Church.001", unplaced());
        add(inner, "Church.002", unplaced(), CHURCH_MESH);
        addLamp(church, 90, {-3, 0, 6}, false);
        addLamp(church, 91, {8, 0, 6}, false);
        add(church, "Church bench", placedAt({2, 0, 5}), BENCH_MESH);
    }

    void addLamp(int32_t parent, int number, const kxPoint& position, bool isLit)
    {
        const std::string name = numbered("Lamp", number);
        const int32_t lamp = add(parent, name, placedAt(position));
        add(lamp, name + " post", unplaced(), LAMP_POST_MESH);
        add(lamp, name + " glass", spelledIdentity(kxTransformKind::TRANSLATION), LAMP_GLASS_MESH);
        if (isLit)
        {
            const int32_t light = add(lamp, name + " light", placedAt({0, 3.5, 0}));
            attach(light).light = number % 2 == 0 ? LANTERN : LANTERN_COPY;
        }
    }

    void addGoods(int32_t parent, const std::string& name, const kxPoint& position, int32_t goods)
    {
        const int32_t basket = add(parent, name, placedAt(position), BASKET_MESH);
        add(basket, name + " goods", spelledIdentity(kxTransformKind::TRANSLATION), GOODS_MESH, goods);
    }

    void addMarket(int32_t market)
    {
        constexpr int32_t kAwnings[] = {AWNING_RED, AWNING_GREEN, AWNING_BLUE};
        constexpr int32_t kGoods[] = {ORANGES, APPLES, FISH};
        add(market, "Fountain", placedAt({0, 0, 0}), FOUNTAIN_MESH);
        const int32_t stalls = add(market, "Stalls", unplaced());
        for (int place = 0; place < 8; ++place)
        {
            const std::string name = numbered("Stall", place + 1);
            const bool isBack = place < 4;
            const kxPoint position{(place % 4) * 7.0 - 10.5, 0, isBack ? -5.0 : 6.0};
            const int32_t stall = add(stalls, name, placed(position, headingOf(isBack ? 0 : 0.5)));
            const int32_t group = add(stall, name + " group", unplaced());
            add(group, name + " frame", unplaced(), STALL_MESH);
            add(group, name + " awning", unplaced(), AWNING_MESH, kAwnings[m_random.below(3)]);
            const int32_t wares = add(stall, name + " wares", unplaced());
            const uint32_t kind = m_random.below(3);
            for (int basket = 0; basket < 2; ++basket)
                addGoods(wares, name + " basket " + std::to_string(basket + 1),
                         {basket * 0.875 - 0.4375, 0.875, 0.6875}, kGoods[basket == 1 ? (kind + 1) % 3 : kind]);
            add(wares, name + " crate", placed({1, 0, -0.5}, headingOf(m_random.between(-0.1, 0.1))), CRATE_MESH);
        }

        const int32_t lamps = add(market, "Lamps", unplaced());
        for (int lamp = 0; lamp < 6; ++lamp)
            addLamp(lamps, lamp + 1, {(lamp % 3) * 14.0 - 14.0, 0, lamp < 3 ? -1.5 : 9.5}, lamp % 3 != 1);
        const int32_t benches = add(market, "Benches", unplaced());
        for (int bench = 0; bench < 2; ++bench)
            add(benches, numbered("Bench", bench + 1),
                placed({bench % 2 == 0 ? -4.0 : 4.0, 0, bench < 2 ? -1.0 : 1.75},
                       headingOf(bench % 2 == 0 ? 0.25 : -0.25)),
                BENCH_MESH);

        // The inn stands at the corner of the square; its sign is small and its picture is not.
        const int32_t sign = add(market, "Café Möwe", placed({18.25, 4, -4.5}, headingOf(0)));
        add(sign, "Sign bracket", unplaced(), SIGN_BRACKET_MESH);
        add(sign, "Sign board", unplaced(), SIGN_BOARD_MESH);
        add(market, "Empty", unplaced());
    }

    /// Crates and barrels, two high at most, in groups that were grouped again.
    void addCargo(int32_t parent, int number, const kxPoint& position)
    {
        const std::string name = numbered("Cargo", number);
        const int32_t outer = add(parent, name, placedAt(position));
        const int32_t middle = add(outer, name + " group", unplaced());
        const int32_t inner = add(middle, name + " group.001", spelledIdentity(kxTransformKind::TRS));
        const uint32_t count = 2 + m_random.below(2);
        for (uint32_t item = 0; item < count; ++item)
        {
            const bool isUpper = item >= 4;
            const uint32_t row = item / 2;
            const kxPoint place{isUpper ? (item - 4) * 0.9375 : (item % 2) * 1.0625, isUpper ? 0.8125 : 0.0,
                                isUpper ? 0.0625 : row * -1.0625};
            const bool isBarrel = !isUpper && m_random.below(3) == 0 && item > 1;
            const int32_t node = addImported(
                inner, name + (isBarrel ? " barrel " : " crate ") + std::to_string(item + 1),
                placed(place, headingOf(m_random.between(-0.03, 0.03))), isBarrel ? BARREL_MESH : CRATE_MESH);
            if (number % 3 == 0 && item == 0)
                attach(node).extras = R"({"collider":"box","mass":12.5})";
        }
    }

    void addHarbour(int32_t harbour)
    {
        const int32_t cargo = add(harbour, "Cargo", unplaced());
        const double places[9][2] = {{-41, -5}, {-37, -3}, {-24, -4}, {-20, -9}, {22, -4},
                                     {25, -10}, {44, -4},  {47, -8},  {-42, -12}};
        for (int place = 0; place < 9; ++place)
            addCargo(cargo, place + 1, {places[place][0], kQuayTop, places[place][1]});
        const int32_t barrels = add(harbour, "Barrels", unplaced());
        for (int barrel = 0; barrel < 6; ++barrel)
        {
            const double x = (barrel < 3 ? -33.0 : 29.0) + (barrel % 2) * 0.9375;
            addImported(barrels, numbered("Barrel", barrel + 1),
                        placedAt({x, kQuayTop, (barrel % 3 < 2 ? -8.0 : -8.9375)}), BARREL_MESH);
        }

        const int32_t bollards = add(harbour, "Bollards", unplaced());
        for (int bollard = 0; bollard < 6; ++bollard)
            addImported(bollards, numbered("Bollard", bollard + 1),
                        placedAt({-52.0 + bollard * 17.375, kQuayTop + 0.3125, -0.25}), BOLLARD_MESH);
        const int32_t nets = add(harbour, "Nets", unplaced());
        for (int net = 0; net < 3; ++net)
            add(nets, numbered("Net", net + 1),
                placed({-15.0 + net * 5.5, kQuayTop, -2.5}, headingOf(m_random.between(-0.04, 0.04))), NET_MESH);

        const int32_t pier = add(harbour, "Pier", placedAt({-30, 0, 0}));
        for (int section = 0; section < 6; ++section)
        {
            add(pier, numbered("Deck", section + 1), placedAt({0, 0, section * 2.5}), PIER_DECK_MESH);
            if (section % 2 == 1)
            {
                add(pier, numbered("Pile", section), placedAt({-1.875, 0, section * 2.5 + 2}), PILE_MESH);
                add(pier, numbered("Pile", section + 1), placedAt({1.875, 0, section * 2.5 + 2}), PILE_MESH);
            }
        }

        const int32_t arm = add(harbour, "Breakwater", placedAt({52, 0, 0}));
        add(arm, "Breakwater arm", unplaced(), BREAKWATER_MESH);
        const int32_t rocks = add(arm, "Rocks", unplaced());
        for (int rock = 0; rock < 23; rock += 2)
        {
            const double size = m_random.between(0.875, 1.875);
            const bool isHead = rock >= 20;
            const kxPoint place{isHead ? (rock - 20) * 1.5 - 3.75 : 3.5 + m_random.between(-0.25, 1.0),
                                m_random.between(-0.5, 0.25),
                                isHead ? 48.5 + m_random.between(-0.25, 0.75) : rock * 2.4 + 1};
            const double turns = m_random.between(0, 1);
            addImported(rocks, numbered("Rock", rock / 2 + 1),
                        placed(place, headingOf(turns), {size, size * 0.875, size * 1.125}),
                        static_cast<int32_t>(ROCK_A_MESH + m_random.below(3)));
        }
        addLighthouse(arm);
    }

    void addLighthouse(int32_t arm)
    {
        const int32_t tower = add(arm, "Lighthouse", placed({-0.5, 1.25, 43.5}, headingOf(0.5)));
        const int32_t body = add(tower, "Lighthouse body", spelledIdentity(kxTransformKind::MATRIX));
        add(body, "Lighthouse tower", unplaced(), LIGHTHOUSE_MESH);
        const int32_t lamp = add(tower, "Beacon", placed({0, 15.4375, 0}, {}));
        add(lamp, "Beacon glass", unplaced(), BEACON_MESH);
        const int32_t light = add(lamp, "Beacon light", placed({0, 0.875, 0}, rotationTowards({0, -0.125, 1})));
        attach(light).light = BEACON;

        m_scene.animations.push_back({"Beacon", {turnRound(lamp)}});
    }

    int32_t addSailingBoat(int32_t boats, const std::string& name, const kxPlacement& where, int32_t hull, int32_t sail)
    {
        const int32_t boat = add(boats, name, where);
        add(boat, name + " hull", unplaced(), HULL_MESH, hull);
        const int32_t rig = add(boat, name + " rig", placedAt({0.75, 0.5, 0}));
        add(rig, name + " mast", unplaced(), MAST_MESH);
        add(rig, name + " sail", unplaced(), SAIL_MESH, sail);
        return boat;
    }

    void addBoats(int32_t boats)
    {
        addSailingBoat(boats, "Boat 01", placed({-35.5, 0, 11}, headingOf(0.25)), HULL_BLUE, SAILCLOTH);
        addSailingBoat(boats, "Boat 02", placed({-24.5, 0, 16}, headingOf(-0.25)), HULL_WHITE, SAILCLOTH_RED);
        addSailingBoat(boats, "Boat 03", asMatrix(placed({44, 0, 24}, headingOf(0.26))), HULL_GREEN, SAILCLOTH);
        for (int number = 4; number <= 6; ++number)
        {
            const std::string name = numbered("Boat", number);
            const kxPoint place{number * 13.0 - 48.0, 0, number == 5 ? 2.75 : 3.0};
            const int32_t boat = add(boats, name, placed(place, headingOf(number == 5 ? 0.5 : 0.0)));
            attach(boat).extras = R"({"berth":)" + std::to_string(number) + "}";
            add(boat, name + " hull", unplaced(), HULL_MESH, number == 4 ? HULL_RED : HULL_BLUE);
            add(boat, name + " cabin", placedAt({-1.5, 0.25, 0}), CABIN_MESH);
        }
        for (int number = 1; number <= 5; ++number)
        {
            const double x = number * 7.5 - 20.0 + m_random.between(-1, 1);
            const kxPoint place{x, 0, 9 + m_random.between(0, 8)};
            const double turns = m_random.between(0, 1);
            add(boats, numbered("Rowing boat", number), placed(place, headingOf(turns)), ROWBOAT_MESH,
                HULL_RED + static_cast<int32_t>(m_random.below(4)));
        }
        const int32_t sailing =
            addSailingBoat(boats, "Sailing boat", placed({-25, 0, 58}, {}), HULL_WHITE, SAILCLOTH_RED);
        m_scene.animations.push_back({"Sailing", sailRound(sailing)});
    }

    void addPlants(int32_t plants)
    {
        constexpr int32_t kLeaves[] = {LEAVES_LIGHT, LEAVES_DARK, LEAVES_LIGHT_COPY, LEAVES_AUTUMN, LEAVES_LIGHT};
        const int32_t wood = add(plants, "Wood", unplaced());
        for (int tree = 0, tried = 0; tree < 14 && tried < 2000; ++tried)
        {
            const double x = m_random.between(-112, 112), z = m_random.between(-128, 34);
            const double height = landHeight(x, z);
            const bool isBuilt = x > -kVillageHalfWidth - 6 && x < kVillageHalfWidth + 6 && z > -76;
            if (isBuilt || height < 3)
                continue;
            const double size = m_random.between(0.8125, 1.75);
            const bool isConifer = height > 12 ? m_random.below(4) != 0 : m_random.below(4) == 0;
            const double turns = m_random.between(0, 1);
            const int32_t leaves = isConifer ? LEAVES_DARK : kLeaves[m_random.below(5)];
            addImported(wood, numbered("Tree", ++tree), placed({x, height, z}, headingOf(turns), {size, size, size}),
                        isConifer ? CONIFER_MESH : BROAD_TREE_MESH, leaves);
        }
        const int32_t gardens = add(plants, "Gardens", unplaced());
        for (int place = 0; place < 6; ++place)
        {
            const int level = place % 3;
            const int column = place / 3;
            const double x = (place % 2 == 0 ? -1 : 1) * (13.5 + 9.75 * column) + m_random.between(-0.5, 0.5);
            const kxPoint where{x, kQuayTop + kTerraceRise * (level + 1), kTerraceFronts[level] - 1.75};
            const double size = m_random.between(0.875, 1.25);
            addImported(gardens, numbered("Bush", place + 1), placed(where, {}, {size, size, size}), BUSH_MESH,
                        kLeaves[m_random.below(5)]);
        }
        add(plants, "Hedges", unplaced());
    }

    /// Gulls circle over the bay; all beat their wings through the same morph target.
    void addGulls(int32_t gulls)
    {
        kxSceneAnimation flight{"Flight", {}};
        for (int gull = 0; gull < 5; ++gull)
        {
            const kxPoint centre{gull * 12.0 - 20.0, 17.0 + gull % 3 * 2.5, 18.0 + gull % 2 * 9.0};
            const int32_t pivot = add(gulls, numbered("Gull course", gull + 1), placed(centre, {}));
            const int32_t bird = add(pivot, numbered("Gull", gull + 1),
                                     placed({0, 0, 7.0 + gull}, headingOf(0), {1.5, 1.5, 1.5}), GULL_MESH);
            for (kxSceneChannel& channel : flyRound(pivot, bird, gull))
                flight.channels.push_back(std::move(channel));
        }
        m_scene.animations.push_back(std::move(flight));
    }

    void addFlag(int32_t pole)
    {
        add(pole, "Flagpole", unplaced(), FLAGPOLE_MESH);
        kxSceneSkin skin{"Flag cloth", {}, {}};
        kxSceneAnimation waving{"Waving", {}};
        int32_t parent = pole;
        for (int joint = 0; joint < kFlagJointCount; ++joint)
        {
            const kxPoint offset = joint == 0 ? kxPoint{0.0625, 8.125, 0} : kxPoint{kFlagJointDistance, 0, 0};
            parent = add(parent, numbered("Flag joint", joint + 1), placed(offset, {}));
            skin.joints.push_back(parent);
            for (const float value : {1.f, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f})
                skin.inverseBindMatrices.push_back(value);
            const auto distance = static_cast<float>(-kFlagJointDistance * joint);
            skin.inverseBindMatrices.insert(skin.inverseBindMatrices.end(), {distance, 0, 0, 1});
            waving.channels.push_back(waveJoint(parent, joint));
        }
        // A skinned mesh moves with its joints alone, so its node stands at the top and has no transform.
        const int32_t cloth = add(-1, "Flag cloth", unplaced(), FLAG_MESH);
        attach(cloth).skin = 0;
        m_scene.skins.push_back(std::move(skin));
        m_scene.animations.push_back(std::move(waving));
    }

    void addViews(int32_t views)
    {
        const double s = m_extentScale;
        m_scene.cameras = {
            {"Harbour", true, 0.75f, static_cast<float>(0.25 * s), static_cast<float>(600 * s)},
            {"Map", false, static_cast<float>(90 * s), static_cast<float>(1 * s), static_cast<float>(300 * s)}};
        const kxPoint eye{64, 40, 104};
        const int32_t harbour = add(views, "Harbour view", placed(eye, rotationTowards(kxPoint{2, 4, -8} - eye)));
        attach(harbour).camera = 0;
        const int32_t map = add(views, "Map view", placed({0, 150, 0}, rotationAbout({1, 0, 0}, -0.25)));
        attach(map).camera = 1;
        const int32_t sun = add(views, "Sun", placed({60, 90, 60}, rotationTowards({-0.5, -0.75, -0.4375})));
        attach(sun).light = SUN;
        add(views, "Locator.001", unplaced());
    }

    kxScene m_scene;
    // One number a statement: the order in which the arguments of a call are worked out is the compiler's choice.
    kxMakerRandom m_random;
    uint64_t m_seed;
    double m_extentScale = 1.0;
    int m_houseCount = 0;
    int m_importCount = 0;
    std::map<int32_t, int> m_copyCounts; // by material
};

} // namespace

kxScene makeVillage(const kxSceneOptions& options)
{
    return kxVillageBuilder(options).build();
}

} // namespace Kel::Examples
