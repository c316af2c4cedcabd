#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "charts/chart_kinds.h"
#include "display/color.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kRed = 0xff0000;

class ChartKindsTest : public DisplayTest {
 protected:
  void SetUp() override { QelChartModuleInit(); }
  // A y-points set of `values`, owned by the set.
  static QelChartDataYPoints* series(std::vector<float> values) {
    auto* data = new QelChartDataYPoints(values.size(), nullptr, 1);
    for (size_t i = 0; i < values.size(); ++i) data->setPoint(i, QelFloatPoint(0, values[i]));
    return data;
  }
  // A points set of (x, y) pairs, owned by the set.
  static QelChartDataPoints* points(std::vector<QelFloatPoint> values) {
    auto* data = new QelChartDataPoints(values.size(), nullptr, 1);
    for (size_t i = 0; i < values.size(); ++i) data->setPoint(i, values[i]);
    return data;
  }
  QelPalette* palette(const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  }
  Image drawn(const QelGraphic& chart, int w, int h, const QelRegion* clip = nullptr,
              const QelTransformer* t = nullptr) {
    QelPort* port = windowPort(w, h);
    chart.draw(port, t, clip);
    return read(port);
  }
};

TEST_F(ChartKindsTest, PolygonFillsDownToTheBaseline) {
  // Points (10, 80), (30, 40), (50, 60); the baseline at y 100.
  QelPolygonChart chart(display, series({2, 6, 4}), QelPoint(10, 100), 20, 10, palette("red"));
  unsigned long count = 0;
  const QelPoint* p = chart.getPoints(count, nullptr, nullptr);
  ASSERT_EQ(count, 5u);
  EXPECT_EQ(p[3], QelPoint(50, 100));
  EXPECT_EQ(p[4], QelPoint(10, 100));

  Image image = drawn(chart, 80, 120);
  EXPECT_EQ(image.at(10, 80), kRed);
  EXPECT_EQ(image.at(10, 99), kRed);  // the left edge, down to the row above the baseline
  EXPECT_EQ(image.at(49, 99), kRed);
  EXPECT_EQ(image.at(30, 99), kRed);
  EXPECT_EQ(image.at(30, 100), kWhite);  // the baseline row is the closing edge
  EXPECT_EQ(image.at(9, 90), kWhite);
  EXPECT_EQ(image.at(50, 90), kWhite);
  EXPECT_EQ(image.at(20, 61), kRed);  // under the edge (10, 80)-(30, 40), which is at 60 here
  EXPECT_EQ(image.at(20, 59), kWhite);
  EXPECT_EQ(image.at(30, 41), kRed);  // the apex row itself is a span of no width
  EXPECT_EQ(image.at(30, 40), kWhite);

  EXPECT_TRUE(chart.contains({}, QelPoint(20, 90), nullptr));
  EXPECT_TRUE(chart.contains({}, QelPoint(45, 62), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(20, 50), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(60, 90), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(20, 105), nullptr));

  QelRect box;
  chart.boundingBox(box);
  EXPECT_EQ(box, QelRect(10, 40, 40, 60));
  chart.dataPointBBox(chart.getData(), 0, box, nullptr);
  EXPECT_EQ(box, QelRect(10, 40, 21, 60));  // points 0 and 1, down to the baseline
  EXPECT_TRUE(chart.extendsToBase());
  EXPECT_STREQ(chart.getDefaultInteractor(), "ChDragY");

  QelPolygonChart empty(display, nullptr);
  empty.getPoints(count, nullptr, nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_FALSE(empty.contains({}, QelPoint(0, 0), nullptr));
}

TEST_F(ChartKindsTest, StairsHoldEachValueUntilTheNextPoint) {
  QelStairChart chart(display, series({2, 6, 4}), QelPoint(10, 100), 20, 10, palette("red"));
  unsigned long count = 0;
  const QelPoint* p = chart.getPoints(count, nullptr, nullptr);
  const std::vector<QelPoint> expected = {{10, 80}, {30, 80}, {30, 40},  {50, 40},
                                          {50, 60}, {50, 60}, {50, 100}, {10, 100}};
  ASSERT_EQ(count, expected.size());
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(p[i], expected[i]) << i;

  Image image = drawn(chart, 80, 120);
  EXPECT_EQ(image.at(10, 80), kRed);  // the first step's corners
  EXPECT_EQ(image.at(29, 80), kRed);
  EXPECT_EQ(image.at(29, 79), kWhite);
  EXPECT_EQ(image.at(29, 99), kRed);
  EXPECT_EQ(image.at(30, 40), kRed);  // the second step
  EXPECT_EQ(image.at(49, 40), kRed);
  EXPECT_EQ(image.at(49, 39), kWhite);
  EXPECT_EQ(image.at(50, 70), kWhite);  // the last point has no step of its own
  // Two rectangles: 20 by 20 and 20 by 60.
  EXPECT_EQ(image.count(kRed), 1600u);

  // Under the polygon's slope but above the first step.
  EXPECT_FALSE(chart.contains({}, QelPoint(20, 70), nullptr));
  EXPECT_TRUE(QelPolygonChart(chart).contains({}, QelPoint(20, 70), nullptr));
  EXPECT_TRUE(chart.contains({}, QelPoint(40, 45), nullptr));
  EXPECT_TRUE(chart.contains({}, QelPoint(15, 95), nullptr));
}

TEST_F(ChartKindsTest, BarsSpanFromTheBaselineToEachValueInBothDirections) {
  // Points (20, 30), (50, 80), (80, 10); the baseline at y 60.
  QelBarChart vertical(display, series({3, -2, 5}), QelPoint(20, 60), 30, 10, 5, QelVertical,
                       palette("red"));
  Image image = drawn(vertical, 100, 100);
  Image expected(100, 100, kWhite);
  expected.fillRect(15, 30, 10, 30, kRed);
  expected.fillRect(45, 60, 10, 20, kRed);  // below the baseline
  expected.fillRect(75, 10, 10, 50, kRed);
  EXPECT_TRUE(imagesMatch(image, expected, "vertical_bars"));

  EXPECT_TRUE(vertical.contains({}, QelPoint(15, 30), nullptr));
  EXPECT_TRUE(vertical.contains({}, QelPoint(54, 79), nullptr));
  EXPECT_FALSE(vertical.contains({}, QelPoint(25, 40), nullptr));
  EXPECT_FALSE(vertical.contains({}, QelPoint(50, 80), nullptr));
  QelRect box;
  vertical.dataPointBBox(vertical.getData(), 1, box, nullptr);
  EXPECT_EQ(box, QelRect(45, 60, 10, 20));
  vertical.boundingBox(box);
  EXPECT_EQ(box, QelRect(15, 10, 70, 70));
  EXPECT_EQ(vertical.getDirection(), QelVertical);

  // Values along x, positions along y: (70, 60), (20, 20) and (90, 40); the baseline at x 40.
  QelBarChart horizontal(display, points({{-2, 3}, {3, 1}, {5, 2}}), QelPoint(40, 80), 10, 20, 4,
                         QelHorizontal, palette("red"));
  EXPECT_EQ(horizontal.getDirection(), QelHorizontal);
  image = drawn(horizontal, 100, 100);
  expected = Image(100, 100, kWhite);
  expected.fillRect(20, 16, 20, 8, kRed);
  expected.fillRect(40, 56, 30, 8, kRed);
  expected.fillRect(40, 36, 50, 8, kRed);
  EXPECT_TRUE(imagesMatch(image, expected, "horizontal_bars"));
  horizontal.boundingBox(box);
  EXPECT_EQ(box, QelRect(20, 16, 70, 48));

  // A clip whose x range holds none of the bars' ends still shows the bars crossing it.
  QelRegion clip(QelRect(45, 0, 10, 100));
  image = drawn(horizontal, 100, 100, &clip);
  EXPECT_EQ(image.at(50, 40), kRed);
  EXPECT_EQ(image.at(50, 60), kRed);
  EXPECT_EQ(image.at(60, 40), kWhite);

  // Anything but the two directions is refused.
  horizontal.setDirection(QelLeft);
  EXPECT_EQ(horizontal.getDirection(), QelHorizontal);
  QelBarChart odd(display, nullptr, 3, QelCenter);
  EXPECT_EQ(odd.getDirection(), QelVertical);
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
  EXPECT_EQ(image.at(101, 60), kRed);
  EXPECT_EQ(image.at(101, 95), kRed);
  EXPECT_EQ(image.at(100, 95), kWhite);
  EXPECT_EQ(image.count(kRed), 50u);
}

TEST_F(ChartKindsTest, BaselineKindsKeepZeroOnTheBottomEdgeWhenValuesShareASign) {
  const QelRect rect(10, 20, 200, 100);
  QelBarChart bars(display, series({2, 8, 4}));
  bars.adjust(rect);
  EXPECT_EQ(bars.getYScale(), 12.5f);
  EXPECT_EQ(bars.getOrigin(), QelPoint(10, 120));
  EXPECT_EQ(bars.getXScale(), 100);
  QelPoint p;
  bars.getPoint(1, p, nullptr);
  EXPECT_EQ(p, QelPoint(110, 20));

  // The same values without a baseline span the whole height.
  QelPolylineChart line(display, series({2, 8, 4}));
  line.adjust(rect);
  EXPECT_FLOAT_EQ(line.getYScale(), 100.0f / 6);
  EXPECT_EQ(line.getOrigin(), QelPoint(10, 153));

  // Mixed signs fit the range: zero goes inside the rectangle.
  QelPolygonChart mixed(display, series({-2, 8}));
  mixed.adjust(rect);
  EXPECT_EQ(mixed.getYScale(), 10);
  EXPECT_EQ(mixed.getOrigin(), QelPoint(10, 100));

  // Horizontal bars keep zero on the left edge.
  QelBarChart across(display, points({{2, 0}, {8, 1}}), 4, QelHorizontal);
  across.adjust(rect);
  EXPECT_EQ(across.getXScale(), 25);
  EXPECT_EQ(across.getOrigin().x, 10);
  EXPECT_EQ(across.getYScale(), 100);
}

TEST_F(ChartKindsTest, AClipBelowTheDataSeesOnlyTheBarsAndKeepsTheWholeValueRange) {
  // Values 5..10 are drawn from y 150 up to 100; the baseline is at 200.
  QelBarChart bars(display, series({5, 10, 8, 6}), QelPoint(10, 200), 20, 10, 3, QelVertical,
                   palette("red"));
  QelFloatRect dataBox, result;
  bars.getData()->boundingBox(dataBox);
  EXPECT_EQ(bars.intersection(QelRect(0, 160, 200, 20), dataBox, result, nullptr), 1);
  EXPECT_EQ(result, QelFloatRect(0, 5, 3, 10));
  EXPECT_EQ(bars.intersection(QelRect(50, 160, 20, 20), dataBox, result, nullptr), 1);
  EXPECT_EQ(result, QelFloatRect(2, 5, 3, 10));
  // Beyond the baseline nothing is drawn.
  EXPECT_EQ(bars.intersection(QelRect(0, 210, 200, 20), dataBox, result, nullptr), 0);

  // A polyline draws nothing there.
  QelPolylineChart line(display, series({5, 10, 8, 6}), QelPoint(10, 200), 20, 10);
  EXPECT_EQ(line.intersection(QelRect(0, 160, 200, 20), dataBox, result, nullptr), 0);

  // Drawn through that clip, the bars show inside it and nothing outside.
  QelRegion clip(QelRect(0, 160, 100, 20));
  Image image = drawn(bars, 100, 210, &clip);
  EXPECT_EQ(image.at(10, 170), kRed);
  EXPECT_EQ(image.at(50, 179), kRed);
  EXPECT_EQ(image.at(10, 150), kWhite);
  EXPECT_EQ(image.at(10, 190), kWhite);
  EXPECT_EQ(image.count(kRed), 4u * 6 * 20);
}

TEST_F(ChartKindsTest, ScatterDrawsAMarkerCentredOnEachPoint) {
  // Points (20, 40) and (50, 20).
  QelScatterChart chart(display, series({1, 3}), QelPoint(20, 50), 30, 10, 3, QelMarkerPlus,
                        palette("red"));
  Image image = drawn(chart, 80, 60);
  Image expected(80, 60, kWhite);
  for (QelPoint p : {QelPoint(20, 40), QelPoint(50, 20)}) {
    expected.fillRect(p.x - 3, p.y, 7, 1, kRed);
    expected.fillRect(p.x, p.y - 3, 1, 7, kRed);
  }
  EXPECT_TRUE(imagesMatch(image, expected, "scatter_plus"));

  EXPECT_TRUE(chart.contains({}, QelPoint(23, 43), nullptr));
  EXPECT_TRUE(chart.contains({}, QelPoint(47, 17), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(24, 40), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(35, 30), nullptr));
  QelRect box;
  chart.dataPointBBox(chart.getData(), 1, box, nullptr);
  EXPECT_EQ(box, QelRect(47, 17, 7, 7));
  chart.boundingBox(box);
  EXPECT_EQ(box, QelRect(17, 17, 37, 27));

  // A strip below the data's lowest value still crosses its markers.
  QelScatterChart squares(display, series(std::vector<float>(100, 1)), QelPoint(0, 50), 2, 10, 5,
                          QelMarkerFilledSquare, palette("red"));
  QelRegion strip(QelRect(0, 42, 200, 3));
  image = drawn(squares, 210, 60, &strip);
  EXPECT_EQ(image.at(100, 43), kRed);
  EXPECT_EQ(image.at(100, 41), kWhite);
  EXPECT_EQ(image.count(kRed), 200u * 3);  // the whole strip: squares from x -5 to 202
}

TEST_F(ChartKindsTest, ThreeDBarsPaintFrontTopAndSideInTheirShades) {
  // Points (20, 100) and (60, 50) over the baseline at 150; fronts 20 wide, faces 10 deep.
  Qel3dBarChart chart(display, series({5, 10}), QelPoint(20, 150), 40, 10, 20, 10, palette("red"));
  ASSERT_NE(chart.getTopPalette(), nullptr);
  ASSERT_NE(chart.getSidePalette(), nullptr);
  const uint32_t top = 0xff7f7f, side = 0x990000;  // half way to white, three fifths
  Image image = drawn(chart, 100, 160);
  EXPECT_EQ(image.at(20, 125), kRed);
  EXPECT_EQ(image.at(10, 100), kRed);  // the front's corners
  EXPECT_EQ(image.at(29, 149), kRed);
  EXPECT_EQ(image.at(9, 120), kWhite);
  EXPECT_EQ(image.at(20, 150), kWhite);
  EXPECT_EQ(image.at(20, 99), top);  // the top sits on the front
  EXPECT_EQ(image.at(25, 95), top);
  EXPECT_EQ(image.at(20, 90), top);
  EXPECT_EQ(image.at(20, 89), kWhite);
  EXPECT_EQ(image.at(30, 120), side);  // the side beside the front
  EXPECT_EQ(image.at(39, 120), side);
  EXPECT_EQ(image.at(40, 120), kWhite);
  EXPECT_EQ(image.at(35, 144), side);
  EXPECT_EQ(image.at(35, 145), kWhite);
  // Fronts 20 by 50 and 20 by 100, tops 10 rows of 20, sides 10 columns of 50 and 100.
  EXPECT_EQ(image.count(kRed), 3000u);
  EXPECT_EQ(image.count(top), 400u);
  EXPECT_EQ(image.count(side), 1500u);

  EXPECT_TRUE(chart.contains({}, QelPoint(25, 95), nullptr));
  EXPECT_TRUE(chart.contains({}, QelPoint(39, 120), nullptr));
  EXPECT_TRUE(chart.contains({}, QelPoint(20, 125), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(40, 120), nullptr));
  EXPECT_FALSE(chart.contains({}, QelPoint(12, 92), nullptr));
  QelRect box;
  chart.dataPointBBox(chart.getData(), 0, box, nullptr);
  EXPECT_EQ(box, QelRect(10, 90, 30, 60));
  chart.boundingBox(box);
  EXPECT_EQ(box, QelRect(10, 40, 70, 110));

  // A new foreground gives new shades; the mode follows too.
  chart.setForeground(display->getColor("blue"));
  image = drawn(chart, 100, 160);
  EXPECT_EQ(image.at(20, 125), 0x0000ffu);
  EXPECT_EQ(image.at(25, 95), 0x7f7fffu);
  EXPECT_EQ(image.at(35, 120), 0x000099u);
  chart.setMode(QelDrawModeXor);
  EXPECT_EQ(chart.getTopPalette()->getMode(), QelDrawModeXor);
  EXPECT_EQ(chart.getSidePalette()->getMode(), QelDrawModeXor);
  chart.setOverwrite(1);
  EXPECT_EQ(chart.getSidePalette()->getOverwrite(), 1);

  // A copy holds faces of its own.
  std::unique_ptr<QelGraphic> copy(chart.copy());
  auto* bars = dynamic_cast<Qel3dBarChart*>(copy.get());
  ASSERT_NE(bars, nullptr);
  EXPECT_EQ(bars->getTopPalette(), chart.getTopPalette());
  uint32_t locks = chart.getTopPalette()->getLockCount();
  copy.reset();
  EXPECT_EQ(chart.getTopPalette()->getLockCount(), locks - 1);
}

TEST_F(ChartKindsTest, BarKindsScaleTheirWidthsWithTheTransform) {
  QelBarChart bars(display, series({1, 2}), QelPoint(0, 100), 10, 10, 4);
  QelTransformer zoom(2.0, 3.0);
  bars.applyTransform(&zoom);
  EXPECT_EQ(bars.getHalfWidth(), 8u);
  EXPECT_EQ(bars.getXScale(), 20);
  QelBarChart across(display, series({1, 2}), QelPoint(0, 100), 10, 10, 4, QelHorizontal);
  across.applyTransform(&zoom);
  EXPECT_EQ(across.getHalfWidth(), 12u);
  // Zoomed far out, a bar keeps a pixel; odd factors leave it alone.
  QelTransformer tiny(0.01, 0.01);
  bars.applyTransform(&tiny);
  EXPECT_EQ(bars.getHalfWidth(), 1u);
  QelTransformer broken(std::numeric_limits<float>::quiet_NaN(), 0, 0, 1, 0, 0);
  bars.applyTransform(&broken);
  EXPECT_EQ(bars.getHalfWidth(), 1u);

  Qel3dBarChart solid(display, series({1, 2}), QelPoint(0, 100), 10, 10, 10, 6);
  QelTransformer wide(4.0, 1.0);
  solid.applyTransform(&wide);
  EXPECT_EQ(solid.getBarWidth(), 40u);
  EXPECT_EQ(solid.getDepth(), 12u);  // by the mean scale, 2
}

TEST_F(ChartKindsTest, HugeAndMissingValuesDrawWithoutWrappingOrHarm) {
  // A bar a million pixels tall still fills its column up to the window's top edge.
  QelBarChart tall(display, series({1e6f, 2}), QelPoint(20, 50), 20, 1, 3, QelVertical,
                   palette("red"));
  Image image = drawn(tall, 60, 60);
  EXPECT_EQ(image.at(20, 0), kRed);
  EXPECT_EQ(image.at(17, 49), kRed);
  EXPECT_EQ(image.at(20, 50), kWhite);
  EXPECT_EQ(image.count(kRed), 6u * 50 + 6 * 2);
  QelPolygonChart wide(display, series({1e6f, 1e6f}), QelPoint(10, 50), 1e7f, 1, palette("red"));
  image = drawn(wide, 60, 60);
  EXPECT_EQ(image.count(kRed), 50u * 50);  // from x 10 on, every row above the baseline

  // NaN, infinities and enormous extents: nothing to check but that all of it is survived.
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> bad = {std::numeric_limits<float>::quiet_NaN(), inf, -inf, 3e38f, 1};
  std::vector<std::unique_ptr<QelChart>> charts;
  charts.emplace_back(new QelPolygonChart(display, series(bad), QelPoint(5, 5), 1e9f, inf));
  charts.emplace_back(
      new QelStairChart(display, series(bad), QelPoint(INT32_MAX, INT32_MIN), 1, 1));
  charts.emplace_back(new QelBarChart(display, series(bad), QelPoint(0, 0), 1, 1, UINT32_MAX));
  charts.emplace_back(
      new QelBarChart(display, series(bad), QelPoint(0, 0), 1, 1, UINT32_MAX, QelHorizontal));
  charts.emplace_back(new QelScatterChart(display, series(bad), QelPoint(0, 0), 1, 1, 65535,
                                          QelMarkerCircle | QelMarkerFilledSquare));
  charts.emplace_back(
      new Qel3dBarChart(display, series(bad), QelPoint(-5, 5), 1, 1, UINT32_MAX, UINT32_MAX));
  QelTransformer huge(1e30, 1e30);
  QelRegion clip(QelRect(-70000, -70000, 140000, 140000));
  for (auto& chart : charts) {
    QelPort* port = windowPort(30, 30);
    chart->draw(port, nullptr, &clip);
    chart->draw(port, &huge, nullptr);
    QelRect box;
    chart->boundingBox(box, &huge);
    chart->dataPointBBox(chart->getData(), 1, box, nullptr);
    chart->dataPointBBox(chart->getData(), 99, box, nullptr);
    chart->dataPointBBox(nullptr, 0, box, nullptr);
    chart->contains({}, QelPoint(1, 1), &huge);
    chart->applyTransform(&huge);
    chart->adjust(QelRect(0, 0, UINT32_MAX, UINT32_MAX));
    chart->draw(port, nullptr, nullptr);
  }
}

TEST_F(ChartKindsTest, EveryKindRoundTripsThroughADataFileWithItsOwnFields) {
  std::vector<std::unique_ptr<QelGraphic>> charts;
  charts.emplace_back(
      new QelPolygonChart(display, series({1, 2}), QelPoint(3, 90), 2, 4, palette("red")));
  charts.emplace_back(new QelStairChart(display, series({2, 1}), QelPoint(4, 80), 3, 5));
  charts.emplace_back(new QelBarChart(display, series({1, -1}), QelPoint(5, 70), 4, 6, 7,
                                      QelHorizontal, palette("blue")));
  charts.emplace_back(new QelScatterChart(display, series({3}), QelPoint(6, 60), 5, 7, 6,
                                          QelMarkerCross | QelMarkerCircle));
  charts.emplace_back(
      new Qel3dBarChart(display, series({4, 5}), QelPoint(7, 50), 6, 8, 14, 3, palette("red")));
  std::vector<QelGraphic*> graphics;
  for (auto& chart : charts) graphics.push_back(chart.get());
  std::stringstream file;
  ASSERT_TRUE(QelSaveGraphics(file, uint32_t(graphics.size()), graphics.data()));
  const std::string text = file.str();
  std::vector<QelGraphic*> loaded = QelLoadGraphics(file, display);
  ASSERT_EQ(loaded.size(), charts.size()) << text;
  std::vector<std::unique_ptr<QelGraphic>> owned(loaded.begin(), loaded.end());

  const char* names[] = {"QelPolygonChart", "QelStairChart", "QelBarChart", "QelScatterChart",
                         "Qel3dBarChart"};
  for (size_t i = 0; i < owned.size(); ++i) {
    EXPECT_STREQ(owned[i]->getClassInfo()->getClassName(), names[i]);
    auto* chart = dynamic_cast<QelChart*>(owned[i].get());
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(chart->getOrigin(), QelPoint(3 + int(i), 90 - 10 * int(i)));
    EXPECT_EQ(chart->getXScale(), float(2 + i));
    ASSERT_NE(chart->getData(), nullptr);
    EXPECT_EQ(chart->getData()->getCount(),
              dynamic_cast<QelChart*>(graphics[i])->getData()->getCount());
  }
  auto* bars = dynamic_cast<QelBarChart*>(owned[2].get());
  EXPECT_EQ(bars->getHalfWidth(), 7u);
  EXPECT_EQ(bars->getDirection(), QelHorizontal);
  EXPECT_EQ(bars->getPalette(), palette("blue"));
  auto* scatter = dynamic_cast<QelScatterChart*>(owned[3].get());
  EXPECT_EQ(scatter->getMarkerSize(), 6u);
  EXPECT_EQ(scatter->getMarkerType(), unsigned(QelMarkerCross | QelMarkerCircle));
  auto* solid = dynamic_cast<Qel3dBarChart*>(owned[4].get());
  EXPECT_EQ(solid->getBarWidth(), 14u);
  EXPECT_EQ(solid->getDepth(), 3u);
  EXPECT_EQ(solid->getTopPalette(), dynamic_cast<Qel3dBarChart*>(graphics[4])->getTopPalette());

  // Copies keep the fields as well.
  std::unique_ptr<QelGraphic> copy(graphics[3]->copy());
  EXPECT_EQ(dynamic_cast<QelScatterChart*>(copy.get())->getMarkerSize(), 6u);
  copy.reset(graphics[2]->copy());
  EXPECT_EQ(dynamic_cast<QelBarChart*>(copy.get())->getDirection(), QelHorizontal);

  // Fields out of range make the file unreadable, never a crash.
  for (auto [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"QelBarChart  7 32", "QelBarChart  7 5"},
           {"QelBarChart  7 32", "QelBarChart  -7 32"},
           {"QelScatterChart  6 12", "QelScatterChart  70000 12"},
           {"QelScatterChart  6 12", "QelScatterChart  6 4096"},
           {"Qel3dBarChart  14 3", "Qel3dBarChart  14 x"}}) {
    std::string broken = text;
    size_t at = broken.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    broken.replace(at, from.size(), to);
    std::stringstream in(broken);
    CapturedMessages messages;
    std::vector<QelGraphic*> result = QelLoadGraphics(in, display);
    EXPECT_TRUE(result.empty()) << to;
    for (QelGraphic* g : result) delete g;
  }
}

}  // namespace
}  // namespace kestrel::test
