#include "graphics/line_geometry.h"

#include <cstdint>
#include <limits>
#include <tuple>

#include <gtest/gtest.h>

namespace {

constexpr int32_t kBig = std::numeric_limits<int32_t>::max();

TEST(SegmentTest, PointInLineHasASmallToleranceAroundTheSegment) {
  QelPoint a(0, 0), b(100, 0);
  EXPECT_TRUE(QelPointInLine(QelPoint(50, QelLineHitTolerance), a, b));
  EXPECT_FALSE(QelPointInLine(QelPoint(50, QelLineHitTolerance + 1), a, b));
  EXPECT_FALSE(QelPointInLine(QelPoint(104, 0), a, b));  // past the end
  EXPECT_TRUE(QelPointInLine(QelPoint(1, 1), QelPoint(0, 0), QelPoint(0, 0)) &&
              QelPointInLine(QelPoint(0, 0), QelPoint(-kBig, -kBig), QelPoint(kBig, kBig)));
}

// A chain passing through the ray at a vertex crosses once; one touching it with its tip crosses
// twice or not at all, so inside/outside parity is kept.
TEST(SegmentTest, HorizontalRayCountsASharedVertexOnce) {
  const QelPoint p(0, 5);
  using Chain = std::tuple<QelPoint, QelPoint, QelPoint, int>;  // two edges, their crossings
  for (auto [a, b, c, crossings] :
       {Chain{{10, 0}, {10, 10}, {10, 20}, 1}, Chain{{-10, 0}, {-10, 10}, {-10, 20}, 0},  // behind
        Chain{{0, 5}, {20, 5}, {30, 5}, 0},  // horizontal
        Chain{{5, 0}, {10, 5}, {5, 10}, 1}, Chain{{5, 10}, {10, 5}, {15, 10}, 2}})
    EXPECT_EQ(QelIntersectHorizontal(p, a, b) + QelIntersectHorizontal(p, b, c), crossings)
        << b.x << "," << b.y;
  EXPECT_TRUE(
      QelIntersectHorizontal(QelPoint(-kBig, 0), QelPoint(kBig, -kBig), QelPoint(kBig, kBig)));
}

TEST(SegmentTest, ClipLineKeepsInsideEndsRoundsCutEndsAndRejectsMisses) {
  // The ends given and, when visible, the ends after clipping to (-1, -1)-(101, 101).
  using Row = std::tuple<QelPoint, QelPoint, bool, QelPoint, QelPoint>;
  const Row rows[] = {
      {{2, 3}, {50, 40}, true, {2, 3}, {50, 40}},
      {{5, 5}, {5, 5}, true, {5, 5}, {5, 5}},
      {{-50, 150}, {150, -50}, true, {-1, 101}, {101, -1}},  // both ends outside
      {{0, -11}, {20, 19}, true, {7, -1}, {20, 19}},         // x 6.67 rounds up
      {{-10, -10}, {-5, 200}, false, {}, {}},
      {{150, 110}, {110, 150}, false, {}, {}},  // passes beyond the corner (101, 101)
      {{150, 150}, {300, 120}, false, {}, {}},
      {{-kBig, 50}, {kBig, 50}, true, {-1, 50}, {101, 50}},
      // From far outside on both sides, exactly: the line y = x + 100.
      {{-2000000000, -1999999900}, {2000000000, 2000000100}, true, {-1, 99}, {1, 101}},
  };
  for (auto [a, b, visible, clippedA, clippedB] : rows) {
    SCOPED_TRACE(testing::Message() << a.x << "," << a.y << " " << b.x << "," << b.y);
    const bool shown = QelClipLine(a, b, -1, -1, 101, 101) != 0;
    EXPECT_EQ(shown, visible);
    EXPECT_TRUE(!shown || (a == clippedA && b == clippedB)) << a.x << "," << a.y;
  }
}

}  // namespace
