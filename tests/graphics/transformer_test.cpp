#include "graphics/transformer.h"

#include <cmath>
#include <limits>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

QelPoint mapped(const QelTransformer& t, QelPoint p) {
  t.apply(p);
  return p;
}

TEST(TransformerTest, PixelsRoundHalfToEvenAndSaturateAndRectanglesMapTwoCorners) {
  using Row = std::tuple<QelTransformer, QelPoint, QelPoint>;
  for (auto [t, from, to] :
       {Row{{0.5, 0.5}, {3, 5}, {2, 2}},  // 1.5 and 2.5
        Row{{0.5, 0.5}, {-3, -1}, {-2, 0}}, Row{{1, 0, 0, 1, 0.5f, -0.5f}, {1, 2}, {2, 2}},
        Row{{1e9, 1e9}, {100, -100}, {kMax, kMin}}})
    EXPECT_EQ(mapped(t, from), to) << from.x << "," << from.y;
  EXPECT_TRUE(QelRoundToPixel(1e30) == kMax && QelRoundToPixel(-1e30) == kMin &&
              QelRoundToPixel(std::nan("")) == 0);

  // (0,0) stays and (10,10) goes to (0,14): the box of two corners has no width, although the
  // rotated square spans from -7 to 7. A flip keeps the rectangle's size.
  QelRect r(0, 0, 10, 10), f(10, 10, 20, 30);
  QelTransformer(QelPoint(0, 0), 45.0).apply(r);
  QelTransformer(1, 0, 0, -1, 0, 100).apply(f);
  EXPECT_TRUE(r == QelRect(0, 0, 0, 14) && f == QelRect(10, 60, 20, 30));
}

TEST(TransformerTest, ScaleKeepsItsSourcePointRotateItsOutputPointAndComposeGoesInOrder) {
  const QelPoint source(3, 4);
  QelTransformer t(2, 0, 0, 3, 10, 20), r = t;
  const QelPoint before = mapped(t, source);  // (16, 32)
  t.scale(3, 4, 1.5, 0.5);
  r.rotate(16, 32, 30);  // about the output point: the source point mapped there stays there
  EXPECT_EQ(mapped(t, source), before);
  EXPECT_EQ(mapped(r, source), before);

  // This one first, then the other.
  QelTransformer shift(QelPoint(10, 0)), zoom(2.0, 2.0), shiftThenZoom = shift,
                                                         zoomThenShift = zoom;
  shiftThenZoom.compose(zoom);
  zoomThenShift.compose(shift);
  EXPECT_EQ(mapped(shiftThenZoom, QelPoint(1, 1)), QelPoint(22, 2));
  EXPECT_EQ(mapped(zoomThenShift, QelPoint(1, 1)), QelPoint(12, 2));
}

TEST(TransformerTest, InverseUndoesApplyAndComputeInverseAgrees) {
  QelTransformer t(QelPoint(50, 40), 30.0);
  t.scale(0, 0, 2, 3);
  t.translate(7, -9);
  QelTransformer back, self = t;
  ASSERT_TRUE(t.computeInverse(back) && self.computeInverse(self));  // in place, the same inverse
  for (QelPoint p : {QelPoint(0, 0), QelPoint(13, -200), QelPoint(1000, 999)}) {
    QelPoint q = mapped(t, p), viaInverse = q;
    ASSERT_TRUE(t.inverse(viaInverse));
    EXPECT_TRUE(std::abs(viaInverse.x - p.x) <= 1 && std::abs(viaInverse.y - p.y) <= 1);
    EXPECT_TRUE(mapped(back, q) == viaInverse && mapped(self, q) == viaInverse);
  }
}

TEST(TransformerTest, InverseOfASingularTransformerWarnsAndChangesNothing) {
  CapturedMessages messages;
  QelTransformer flat(0, 0, 0, 0, 5, 5), unchanged;
  QelPoint p(3, 4);
  QelRect r(1, 2, 3, 4);
  EXPECT_FALSE(flat.inverse(p) || flat.inverse(r) || flat.computeInverse(unchanged) ||
               QelTransformer(std::nanf(""), 0, 0, 1, 0, 0).inverse(p));
  EXPECT_TRUE(p == QelPoint(3, 4) && r == QelRect(1, 2, 3, 4) && unchanged.isIdentity());
  EXPECT_EQ(
      messages.warnings().at(0).rfind("QelTransformer::inverse(QelPoint&): bad transformer ", 0),
      0u);
  EXPECT_EQ(messages.warnings().size(), 3u);
}

// Regions and charts take the quick path of a translation only when nothing scales or turns.
TEST(TransformerTest, FlagsFollowTheirTolerances) {
  using Row = std::tuple<QelTransformer, bool, bool>;  // translation only, no rotation
  int row = 0;
  for (auto [t, translation, noRotation] :
       {Row{{1.00005f, 0, 0, 0.99995f, 0, 0}, true, true},
        Row{{1.001f, 0, 0, 1, 0, 0}, false, true}, Row{{1, 0, 0, 1.001f, 0, 0}, false, true},
        Row{{1, 1e-6f, 0, 1, 0, 0}, false, false}, Row{{1, 0, 0, 1, 3, 0}, true, true}}) {
    EXPECT_EQ(t.isTranslationOnly(), translation) << "row " << row;
    EXPECT_EQ(t.hasNoRotation(), noRotation) << "row " << row++;
  }
  // Vectors take no translation; a scale about a fixed point leaves that point where it is.
  QelPoint v(4, 5), fixed(10, 10);
  QelTransformer(2, 0, 0, 2, 100, 100).deltaApply(v);
  EXPECT_TRUE(v == QelPoint(8, 10) && mapped(QelTransformer(3.0, 3.0, &fixed), fixed) == fixed);
}

}  // namespace
}  // namespace kestrel::test
