// Partition by space, top down. A level looks at the boxes of a group's children, which are computed once: moving children
// into cells changes no box but those of the new groups.
#include "opt/scene/kxSpatialPartition.h"

#include "opt/iterate/kxOptReplaceNode.h"
#include "opt/scene/kxCellFraction.h"
#include "opt/scene/kxServices.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxPrefetchBranches.h"

#include <algorithm>

namespace Kel::Opt
{

KX_IMPLEMENT(kxSpatialPartition)

void kxSpatialPartition::listFields(kxFields<kxSpatialPartition>& fields)
{
    fields.add(&kxSpatialPartition::_depth, "_depth", "levels to subdivide, -1 for no limit");
    fields.add(&kxSpatialPartition::_loose, "_loose",
               "part of a child's box that may lie outside of the cell that it goes to");
    fields.add(&kxSpatialPartition::_maxMinRatio, "_maxMinRatio",
               "largest extent over smallest up to which a box is cut on all axes");
    fields.add(&kxSpatialPartition::_midMinRatio, "_midMinRatio",
               "middle extent over smallest up to which only the largest axis is cut");
    fields.add(&kxSpatialPartition::_splitGeometry, "_splitGeometry", "cut geometries with many triangles");
    fields.add(&kxSpatialPartition::_minTriangles, "_minTriangles", "geometries with no more triangles are not cut");
}

const kxMetaEnum& kxMetaEnumOf(kxPartitionType)
{
    static const kxMetaEnum metaEnum("kxPartitionType", {{"kxOctTree", 0}, {"kxQuadTree", 1}, {"kxBiTree", 2}});
    return metaEnum;
}

kxSpatialPartition::kxSpatialPartition() = default;
kxSpatialPartition::~kxSpatialPartition() = default;

namespace
{

constexpr char kCellName[] = "SpatialPartition";

// The objects of a large scene lie anywhere in memory: how many before their turn they are asked for, and then what they refer
// to.
constexpr uint32_t kNodesAhead = 8;
constexpr uint32_t kPartsAhead = 4;

// What a change of the links to nodes will need; `nodeAhead(n)` is the node n steps ahead or null.
template <class At>
void prefetchLinks(At nodeAhead)
{
    prefetchObject(nodeAhead(kNodesAhead));
    if (const kxNode* node = nodeAhead(kPartsAhead))
        prefetchObject(node->_parentList);
}

} // namespace

bool kxSpatialPartition::configure(int)
{
    return true;
}

bool kxSpatialPartition::apply(kxSmartPointer<kxNode>& root)
{
    if (!root)
        return false;
    m_boxes = kxNew<kxBoundingBoxesMaker>();
    m_isWalking = true;
    recurse(root, 0);
    m_isWalking = false;
    m_boxes = nullptr;
    m_instanced.clear(); // `m_growth` stays: other scenes of the file may share pieces
    return !isCancelled(*this);
}

// With a stack of its own: graphs may be deeper than the program's stack. A node with several parents is entered again only
// when it is met with more levels to go than before.
void kxSpatialPartition::recurse(kxSmartPointer<kxNode>& root, int rootLevel)
{
    struct Step
    {
        kxSmartPointer<kxGroup> group;
        uint32_t next;
        int level; // of the children
    };
    std::vector<Step> steps;
    kxTSerialMap<int32_t> levels; // + 1, at which a group was entered

    const auto prefetchNotes = [&](const kxNode* node)
    {
        if (!node)
            return;
        __builtin_prefetch(&levels[node]);
        m_boxes->prefetchBox(node);
        if (const auto* group = kxCast<kxGroup>(node))
            prefetchObject(group->_childList);
    };
    // The group that stands in the node's place afterwards, null when there is none.
    auto enter = [&](kxNode* node, int level) -> kxSmartPointer<kxGroup>
    {
        if (isCancelled(*this))
            return nullptr;
        auto* found = kxCast<kxGroup>(node);
        if (!found)
            return nullptr;
        if (isLocked(*this, found))
        {
            refuse("locked", found);
            return nullptr;
        }
        if (found->isOfType(kxInstanceArray::staticMetaObject()))
        {
            refuse("drawn many times by an instance array", found);
            return nullptr;
        }
        kxSmartPointer<kxGroup> group = found;
        const int32_t before = levels.get(group);
        if (before == 0)
            partition(group);
        else if (_depth < 0 || before - 1 <= level)
            return group;
        flush(group); // what a partition of another class has left
        levels[group] = level + 1;
        const uint32_t count = group->getChildCount();
        const int nextLevel = count > 1 ? level + 1 : level;
        if (count > 0 && nextLevel != _depth)
        {
            steps.push_back({group, 0, nextLevel});
            for (uint32_t i = 0; i < std::min(count, kPartsAhead); ++i)
                prefetchNotes(group->getChild(i));
        }
        return group;
    };

    if (const kxSmartPointer<kxGroup> group = enter(root, rootLevel))
        root = group;
    while (!steps.empty() && !isCancelled(*this))
    {
        Step& step = steps.back();
        if (step.next >= step.group->getChildCount())
        {
            steps.pop_back();
            continue;
        }
        const uint32_t count = step.group->getChildCount();
        if (step.next + kNodesAhead < count)
            prefetchObject(step.group->getChild(step.next + kNodesAhead));
        if (step.next + kPartsAhead < count)
            prefetchNotes(step.group->getChild(step.next + kPartsAhead));
        const kxSmartPointer<kxNode> child = step.group->getChild(step.next++);
        if (child)
            enter(child, step.level);
    }
    // Cells that were not entered: there were no more levels, or the run was cancelled.
    while (!m_pending.empty())
        flush(m_pending.begin()->second.first);
}

// Gives a cell the children that are still waiting for it.
void kxSpatialPartition::flush(kxGroup* group)
{
    const auto at = m_pending.find(group->getSerial());
    if (at == m_pending.end())
        return;
    const auto pending = std::move(at->second);
    m_pending.erase(at);
    append(group, pending.second);
}

void kxSpatialPartition::append(kxGroup* group, const Items& items)
{
    if (items.empty()) // the group gets no list of children for them
        return;
    group->getChildList()->reserve(group->getChildCount() + static_cast<uint32_t>(items.size()));
    for (size_t i = 0; i < std::min<size_t>(items.size(), kPartsAhead); ++i)
        prefetchObject(items[i].node->_parentList);
    for (size_t i = 0; i < items.size(); ++i)
    {
        prefetchLinks([&](size_t ahead) { return i + ahead < items.size() ? items[i + ahead].node.get() : nullptr; });
        group->appendChild(items[i].node);
    }
}

bool kxSpatialPartition::isLarge(const kxGeometry* geometry) const
{
    return _splitGeometry && geometry->getTriangleCount() > static_cast<int64_t>(_minTriangles);
}

const char* kxSpatialPartition::findObstacle(kxGeometry* geometry)
{
    if (isLocked(*this, geometry))
        return "locked geometry is not cut";
    if (m_instanced.isBelowArray(geometry))
        return "drawn many times by an instance array"; // files repeat meshes, not the groups of pieces
    if (m_growth.get(geometry) >= kMaxGrowth)
        return "geometry would grow by more cuts";
    return kxGeometryCutter::findObstacle(geometry);
}

bool kxSpatialPartition::partition(kxSmartPointer<kxGroup>& group)
{
    if (!m_isWalking)
        m_boxes = kxNew<kxBoundingBoxesMaker>(); // a group by itself: nobody says what has changed since the last one
    bool created = false;
    if (kxSmartPointer<kxGeometry> geometry = kxCast<kxGeometry>(group.get()))
    {
        if (geometry->hasSkinnedAttr())
            return false;
        if (!isLarge(geometry))
            return true;
        // Before anything is put around it.
        const char* obstacle = findObstacle(geometry);
        if (!obstacle && !isUsable(m_boxes->getBox(geometry)))
            obstacle = "geometry without extent is not cut";
        if (!obstacle && !m_cutter.open(geometry, m_boxes))
            obstacle = "geometry with broken vertex data is not cut";
        if (obstacle)
        {
            refuse(obstacle, geometry);
            return true;
        }
        group = kxSmartPointer<kxGroup>(new (getCreationMemoryPool()) kxGroup);
        group->setName(kCellName);
        kxOptReplaceNode::doReplaceNode(geometry, group);
        group->appendChild(geometry);
        created = true;
    }
    else if (group->isChildOrderSignificant())
        return false;

    // Most groups of a scene are the places of single objects.
    if (!_splitGeometry && group->getChildCount() == 1)
        return isUsable(m_boxes->getBox(group));
    bool isPending = false;
    kxAABox box;
    Items items = takeItems(group, isPending, box);
    const bool canBeCut =
        items.size() == 1 && items[0].mayBeCut && isLarge(static_cast<kxGeometry*>(items[0].node.get()));
    const bool canBeSorted = isUsable(box);
    std::vector<Cell> cells;
    // A single child that is not cut would only be taken out and put back.
    if (canBeSorted && (items.size() > 1 || canBeCut))
    {
        makeCells(box, cells);
        Items kept;
        if (distribute(group, items, cells, kept))
        {
            // From the end: each removal is next to the one before.
            for (size_t i = isPending ? 0 : items.size(); i-- > 0;)
            {
                prefetchLinks([&](size_t ahead)
                              { return i >= ahead ? group->getChild(items[i - ahead].index) : nullptr; });
                if (!items[i].node)
                    group->removeChild(items[i].index);
            }
            if (isPending)
                append(group, kept);
            attach(group, cells);
            items.clear();
        }
    }
    if (isPending)
        append(group, items);
    if (!canBeSorted)
        return false;

    if (created)
        m_cutter.close(); // of a geometry that no wall has met
    if (created && group->getChildCount() == 1)
    {
        const kxSmartPointer<kxNode> only = group->getChild(0u);
        kxOptReplaceNode::doReplaceNode(group, only);
        group->removeAllChildren();
        group = static_cast<kxGroup*>(only.get());
    }
    while (!m_isWalking && !m_pending.empty())
        flush(m_pending.begin()->second.first);
    return true;
}

// The children of a group with their boxes: of a new cell those that wait for it, whose boxes are known.
kxSpatialPartition::Items kxSpatialPartition::takeItems(kxGroup* group, bool& isPending, kxAABox& box)
{
    Items items;
    const auto at = m_pending.find(group->getSerial());
    isPending = at != m_pending.end();
    if (isPending)
    {
        items = std::move(at->second.second);
        m_pending.erase(at);
        for (const Item& item : items)
        {
            box.extendBy(item.box);
            if (items.size() <= 4 * kNodesAhead) // soon come out of their cells one by one
                prefetchObject(item.node);
        }
        return items;
    }
    box = m_boxes->getBox(group);
    const uint32_t count = group->getChildCount();
    items.reserve(count);
    for (uint32_t i = 0; i < count; ++i)
    {
        if (i + kNodesAhead < count)
            prefetchObject(group->getChild(i + kNodesAhead));
        if (kxNode* child = group->getChild(i))
        {
            const kxAABox childBox = m_boxes->getBoxInParent(child);
            const bool mayBeCut =
                _splitGeometry && child->isOfType(kxGeometry::staticMetaObject()) && child->getParentCount() == 1;
            items.push_back({child, childBox, isUsable(childBox), mayBeCut, i});
        }
    }
    return items;
}

void kxSpatialPartition::makeCells(const kxAABox& box, std::vector<Cell>& cells)
{
    const kxVec3f extent = box.max - box.min;
    short sorted[3];
    sortAxes(extent, sorted);
    const float smallest = extent[sorted[0]], middle = extent[sorted[1]], largest = extent[sorted[2]];
    const kxPartitionType type = largest <= smallest * _maxMinRatio  ? kxOctTree
                                 : middle <= smallest * _midMinRatio ? kxBiTree
                                                                     : kxQuadTree;
    short counts[3];
    for (short axis = 0; axis < 3; ++axis)
        counts[axis] = std::max<short>(getSubSpaceNum(axis, type, sorted), 1);

    for (short x = 0; x < counts[0]; ++x)
        for (short y = 0; y < counts[1]; ++y)
            for (short z = 0; z < counts[2]; ++z)
            {
                Cell& cell = cells.emplace_back(Cell{{}, {x, y, z}, {}});
                for (int axis = 0; axis < 3; ++axis)
                {
                    const float size = extent[axis] / counts[axis];
                    const short index = cell.index[axis];
                    cell.box.min[axis] = box.min[axis] + index * size;
                    // The outer walls are those of the box: rounding shall leave nothing between them.
                    cell.box.max[axis] = index + 1 == counts[axis] ? box.max[axis] : box.min[axis] + (index + 1) * size;
                }
            }
}

short kxSpatialPartition::getSubSpaceNum(short axis, kxPartitionType type, short sortedAxes[3])
{
    switch (type)
    {
    case kxOctTree: return 2;
    case kxQuadTree: return axis == sortedAxes[0] ? 1 : 2;
    case kxBiTree: return axis == sortedAxes[2] ? 2 : 1;
    }
    return 1;
}

// Finds the cell of each item: `items` loses the nodes that go to one, `kept` gets the others. False, with the items as they
// were, when nothing is to be done.
bool kxSpatialPartition::distribute(kxGroup* group, Items& items, std::vector<Cell>& cells, Items& kept)
{
    constexpr uint32_t kStays = UINT32_MAX, kGone = UINT32_MAX - 1;
    std::vector<uint32_t> cellOf(items.size(), kStays);
    std::vector<uint32_t> counts(cells.size());
    uint32_t usableCount = 0;
    bool changes = false, cut = false, isSplit = false;
    for (size_t i = 0; i < items.size(); ++i)
    {
        const Item& item = items[i];
        if (!item.usable)
            continue;
        ++usableCount;
        // What other groups draw too is cut where the walk comes to it, for all of them.
        auto* geometry = item.mayBeCut ? static_cast<kxGeometry*>(item.node.get()) : nullptr;
        const auto holdsAll = [&](const Cell& cell) { return isWithin(item.box, cell.box); };
        if (geometry && isLarge(geometry) && std::none_of(cells.begin(), cells.end(), holdsAll) &&
            !findObstacle(geometry) && (m_cutter.getGeometry() == geometry || m_cutter.open(geometry, m_boxes)))
        {
            // Pieces come behind what was found for the cells so far.
            for (size_t k = 0; k < i; ++k)
                if (cellOf[k] < cells.size())
                {
                    cells[cellOf[k]].items.push_back(std::move(items[k]));
                    cellOf[k] = kGone;
                }
            changes = cut = true;
            if (cutIntoCells(geometry, cells, isSplit))
            {
                items[i].node = nullptr;
                cellOf[i] = kGone;
            }
            continue;
        }
        for (size_t cell = 0; cell < cells.size(); ++cell)
        {
            if (fractionWithin(item.box, cells[cell].box, 1 - _loose) != 0)
            {
                cellOf[i] = static_cast<uint32_t>(cell);
                ++counts[cell];
                changes = true;
                break;
            }
        }
    }
    if (!cut && usableCount > 1 && std::find(counts.begin(), counts.end(), usableCount) != counts.end())
    {
        refuse("one cell would take all children", group);
        return false;
    }
    if (!changes)
        return false;
    bool isUsableKept = false;
    for (size_t cell = 0; cell < cells.size(); ++cell)
        cells[cell].items.reserve(cells[cell].items.size() + counts[cell]);
    for (size_t i = 0; i < items.size(); ++i)
        if (cellOf[i] == kStays)
        {
            isUsableKept |= items[i].usable;
            kept.push_back(items[i]);
        }
        else if (cellOf[i] != kGone)
            cells[cellOf[i]].items.push_back(std::move(items[i]));
    // Vertices that nothing draws can make a box larger than what a cut finds in it.
    if (cut && !isSplit && !isUsableKept)
        dissolveOnlyCell(group, cells);
    return true;
}

// A cell that took everything would have the same children as the group, level for level: they stay in the group.
void kxSpatialPartition::dissolveOnlyCell(kxGroup* group, std::vector<Cell>& cells)
{
    const auto isFilled = [](const Cell& cell) { return !cell.items.empty(); };
    const auto only = std::find_if(cells.begin(), cells.end(), isFilled);
    if (only == cells.end() || only->items.size() < 2 || std::find_if(only + 1, cells.end(), isFilled) != cells.end())
        return;
    refuse("one cell would take all children", group);
    std::vector<Cell> single;
    for (Item& item : only->items)
        single.push_back({only->box, {only->index[0], only->index[1], only->index[2]}, {std::move(item)}});
    cells = std::move(single);
}

// True when nothing is left of the geometry; `isSplit` becomes true when there are several pieces.
bool kxSpatialPartition::cutIntoCells(kxGeometry* geometry, std::vector<Cell>& cells, bool& isSplit)
{
    const auto before = static_cast<float>(geometry->getTriangleCount());
    std::vector<kxGeometry*> pieces;
    int64_t after = 0;
    for (Cell& cell : cells)
    {
        const kxSmartPointer<kxGeometry> piece = splitGeometry(geometry, &cell.box);
        if (!piece || piece->getAttrs()->isEmpty())
            continue;
        const kxAABox& box = m_boxes->getBox(piece.get());
        cell.items.push_back({piece, box, isUsable(box), true, 0});
        pieces.push_back(piece);
        after += piece->getTriangleCount();
        if (m_cutter.getGeometry() == geometry ? m_cutter.isEmpty() : geometry->getTriangleCount() == 0)
            break;
    }
    const bool isGone = m_cutter.getGeometry() == geometry ? m_cutter.isEmpty() : geometry->getTriangleCount() == 0;
    if (m_cutter.getGeometry() == geometry)
        m_cutter.close();
    m_boxes->forget(geometry);
    after += geometry->getTriangleCount();
    const float growth = std::max(m_growth.get(geometry), 1.0f) * static_cast<float>(after) / before;
    for (kxGeometry* piece : pieces)
        m_growth[piece] = growth;
    m_growth[geometry] = growth;
    if (pieces.size() > 1)
    {
        isSplit = true;
        count("geometries cut");
        count("pieces made", static_cast<int64_t>(pieces.size()));
    }
    return isGone;
}

kxSmartPointer<kxGeometry> kxSpatialPartition::splitGeometry(kxGeometry* geometry, const kxAABox* cell)
{
    if (!geometry || !cell)
        return nullptr;
    // While a geometry is cut into all cells of a group, what is left is written once, at the end.
    if (m_cutter.getGeometry() == geometry)
        return m_cutter.take(*cell, getCreationMemoryPool());
    kxGeometryCutter cutter;
    if (kxGeometryCutter::findObstacle(geometry) || !cutter.open(geometry))
        return nullptr;
    const kxSmartPointer<kxGeometry> piece = cutter.take(*cell, getCreationMemoryPool());
    cutter.close();
    return piece;
}

void kxSpatialPartition::attach(kxGroup* group, std::vector<Cell>& cells)
{
    // Towards the leaves of the tree, nodes that come out of their cells one by one are most of the work.
    for (const Cell& cell : cells)
        if (cell.items.size() == 1)
            prefetchObject(cell.items[0].node->_parentList);
    for (Cell& cell : cells)
    {
        if (cell.items.size() == 1)
            group->appendChild(cell.items[0].node);
        if (cell.items.size() < 2)
            continue;
        kxSmartPointer<kxGroup> below(new (getCreationMemoryPool()) kxGroup);
        below->setName(kxFormat("%s%d%d%d", kCellName, cell.index[0], cell.index[1], cell.index[2]));
        group->appendChild(below);
        count("cells made");
        count("nodes moved into cells", static_cast<int64_t>(cell.items.size()));
        const uint32_t serial = below->getSerial();
        m_pending.emplace(serial, std::pair(std::move(below), std::move(cell.items)));
    }
}

} // namespace Kel::Opt
