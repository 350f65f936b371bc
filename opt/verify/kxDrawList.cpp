// Collecting what a graph draws.
//
// One walk, path by path. The attributes in effect are a small table by type and unit, undone on the way back; their
// hash is a sum over the table's entries, so that setting one costs the same however many there are.
#include "opt/verify/kxDrawList.h"

#include "opt/verify/kxDrawContents.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxPrefetchBranches.h"
#include "platform/sg/kxShader.h"
#include "platform/sg/kxTransform.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace Kel::Opt
{

using namespace Kel::Attrs;

namespace
{

constexpr uint32_t kNoStep = UINT32_MAX;

// Steps of a path that are shown at its beginning and at its end.
constexpr size_t kShownFirst = 4;
constexpr size_t kShownLast = 12;

// A level of detail that draws its one child at every distance.
bool hasNoChoice(const kxLod* lod)
{
    if (lod->getChildCount() != 1)
        return false;
    const kxFloatList* ranges = lod->_ranges;
    const uint32_t rangeCount = ranges ? ranges->getCount() : 0;
    return (rangeCount < 1 || ranges->get(0) <= 0) &&
           (rangeCount < 2 || ranges->get(1) >= std::numeric_limits<float>::max());
}

void storeMatrix(const kxMatrix44d& matrix, std::array<float, 12>& numbers)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 3; ++column)
            numbers[static_cast<size_t>(row * 3 + column)] = static_cast<float>(matrix[row][column]);
}

} // namespace

/// One walk over all paths of a graph.
class kxDrawList::Walk
{
public:
    Walk(kxDrawList& list, uint32_t parentStep, uint64_t conditions)
        : m_list(list),
          m_parentStep(parentStep),
          m_conditions(conditions),
          m_roles(list.m_hash),
          m_contents(list.m_hash,
                     [this](uint64_t images, const kxMaterialVariantList& variants) { noteVariants(images, variants); })
    {
    }

    void run(kxNode* root)
    {
        if (root)
            enter(root, 0);
        while (!m_path.empty())
        {
            Step& step = m_path.back();
            if (step.nextChild < step.childCount)
            {
                const uint32_t index = step.nextChild++;
                const auto* group = static_cast<const kxGroup*>(step.node);
                askAhead(group, index, step.childCount);
                if (kxNode* child = group->getChild(index))
                    if (!enter(child, index))
                        return;
            }
            else if (step.pass + 1 < step.passCount)
                enterPass(step, step.pass + 1);
            else
                leave();
        }
    }

private:
    using Setting = kxDrawContents::Setting;
    using Vertices = kxDrawContents::Vertices;
    using Contents = kxDrawContents::Entry;

    struct Undo
    {
        size_t place; // in the table
        bool added;   // the entry was new
        Setting old;
    };
    struct Step
    {
        kxNode* node;
        uint32_t nextChild = 0;
        uint32_t childCount = 0;
        uint32_t pass = 0;
        uint32_t passCount = 0;
        size_t undoCount;       // before the node set attributes
        size_t matrixCount;     // on the stack, this node's included
        bool indexed = false;   // the positions of the children mean something
        bool skinned = false;   // a skin places what is below
        bool placeSeen = false; // the node is one of `m_places`
        uint64_t conditions;    // of what is below
        uint64_t movers = 0;    // the same
        bool hasUnnamedMover = false;
        uint32_t pathStep;
    };

    void askAhead(const kxGroup* group, uint32_t index, uint32_t childCount)
    {
        if (childCount >= kWideCount)
            prefetchBranches<8>([&](uint32_t ahead)
                                { return index + ahead < childCount ? group->getChild(index + ahead) : nullptr; },
                                [this](const kxNode* node) { m_contents.askAhead(node); });
        else
            prefetchBranches(group, index, childCount);
    }

    // False when the walk has followed as many paths as it may.
    bool enter(kxNode* node, uint32_t index)
    {
        if (m_list.m_steps.size() >= kMaxPaths)
        {
            m_list.m_complete = false;
            return false;
        }
        Step step{};
        step.node = node;
        step.undoCount = m_undo.size();
        step.matrixCount = m_matrices.size();
        step.conditions = m_conditions;
        uint32_t parentStep = m_parentStep;
        if (!m_path.empty())
        {
            const Step& parent = m_path.back();
            parentStep = parent.pathStep;
            step.skinned = parent.skinned;
            step.conditions = parent.conditions;
            step.movers = parent.movers;
            step.hasUnnamedMover = parent.hasUnnamedMover;
            if (parent.passCount > 1)
                step.conditions = combineHash(step.conditions, parent.pass);
            if (parent.indexed)
                step.conditions = combineHash(step.conditions, index);
        }
        step.pathStep =
            m_list.addStep(parentStep, node->getName().isEmpty() ? node->getMetaObject()->getName() : node->getName());
        m_path.push_back(step);

        const kxNodeRole role = m_roles.of(node->getMetaObject());
        if (role.isCamera)
            add(CAMERA, m_list.m_hash.hashDrawing(node));
        if (role.isGroup)
            enterGroup(static_cast<const kxGroup*>(node), role);
        if (role.isDriven || node->isAnimated() || node->isDynamic())
            addDriven(node);
        return true;
    }

    void enterGroup(const kxGroup* group, const kxNodeRole& role)
    {
        Step& step = m_path.back();
        step.childCount = group->getChildCount();
        const Contents contents = m_contents.of(group, role);
        if (!role.isLod || !hasNoChoice(static_cast<const kxLod*>(group)))
            noteConditions(group, role, contents);

        switch (role.effect)
        {
        case kxNodeRole::NOTHING: break;
        case kxNodeRole::TRANSFORM:
            m_matrices.push_back(kxMatrix44d(static_cast<const kxTransform*>(group)->getMatrix()) * top());
            ++step.matrixCount;
            break;
        case kxNodeRole::ATTR_SET: enterSet(contents); break;
        case kxNodeRole::SHADER:
            step.passCount = static_cast<const kxShader*>(group)->getPassCount();
            if (step.passCount > 0)
                enterPass(step, 0);
            break;
        case kxNodeRole::LIGHT_SET:
            for (const kxLightAttr* light : *static_cast<const kxLightSet*>(group)->getLightAttrs())
                add(LIGHT, m_list.m_hash.hashValue(light));
            break;
        case kxNodeRole::LIGHT_STATE_SET: enterLightStates(static_cast<const kxLightStateSet*>(group)); break;
        case kxNodeRole::ACTOR: enterActor(static_cast<const kxActor*>(group)); break;
        }
    }

    void enterSet(const Contents& contents)
    {
        if (const Setting* settings = m_contents.getSettings(contents))
            applyRun(settings);
        if (Vertices* vertices = m_contents.getVertices(contents))
            addVerticesRun(vertices);
    }

    void enterActor(const kxActor* actor)
    {
        if (!actor->_skin)
            return;
        Step& step = m_path.back();
        step.skinned = true;
        const kxJointNames& joints = m_list.m_hash.getJointNames(actor->_skin);
        step.movers = combineHash(step.movers, joints.hash);
        step.hasUnnamedMover |= joints.isAnyMissing;
    }

    void enterLightStates(const kxLightStateSet* states)
    {
        const size_t before = m_undo.size();
        for (const kxLightStateAttr* state : *states->getLightStateAttrs())
            if (state)
                apply(m_contents.settingOf(state, m_list.m_hash.hashValue(state->_light).value, false), before);
    }

    void noteConditions(const kxGroup* group, const kxNodeRole& role, const Contents& contents)
    {
        Step& step = m_path.back();
        step.indexed = !role.isMesh && group->isChildOrderSignificant() != 0;
        if (role.isPlaceSeen)
        {
            step.placeSeen = true;
            m_places.push_back(m_path.size() - 1);
        }
        if (const uint64_t saying = m_contents.getSaying(contents))
            step.conditions = combineHash(step.conditions, saying);
    }

    void enterPass(Step& step, uint32_t pass)
    {
        undo(step.undoCount);
        step.pass = pass;
        step.nextChild = 0;
        if (const kxShaderPass* shaderPass = static_cast<const kxShader*>(step.node)->getPass(pass))
        {
            const size_t before = m_undo.size();
            for (const kxAttr* attr : *shaderPass->getAttrs())
                if (attr && !kxDrawContents::isDrawn(attr))
                    apply(m_contents.settingOf(attr, attr->getUnit(), false), before);
        }
    }

    void leave()
    {
        const Step step = m_path.back();
        m_path.pop_back();
        m_matrices.resize(m_path.empty() ? 0 : m_path.back().matrixCount);
        if (step.placeSeen)
        {
            m_places.pop_back();
            m_shownPlaces = std::min(m_shownPlaces, m_places.size());
        }
        undo(step.undoCount);
    }

    const kxMatrix44d& matrixAt(size_t matrixCount) const
    {
        return matrixCount == 0 ? m_identity : m_matrices[matrixCount - 1];
    }
    const kxMatrix44d& top() const { return matrixAt(m_matrices.size()); }

    void undo(size_t undoCount)
    {
        while (m_undo.size() > undoCount)
        {
            m_stateNoted = false;
            const Undo& undo = m_undo.back();
            subtract(m_table[undo.place].look);
            if (undo.added)
                m_table.pop_back();
            else
            {
                m_table[undo.place] = undo.old;
                add(undo.old.look);
            }
            m_undo.pop_back();
        }
    }

    void add(const kxLook& look)
    {
        m_sum.value += look.value;
        m_sum.images += look.images;
    }
    void subtract(const kxLook& look)
    {
        m_sum.value -= look.value;
        m_sum.images -= look.images;
    }

    void applyRun(const Setting* setting)
    {
        const size_t before = m_undo.size();
        do
            apply(*setting, before);
        while (!setting++->isLast);
    }
    void addVerticesRun(Vertices* vertices)
    {
        do
            addVertices(*vertices);
        while (!vertices++->isLast);
    }

    // Within one set, whose first undo entry is `setStart`, the first attribute of a type and unit counts; a later set
    // of the path replaces it.
    void apply(const Setting& setting, size_t setStart)
    {
        size_t place = 0;
        while (place < m_table.size() && (m_table[place].type != setting.type || m_table[place].unit != setting.unit))
            ++place;
        const bool isNew = place == m_table.size();
        if (!isNew && m_table[place].overrides)
            return;
        for (size_t i = setStart; i < m_undo.size(); ++i)
            if (m_undo[i].place == place)
                return;
        m_stateNoted = false;
        add(setting.look);
        if (isNew)
        {
            m_undo.push_back({place, true, {}});
            m_table.push_back(setting);
            return;
        }
        m_undo.push_back({place, false, m_table[place]});
        subtract(m_table[place].look);
        m_table[place] = setting;
    }

    void addVertices(Vertices& vertices)
    {
        add(GEOMETRY, vertices.look);
        const auto isPalette = [](const Setting& setting)
        { return setting.type == kxVertexBlendMatrixListAttr::staticMetaObject(); };
        uint32_t& surface = m_list.m_draws.back().surface;
        if (const auto palette = std::find_if(m_table.begin(), m_table.end(), isPalette); palette != m_table.end())
        {
            surface =
                m_list.addSurface(vertices.attr, vertices.look, vertices.variants, palette->attr, palette->look.value);
            return;
        }
        if (!vertices.hasSurface)
            vertices.surface = m_list.addSurface(vertices.attr, vertices.look, vertices.variants, nullptr, 0);
        vertices.hasSurface = true;
        surface = vertices.surface;
    }

    uint32_t sampleOf(const kxTextureBindAttr* bind)
    {
        const kxImage* image = bind && bind->_texture ? bind->_texture->getFirstImage() : nullptr;
        return image ? m_list.m_images.add(image, m_list.m_hash.hashValue(image).images) : kxImageSamples::kNone;
    }

    void noteVariants(uint64_t images, const kxMaterialVariantList& variants)
    {
        const auto [at, isNew] = m_list.m_contentImages.try_emplace(images);
        if (!isNew)
            return;
        for (const kxMaterialVariant* variant : variants)
            for (uint32_t i = 0; variant && i < variant->_attrs->getCount(); ++i)
                if (const uint32_t sample = sampleOf(kxCast<kxTextureBindAttr>(variant->_attrs->get(i)));
                    sample != kxImageSamples::kNone)
                    at->second.push_back(sample);
    }

    // A driven node always counts, whether something is drawn below it or not: vertices elsewhere may follow it.
    void addDriven(const kxNode* node)
    {
        Step& step = m_path.back();
        const uint64_t content = node->getMetaObject()->getName().getHash();
        step.movers = combineHash(step.movers, node->getName().getHash());
        step.hasUnnamedMover |= node->getName().isEmpty();
        append(DRIVEN, {content}, {}, top(), step);
        if (const auto* transform = kxCast<kxTransform>(node))
            append(OWN_MATRIX, {content}, {}, kxMatrix44d(transform->getMatrix()), step);
        step.conditions = combineHash(step.conditions, content);
    }

    void add(Kind kind, const kxLook& content)
    {
        for (; m_shownPlaces < m_places.size(); ++m_shownPlaces)
        {
            const Step& step = m_path[m_places[m_shownPlaces]];
            append(PLACE, {step.node->getMetaObject()->getName().getHash()}, {}, matrixAt(step.matrixCount), step);
        }
        const Step& step = m_path.back();
        if (kind != GEOMETRY)
        {
            // A camera or a light is not drawn with attributes.
            append(kind, content, {}, top(), step);
            return;
        }
        const bool followsBones = step.skinned && static_cast<const kxGeometry*>(step.node)->hasSkinnedAttr();
        append(kind, content, m_sum, followsBones ? m_identity : top(), step);
        if (!m_stateNoted)
            noteState();
    }

    void append(Kind kind, const kxLook& content, const kxLook& attributes, const kxMatrix44d& matrix, const Step& step)
    {
        Draw& draw = m_list.m_draws.emplace_back();
        draw.content = content.value;
        draw.attributes = attributes.value;
        draw.images = attributes.images + content.images;
        draw.contentImages = content.images;
        draw.conditions = step.conditions;
        draw.movers = step.movers;
        draw.hasUnnamedMover = step.hasUnnamedMover;
        storeMatrix(matrix, draw.matrix);
        draw.kind = kind;
        draw.path = step.pathStep;
        draw.surface = 0;
    }

    // Keeps what the hash of the attributes stands for, so that a difference can be named.
    void noteState()
    {
        m_stateNoted = true;
        std::vector<Attribute>& attributes = m_list.m_attributes;
        const auto first = static_cast<uint32_t>(attributes.size());
        const auto count = static_cast<uint32_t>(m_table.size());
        if (!m_list.m_states.try_emplace(m_sum.value + m_sum.images, AttributeRange{first, count}).second)
            return;
        for (const Setting& setting : m_table)
        {
            const auto* bind = kxCast<kxTextureBindAttr>(setting.attr);
            attributes.push_back(
                {setting.type->getName(), bind ? bind->_slot : kxStringRef(), setting.look, sampleOf(bind)});
        }
        std::sort(attributes.begin() + first, attributes.end(),
                  [](const Attribute& a, const Attribute& b)
                  { return std::tuple(a.type.view(), a.slot.view()) < std::tuple(b.type.view(), b.slot.view()); });
    }

    kxDrawList& m_list;
    uint32_t m_parentStep;
    uint64_t m_conditions;
    bool m_stateNoted = false; // for the attributes now in effect
    std::vector<Step> m_path;
    std::vector<size_t> m_places; // depths of the nodes of the path whose place is seen
    size_t m_shownPlaces = 0;     // of those, how many have an entry in the list
    std::vector<kxMatrix44d> m_matrices;
    kxMatrix44d m_identity;
    std::vector<Setting> m_table;
    std::vector<Undo> m_undo;
    kxNodeRoles m_roles;
    kxDrawContents m_contents;
    kxLook m_sum; // of the table's entries
};

void kxDrawList::collect(kxNode* root)
{
    collectScene(root, kNoStep);
    m_hash.forget();
}

void kxDrawList::collect(const kxSceneInfo* scene)
{
    collectScene(scene->getSceneGraph(), addStep(kNoStep, scene->getName()));
    m_hash.forget();
}

void kxDrawList::collect(const kxInfoList* infos)
{
    if (!infos)
        return;
    for (const kxInfo* info : *infos)
        if (const auto* scene = kxCast<kxSceneInfo>(info))
            collectScene(scene->getSceneGraph(), addStep(kNoStep, scene->getName()));
    m_hash.forget();
}

// The number of the scene is a condition: what moves from one scene to another is not the same picture.
void kxDrawList::collectScene(kxNode* root, uint32_t parentStep)
{
    Walk(*this, parentStep, ++m_sceneCount).run(root);
}

uint32_t kxDrawList::addStep(uint32_t parent, kxStringRef name)
{
    m_steps.push_back({parent, name});
    return static_cast<uint32_t>(m_steps.size() - 1);
}

uint32_t kxDrawList::addSurface(const kxAttr* attr, const kxLook& content, uint64_t variants, const kxAttr* palette,
                                uint64_t paletteHash)
{
    const auto [at, isNew] = m_surfaceNumbers.try_emplace(combineHash(content.value, paletteHash), 0u);
    const auto* data = kxCast<kxGeometryAttr>(attr);
    kxSurface surface;
    if (isNew && data && surface.measure(*data, static_cast<const kxVertexBlendMatrixListAttr*>(palette), variants))
    {
        m_surfaces.push_back(std::move(surface));
        m_paletteHashes.push_back(paletteHash);
        at->second = static_cast<uint32_t>(m_surfaces.size());
    }
    return at->second;
}

std::string kxDrawList::getPath(const Draw& draw) const
{
    std::vector<kxStringRef> names;
    for (uint32_t step = draw.path; step != kNoStep; step = m_steps[step].parent)
        names.push_back(m_steps[step].name);
    std::reverse(names.begin(), names.end());
    std::string path;
    for (size_t i = 0; i < names.size(); ++i)
    {
        if (i == kShownFirst && names.size() > kShownFirst + kShownLast)
        {
            path += "/...";
            i = names.size() - kShownLast;
        }
        path.append("/").append(names[i].view());
    }
    return path;
}

std::span<const kxDrawList::Attribute> kxDrawList::getAttributes(const Draw& draw) const
{
    const auto at = m_states.find(draw.attributes + draw.images - draw.contentImages);
    if (at == m_states.end())
        return {};
    return std::span(m_attributes).subspan(at->second.first, at->second.count);
}

std::span<const uint32_t> kxDrawList::getContentImages(const Draw& draw) const
{
    const auto at = m_contentImages.find(draw.contentImages);
    return at == m_contentImages.end() ? std::span<const uint32_t>() : std::span<const uint32_t>(at->second);
}

} // namespace Kel::Opt
