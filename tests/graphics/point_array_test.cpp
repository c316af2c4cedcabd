#include "graphics/point_array.h"

#include <gtest/gtest.h>

#include <tuple>
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
  // Inside, before and after the square; a line of two points is crossed there and back.
  for (auto [points, from, crossings] :
       {std::tuple<QelPointArray, QelPoint, uint32_t>{square, {5, 5}, 1},
        {square, {-5, 5}, 2},
        {square, {15, 5}, 0},
        {line, {0, 5}, 2},
        {array({{10, 0}}), {0, 5}, 0}})
    EXPECT_EQ(points.nbHorizontalIntersect(from), crossings) << from.x;
  EXPECT_TRUE(square.outlineContains(QelPoint(0, 5)) && !square.outlineContains(QelPoint(5, 5)));

  // Signed areas, halved toward zero, and orientations.
  const QelTransformer stretch(2.0, 3.0);
  const QelPointArray back = array({{0, 0}, {0, 10}, {10, 10}, {10, 0}});
  EXPECT_TRUE(square.area(nullptr) == 100 && square.area(&stretch) == 600 &&
              back.area(nullptr) == -100);
  EXPECT_TRUE(square.orientation() == 1 && back.orientation() == -1);
  EXPECT_EQ(array({{0, 0}, {3, 0}, {0, 1}}).area(nullptr), 1);
  EXPECT_EQ(array({{0, 0}, {5, 5}, {10, 10}}).orientation(), 0);
  EXPECT_EQ(line.area(nullptr), 0);
}

}  // namespace
