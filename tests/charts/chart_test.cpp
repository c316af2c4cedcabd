#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "charts/chart.h"
#include "graphics/region.h"
#include "graphics/transformer.h"
#include "tests/charts/chart_fixture.h"
#include "tests/support/data_files.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

using ChartTest = ChartFixture;

TEST_F(ChartTest, MappingTruncatesAndThePlainPathDiffersFromTheTransformedOneByAPixel) {
  QelFloatPoint value(-0.5f, 0.5f);
  QelPolylineChart chart(display, new QelChartDataPoints(1, &value, 0), QelPoint(10, 20), 1, 1);
  QelTransformer identity;
  QelPoint p;
  chart.getPoint(0, p, nullptr);
  EXPECT_EQ(p, QelPoint(9, 19));  // 9.5 and 19.5 truncated toward zero
  unsigned long count = 0;
  EXPECT_EQ(chart.getPoints(count, nullptr, nullptr)[0], QelPoint(10, 20));  // 10 + trunc(-0.5)
  EXPECT_EQ(chart.getPoints(count, nullptr, &identity)[0], QelPoint(9, 19));

  // Back from view to data, through a transformer; read-only data is left alone.
  auto* editable = new QelChartDataPoints(1, nullptr, 1);
  QelPolylineChart edited(display, editable, QelPoint(0, 100), 2, 4);
  QelTransformer shift(QelPoint(5, 0));
  edited.setPoint(0, QelPoint(25, 60), &shift);
  QelFloatPoint back;
  editable->getPoint(0, back);
  EXPECT_EQ(back, QelFloatPoint(10, 10));

  // One point: a box of a pixel, and a redraw box that starts as nothing at the point.
  QelFloatPoint one(3, 4);
  QelPolylineChart single(display, new QelChartDataPoints(1, &one, 0), QelPoint(10, 50), 2, 2);
  QelRect point;
  single.bboxPoint(0, point, nullptr);
  EXPECT_TRUE(box(single) == QelRect(16, 42, 1, 1) && point == QelRect(16, 42, 0, 0));
}

TEST_F(ChartTest, FittingPutsTheTopValueOnTheTopEdgeNotAPixelAbove) {
  // A flat series keeps its y scale and sits on the rectangle's bottom edge.
  QelPolylineChart flat(display, series({5, 5, 5}), QelPoint(0, 0), 1, 3);
  flat.adjust(QelRect(10, 20, 200, 100));
  EXPECT_TRUE(flat.getXScale() == 100 && flat.getYScale() == 3);
  EXPECT_EQ(flat.getOrigin(), QelPoint(10, 120));
  QelPoint p;

  // Scales such as 100 / 3 are inexact in single precision: the fit must use the same float
  // products as the mapping, or the top value lands one pixel outside the rectangle.
  struct Case {
    std::vector<float> values;
    QelRect rect;
  };
  for (const Case& c : {Case{{0, 3}, {0, 0, 100, 100}}, Case{{0, 7}, {5, 9, 100, 300}},
                        Case{{1, 0.3f, 9}, {0, 0, 640, 480}}, Case{{-2, 11}, {3, -50, 77, 33}}}) {
    QelPolylineChart chart(display, series(c.values));
    chart.adjust(c.rect);
    unsigned long top = std::max_element(c.values.begin(), c.values.end()) - c.values.begin();
    chart.getPoint(top, p, nullptr);
    EXPECT_EQ(p.y, c.rect.y) << c.rect.h << " / " << c.values.size();
  }
  // Moved by a transformer, a top value that sits exactly on the edge follows onto the moved
  // edge.
  QelPolylineChart chart(display, series({0, 3}));
  chart.adjust(QelRect(0, 0, 100, 100));
  QelTransformer down(QelPoint(0, 10));
  chart.applyTransform(&down);
  chart.getPoint(1, p, nullptr);
  EXPECT_EQ(p.y, 10);
}

TEST_F(ChartTest, PointsArePickedAtExactlySizeAndTheLowerIndexWins) {
  QelFloatPoint points[] = {{10, 0}, {12, 0}, {40, 0}};
  QelPolylineChart chart(display, new QelChartDataPoints(3, points, 0), QelPoint(0, 50), 1, 1);
  const unsigned long none = static_cast<unsigned long>(-1);
  EXPECT_EQ(chart.whichPoint(4, {}, QelPoint(14, 54), nullptr), 0u);  // both hold it
  EXPECT_EQ(chart.whichPoint(4, {}, QelPoint(15, 46), nullptr), 1u);  // 5 from the first
  EXPECT_EQ(chart.whichPoint(4, {}, QelPoint(44, 50), nullptr), 2u);
  EXPECT_EQ(chart.whichPoint(4, {}, QelPoint(45, 50), nullptr), none);
  EXPECT_EQ(QelPolylineChart(display, nullptr).whichPoint(4, {}, QelPoint(), nullptr), none);
}

TEST_F(ChartTest, ScrollingMovesYPointsOnAndLeavesOtherDataAlone) {
  QelFloatPoint points[] = {{0, 1}, {1, 2}};
  QelPolylineChart still(display, new QelChartDataPoints(2, points, 0), QelPoint(0, 10), 10, 1);
  QelRect area(7, 7, 7, 7);
  still.scroll(99, area, nullptr, nullptr);
  EXPECT_TRUE(area == QelRect(7, 7, 7, 7) && points[1] == QelFloatPoint(1, 2));

  QelPolylineChart moving(display, series({1, 2, 3}), QelPoint(0, 10), 10, 1);
  moving.scroll(8, area, nullptr, nullptr);
  auto* data = static_cast<QelChartDataYPoints*>(moving.getData());
  EXPECT_EQ(std::vector<float>(data->getValues(), data->getValues() + 3),
            (std::vector<float>{2, 3, 8}));
  // Before: y 7..9, after: y 2..8; their union grown by a pixel, held at 0.
  EXPECT_EQ(area, QelRect(0, 1, 22, 9));
}

TEST_F(ChartTest, ClipConvertsOnlyTheVisibleSliceAndThePolylineLandsOnItsPixels) {
  std::vector<float> values(1000);
  for (size_t i = 0; i < values.size(); ++i) values[i] = float(i % 10);
  QelPolylineChart chart(display, series(values), QelPoint(0, 100), 2, 10);
  QelRegion clip(QelRect(100, 0, 20, 100));
  unsigned long count = 0;
  const QelPoint* points = chart.getPoints(count, &clip, nullptr);
  ASSERT_EQ(count, 13u);  // x 49 .. 61: the ten visible and a neighbour each side
  EXPECT_EQ(points[0], QelPoint(98, 10));

  // A one-pixel diagonal from (10, 60) to (50, 20).
  QelPolylineChart small(display, series({0, 1, 2}), QelPoint(10, 60), 20, 20, palette("red"));
  Image image = drawn(small, 80, 80);
  EXPECT_TRUE(pixelsAre(image, {{10, 60, kRed}, {20, 50, kRed}, {30, 40, kRed}, {50, 20, kRed}}));
  EXPECT_EQ(image.count(kRed), 41u);
  EXPECT_EQ(hits(small, {{31, 40}, {30, 50}}), "10");
}

TEST_F(ChartTest, ChartsRoundTripThroughDataFilesWithTheirDecorations) {
  auto* data = series({1, 4, 2});
  data->addPointInfo(new QelChartPointInfo(
      new QelFilledRectangle(display, QelRect(0, 0, 4, 4), palette("blue")), 1, QelPoint(-2, -2)));
  QelPolylineChart chart(display, data, QelPoint(5, 80), 10, 10, palette("red"));
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  std::string text;
  ASSERT_TRUE(readBackSavesTheSame(display, {&chart}, loaded, text));
  auto* polyline = dynamic_cast<QelPolylineChart*>(loaded[0].get());
  ASSERT_NE(polyline, nullptr);
  // The decoration is drawn at its point, displaced by its offset: point 1 is at (15, 40).
  EXPECT_TRUE(
      pixelsAre(drawn(*polyline, 60, 100), {{13, 38, kBlue}, {16, 41, kBlue}, {12, 37, kWhite}}));

  // An unknown data class: the fatal message, and a chart without data.
  CapturedMessages messages;
  loadEdited(display, text, "QelChartDataYPoints", "QelChartDataMissing");
  ASSERT_FALSE(messages.fatals().empty());
  EXPECT_EQ(messages.fatals()[0],
            "QelAbstractChart::readData: Unregistered class: QelChartDataMissing");
}

}  // namespace
}  // namespace kestrel::test
