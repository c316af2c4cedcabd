#include "graphics/point_array.h"

#include <gtest/gtest.h>

#include <vector>

#include "graphics/transformer.h"

namespace {

QelPointArray array(std::vector<QelPoint> points) {
  return QelPointArray(uint32_t(points.size()), points.data(), 1);
}
const std::vector<QelPoint> kSquare = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};

TEST(PointArrayTest, BoxRayCountsAreaAndOutlineIncludeTheLastPointAndTheClosingEdge) {
  const QelPointArray square = array(kSquare), line = array({{10, 0}, {10, 10}});
  EXPECT_EQ(square.bbox(), QelRect(0, 0, 11, 11));  // every point is a pixel
  EXPECT_EQ(square.nbHorizontalIntersect(QelPoint(5, 5)), 1u);
  EXPECT_EQ(square.nbHorizontalIntersect(QelPoint(-5, 5)), 2u);
  EXPECT_EQ(square.nbHorizontalIntersect(QelPoint(15, 5)), 0u);
  EXPECT_EQ(line.nbHorizontalIntersect(QelPoint(0, 5)), 2u);  // two points: there and back
  EXPECT_EQ(array({{10, 0}}).nbHorizontalIntersect(QelPoint(0, 5)), 0u);
  EXPECT_TRUE(square.outlineContains(QelPoint(0, 5)));
  EXPECT_FALSE(square.outlineContains(QelPoint(5, 5)));

  // Signed areas, halved toward zero, and orientations.
  const QelTransformer stretch(2.0, 3.0);
  EXPECT_EQ(square.area(nullptr), 100);
  EXPECT_EQ(square.area(&stretch), 600);
  EXPECT_EQ(square.orientation(), 1);
  const QelPointArray back = array({{0, 0}, {0, 10}, {10, 10}, {10, 0}});
  EXPECT_EQ(back.area(nullptr), -100);
  EXPECT_EQ(back.orientation(), -1);
  EXPECT_EQ(array({{0, 0}, {3, 0}, {0, 1}}).area(nullptr), 1);
  EXPECT_EQ(array({{0, 0}, {5, 5}, {10, 10}}).orientation(), 0);
  EXPECT_EQ(line.area(nullptr), 0);
}

}  // namespace
