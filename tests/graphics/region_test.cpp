#include "graphics/region.h"

#include <gtest/gtest.h>

#include "graphics/transformer.h"

namespace {

QelRect disjoint(int i) {
  return QelRect(i * 20, 0, 10, 10);
}

TEST(RegionTest, PointTestIsClosedWhileRectangleTestsAreHalfOpenAndNeedOneMember) {
  QelRegion region(QelRect(0, 0, 10, 10));
  EXPECT_TRUE(region.contains(QelPoint(10, 10)) && !region.contains(QelPoint(11, 10)));
  EXPECT_TRUE(region.intersects(QelRect(9, 0, 5, 5)) && !region.intersects(QelRect(10, 0, 5, 5)));
  region.add(QelRect(5, 0, 10, 10));  // overlaps without containing: both kept
  EXPECT_EQ(region.getCount(), 2);
  // One covered only by the union is not contained.
  EXPECT_TRUE(region.contains(QelRect(6, 2, 8, 3)) && !region.contains(QelRect(2, 2, 10, 3)));
  EXPECT_FALSE(QelRegion().intersects(QelRect(-100, -100, 200, 200)));
}

TEST(RegionTest, AddingAContainedRectangleAddsNothingAndAContainingOneReplaces) {
  QelRegion region(QelRect(0, 0, 10, 10));
  region.add(QelRect(0, 0, 4, 4));
  EXPECT_EQ(region.getCount(), 1);
  region.add(QelRect(30, 0, 5, 5));
  region.add(QelRect(32, 1, 2, 2));
  region.add(QelRect(0, 0, 20, 20));
  ASSERT_EQ(region.getCount(), 2);
  EXPECT_EQ(region.getRect(0), QelRect(0, 0, 20, 20));
  EXPECT_EQ(region.getRect(1), QelRect(30, 0, 5, 5));

  // A rectangle swallowing several members takes the first one's place; the rest go, in order.
  QelRegion many;
  for (int i = 0; i < 10; ++i) many.add(disjoint(i));
  many.add(QelRect(140, 0, 50, 10));
  ASSERT_EQ(many.getCount(), 8);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(many.getRect(i), disjoint(i));
  EXPECT_EQ(many.getRect(7), QelRect(140, 0, 50, 10));
  EXPECT_EQ(many.getBBox(), QelRect(0, 0, 190, 10));
}

TEST(RegionTest, TranslateGrowIntersectionAndTransformers) {
  QelRegion region(QelRect(0, 0, 10, 10));
  region.add(QelRect(20, 0, 4, 4));
  region.translate(5, -5);
  EXPECT_EQ(region.getBBox(), QelRect(5, -5, 24, 10));
  region.grow(-6, 2);
  EXPECT_EQ(region.getRect(0), QelRect(5, -5, 4, 12));
  EXPECT_EQ(region.getRect(1), QelRect(25, -5, 0, 6));  // clamped at 0

  QelRegion clipped(QelRect(0, 0, 10, 10));
  clipped.add(QelRect(20, 0, 4, 4));
  clipped.intersection(QelRect(0, 0, 15, 15));
  ASSERT_EQ(clipped.getCount(), 2);  // the emptied member stays
  EXPECT_EQ(clipped.getRect(1), QelRect(20, 0, 0, 0));
  EXPECT_EQ(clipped.getBBox(), QelRect(0, 0, 15, 10));

  // A translation is rounded (ties to even); other transformers map two corners.
  QelRegion mapped(QelRect(0, 0, 10, 10));
  const QelTransformer shift(1, 0, 0, 1, 2.5f, 3.5f), zoom(2.0, 3.0);
  mapped.apply(&shift);
  EXPECT_EQ(mapped.getRect(0), QelRect(2, 4, 10, 10));
  mapped.apply(&zoom);
  EXPECT_EQ(mapped.getRect(0), QelRect(4, 12, 20, 30));
  mapped.inverse(&zoom);
  EXPECT_EQ(mapped.getBBox(), QelRect(2, 4, 10, 10));
}

}  // namespace
