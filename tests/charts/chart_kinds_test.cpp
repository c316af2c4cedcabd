#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "charts/chart_kinds.h"
#include "charts/marker.h"
#include "graphics/region.h"
#include "graphics/transformer.h"
#include "tests/charts/chart_fixture.h"
#include "tests/support/data_files.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

using ChartKindsTest = ChartFixture;

QelRect pointBox(const QelChart& chart, unsigned long index) {
  QelRect rect;
  chart.dataPointBBox(chart.getData(), index, rect, nullptr);
  return rect;
}

TEST_F(ChartKindsTest, PolygonFillsDownToTheBaseline) {
  // Points (10, 80), (30, 40), (50, 60); the baseline at y 100.
  QelPolygonChart chart(display, series({2, 6, 4}), QelPoint(10, 100), 20, 10, palette("red"));
  unsigned long count = 0;
  const QelPoint* p = chart.getPoints(count, nullptr, nullptr);
  ASSERT_EQ(count, 5u);
  EXPECT_TRUE(p[3] == QelPoint(50, 100) && p[4] == QelPoint(10, 100));
  // The left edge reaches the row above the baseline, which is the closing edge; under the edge
  // (10, 80)-(30, 40), at 60 for x 20; the apex row itself is a span of no width.
  const std::vector<ExpectedPixel> corners = {{10, 80, kRed},   {10, 99, kRed},    {49, 99, kRed},
                                              {30, 99, kRed},   {30, 100, kWhite}, {9, 90, kWhite},
                                              {50, 90, kWhite}, {20, 61, kRed},    {20, 59, kWhite},
                                              {30, 41, kRed},   {30, 40, kWhite}};
  EXPECT_TRUE(pixelsAre(drawn(chart, 80, 120), corners));
  EXPECT_EQ(hits(chart, {{20, 90}, {45, 62}, {20, 50}, {60, 90}, {20, 105}}), "11000");
  // A point's box spans it and the next, down to the baseline.
  EXPECT_TRUE(box(chart) == QelRect(10, 40, 40, 60) &&
              pointBox(chart, 0) == QelRect(10, 40, 21, 60));
}

TEST_F(ChartKindsTest, StairsHoldEachValueUntilTheNextPoint) {
  QelStairChart chart(display, series({2, 6, 4}), QelPoint(10, 100), 20, 10, palette("red"));
  unsigned long count = 0;
  const QelPoint* p = chart.getPoints(count, nullptr, nullptr);
  EXPECT_EQ(std::vector<QelPoint>(p, p + count),
            (std::vector<QelPoint>{
                {10, 80}, {30, 80}, {30, 40}, {50, 40}, {50, 60}, {50, 60}, {50, 100}, {10, 100}}));
  // Two steps; the last point has no step of its own.
  EXPECT_TRUE(imagesMatch(drawn(chart, 80, 120),
                          painted(80, 120, kRed, {{10, 80, 20, 20}, {30, 40, 20, 60}}), "stairs"));
  // (20, 70) is under a polygon's slope but above the first step.
  EXPECT_EQ(hits(chart, {{20, 70}, {40, 45}, {15, 95}}), "011");
}

TEST_F(ChartKindsTest, BarsSpanFromTheBaselineToEachValueInBothDirections) {
  // Points (20, 30), (50, 80), (80, 10); the baseline at y 60.
  QelBarChart vertical(display, series({3, -2, 5}), QelPoint(20, 60), 30, 10, 5, QelVertical,
                       palette("red"));
  // The second below the baseline.
  EXPECT_TRUE(
      imagesMatch(drawn(vertical, 100, 100),
                  painted(100, 100, kRed, {{15, 30, 10, 30}, {45, 60, 10, 20}, {75, 10, 10, 50}}),
                  "vertical_bars"));
  EXPECT_EQ(hits(vertical, {{15, 30}, {54, 79}, {25, 40}, {50, 80}}), "1100");
  EXPECT_TRUE(pointBox(vertical, 1) == QelRect(45, 60, 10, 20) &&
              box(vertical) == QelRect(15, 10, 70, 70));

  // Values along x, positions along y: (70, 60), (20, 20) and (90, 40); the baseline at x 40.
  QelBarChart horizontal(display, points({{-2, 3}, {3, 1}, {5, 2}}), QelPoint(40, 80), 10, 20, 4,
                         QelHorizontal, palette("red"));
  EXPECT_TRUE(
      imagesMatch(drawn(horizontal, 100, 100),
                  painted(100, 100, kRed, {{20, 16, 20, 8}, {40, 56, 30, 8}, {40, 36, 50, 8}}),
                  "horizontal_bars"));
  EXPECT_EQ(box(horizontal), QelRect(20, 16, 70, 48));
  // A clip whose x range holds none of the bars' ends still shows the bars crossing it.
  QelRegion clip(QelRect(45, 0, 10, 100));
  EXPECT_TRUE(pixelsAre(drawn(horizontal, 100, 100, &clip),
                        {{50, 40, kRed}, {50, 60, kRed}, {60, 40, kWhite}}));
}

TEST_F(ChartKindsTest, ClippedBarsIncludeNeighboursWhoseWidthReachesIn) {
  // Bars 10 pixels wide every 2 pixels: column 101 is covered by bars 49 to 53, and only bar 53
  // rises above y 90.
  std::vector<float> values(1000, 1);
  values[53] = 5;
  QelBarChart chart(display, series(values), QelPoint(0, 100), 2, 10, 5, QelVertical,
                    palette("red"));
  QelRegion clip(QelRect(101, 0, 1, 100));
  Image image = drawn(chart, 120, 110, &clip);
  EXPECT_TRUE(pixelsAre(image, {{101, 60, kRed}, {101, 95, kRed}, {100, 95, kWhite}}));
  EXPECT_EQ(image.count(kRed), 50u);
}

TEST_F(ChartKindsTest, BaselineKindsKeepZeroOnTheBottomEdgeWhenValuesShareASign) {
  const QelRect rect(10, 20, 200, 100);
  struct Case {
    QelChart* chart;
    float xScale, yScale;
    QelPoint origin;
  };
  // Without a baseline the same values span the whole height; mixed signs put zero inside the
  // rectangle; horizontal bars keep zero on the left edge.
  const Case cases[] = {
      {new QelBarChart(display, series({2, 8, 4})), 100, 12.5f, {10, 120}},
      {new QelPolygonChart(display, series({2, 8, 4})), 100, 12.5f, {10, 120}},
      {new QelPolylineChart(display, series({2, 8, 4})), 100, 100.0f / 6, {10, 153}},
      {new QelPolygonChart(display, series({-2, 8})), 200, 10, {10, 100}},
      {new QelBarChart(display, points({{2, 0}, {8, 1}}), 4, QelHorizontal), 25, 100, {10, 120}},
  };
  for (const Case& c : cases) {
    std::unique_ptr<QelChart> chart(c.chart);
    SCOPED_TRACE(chart->getClassInfo()->getClassName());
    chart->adjust(rect);
    EXPECT_EQ(chart->getXScale(), c.xScale);
    EXPECT_FLOAT_EQ(chart->getYScale(), c.yScale);
    EXPECT_EQ(chart->getOrigin(), c.origin);
  }
}

TEST_F(ChartKindsTest, AClipBelowTheDataSeesOnlyTheBarsAndKeepsTheWholeValueRange) {
  // Values 5..10 are drawn from y 150 up to 100; the baseline is at 200.
  QelBarChart bars(display, series({5, 10, 8, 6}), QelPoint(10, 200), 20, 10, 3, QelVertical,
                   palette("red"));
  QelFloatRect dataBox, result;
  bars.getData()->boundingBox(dataBox);
  for (auto [strip, range] : {std::pair<QelRect, QelFloatRect>{{0, 160, 200, 20}, {0, 5, 3, 10}},
                              {{50, 160, 20, 20}, {2, 5, 3, 10}}}) {
    EXPECT_EQ(bars.intersection(strip, dataBox, result, nullptr), 1);
    EXPECT_EQ(result, range);
  }
  // Beyond the baseline nothing is drawn.
  EXPECT_EQ(bars.intersection(QelRect(0, 210, 200, 20), dataBox, result, nullptr), 0);

  // Drawn through that clip, the bars show inside it and nothing outside.
  QelRegion clip(QelRect(0, 160, 100, 20));
  Image image = drawn(bars, 100, 210, &clip);
  EXPECT_TRUE(
      pixelsAre(image, {{10, 170, kRed}, {50, 179, kRed}, {10, 150, kWhite}, {10, 190, kWhite}}));
  EXPECT_EQ(image.count(kRed), 4u * 6 * 20);
}

TEST_F(ChartKindsTest, ScatterDrawsAMarkerCentredOnEachPoint) {
  // Points (20, 40) and (50, 20).
  QelScatterChart chart(display, series({1, 3}), QelPoint(20, 50), 30, 10, 3, QelMarkerPlus,
                        palette("red"));
  const Image plusses =
      painted(80, 60, kRed, {{17, 40, 7, 1}, {20, 37, 1, 7}, {47, 20, 7, 1}, {50, 17, 1, 7}});
  EXPECT_TRUE(imagesMatch(drawn(chart, 80, 60), plusses, "scatter_plus"));
  EXPECT_EQ(hits(chart, {{23, 43}, {47, 17}, {24, 40}, {35, 30}}), "1100");
  EXPECT_TRUE(pointBox(chart, 1) == QelRect(47, 17, 7, 7) && box(chart) == QelRect(17, 17, 37, 27));

  // A strip below the data's lowest value still crosses its markers.
  QelScatterChart squares(display, series(std::vector<float>(100, 1)), QelPoint(0, 50), 2, 10, 5,
                          QelMarkerFilledSquare, palette("red"));
  QelRegion strip(QelRect(0, 42, 200, 3));
  Image image = drawn(squares, 210, 60, &strip);
  EXPECT_TRUE(pixelsAre(image, {{100, 43, kRed}, {100, 41, kWhite}}));
  EXPECT_EQ(image.count(kRed), 200u * 3);  // the whole strip: squares from x -5 to 202
}

TEST_F(ChartKindsTest, ThreeDBarsPaintFrontTopAndSideInTheirShades) {
  // Points (20, 100) and (60, 50) over the baseline at 150; fronts 20 wide, faces 10 deep.
  Qel3dBarChart chart(display, series({5, 10}), QelPoint(20, 150), 40, 10, 20, 10, palette("red"));
  ASSERT_TRUE(chart.getTopPalette() && chart.getSidePalette());
  const uint32_t top = 0xff7f7f, side = 0x990000;  // half way to white, three fifths
  // The front's corners; the top sits on the front, the side beside it.
  Image image = drawn(chart, 100, 160);
  const std::vector<ExpectedPixel> faces = {
      {20, 125, kRed}, {10, 100, kRed},   {29, 149, kRed}, {9, 120, kWhite}, {20, 150, kWhite},
      {20, 99, top},   {25, 95, top},     {20, 90, top},   {20, 89, kWhite}, {30, 120, side},
      {39, 120, side}, {40, 120, kWhite}, {35, 144, side}, {35, 145, kWhite}};
  EXPECT_TRUE(pixelsAre(image, faces));
  // Fronts 20 by 50 and 20 by 100, tops 10 rows of 20, sides 10 columns of 50 and 100.
  EXPECT_TRUE(image.count(kRed) == 3000u && image.count(top) == 400u && image.count(side) == 1500u);
  EXPECT_EQ(hits(chart, {{25, 95}, {39, 120}, {20, 125}, {40, 120}, {12, 92}}), "11100");
  EXPECT_EQ(pointBox(chart, 0), QelRect(10, 90, 30, 60));
  EXPECT_EQ(box(chart), QelRect(10, 40, 70, 110));
}

// Half pixels round up (5 * 1.5 is 8); zoomed far out, or by a broken factor, a bar keeps a
// pixel; 3D depths follow the mean scale.
TEST_F(ChartKindsTest, BarKindsScaleTheirWidthsWithTheTransform) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  using Row = std::tuple<uint32_t, QelPosition, QelTransformer, uint32_t>;
  for (auto [half, direction, t, scaled] :
       {Row{4, QelVertical, {2.0, 3.0}, 8}, Row{5, QelVertical, {1.5, 1.0}, 8},
        Row{4, QelHorizontal, {2.0, 3.0}, 12}, Row{4, QelVertical, {0.01, 0.01}, 1},
        Row{4, QelVertical, {nan, 0, 0, 1, 0, 0}, 4}}) {
    QelBarChart bars(display, series({1, 2}), QelPoint(0, 100), 10, 10, half, direction);
    bars.applyTransform(&t);
    EXPECT_EQ(bars.getHalfWidth(), scaled) << half << ' ' << direction;
  }
  Qel3dBarChart solid(display, series({1, 2}), QelPoint(0, 100), 10, 10, 10, 6);
  QelTransformer wide(4.0, 1.0);
  solid.applyTransform(&wide);
  EXPECT_TRUE(solid.getXScale() == 40 && solid.getYScale() == 10);  // each axis its own factor
  EXPECT_EQ(solid.getBarWidth(), 40u);
  EXPECT_EQ(solid.getDepth(), 12u);
}

TEST_F(ChartKindsTest, HugeAndMissingValuesDrawWithoutWrappingOrHarm) {
  // A bar a million pixels tall still fills its column up to the window's top edge.
  QelBarChart tall(display, series({1e6f, 2}), QelPoint(20, 50), 20, 1, 3, QelVertical,
                   palette("red"));
  Image image = drawn(tall, 60, 60);
  EXPECT_TRUE(pixelsAre(image, {{20, 0, kRed}, {17, 49, kRed}, {20, 50, kWhite}}));
  EXPECT_EQ(image.count(kRed), 6u * 50 + 6 * 2);
  QelPolygonChart wide(display, series({1e6f, 1e6f}), QelPoint(10, 50), 1e7f, 1, palette("red"));
  EXPECT_EQ(drawn(wide, 60, 60).count(kRed), 50u * 50);  // from x 10 on, every row above the base

  // NaN, infinities and enormous extents: nothing to check but that all of it is survived.
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> bad = {std::numeric_limits<float>::quiet_NaN(), inf, -inf, 3e38f, 1};
  std::unique_ptr<QelChart> charts[] = {
      std::make_unique<QelStairChart>(display, series(bad), QelPoint(INT32_MAX, INT32_MIN), 1e9f,
                                      inf),
      std::make_unique<QelBarChart>(display, series(bad), QelPoint(0, 0), 1, 1, UINT32_MAX),
      std::make_unique<QelScatterChart>(display, series(bad), QelPoint(0, 0), 1, 1, 65535,
                                        QelMarkerCircle | QelMarkerFilledSquare),
      std::make_unique<Qel3dBarChart>(display, series(bad), QelPoint(-5, 5), 1, 1, UINT32_MAX,
                                      UINT32_MAX)};
  QelTransformer huge(1e30, 1e30);
  for (auto& chart : charts) {
    QelPort* port = windowPort(30, 30);
    chart->draw(port, &huge, nullptr);
    chart->contains({}, QelPoint(1, 1), &huge);
    chart->applyTransform(&huge);
    chart->adjust(QelRect(0, 0, UINT32_MAX, UINT32_MAX));
    chart->draw(port, nullptr, nullptr);
  }
}

// Each kind's fields, and a marker's alone or as a point's decoration, are where the edits below
// expect them; read back, the file saves the same.
TEST_F(ChartKindsTest, EveryKindAndMarkerRoundTripsThroughADataFileWithItsOwnFields) {
  QelPolygonChart polygon(display, series({1, 2}), QelPoint(3, 90), 2, 4, palette("red"));
  QelStairChart stairs(display, series({2, 1}), QelPoint(4, 80), 3, 5);
  QelBarChart bars(display, series({1, -1}), QelPoint(5, 70), 4, 6, 7, QelHorizontal,
                   palette("blue"));
  QelScatterChart scatter(display, series({3}), QelPoint(6, 60), 5, 7, 6,
                          QelMarkerCross | QelMarkerCircle);
  Qel3dBarChart solid(display, series({4, 5}), QelPoint(7, 50), 6, 8, 14, 3, palette("red"));
  polygon.getData()->addPointInfo(new QelChartPointInfo(
      new QelMarker(display, QelPoint(), QelMarkerFilledTriangle, 9, palette("blue")), 1, {0, -4}));
  QelMarker marker(display, QelPoint(-70000, 12), QelMarkerCross | QelMarkerCircle, 300);
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  std::string text;
  ASSERT_TRUE(readBackSavesTheSame(display, {&polygon, &stairs, &bars, &scatter, &solid, &marker},
                                   loaded, text));
  EXPECT_EQ(static_cast<Qel3dBarChart*>(loaded[4].get())->getTopPalette(), solid.getTopPalette());

  // Fields out of range (unknown figures, sizes beyond 16 bits) or missing make the file
  // unreadable, never a crash.
  CapturedMessages messages;
  for (auto [from, to] : std::initializer_list<std::pair<const char*, const char*>>{
           {"QelBarChart  7 32", "QelBarChart  7 5"},
           {"QelBarChart  7 32", "QelBarChart  -7 32"},
           {"Chart  6 12", "Chart  70000 12"},
           {"Chart  6 12", "Chart  6 4096"},
           {"Chart  14 3", "Chart  14 x"},
           {"12 12 300", "12 4096 300"},
           {"12 12 300", "12 12 65536"},
           {"12 12 300", "12 12"}})
    EXPECT_TRUE(loadEdited(display, text, from, to).empty()) << to;
}

}  // namespace
}  // namespace kestrel::test
