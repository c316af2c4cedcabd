#include "graphics/transformer.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

QelPoint mapped(const QelTransformer& t, QelPoint p) {
  t.apply(p);
  return p;
}

TEST(TransformerTest, PixelsRoundHalfToEven) {
  QelTransformer half(0.5, 0.5);
  EXPECT_EQ(mapped(half, QelPoint(3, 5)), QelPoint(2, 2));  // 1.5 and 2.5
  EXPECT_EQ(mapped(half, QelPoint(-3, -1)), QelPoint(-2, 0));
  QelTransformer shift(1, 0, 0, 1, 0.5f, -0.5f);
  EXPECT_EQ(mapped(shift, QelPoint(1, 2)), QelPoint(2, 2));  // 1.5 and 1.5

  EXPECT_EQ(QelRoundToPixel(1e30), std::numeric_limits<int32_t>::max());
  EXPECT_EQ(QelRoundToPixel(-1e30), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(QelRoundToPixel(std::nan("")), 0);
  QelTransformer blowUp(1e9, 1e9);
  EXPECT_EQ(mapped(blowUp, QelPoint(100, -100)),
            QelPoint(std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()));
}

TEST(TransformerTest, RectanglesMapOnlyTwoCorners) {
  QelTransformer rotation(QelPoint(0, 0), 45.0);
  QelRect r(0, 0, 10, 10);
  rotation.apply(r);
  // (0,0) stays and (10,10) goes to (0,14): the box of two corners has no width, although the
  // rotated square spans from -7 to 7.
  EXPECT_EQ(r, QelRect(0, 0, 0, 14));

  QelTransformer flip(1, 0, 0, -1, 0, 100);
  QelRect f(10, 10, 20, 30);
  flip.apply(f);
  EXPECT_EQ(f, QelRect(10, 60, 20, 30));
}

TEST(TransformerTest, ScaleKeepsItsSourcePointAndRotateItsOutputPoint) {
  QelTransformer t(2, 0, 0, 3, 10, 20);
  QelPoint source(3, 4);
  QelPoint before = mapped(t, source);
  t.scale(3, 4, 1.5, 0.5);
  EXPECT_EQ(mapped(t, source), before);
  EXPECT_NE(mapped(t, QelPoint(0, 0)), QelPoint(10, 20));

  // Rotation about the output point (16, 32): the source point mapped there stays there.
  QelTransformer r(2, 0, 0, 3, 10, 20);
  r.rotate(16, 32, 30);
  EXPECT_EQ(mapped(r, source), QelPoint(16, 32));
  QelTransformer s(2, 0, 0, 3, 10, 20);
  s.rotate(3, 4, 30);  // (3, 4) is not the image of (3, 4): it moves
  EXPECT_NE(mapped(s, source), before);
  EXPECT_FALSE(r.hasNoRotation());
}

TEST(TransformerTest, ComposeAppliesThisFirstThenTheOther) {
  QelTransformer shift(QelPoint(10, 0));
  shift.compose(QelTransformer(2.0, 2.0));
  EXPECT_EQ(mapped(shift, QelPoint(1, 1)), QelPoint(22, 2));
  QelTransformer zoom(2.0, 2.0);
  zoom.compose(QelTransformer(QelPoint(10, 0)));
  EXPECT_EQ(mapped(zoom, QelPoint(1, 1)), QelPoint(12, 2));
}

TEST(TransformerTest, InverseUndoesApplyAndComputeInverseAgrees) {
  QelTransformer t(QelPoint(50, 40), 30.0);
  t.scale(0, 0, 2, 3);
  t.translate(7, -9);
  QelTransformer back;
  ASSERT_TRUE(t.computeInverse(back));
  EXPECT_NEAR(back.getDeterminant(), 1 / t.getDeterminant(), 1e-12);
  for (QelPoint p : {QelPoint(0, 0), QelPoint(13, -200), QelPoint(1000, 999)}) {
    QelPoint q = mapped(t, p);
    QelPoint viaInverse = q;
    ASSERT_TRUE(t.inverse(viaInverse));
    EXPECT_LE(std::abs(viaInverse.x - p.x), 1);
    EXPECT_LE(std::abs(viaInverse.y - p.y), 1);
    EXPECT_EQ(mapped(back, q), viaInverse);
  }
  // Inverted in place, the transformer is the same inverse.
  QelTransformer self = t;
  ASSERT_TRUE(self.computeInverse(self));
  for (QelPoint p : {QelPoint(0, 0), QelPoint(13, -200)})
    EXPECT_EQ(mapped(self, p), mapped(back, p));
  QelFloatPoint f(1.25f, -3.5f);
  t.apply(f);
  ASSERT_TRUE(t.inverse(f));
  EXPECT_NEAR(f.x, 1.25, 1e-4);
  EXPECT_NEAR(f.y, -3.5, 1e-4);
}

TEST(TransformerTest, InverseOfASingularTransformerWarnsOncePerCallAndChangesNothing) {
  CapturedMessages messages;
  QelTransformer flat(0, 0, 0, 0, 5, 5);
  EXPECT_TRUE(flat.isBad());
  QelPoint p(3, 4);
  QelFloatPoint f(1, 2);
  QelRect r(1, 2, 3, 4);
  EXPECT_FALSE(flat.inverse(p));
  EXPECT_FALSE(flat.inverse(f));
  EXPECT_FALSE(flat.inverse(r));
  EXPECT_EQ(p, QelPoint(3, 4));
  EXPECT_EQ(f, QelFloatPoint(1, 2));
  EXPECT_EQ(r, QelRect(1, 2, 3, 4));
  char address[32];
  std::snprintf(address, sizeof address, "%x", unsigned(uintptr_t(&flat)));
  ASSERT_EQ(messages.warnings().size(), 3u);
  EXPECT_EQ(messages.warnings()[0],
            std::string("QelTransformer::inverse(QelPoint&): bad transformer ") + address);
  EXPECT_EQ(messages.warnings()[1],
            std::string("QelTransformer::inverse(QelFloatPoint&): bad transformer ") + address);
  EXPECT_EQ(messages.warnings()[2],
            std::string("QelTransformer::inverse(QelRect&): bad transformer ") + address);
  QelTransformer unchanged;
  EXPECT_FALSE(flat.computeInverse(unchanged));
  EXPECT_TRUE(unchanged.isIdentity());

  QelTransformer notANumber(std::nanf(""), 0, 0, 1, 0, 0);
  EXPECT_TRUE(notANumber.isBad());
  EXPECT_FALSE(notANumber.inverse(p));
  EXPECT_EQ(messages.warnings().size(), 4u);
}

TEST(TransformerTest, FlagsFollowTheirTolerances) {
  QelTransformer t;
  EXPECT_TRUE(t.isIdentity());
  t.setValues(1.00005f, 0, 0, 0.99995f);
  EXPECT_TRUE(t.isTranslationOnly());
  t.setValues(1.001f, 0, 0, 1);
  EXPECT_FALSE(t.isTranslationOnly());
  EXPECT_TRUE(t.hasNoRotation());
  t.setValues(1, 1e-6f, 0, 1);
  EXPECT_FALSE(t.hasNoRotation());
  t.setValues(1, 0, 0, 1, 3, 0);
  EXPECT_TRUE(t.isTranslationOnly());
  EXPECT_FALSE(t.isIdentity());
  float x0, y0;
  t.getValues(x0, y0);
  EXPECT_EQ(x0, 3);
  QelPoint v(4, 5);
  QelTransformer(2, 0, 0, 2, 100, 100).deltaApply(v);  // no translation for vectors
  EXPECT_EQ(v, QelPoint(8, 10));
  QelPoint fixed(10, 10);
  QelTransformer aboutFixed(3.0, 3.0, &fixed);
  EXPECT_EQ(mapped(aboutFixed, fixed), fixed);
}

}  // namespace
}  // namespace kestrel::test
