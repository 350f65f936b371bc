#include "opt/scene/kxGeometryCutter.h"

#include "opt/verify/kxSurface.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxBoundingBoxesMaker.h"
#include "tests/opt/scene/sheetGeometry.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{

using namespace Kel::Test;

// Whatever forms the triangles, and whatever attributes they have: the pieces cover what was covered, lie in their cells, meet
// at walls without a gap, and their vertices are as the format wants them.
TEST(kxGeometryCutter, PiecesAreTheOldGeometry)
{
    const kxPrimitiveMode modes[] = {kxPrimitiveMode::TRIANGLES,    kxPrimitiveMode::TRIANGLE_STRIP,
                                     kxPrimitiveMode::TRIANGLE_FAN, kxPrimitiveMode::LINES,
                                     kxPrimitiveMode::LINE_STRIP,   kxPrimitiveMode::LINE_LOOP,
                                     kxPrimitiveMode::POINTS};
    for (uint32_t seed = 1; seed <= 4; ++seed)
        for (const kxPrimitiveMode mode : modes)
        {
            SCOPED_TRACE(kxFormat("mode %d, seed %u", static_cast<int>(mode), seed));
            TestRandom random(seed);
            const auto geometry = makeGeometry(makeSheet(13, mode, &random));
            kxSurface whole;
            ASSERT_TRUE(whole.measure(*geometry->getGeometryAttr(), nullptr, 0));
            kxAABox all = kxNew<kxBoundingBoxesMaker>()->getBox(geometry.get());
            kxGeometryCutter cutter;
            ASSERT_EQ(kxGeometryCutter::findObstacle(geometry), nullptr);
            ASSERT_TRUE(cutter.open(geometry));
            kxSurface pieces;
            const kxVec3f half = (all.max - all.min) / 2;
            for (int cell = 0; cell < 8; ++cell)
            {
                kxAABox box;
                for (int axis = 0; axis < 3; ++axis)
                {
                    const int index = cell >> (2 - axis) & 1;
                    box.min[axis] = index ? all.min[axis] + half[axis] : all.min[axis];
                    box.max[axis] = index ? all.max[axis] : all.min[axis] + half[axis];
                }
                const auto piece = cutter.take(box, kxMemoryPool::getDefault());
                if (!piece)
                    continue;
                const kxGeometryAttr* data = piece->getGeometryAttr();
                kxSurface surface;
                ASSERT_TRUE(surface.measure(*data, nullptr, 0));
                pieces.add(surface);
                EXPECT_EQ(data->_indices->_componentType, kxComponentType::UINT16);
                for (uint32_t i = 0; i < data->_arrays->get(0)->_count; ++i)
                {
                    const kxVec3f at = vectorAt(data->_arrays->get(0), i);
                    for (int axis = 0; axis < 3; ++axis)
                        EXPECT_TRUE(at[axis] >= box.min[axis] && at[axis] <= box.max[axis]) << at[axis];
                    EXPECT_NEAR(vectorAt(data->_arrays->get(1), i).length(), 1, 1e-5);
                    EXPECT_NEAR(vectorAt(data->_arrays->get(2), i).length(), 1, 1e-5);
                    EXPECT_EQ(std::abs(data->_arrays->get(2)->getComponent(i, 3)), 1);
                    const double id = data->_arrays->get(5)->getComponent(i, 0);
                    EXPECT_TRUE(id == 3 || id == 7) << "numbers are not interpolated";
                }
            }
            EXPECT_TRUE(cutter.isEmpty());
            EXPECT_NEAR(pieces.getArea(), whole.getArea(), whole.getArea() * 1e-5);
            kxSurface form; // modes become points, lines and triangles, which is what is compared
            form.add(whole);
            EXPECT_TRUE(form.isAlike(pieces));
        }
}

// What lies within a wall belongs to the first cell that has the wall, and to no other: triangles, lines and points alike.
TEST(kxGeometryCutter, WallsBelongToOneSide)
{
    const std::vector<float> flat = {0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1}; // all at x = 0
    for (const kxPrimitiveMode mode :
         {kxPrimitiveMode::TRIANGLE_STRIP, kxPrimitiveMode::LINES, kxPrimitiveMode::POINTS})
    {
        auto attr = kxNew<kxGeometryAttr>();
        attr->_primitiveMode = mode;
        attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, flat));
        kxSurface whole, taken;
        ASSERT_TRUE(whole.measure(*attr, nullptr, 0));
        const auto geometry = makeGeometry(attr);
        kxGeometryCutter cutter;
        ASSERT_TRUE(cutter.open(geometry));
        const kxAABox below(kxVec3f(-1, 0, 0), kxVec3f(0, 1, 1)), above(kxVec3f(0, 0, 0), kxVec3f(1, 1, 1));
        const auto first = cutter.take(below, kxMemoryPool::getDefault());
        ASSERT_TRUE(first);
        ASSERT_TRUE(taken.measure(*first->getGeometryAttr(), nullptr, 0));
        EXPECT_DOUBLE_EQ(taken.getArea(), whole.getArea());
        EXPECT_FALSE(cutter.take(above, kxMemoryPool::getDefault()));
        // Nothing was cut, so nothing was written anew.
        EXPECT_EQ(first->getGeometryAttr(), attr.get());
    }
}

// Quantized positions cannot name every wall; pieces that a wall has cut get floating-point ones, others keep theirs.
TEST(kxGeometryCutter, QuantizedPositionsBecomeExact)
{
    std::vector<float> numbers;
    for (const int corner : {0, 1, 2, 2, 1, 3})
        numbers.insert(numbers.end(), {corner & 1 ? 60000.0f : 0, corner & 2 ? 30001.0f : 0, 7});
    numbers.insert(numbers.end(), {1, 1, 7, 2, 1, 7, 1, 2, 7});
    auto attr = kxNew<kxGeometryAttr>();
    attr->_arrays->append(makeArray("POSITION", kxComponentType::UINT16, 3, numbers, true));
    kxSurface whole, pieces;
    ASSERT_TRUE(whole.measure(*attr, nullptr, 0));
    const auto geometry = makeGeometry(attr);
    kxGeometryCutter cutter;
    ASSERT_TRUE(cutter.open(geometry));
    const float wall = 1 / 3.0f;
    for (const kxAABox& box :
         {kxAABox(kxVec3f(0, 0, 0), kxVec3f(wall, 1, 1)), kxAABox(kxVec3f(wall, 0, 0), kxVec3f(1, 1, 1))})
    {
        const auto piece = cutter.take(box, kxMemoryPool::getDefault());
        ASSERT_TRUE(piece);
        const kxVertexArray* array = piece->getGeometryAttr()->_arrays->get(0);
        EXPECT_EQ(array->_componentType, kxComponentType::FLOAT32);
        for (uint32_t i = 0; i < array->_count; ++i)
            EXPECT_TRUE(vectorAt(array, i).x >= box.min.x && vectorAt(array, i).x <= box.max.x);
        kxSurface surface;
        ASSERT_TRUE(surface.measure(*piece->getGeometryAttr(), nullptr, 0));
        pieces.add(surface);
    }
    EXPECT_TRUE(whole.isAlike(pieces));
}

} // namespace Kel::Opt
