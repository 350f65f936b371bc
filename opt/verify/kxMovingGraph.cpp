#include "opt/verify/kxMovingGraph.h"

#include "platform/sg/kxActor.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"

#include <algorithm>
#include <cmath>

namespace Kel::Opt
{

namespace
{

const kxStringRef& weightsProperty()
{
    static const kxStringRef name("weights");
    return name;
}

// A property of a node that holds morph weights, given by its name or as the rest of a path.
bool isWeights(const kxAnimationTrack& track)
{
    const std::string_view property = track._property.view();
    return property == weightsProperty().view() || property == "/weights";
}

kxMatrix44d composeMatrix(const kxVec3d& translation, const kxQuatd& rotation, const kxVec3d& scale)
{
    const kxQuatd q = unitRotation(rotation);
    kxMatrix44d matrix = q.toMatrix44();
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            matrix[row][column] *= scale[row];
    for (int column = 0; column < 3; ++column)
        matrix[3][column] = translation[column];
    return matrix;
}

kxMatrix44d matrixOf(const kxVertexArray& matrices, uint32_t index)
{
    kxMatrix44d matrix;
    for (uint32_t i = 0; i < 16; ++i)
        matrix[static_cast<int>(i / 4)][static_cast<int>(i % 4)] = matrices.getComponent(index, i);
    return matrix;
}

kxVec3d vectorAt(const kxVertexArray& array, int64_t index)
{
    return {array.getComponent(index, 0), array.getComponent(index, 1), array.getComponent(index, 2)};
}

const kxVertexArray* usableArray(const kxVertexArray* array, uint32_t componentCount)
{
    std::string fault;
    return array && array->_componentCount == componentCount && !array->_matrix && array->_data &&
                   array->userCheckLoaded(fault)
               ? array
               : nullptr;
}

} // namespace

const kxNode* kxMovingGraph::targetOf(const kxAnimationTrack& track) const
{
    if (track._target)
        return kxCast<kxNode>(track._target.get());
    const auto bone = m_bones.find(track.getName().getHash());
    return bone == m_bones.end() ? nullptr : bone->second;
}

void kxMovingGraph::noteDriven(std::span<const kxAnimationDatabase* const> databases)
{
    for (const kxAnimationDatabase* database : databases)
        if (database->getSkeletonList())
            for (const kxSkeleton* skeleton : *database->getSkeletonList())
                if (skeleton && skeleton->_bones)
                    for (const kxNode* bone : *skeleton->_bones)
                        if (bone && !bone->getName().isEmpty())
                            m_bones.try_emplace(bone->getName().getHash(), bone);
    for (const kxAnimationDatabase* database : databases)
        if (database->getAnimationList())
            for (const kxAnimation* animation : *database->getAnimationList())
                if (animation)
                    forEachTrack(*animation,
                                 [&](const kxAnimationTrack& track)
                                 {
                                     if (const kxNode* target = targetOf(track); target && track.getSource())
                                         m_driven[target] |= isWeights(track);
                                 });
}

/// Follows every path, and notes those that lead to something of interest.
class kxMovingGraph::Walk
{
public:
    explicit Walk(kxMovingGraph& graph) : m_graph(graph) {}

    void run(const kxNode* root)
    {
        enter(root);
        for (size_t paths = 1; !m_path.empty() && paths < kMaxPaths;)
        {
            Step& step = m_path.back();
            const auto* group = kxCast<kxGroup>(step.place.node);
            if (!group || step.nextChild == group->getChildCount())
                m_path.pop_back();
            else if (const kxNode* child = group->getChild(step.nextChild++))
            {
                enter(child);
                ++paths;
            }
        }
    }

private:
    struct Step
    {
        Place place;
        kxMatrix44d matrix;
        uint32_t nextChild = 0;
        uint32_t number = kNone; // once it is noted
    };

    void enter(const kxNode* node)
    {
        Step step{{node, kNone}, {}};
        Place& place = step.place;
        if (!m_path.empty())
        {
            const Step& above = m_path.back();
            place = above.place;
            place.node = node;
            step.matrix = above.matrix;
        }
        const auto driven = m_graph.m_driven.find(node);
        const bool isDriven = driven != m_graph.m_driven.end();
        if (const auto* transform = kxCast<kxTransform>(node))
        {
            step.matrix = kxMatrix44d(transform->getMatrix()) * step.matrix;
            place.isMoving |= isDriven;
        }
        // Weights are those of the mesh of one node, not of nodes below it.
        if (node->isOfType(kxTransform::staticMetaObject()) || node->isOfExactType(kxGroup::staticMetaObject()))
        {
            place.weights = nullptr;
            place.isMorphed = false;
        }
        place.isMorphed |= isDriven && driven->second;
        // Those of the mesh count where nothing above it has set others.
        if (node->isOfType(kxMorphInstance::staticMetaObject()) ||
            (!place.weights && node->isOfType(kxMesh::staticMetaObject())))
            place.weights = node;
        if (const auto* actor = kxCast<kxActor>(node); actor && actor->_skin)
        {
            const auto [known, isNew] =
                m_graph.m_skinNumbers.try_emplace(actor->_skin.get(), static_cast<uint32_t>(m_graph.m_skins.size()));
            if (isNew)
                m_graph.m_skins.push_back({actor->_skin, {}, false, {}, {}});
            place.skin = known->second;
        }
        m_path.push_back(step);
        if (isDriven || place.isMoving || place.isMorphed || place.skin != kNone || m_graph.m_isJoint.get(node))
            note();
    }

    // Notes the place at the end of the path, and those above it.
    void note()
    {
        size_t first = m_path.size();
        while (first > 0 && m_path[first - 1].number == kNone)
            --first;
        for (; first < m_path.size(); ++first)
        {
            Step& step = m_path[first];
            step.number = static_cast<uint32_t>(m_graph.m_places.size());
            step.place.parent = first == 0 ? kNone : m_path[first - 1].number;
            m_graph.m_places.push_back(step.place);
            m_graph.m_rest.push_back(step.matrix);
            m_graph.m_placesOf[step.place.node].push_back(step.number);
            if (step.place.isMoving)
                m_graph.m_moving.push_back(step.number);
        }
    }

    kxMovingGraph& m_graph;
    std::vector<Step> m_path;
};

kxMovingGraph::kxMovingGraph(kxNode* root, std::span<const kxAnimationDatabase* const> databases)
{
    noteDriven(databases);
    if (m_driven.empty() || !root)
        return;
    for (const kxAnimationDatabase* database : databases)
        if (database->getSkinList())
            for (const kxSkin* skin : *database->getSkinList())
                if (skin && skin->_joints)
                    for (const kxNode* joint : *skin->_joints)
                        if (joint)
                            m_isJoint[joint] = true;
    Walk(*this).run(root);
    findSkins();
}

void kxMovingGraph::findSkins()
{
    for (Skin& skin : m_skins)
    {
        const kxVertexArray* matrices = skin.skin->_inverseBindMatrices;
        std::string fault;
        const bool isUsable = matrices && matrices->_matrix && matrices->_componentCount == 16 && matrices->_data &&
                              matrices->userCheckLoaded(fault);
        // Of skins that no database lists, joints that never move have not been looked for: they count as at the origin.
        for (const kxNode* joint : *skin.skin->_joints)
        {
            const std::vector<uint32_t>& places = placesOf(joint);
            const auto number = static_cast<uint32_t>(skin.joints.size());
            skin.binds.push_back(isUsable && number < matrices->_count ? matrixOf(*matrices, number) : kxMatrix44d());
            skin.joints.push_back(places.empty() ? kNone : places[0]);
            skin.isMoving |= !places.empty() && m_places[places[0]].isMoving;
        }
        skin.matrices = skin.binds;
    }
}

const std::vector<uint32_t>& kxMovingGraph::placesOf(const kxNode* node) const
{
    static const std::vector<uint32_t> none;
    const auto found = m_placesOf.find(node);
    return found == m_placesOf.end() ? none : found->second;
}

std::string kxMovingGraph::getPath(const Draw& draw) const
{
    std::vector<std::string_view> names;
    for (uint32_t at = draw.place; at != kNone && names.size() < 16; at = m_places[at].parent)
    {
        const kxNode* node = m_places[at].node;
        names.push_back(node->getName().isEmpty() ? node->getTypeName() : node->getName().view());
    }
    std::string path;
    for (size_t i = names.size(); i-- > 0;)
        path.append("/").append(names[i]);
    return path;
}

void kxMovingGraph::choosePoints(uint32_t perGeometry)
{
    m_draws.clear();
    m_points.clear();
    m_drivers.clear();
    for (const kxMatrix44d& matrix : m_rest)
        for (int i = 0; i < 3; ++i)
            if (std::isfinite(matrix[3][i]))
                m_axisLength = std::max(m_axisLength, 0.1 * std::abs(matrix[3][i]));
    for (uint32_t number = 0; number < m_places.size(); ++number)
    {
        const Place& place = m_places[number];
        const auto begin = [&](uint64_t content)
        {
            const uint64_t kind = place.node->getMetaObject()->getName().getHash();
            m_draws.push_back({combineHash(kind, content), number, static_cast<uint32_t>(m_points.size()), 0});
            return &m_draws.back();
        };
        const bool isDriven = m_driven.contains(place.node);
        if (place.isMoving && (isDriven || place.node->isOfType(kxCamera::staticMetaObject()) ||
                               place.node->isOfType(kxLightSet::staticMetaObject())))
        {
            Draw& draw = *begin(place.node->getName().getHash());
            draw.kind = combineHash(place.node->getMetaObject()->getName().getHash(), 1);
            draw.isUnnamed = place.node->getName().isEmpty();
            addAxes(draw);
        }
        const auto* geometry = kxCast<kxGeometry>(place.node);
        if (!geometry)
            continue;
        const bool isSkinned = place.skin != kNone && m_skins[place.skin].isMoving;
        if (!place.isMoving && !isSkinned && !place.isMorphed)
            continue;
        const uint32_t driver = addDriver(number, *geometry);
        for (const kxAttr* attr : *geometry->getAttrs())
            if (const auto* data = kxCast<kxGeometryAttr>(attr))
            {
                Draw& draw = *begin(0);
                draw.driver = driver;
                addGeometryPoints(*data, place, perGeometry, draw);
            }
    }
    m_drivers.clear();
}

// However geometry is cut into pieces, each of them depends on the same: the static way from the driven node above, or the
// joints of the skin, and the weights of its morph targets. Returns the draw for it, one for all pieces.
uint32_t kxMovingGraph::addDriver(uint32_t number, const kxGeometry& geometry)
{
    const Place& place = m_places[number];
    const bool isSkinned = place.skin != kNone && geometry.hasSkinnedAttr();
    uint64_t content = isSkinned ? 1 : 0;
    uint64_t kind = content + 2;
    bool isUnnamed = false;
    std::vector<double> key{double(content)};
    if (isSkinned)
    {
        key.push_back(double(place.skin));
        for (const kxNode* joint : *m_skins[place.skin].skin->_joints)
        {
            content = combineHash(content, joint ? joint->getName().getHash() : 0);
            isUnnamed |= !joint || joint->getName().isEmpty();
        }
        kind = combineHash(kind, m_skins[place.skin].joints.size());
    }
    else
    {
        kxMatrix44d way;
        uint32_t at = number;
        for (; at != kNone && !m_driven.contains(m_places[at].node); at = m_places[at].parent)
            if (const auto* transform = kxCast<kxTransform>(m_places[at].node))
                way = way * kxMatrix44d(transform->getMatrix());
        key.push_back(double(at));
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 3; ++column)
                key.push_back(std::isfinite(way[row][column]) ? way[row][column] : 0);
        content = combineHash(content, at == kNone ? 0 : m_places[at].node->getName().getHash());
        isUnnamed = at != kNone && m_places[at].node->getName().isEmpty();
    }
    size_t weightCount = 0;
    if (place.isMorphed)
        for (const kxAttr* attr : *geometry.getAttrs())
            if (const auto* data = kxCast<kxGeometryAttr>(attr))
                weightCount = std::max<size_t>(weightCount, data->_morphTargets->getCount());
    if (weightCount > 0)
    {
        // Weights depend on all that is above.
        key.push_back(double(weightCount));
        key.push_back(double(number));
        content = combineHash(content, weightCount);
        kind = combineHash(kind, weightCount);
    }
    const auto [known, isNew] = m_drivers.try_emplace(std::move(key), static_cast<uint32_t>(m_draws.size()));
    if (!isNew)
        return known->second;
    m_draws.push_back({content, number, static_cast<uint32_t>(m_points.size()), 0});
    Draw& draw = m_draws.back();
    draw.kind = kind;
    draw.isUnnamed = isUnnamed;
    draw.isDriver = true;
    if (isSkinned)
        for (uint32_t joint = 0; joint < m_skins[place.skin].joints.size(); ++joint)
            addAxes(draw, joint);
    else
        addAxes(draw);
    for (size_t target = 0; target < weightCount; ++target, ++draw.pointCount)
    {
        Point point{};
        point.displacements.resize(weightCount, kxVec3d(0, 0, 0));
        point.displacements[target].x = m_axisLength;
        m_points.push_back(std::move(point));
    }
    return known->second;
}

void kxMovingGraph::keep(const std::vector<bool>& keeps)
{
    std::vector<uint32_t> numbers(m_draws.size(), kNone);
    uint32_t count = 0;
    for (size_t i = 0; i < m_draws.size(); ++i)
        if (keeps[i])
        {
            numbers[i] = count;
            m_draws[count++] = m_draws[i];
        }
    m_draws.resize(count);
    for (Draw& draw : m_draws)
        draw.driver = draw.driver == kNone ? kNone : numbers[draw.driver];
}

// Of the place, or of a joint of its skin.
void kxMovingGraph::addAxes(Draw& draw, uint32_t joint)
{
    for (int axis = -1; axis < 3; ++axis, ++draw.pointCount)
    {
        Point point{};
        if (joint != kNone)
            point.influences.push_back({joint, 1});
        if (axis >= 0)
            point.position[axis] = m_axisLength;
        m_points.push_back(point);
    }
}

void kxMovingGraph::addGeometryPoints(const kxGeometryAttr& data, const Place& place, uint32_t perGeometry, Draw& draw)
{
    static const kxStringRef kPosition("POSITION"), kJoints("JOINTS_0"), kWeights("WEIGHTS_0"), kMoreJoints("JOINTS_1"),
        kMoreWeights("WEIGHTS_1");
    const kxVertexArray* positions = usableArray(data.getArray(kPosition), 3);
    const int64_t vertexCount = positions ? positions->_count : 0;
    draw.content = combineHash(draw.content, static_cast<uint64_t>(vertexCount));
    const auto count = static_cast<uint32_t>(std::min<int64_t>(vertexCount, perGeometry));
    for (uint32_t i = 0; i < count; ++i)
    {
        const int64_t vertex = count > 1 ? (vertexCount - 1) * i / (count - 1) : 0;
        Point point{};
        point.position = vectorAt(*positions, vertex);
        draw.content = hashBytes(&point.position, sizeof point.position, draw.content);
        for (const kxMorphTarget* target : *data._morphTargets)
        {
            kxVec3d displacement(0, 0, 0);
            // A target that is not there moves nothing, but has its weight.
            for (uint32_t a = 0; target && a < target->_arrays->getCount(); ++a)
                if (const kxVertexArray* array = target->_arrays->get(a);
                    usableArray(array, 3) && array->_semantic == kPosition && vertex < array->_count)
                    displacement = vectorAt(*array, vertex);
            point.displacements.push_back(displacement);
        }
        if (place.skin != kNone)
            for (const auto& [jointName, weightName] : {std::pair(kJoints, kWeights), {kMoreJoints, kMoreWeights}})
            {
                const kxVertexArray* joints = usableArray(data.getArray(jointName), 4);
                const kxVertexArray* weights = usableArray(data.getArray(weightName), 4);
                for (uint32_t c = 0; c < 4 && joints && weights; ++c)
                    if (vertex < joints->_count && vertex < weights->_count && weights->getComponent(vertex, c) != 0)
                        point.influences.push_back(
                            {static_cast<uint32_t>(joints->getComponent(vertex, c)), weights->getComponent(vertex, c)});
            }
        m_points.push_back(std::move(point));
        ++draw.pointCount;
    }
}

kxMovingGraph::Clip kxMovingGraph::bind(const kxAnimation& animation) const
{
    Clip clip;
    forEachTrack(animation,
                 [&](const kxAnimationTrack& track)
                 {
                     const kxTransformSequence* source = track.getSource();
                     const kxNode* target = targetOf(track);
                     if (!target || !source || source->getKeyCount() == 0 || !source->isWellFormed() ||
                         !source->hasRisingTimes())
                         return;
                     const auto* values = kxCast<kxValueSequence>(source);
                     for (const uint32_t place : placesOf(target))
                         if (const auto* transforms = kxCast<kxTransformSequence1_5>(source))
                             clip.transforms.push_back({place, transforms});
                         else if (values && isWeights(track))
                             clip.weights.push_back({place, values});
                 });
    return clip;
}

void kxMovingGraph::evaluate(const Clip& clip, int64_t time, std::vector<float>& points)
{
    m_driverOf.clear();
    m_weightsOf.clear();
    for (const Clip::Transform& driver : clip.transforms)
    {
        const kxTransformSample sample = driver.source->sample(time);
        kxTransformSample& all = m_driverOf[driver.place];
        all.translation = sample.translation ? sample.translation : all.translation;
        all.rotation = sample.rotation ? sample.rotation : all.rotation;
        all.scale = sample.scale ? sample.scale : all.scale;
    }
    for (const Clip::Weights& driver : clip.weights)
    {
        std::vector<double>& weights = m_weightsOf[driver.place];
        weights.clear();
        driver.source->sample(time, weights);
    }

    placeNodes();
    std::vector<double> weights;
    for (const Draw& draw : m_draws)
    {
        const Place& place = m_places[draw.place];
        getWeights(draw, weights);
        const Skin* skin = place.skin == kNone ? nullptr : &m_skins[place.skin];
        for (uint32_t i = 0; i < draw.pointCount; ++i)
        {
            const Point& point = m_points[draw.firstPoint + i];
            kxVec3d position = point.position;
            for (size_t target = 0; target < std::min(weights.size(), point.displacements.size()); ++target)
                position += point.displacements[target] * weights[target];
            kxVec3d world(0, 0, 0);
            if (skin && !point.influences.empty())
            {
                for (const Influence& influence : point.influences)
                    world += (influence.joint < skin->matrices.size() ? position * skin->matrices[influence.joint]
                                                                      : position) *
                             influence.weight;
            }
            else
                world = position * m_world[draw.place];
            points.insert(points.end(),
                          {static_cast<float>(world.x), static_cast<float>(world.y), static_cast<float>(world.z)});
        }
    }
}

void kxMovingGraph::placeNodes()
{
    if (m_world.empty())
        m_world = m_rest;
    for (const uint32_t number : m_moving)
    {
        const Place& place = m_places[number];
        const auto* transform = kxCast<kxTransform>(place.node);
        const kxMatrix44d above = place.parent == kNone ? kxMatrix44d() : m_world[place.parent];
        const auto driver = transform ? m_driverOf.find(number) : m_driverOf.end();
        if (driver != m_driverOf.end())
            m_world[number] = composeMatrix(driver->second.translation.value_or(kxVec3d(transform->_translation)),
                                            driver->second.rotation.value_or(toDouble(transform->_rotation)),
                                            driver->second.scale.value_or(kxVec3d(transform->_scale))) *
                              above;
        else
            m_world[number] = transform ? kxMatrix44d(transform->getMatrix()) * above : above;
    }
    for (Skin& skin : m_skins)
        for (size_t i = 0; i < skin.joints.size(); ++i)
            if (skin.joints[i] != kNone)
                skin.matrices[i] = skin.binds[i] * m_world[skin.joints[i]];
}

void kxMovingGraph::getWeights(const Draw& draw, std::vector<double>& weights) const
{
    weights.clear();
    const Place& place = m_places[draw.place];
    if (place.isMorphed)
        // A track drives the node that the weights stand below, or the mesh itself.
        for (uint32_t at = draw.place; at != kNone; at = m_places[at].parent)
        {
            if (const auto driven = m_weightsOf.find(at); driven != m_weightsOf.end())
            {
                weights = driven->second;
                return;
            }
            if (m_places[at].node->isOfType(kxTransform::staticMetaObject()))
                break;
        }
    if (!place.weights)
        return;
    const auto* morph = kxCast<kxMorphInstance>(place.weights);
    if (const kxFloatList* rest = morph ? morph->_weights : static_cast<const kxMesh*>(place.weights)->_weights)
        weights.assign(rest->getData(), rest->getData() + rest->getCount());
}

} // namespace Kel::Opt
