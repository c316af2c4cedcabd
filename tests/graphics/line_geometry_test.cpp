#include "graphics/line_geometry.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace {

TEST(SegmentTest, PointInLineHasASmallToleranceAroundTheSegment) {
  QelPoint a(0, 0), b(100, 0);
  EXPECT_TRUE(QelPointInLine(QelPoint(50, 0), a, b));
  EXPECT_TRUE(QelPointInLine(QelPoint(50, QelLineHitTolerance), a, b));
  EXPECT_FALSE(QelPointInLine(QelPoint(50, QelLineHitTolerance + 1), a, b));
  EXPECT_FALSE(QelPointInLine(QelPoint(104, 0), a, b));  // past the end
  EXPECT_TRUE(QelPointInLine(QelPoint(1, 1), QelPoint(0, 0), QelPoint(0, 0)));
  const int32_t big = std::numeric_limits<int32_t>::max();
  EXPECT_TRUE(QelPointInLine(QelPoint(0, 0), QelPoint(-big, -big), QelPoint(big, big)));
}

TEST(SegmentTest, HorizontalRayCountsASharedVertexOnce) {
  QelPoint p(0, 5);
  EXPECT_TRUE(QelIntersectHorizontal(p, QelPoint(10, 0), QelPoint(10, 10)));
  EXPECT_FALSE(QelIntersectHorizontal(p, QelPoint(-10, 0), QelPoint(-10, 10)));  // behind
  EXPECT_FALSE(QelIntersectHorizontal(p, QelPoint(0, 5), QelPoint(20, 5)));      // horizontal
  // A chain passing through the ray at a vertex crosses once; one touching it with its tip
  // crosses twice or not at all, so inside/outside parity is kept.
  EXPECT_EQ(QelIntersectHorizontal(p, QelPoint(5, 0), QelPoint(10, 5)) +
                QelIntersectHorizontal(p, QelPoint(10, 5), QelPoint(5, 10)),
            1);
  EXPECT_EQ(QelIntersectHorizontal(p, QelPoint(5, 10), QelPoint(10, 5)) +
                QelIntersectHorizontal(p, QelPoint(10, 5), QelPoint(15, 10)),
            2);
  const int32_t big = std::numeric_limits<int32_t>::max();
  EXPECT_TRUE(QelIntersectHorizontal(QelPoint(-big, 0), QelPoint(big, -big), QelPoint(big, big)));
}

TEST(SegmentTest, ClipLineLeavesInsideEndsAndRejectsMisses) {
  QelPoint a(2, 3), b(50, 40);
  ASSERT_TRUE(QelClipLine(a, b, -1, -1, 101, 101));
  EXPECT_EQ(a, QelPoint(2, 3));
  EXPECT_EQ(b, QelPoint(50, 40));

  QelPoint c(-10, -10), d(-5, 200);
  EXPECT_FALSE(QelClipLine(c, d, -1, -1, 101, 101));
  QelPoint e(-50, 150), f(150, -50);  // both ends outside, the middle inside
  ASSERT_TRUE(QelClipLine(e, f, -1, -1, 101, 101));
  EXPECT_EQ(e, QelPoint(-1, 101));
  EXPECT_EQ(f, QelPoint(101, -1));
  QelPoint g(150, 110), h(110, 150);  // passes beyond the corner (101, 101)
  EXPECT_FALSE(QelClipLine(g, h, -1, -1, 101, 101));
  QelPoint i(150, 150), j(300, 120);
  EXPECT_FALSE(QelClipLine(i, j, -1, -1, 101, 101));
  QelPoint k(5, 5), l(5, 5);
  EXPECT_TRUE(QelClipLine(k, l, -1, -1, 101, 101));
  EXPECT_EQ(k, QelPoint(5, 5));
}

TEST(SegmentTest, ClipLineFromFarOutsideLandsOnTheLineInsideTheBox) {
  const int32_t big = std::numeric_limits<int32_t>::max();
  QelPoint a(-big, 50), b(big, 50);
  ASSERT_TRUE(QelClipLine(a, b, -1, -1, 641, 481));
  EXPECT_EQ(a, QelPoint(-1, 50));
  EXPECT_EQ(b, QelPoint(641, 50));

  // A steep line from (-2e9, -2e9) to (320, 240) enters at the top-left.
  QelPoint c(-2000000000, -1500000000), d(320, 240);
  ASSERT_TRUE(QelClipLine(c, d, -1, -1, 641, 481));
  EXPECT_EQ(d, QelPoint(320, 240));
  EXPECT_GE(c.x, -1);
  EXPECT_GE(c.y, -1);
  EXPECT_TRUE(c.x == -1 || c.y == -1);

  // Any 32-bit segment: the result lies in the box and within a pixel of the original line.
  std::mt19937 random(7);
  std::uniform_int_distribution<int32_t> any(std::numeric_limits<int32_t>::min(), big);
  std::uniform_int_distribution<int32_t> near(-2000, 2000);
  int visible = 0;
  for (int n = 0; n < 20000; ++n) {
    bool wide = n % 2;
    QelPoint p(wide ? any(random) : near(random), wide ? any(random) : near(random));
    QelPoint q(near(random), near(random));
    QelPoint cp = p, cq = q;
    if (!QelClipLine(cp, cq, -1, -1, 641, 481)) continue;
    ++visible;
    for (const QelPoint& r : {cp, cq}) {
      ASSERT_TRUE(r.x >= -1 && r.x <= 641 && r.y >= -1 && r.y <= 481);
      double dx = double(q.x) - p.x, dy = double(q.y) - p.y;
      double cross = std::fabs(dx * (double(r.y) - p.y) - dy * (double(r.x) - p.x));
      ASSERT_LE(cross / std::hypot(dx, dy), 1.5) << p.x << "," << p.y << " " << q.x << "," << q.y;
    }
  }
  EXPECT_GT(visible, 1000);
}

}  // namespace
