#include "graphics/region.h"

#include <random>

#include <gtest/gtest.h>

#include "graphics/transformer.h"

namespace {

QelRect disjoint(int i) {
  return QelRect(i * 20, 0, 10, 10);
}

TEST(RegionTest, PointTestIsClosedWhileRectangleTestIsHalfOpen) {
  QelRegion region(QelRect(0, 0, 10, 10));
  EXPECT_TRUE(region.contains(QelPoint(10, 10)));
  EXPECT_FALSE(region.contains(QelPoint(11, 10)));
  EXPECT_FALSE(region.intersects(QelRect(10, 0, 5, 5)));
  EXPECT_TRUE(region.intersects(QelRect(9, 0, 5, 5)));

  QelRegion empty;
  EXPECT_FALSE(empty.contains(QelPoint(0, 0)));
  EXPECT_FALSE(empty.contains(QelRect(0, 0, 0, 0)));
  EXPECT_FALSE(empty.intersects(QelRect(-100, -100, 200, 200)));
}

TEST(RegionTest, AddingAContainedRectangleAddsNothingAndAContainingOneReplaces) {
  QelRegion region(QelRect(0, 0, 10, 10));
  region.add(QelRect(0, 0, 4, 4));
  EXPECT_EQ(region.getCount(), 1);
  EXPECT_EQ(region.getRect(0), QelRect(0, 0, 10, 10));

  region.add(QelRect(30, 0, 5, 5));
  region.add(QelRect(32, 1, 2, 2));
  region.add(QelRect(0, 0, 20, 20));
  ASSERT_EQ(region.getCount(), 2);
  EXPECT_EQ(region.getRect(0), QelRect(0, 0, 20, 20));
  EXPECT_EQ(region.getRect(1), QelRect(30, 0, 5, 5));

  // A rectangle swallowing several members takes the first one's place; the rest go.
  region.add(QelRect(50, 0, 5, 5));
  region.add(QelRect(-1, -1, 60, 30));
  ASSERT_EQ(region.getCount(), 1);
  EXPECT_EQ(region.getRect(0), QelRect(-1, -1, 60, 30));
  EXPECT_EQ(region.getBBox(), QelRect(-1, -1, 60, 30));
}

TEST(RegionTest, OverlapWithoutContainmentKeepsBothAndOnlyOneMemberMustHoldARect) {
  QelRegion region(QelRect(0, 0, 10, 10));
  region.add(QelRect(5, 0, 10, 10));
  EXPECT_EQ(region.getCount(), 2);
  EXPECT_EQ(region.getBBox(), QelRect(0, 0, 15, 10));
  EXPECT_TRUE(region.contains(QelRect(6, 2, 8, 3)));
  EXPECT_FALSE(region.contains(QelRect(2, 2, 10, 3)));  // covered only by the union
}

TEST(RegionTest, StorageGrowsByOneSlotAndReturnsInlineAtEightMembers) {
  QelRegion region;
  for (int i = 0; i < 8; ++i) region.add(disjoint(i));
  EXPECT_EQ(region.getCapacity(), 8);
  region.add(disjoint(8));
  EXPECT_EQ(region.getCapacity(), 9);
  region.add(disjoint(9));
  EXPECT_EQ(region.getCapacity(), 10);
  EXPECT_EQ(region.getCount(), 10);

  // Swallow members 7, 8 and 9: back to eight, and to the inline slots.
  region.add(QelRect(140, 0, 50, 10));
  EXPECT_EQ(region.getCount(), 8);
  EXPECT_EQ(region.getCapacity(), 8);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(region.getRect(i), disjoint(i));
  EXPECT_EQ(region.getRect(7), QelRect(140, 0, 50, 10));

  QelRegion copy(region);
  region.add(QelRect(0, 50, 1, 1));
  EXPECT_EQ(copy.getCount(), 8);
  EXPECT_EQ(region.getCount(), 9);
  copy = region;
  EXPECT_EQ(copy.getCount(), 9);
  EXPECT_EQ(copy.getRect(8), QelRect(0, 50, 1, 1));
}

TEST(RegionTest, TranslateGrowAndIntersection) {
  QelRegion region(QelRect(0, 0, 10, 10));
  region.add(QelRect(20, 0, 4, 4));
  region.translate(5, -5);
  EXPECT_EQ(region.getRect(1), QelRect(25, -5, 4, 4));
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
}

TEST(RegionTest, ApplyRoundsATranslationAndMapsTwoCornersOtherwise) {
  QelRegion region(QelRect(0, 0, 10, 10));
  QelTransformer shift(1, 0, 0, 1, 2.5f, 3.5f);
  region.apply(&shift);
  EXPECT_EQ(region.getRect(0), QelRect(2, 4, 10, 10));  // ties to even
  QelTransformer zoom(2.0, 3.0);
  region.apply(&zoom);
  EXPECT_EQ(region.getRect(0), QelRect(4, 12, 20, 30));
  region.inverse(&zoom);
  EXPECT_EQ(region.getRect(0), QelRect(2, 4, 10, 10));
  region.apply(nullptr);
  EXPECT_EQ(region.getBBox(), QelRect(2, 4, 10, 10));
}

// After every add no member lies inside another and the bounding box covers every member.
TEST(RegionTest, RandomAddsKeepMembersIndependentAndCoveredByTheBox) {
  std::mt19937 random(20261122);
  for (int round = 0; round < 200; ++round) {
    QelRegion region;
    std::uniform_int_distribution<int> position(-50, 50), extent(1, 40);
    for (int step = 0; step < 40; ++step) {
      region.add(QelRect(position(random), position(random), extent(random), extent(random)));
      for (uint16_t i = 0; i < region.getCount(); ++i) {
        ASSERT_TRUE(region.getBBox().contains(region.getRect(i)));
        for (uint16_t j = 0; j < region.getCount(); ++j)
          ASSERT_TRUE(i == j || !region.getRect(j).contains(region.getRect(i)))
              << "round " << round << " step " << step << ": member " << i << " inside " << j;
      }
      ASSERT_GE(region.getCapacity(), region.getCount());
      ASSERT_EQ(region.getCapacity() > 8, region.getCount() > 8);
    }
  }
}

}  // namespace
