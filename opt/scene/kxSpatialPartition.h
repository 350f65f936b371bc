// Makes the graph follow space.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "opt/scene/kxGeometryCutter.h"
#include "opt/scene/kxInstancedNodes.h"
#include "platform/sg/kxBoundingBoxesMaker.h"

#include <map>

namespace Kel::Opt
{

/// Into how many cells a box is cut.
enum kxPartitionType : int32_t
{
    kxOctTree = 0,  ///< 2 x 2 x 2
    kxQuadTree = 1, ///< 2 x 2, over the two largest axes
    kxBiTree = 2    ///< 2, along the largest axis
};
const kxMetaEnum& kxMetaEnumOf(kxPartitionType);

/// Reorganises the children of groups by space, so that culling can reject whole regions: the box of a group is cut into 8, 4
/// or 2 cells by its proportions, children that lie mostly within a cell come under a group of that cell, and the walk goes
/// on into the new groups. Geometries with many triangles can be cut along the cells.
///
/// A plain child's place among its siblings changes; what is drawn does not. A group of which one cell would take everything
/// is left alone, because that could be repeated forever.
///
/// Cutting adds triangles. A piece whose line of cuts has made `kMaxGrowth` times as many as there were is cut no further, so
/// that triangles as large as the whole do not multiply without end.
///
/// Leaves alone: what is below a locked node; children of switches, levels of detail and meshes; what an instance array draws
/// many times. Is not cut: what `kxGeometryCutter` says, locked geometry, and what an instance array draws too.
///
/// Cost: for each level of the tree one look at each node and, where geometry is cut, at each triangle.
class kxSpatialPartition : public kxOptBase
{
    KX_OBJECT(kxSpatialPartition, kxOptBase)
    static void listFields(kxFields<kxSpatialPartition>& fields);

    static constexpr float kMaxGrowth = 4;

    int32_t _depth = -1;
    float _loose = 0.49f;
    float _maxMinRatio = 3;
    float _midMinRatio = 2;
    bool _splitGeometry = false;
    uint32_t _minTriangles = 48;

    kxSpatialPartition();

    void setSplitGeometry(bool split) { _splitGeometry = split; }
    bool getSplitGeometry() const { return _splitGeometry; }
    void setDepth(int depth) { _depth = depth; }

    bool configure(int section) override;
    bool apply(kxSmartPointer<kxNode>& root) override;

protected:
    ~kxSpatialPartition() override;

    /// The part of a geometry within a cell, taken out of the geometry; null when there is none.
    virtual kxSmartPointer<kxGeometry> splitGeometry(kxGeometry* geometry, const kxAABox* cell);
    /// Distributes the children of a group into cells. `group` becomes the group that stands in its place: a new one for a
    /// geometry that is cut. False when the group cannot be partitioned. During a walk a cell's group gets its children when it
    /// has been partitioned itself, so that each child moves once; until then it is empty.
    virtual bool partition(kxSmartPointer<kxGroup>& group);
    /// Cells of a box along an axis; `sortedAxes` from the smallest extent to the largest.
    virtual short getSubSpaceNum(short axis, kxPartitionType type, short sortedAxes[3]);

private:
    struct Item
    {
        kxSmartPointer<kxNode> node;
        kxAABox box;    ///< in the group's space
        bool usable;    ///< the box is one that can be sorted
        bool mayBeCut;  ///< a geometry that nobody else draws
        uint32_t index; ///< among the children of a group that has them already
    };
    using Items = std::vector<Item>;
    struct Cell
    {
        kxAABox box;
        short index[3];
        Items items;
    };

    void recurse(kxSmartPointer<kxNode>& node, int level);
    bool isLarge(const kxGeometry* geometry) const;
    const char* findObstacle(kxGeometry* geometry);
    Items takeItems(kxGroup* group, bool& isPending, kxAABox& box);
    void makeCells(const kxAABox& box, std::vector<Cell>& cells);
    bool distribute(kxGroup* group, Items& items, std::vector<Cell>& cells, Items& kept);
    void attach(kxGroup* group, std::vector<Cell>& cells);
    bool cutIntoCells(kxGeometry* geometry, std::vector<Cell>& cells, bool& isSplit);
    void dissolveOnlyCell(kxGroup* group, std::vector<Cell>& cells);
    void flush(kxGroup* group);
    static void append(kxGroup* group, const Items& items);

    kxSmartPointer<kxBoundingBoxesMaker> m_boxes; // while graphs are walked
    kxTSerialMap<float> m_growth;                 // of pieces: triangles that their line of cuts has made of one
    kxInstancedNodes m_instanced;
    std::map<uint32_t, std::pair<kxSmartPointer<kxGroup>, Items>>
        m_pending; // children of new cells, by serial of the cell
    bool m_isWalking = false;
    kxGeometryCutter m_cutter;
};

} // namespace Kel::Opt
