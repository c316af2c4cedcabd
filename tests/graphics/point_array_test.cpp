#include "graphics/point_array.h"

#include <gtest/gtest.h>

#include "graphics/transformer.h"

namespace {

QelPointArray square() {
  QelPoint corners[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  return QelPointArray(4, corners, 1);
}

TEST(PointArrayTest, HorizontalRayCountIncludesTheClosingEdgeAndDoublesTwoPoints) {
  QelPointArray poly = square();
  EXPECT_EQ(poly.nbHorizontalIntersect(QelPoint(5, 5)), 1u);
  EXPECT_EQ(poly.nbHorizontalIntersect(QelPoint(-5, 5)), 2u);
  EXPECT_EQ(poly.nbHorizontalIntersect(QelPoint(15, 5)), 0u);

  QelPoint ends[] = {{10, 0}, {10, 10}};
  QelPointArray line(2, ends, 1);
  EXPECT_EQ(line.nbHorizontalIntersect(QelPoint(0, 5)), 2u);
  QelPointArray single(1, ends, 1);
  EXPECT_EQ(single.nbHorizontalIntersect(QelPoint(0, 5)), 0u);
}

TEST(PointArrayTest, SignedAreaOrientationAndTransformedArea) {
  QelPointArray poly = square();
  EXPECT_EQ(poly.area(nullptr), 100);
  EXPECT_EQ(poly.orientation(), 1);
  QelTransformer doubled(2.0, 3.0);
  EXPECT_EQ(poly.area(&doubled), 600);
  QelPoint reversed[] = {{0, 0}, {0, 10}, {10, 10}, {10, 0}};
  QelPointArray back(4, reversed, 1);
  EXPECT_EQ(back.area(nullptr), -100);
  EXPECT_EQ(back.orientation(), -1);
  QelPoint odd[] = {{0, 0}, {3, 0}, {0, 1}};  // 3 / 2 truncates toward zero
  EXPECT_EQ(QelPointArray(3, odd, 1).area(nullptr), 1);
  QelPoint collinear[] = {{0, 0}, {5, 5}, {10, 10}};
  EXPECT_EQ(QelPointArray(3, collinear, 1).orientation(), 0);
  EXPECT_EQ(QelPointArray(2, odd, 1).area(nullptr), 0);
}

TEST(PointArrayTest, EditsKeepTheBoundingBoxCurrent) {
  QelPointArray poly = square();
  EXPECT_EQ(poly.bbox(), QelRect(0, 0, 11, 11));
  QelPoint extra[] = {{20, 5}, {-3, 5}};
  poly.addPoints(2, extra, 2);
  ASSERT_EQ(poly.getCount(), 6u);
  EXPECT_EQ(poly.getPoints()[2], QelPoint(20, 5));
  EXPECT_EQ(poly.getPoints()[4], QelPoint(10, 10));
  EXPECT_EQ(poly.bbox(), QelRect(-3, 0, 24, 11));
  poly.movePoint(QelPoint(5, 30), 0);
  poly.movePoint(QelPoint(99, 99), 6);  // past the end: ignored
  EXPECT_EQ(poly.bbox(), QelRect(-3, 0, 24, 31));
  poly.removePoints(1, 100);
  EXPECT_EQ(poly.getCount(), 1u);
  EXPECT_EQ(poly.bbox(), QelRect(5, 30, 1, 1));
  poly.removePoints(5, 1);
  EXPECT_EQ(poly.getCount(), 1u);

  QelPointArray moved = square();
  QelTransformer shift(QelPoint(5, -5));
  QelRect box;
  moved.boundingBox(box, &shift);
  EXPECT_EQ(box, QelRect(5, -5, 11, 11));
  EXPECT_EQ(moved.bbox(), QelRect(0, 0, 11, 11));
  moved.applyTransform(&shift);
  EXPECT_EQ(moved.bbox(), box);
}

TEST(PointArrayTest, OutlineIsHitOnEveryEdgeIncludingTheClosingOne) {
  QelPointArray poly = square();
  EXPECT_TRUE(poly.outlineContains(QelPoint(5, 0)));
  EXPECT_TRUE(poly.outlineContains(QelPoint(0, 5)));  // closing edge
  EXPECT_FALSE(poly.outlineContains(QelPoint(5, 5)));
  EXPECT_FALSE(QelPointArray().outlineContains(QelPoint(0, 0)));
}

}  // namespace
