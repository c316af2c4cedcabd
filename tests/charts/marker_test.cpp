#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "charts/marker.h"
#include "graphics/transformer.h"
#include "tests/charts/chart_fixture.h"

namespace kestrel::test {
namespace {

using ChartMarkerTest = ChartFixture;

// The figures themselves are the display's; a marker puts one on its transformed point, in a box
// of 2 size + 1 pixels around it.
TEST_F(ChartMarkerTest, FiguresCentreOnTheTransformedPointInsideTheBox) {
  QelMarker plus(display, QelPoint(20, 20), QelMarkerPlus, 5, palette("blue"));
  EXPECT_EQ(box(plus), QelRect(15, 15, 11, 11));
  QelTransformer shift(QelPoint(7, -3));
  Image image = drawn(plus, 40, 40, nullptr, &shift);
  EXPECT_EQ(extentOf(image, kBlue), QelRect(22, 12, 11, 11));
  EXPECT_EQ(image.at(27, 17), kBlue);
  EXPECT_EQ(image.count(kBlue), 21u);
}

TEST_F(ChartMarkerTest, HitTestMoveAndTransformFollowThePoint) {
  QelMarker marker(display, QelPoint(50, 40), QelMarkerCircle, 3);
  EXPECT_EQ(hits(marker, {{53, 43}, {47, 37}, {54, 40}, {50, 36}}), "1100");
  QelTransformer zoom(2.0, 2.0);
  EXPECT_EQ(box(marker, &zoom), QelRect(97, 77, 7, 7));  // the size stays in pixels
  EXPECT_EQ(hits(marker, {{100, 80}}, &zoom), "1");

  // Like every graphic's, move puts the box's corner at (x, y): the point lands size further.
  marker.move(10, 12);
  EXPECT_EQ(marker.getPoint(), QelPoint(13, 15));
  marker.translate(5, -2);
  EXPECT_EQ(marker.getPoint(), QelPoint(18, 13));
  marker.applyTransform(&zoom);
  EXPECT_EQ(marker.getPoint(), QelPoint(36, 26));
  EXPECT_EQ(marker.getSize(), 3u);

  // Far out, the box saturates instead of wrapping, and nothing reaches the window.
  QelMarker far(display, QelPoint(INT32_MAX, INT32_MIN), QelMarkerSquare, 65535);
  EXPECT_EQ(box(far), QelRect(INT32_MAX - 65535, INT32_MIN, 131071, 131071));
  EXPECT_EQ(drawn(far, 20, 20).count(kWhite), 400u);
}

TEST_F(ChartMarkerTest, JobMarkerWithOffsetMinusFourIsCentredOnItsDataPoint) {
  // A filled diamond of size 4 offset by -(4 / 2 + 2): the box's corner goes 4 pixels up and
  // left of the point, which puts the diamond's centre on it.
  auto* data = series({0, 1, 2});
  data->addPointInfo(new QelChartPointInfo(
      new QelMarker(display, QelPoint(), QelMarkerFilledDiamond, 4, palette("blue")), 1,
      QelPoint(-4, -4)));
  // Point 1 at (30, 40).
  QelPolylineChart chart(display, data, QelPoint(10, 50), 20, 10, palette("red"));
  // The polygon (26, 40) (30, 36) (34, 40) (30, 44) as X fills it: far edges left out.
  Image image = drawn(chart, 80, 80);
  EXPECT_EQ(extentOf(image, kBlue), QelRect(26, 37, 8, 7));
  EXPECT_EQ(image.at(30, 40), kBlue);
}

}  // namespace
}  // namespace kestrel::test
