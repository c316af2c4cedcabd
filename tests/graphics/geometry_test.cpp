#include "graphics/geometry.h"

#include <cstdint>
#include <limits>
#include <ostream>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

std::ostream& operator<<(std::ostream& out, const QelRect& r) {
  return out << "(" << r.x << ", " << r.y << ", " << r.w << ", " << r.h << ")";
}

namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
const QelRect kTen(0, 0, 10, 10);

TEST(RectTest, AddingPointsAndRectanglesAndIntersecting) {
  // A point on right() or bottom() changes nothing; one past them or before x, y is a pixel.
  for (auto [p, grown] : {std::pair<QelPoint, QelRect>{{10, 5}, kTen},
                          {{11, 5}, {0, 0, 12, 10}},
                          {{-1, 5}, {-1, 0, 12, 10}},
                          {{5, 10}, kTen},
                          {{5, -3}, {0, -3, 10, 14}}}) {
    QelRect r = kTen;
    r.add(p);
    EXPECT_EQ(r, grown) << p.x << "," << p.y;
  }
  // Empty rectangles are ignored, and an empty one adopts what is added.
  for (auto [a, b, sum] : {std::tuple<QelRect, QelRect, QelRect>{kTen, {100, 100, 0, 5}, kTen},
                           {kTen, {-5, 8, 3, 4}, {-5, 0, 15, 12}},
                           {{50, 50, 0, 0}, {1, 2, 3, 4}, {1, 2, 3, 4}}}) {
    a.add(b);
    EXPECT_EQ(a, sum) << b;
  }
  // An empty intersection keeps the origin it computed.
  for (auto [other, common] : {std::pair<QelRect, QelRect>{{20, 20, 5, 5}, {20, 20, 0, 0}},
                               {{10, 2, 5, 5}, {10, 2, 0, 0}},
                               {{4, -2, 10, 5}, {4, 0, 6, 3}}}) {
    QelRect r = kTen;
    r.intersection(other);
    EXPECT_EQ(r, common) << other;
  }
}

TEST(RectTest, PointAndRectangleTestsAreHalfOpen) {
  EXPECT_TRUE(kTen.contains(QelPoint(0, 0)) && kTen.contains(QelPoint(9, 9)) &&
              kTen.contains(kTen) && kTen.intersects(QelRect(9, 9, 5, 5)));
  EXPECT_FALSE(kTen.contains(QelPoint(10, 5)) || kTen.contains(QelRect(1, 1, 10, 1)) ||
               kTen.intersects(QelRect(10, 0, 5, 5)));
}

TEST(RectTest, EdgesNearTheEndsOfTheRangeNeitherWrapNorOverflow) {
  QelRect far(kMax - 5, kMax - 5, 100, 100);
  EXPECT_TRUE(far.right() == kMax && far.right64() == int64_t(kMax) + 95);  // right() saturates
  EXPECT_TRUE(far.contains(QelPoint(kMax, kMax)) &&
              far.intersects(QelRect(kMax - 1, kMax - 1, 1, 1)));

  QelRect huge(kMin, kMin, UINT32_MAX, UINT32_MAX);
  huge.add(QelRect(kMax - 1, 0, 10, 1));
  huge.translate(kMin, kMin);
  huge.add(QelPoint(kMax, kMax));
  EXPECT_EQ(huge, QelRect(kMin, kMin, UINT32_MAX, UINT32_MAX));

  QelRect grown(0, 0, 4, 4);
  grown.expand(2, 1);
  EXPECT_EQ(grown, QelRect(-2, -1, 8, 6));
  grown.expand(-10, -1);
  EXPECT_EQ(grown, QelRect(8, 0, 0, 4));
}

TEST(FloatRectTest, DataRangesAreClosed) {
  QelFloatRect box(QelFloatPoint(2, 3));
  box.add(QelFloatPoint(-1, 7));
  box.add(QelFloatPoint(4, 5));
  EXPECT_EQ(box, QelFloatRect(-1, 3, 4, 7));
  // Both ends belong to a range.
  EXPECT_TRUE(box.contains(QelFloatPoint(4, 7)) && !box.contains(QelFloatPoint(4.01f, 7)));
  // Ranges that only touch share their edge, on either side.
  EXPECT_TRUE(box.intersects(QelFloatRect(4, 7, 9, 9)) &&
              box.intersects(QelFloatRect(-5, 0, -1, 3)));
  EXPECT_FALSE(box.intersects(QelFloatRect(-5, 0, -1.01f, 3)));

  QelFloatRect visible = box;
  visible.intersection(QelFloatRect(0, 0, 10, 5));
  EXPECT_EQ(visible, QelFloatRect(0, 3, 4, 5));
  box.add(QelFloatRect(-3, 0, 1, 1));
  EXPECT_EQ(box, QelFloatRect(-3, 0, 4, 7));
}

}  // namespace
