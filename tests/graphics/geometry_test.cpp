#include "graphics/geometry.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

TEST(RectTest, AddPointTreatsThePointAsAPixelAsymmetrically) {
  QelRect r(0, 0, 10, 10);
  r.add(QelPoint(10, 5));  // on right(): nothing
  EXPECT_EQ(r, QelRect(0, 0, 10, 10));
  r.add(QelPoint(11, 5));
  EXPECT_EQ(r, QelRect(0, 0, 12, 10));

  QelRect left(0, 0, 10, 10);
  left.add(QelPoint(-1, 5));
  EXPECT_EQ(left, QelRect(-1, 0, 12, 10));

  QelRect vertical(0, 0, 10, 10);
  vertical.add(QelPoint(5, 10));
  vertical.add(QelPoint(5, -3));
  EXPECT_EQ(vertical, QelRect(0, -3, 10, 14));
}

TEST(RectTest, EmptyIntersectionKeepsTheComputedOrigin) {
  QelRect r(0, 0, 10, 10);
  r.intersection(QelRect(20, 20, 5, 5));
  EXPECT_EQ(r, QelRect(20, 20, 0, 0));

  QelRect touching(0, 0, 10, 10);
  touching.intersection(QelRect(10, 2, 5, 5));  // shares an edge, no pixel
  EXPECT_EQ(touching, QelRect(10, 2, 0, 0));

  QelRect overlap(0, 0, 10, 10);
  overlap.intersection(QelRect(4, -2, 10, 5));
  EXPECT_EQ(overlap, QelRect(4, 0, 6, 3));
}

TEST(RectTest, UnionIgnoresEmptyRectanglesAndAdoptsIntoAnEmptyOne) {
  QelRect r(0, 0, 10, 10);
  r.add(QelRect(100, 100, 0, 5));
  EXPECT_EQ(r, QelRect(0, 0, 10, 10));
  r.add(QelRect(-5, 8, 3, 4));
  EXPECT_EQ(r, QelRect(-5, 0, 15, 12));

  QelRect empty(50, 50, 0, 0);
  empty.add(QelRect(1, 2, 3, 4));
  EXPECT_EQ(empty, QelRect(1, 2, 3, 4));
}

TEST(RectTest, PointAndRectangleTestsAreHalfOpen) {
  QelRect r(0, 0, 10, 10);
  EXPECT_TRUE(r.contains(QelPoint(0, 0)));
  EXPECT_TRUE(r.contains(QelPoint(9, 9)));
  EXPECT_FALSE(r.contains(QelPoint(10, 5)));
  EXPECT_TRUE(r.contains(QelRect(0, 0, 10, 10)));
  EXPECT_FALSE(r.contains(QelRect(1, 1, 10, 1)));
  EXPECT_FALSE(r.intersects(QelRect(10, 0, 5, 5)));
  EXPECT_TRUE(r.intersects(QelRect(9, 9, 5, 5)));
}

TEST(RectTest, EdgesNearTheEndsOfTheRangeNeitherWrapNorOverflow) {
  QelRect far(kMax - 5, kMax - 5, 100, 100);
  EXPECT_EQ(far.right(), kMax);  // saturates
  EXPECT_EQ(far.right64(), int64_t(kMax) + 95);
  EXPECT_TRUE(far.contains(QelPoint(kMax, kMax)));
  EXPECT_TRUE(far.intersects(QelRect(kMax - 1, kMax - 1, 1, 1)));

  QelRect huge(kMin, kMin, UINT32_MAX, UINT32_MAX);
  huge.add(QelRect(kMax - 1, 0, 10, 1));
  EXPECT_EQ(huge.x, kMin);
  EXPECT_EQ(huge.w, UINT32_MAX);
  huge.translate(kMin, kMin);
  EXPECT_EQ(huge.x, kMin);
  huge.add(QelPoint(kMax, kMax));
  EXPECT_EQ(huge.w, UINT32_MAX);

  QelRect grown(0, 0, 4, 4);
  grown.expand(2, 1);
  EXPECT_EQ(grown, QelRect(-2, -1, 8, 6));
  grown.expand(-10, -1);
  EXPECT_EQ(grown, QelRect(8, 0, 0, 4));
}

TEST(FloatRectTest, ClosedArithmeticOfDataRanges) {
  QelFloatRect box(QelFloatPoint(2, 3));
  box.add(QelFloatPoint(-1, 7));
  box.add(QelFloatPoint(4, 5));
  EXPECT_EQ(box, QelFloatRect(-1, 3, 4, 7));
  EXPECT_FLOAT_EQ(box.width(), 5);
  EXPECT_TRUE(box.contains(QelFloatPoint(4, 7)));  // both ends belong to a range
  EXPECT_FALSE(box.contains(QelFloatPoint(4.01f, 7)));
  EXPECT_TRUE(box.intersects(QelFloatRect(4, 7, 9, 9)));

  QelFloatRect visible = box;
  visible.intersection(QelFloatRect(0, 0, 10, 5));
  EXPECT_EQ(visible, QelFloatRect(0, 3, 4, 5));
  QelFloatRect none = box;
  none.intersection(QelFloatRect(10, 10, 20, 20));
  EXPECT_EQ(none, QelFloatRect(10, 10, 10, 10));

  box.add(QelFloatRect(-3, 0, 1, 1));
  EXPECT_EQ(box, QelFloatRect(-3, 0, 4, 7));
  EXPECT_TRUE(box.contains(QelFloatRect(-3, 0, 4, 7)));
}

}  // namespace
