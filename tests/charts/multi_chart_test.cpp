#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "charts/multi_chart.h"
#include "graphics/region.h"
#include "tests/charts/chart_fixture.h"
#include "tests/support/data_files.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

class MultiChartTest : public ChartFixture {
 protected:
  // Red, green and blue sets of the side-by-side picture; points at x 30 and 80, base at y 70.
  std::unique_ptr<QelSideBySideBarChart> sideBySide() {
    auto chart = std::make_unique<QelSideBySideBarChart>(display, QelPoint(30, 70), 50, 10, 6);
    chart->addData(series({2, 5}), palette("red"));
    chart->addData(series({4, -2}), palette("green"));
    chart->addData(series({1, 3}), palette("blue"));
    return chart;
  }
  static Image sideBySideExpected() {
    Image image(120, 100, kWhite);
    image.fillRect(21, 50, 6, 20, kRed);
    image.fillRect(27, 30, 6, 40, kGreen);
    image.fillRect(33, 60, 6, 10, kBlue);
    image.fillRect(71, 20, 6, 50, kRed);
    image.fillRect(77, 70, 6, 20, kGreen);  // below the base
    image.fillRect(83, 40, 6, 30, kBlue);
    return image;
  }
  // Points at x 30, 70 and 110, base at y 80, bars 10 wide.
  std::unique_ptr<QelStackedBarChart> stacked() {
    auto chart = std::make_unique<QelStackedBarChart>(display, QelPoint(30, 80), 40, 10, 10);
    chart->addData(series({2, 3, -1}), palette("red"));
    chart->addData(series({3, -2, -2}), palette("green"));
    chart->addData(series({1, 1, 4}), palette("blue"));
    return chart;
  }
  static Image stackedExpected() {
    Image image(120, 120, kWhite);
    image.fillRect(25, 60, 10, 20, kRed);     // 0 .. 2
    image.fillRect(25, 30, 10, 30, kGreen);   // 2 .. 5
    image.fillRect(25, 20, 10, 10, kBlue);    // 5 .. 6
    image.fillRect(65, 50, 10, 30, kRed);     // 0 .. 3
    image.fillRect(65, 80, 10, 20, kGreen);   // 0 .. -2: below, not on the red
    image.fillRect(65, 40, 10, 10, kBlue);    // 3 .. 4
    image.fillRect(105, 80, 10, 10, kRed);    // 0 .. -1
    image.fillRect(105, 90, 10, 20, kGreen);  // -1 .. -3
    image.fillRect(105, 40, 10, 40, kBlue);   // 0 .. 4: the positive stack is empty there
    return image;
  }
  // `image` with everything outside `rect` white.
  static Image masked(const Image& image, const QelRect& rect) {
    Image result(image.width, image.height, kWhite);
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x)
        if (rect.contains(QelPoint(x, y))) result.set(x, y, image.at(x, y));
    return result;
  }
};

TEST_F(MultiChartTest, SetsAreLockedWhileHeldAndIndicesAreClamped) {
  QelChartData *a = series({1}), *b = series({2}), *c = series({3});
  QelStackedBarChart chart(display, 10, palette("black"));
  {
    QelStackedBarChart other(display);
    other.addData(a);
    chart.addData(a, palette("red"));
  }  // the set survives: this chart still holds it
  EXPECT_EQ(a->getLockCount(), 1u);
  chart.insertData(0, b);
  chart.insertData(99, c, palette("blue"));  // past the end: appended
  chart.insertData(0, nullptr);
  auto sets = [&] {
    std::vector<QelChartData*> list;
    for (unsigned long i = 0; i <= chart.getDataCount(); ++i) list.push_back(chart.getData(i));
    return list;
  };
  EXPECT_EQ(sets(), (std::vector<QelChartData*>{b, a, c, nullptr}));
  // None given: the chart's own palette.
  EXPECT_TRUE(chart.getPalette(0) == palette("black") && chart.getPalette(1) == palette("red") &&
              !chart.getPalette(3) && chart.getIndex(c) == 2 && chart.getIndex(nullptr) == -1);

  // Setting a set over itself keeps it; replacing unlocks the old set and palette.
  chart.setData(0, b, palette("red"));
  c->lock();
  chart.setData(2, b);
  EXPECT_TRUE(c->getLockCount() == 1u && b->getLockCount() == 2u);
  chart.setData(3, c);
  chart.setData(1, nullptr);
  chart.removeData(7);  // no such set: nothing
  chart.removeData(0);
  EXPECT_EQ(sets(), (std::vector<QelChartData*>{a, b, nullptr}));
  EXPECT_EQ(b->getLockCount(), 1u);
  c->unLock();
}

TEST_F(MultiChartTest, SideBySideBarsStandInSlotsAroundTheirX) {
  auto chart = sideBySide();
  EXPECT_TRUE(imagesMatch(drawn(*chart, 120, 100), sideBySideExpected(), "side-by-side-bars"));
  EXPECT_EQ(chart->barRect(1, 1, nullptr), QelRect(77, 70, 6, 20));
  // The box holds every bar: the half group on each side and the base.
  EXPECT_EQ(box(*chart), QelRect(21, 20, 68, 70));
  // Through a clip, only the pixels inside it change.
  QelRect clipRect(74, 25, 30, 50);
  QelRegion clip(clipRect);
  EXPECT_TRUE(imagesMatch(drawn(*chart, 120, 100, &clip), masked(sideBySideExpected(), clipRect),
                          "side-by-side-bars-clipped"));

  // Relative points of the first group: red (24, 50), green (30, 30), blue (36, 60).
  QelPoint p;
  chart->getDataRelativePoint(2, 0, p, nullptr);
  EXPECT_EQ(p, QelPoint(36, 60));
  int set = 7;
  EXPECT_TRUE(chart->whichDataPoint(2, QelPoint(38, 62), nullptr, set) == 0u && set == 2) << set;
  EXPECT_TRUE(chart->whichDataPoint(0, QelPoint(80, 90), nullptr, set) == 1u && set == 1) << set;
  // Only bars are hit: not right of the blue bar, nor between the groups.
  EXPECT_EQ(hits(*chart, {{21, 69}, {80, 89}, {80, 90}, {39, 65}, {50, 60}}), "11000");
  // Moving the box moves the mapping by as much: the margins are not taken for data.
  chart->move(21 + 5, 20 - 4);
  EXPECT_EQ(chart->getOrigin(), QelPoint(35, 66));
}

TEST_F(MultiChartTest, StackedSegmentsPileOnTheSumsAndNegativesHangBelowTheBase) {
  auto chart = stacked();
  EXPECT_TRUE(imagesMatch(drawn(*chart, 120, 120), stackedExpected(), "stacked-bars"));
  using Stack = std::tuple<unsigned long, unsigned long, float, float>;  // set, index, from, to
  for (auto [set, index, low, high] : {Stack{2, 1, 3, 4}, Stack{1, 2, -1, -3}, Stack{3, 0, 0, 0}}) {
    float from = 9, to = 9;
    chart->getStackedValues(set, index, from, to);
    EXPECT_TRUE(from == low && to == high) << set << ' ' << index << ": " << from << ' ' << to;
  }
  QelPoint top;
  chart->getDataStackedPoint(2, 0, top, nullptr);
  EXPECT_EQ(top, QelPoint(30, 20));
  EXPECT_EQ(chart->barRect(1, 2, nullptr), QelRect(105, 90, 10, 20));
  EXPECT_EQ(hits(*chart, {{106, 109}, {106, 110}}), "10");

  // The range holds the sums (6 and -3), which no set reaches alone.
  QelFloatRect range;
  chart->chartBBox(range);
  EXPECT_EQ(range, QelFloatRect(0, -3, 2, 6));
  EXPECT_EQ(box(*chart), QelRect(25, 20, 90, 90));
  chart->adjust(QelRect(0, 0, 100, 90));
  QelPoint bottom;
  chart->getDataStackedPoint(2, 0, top, nullptr);
  chart->getDataStackedPoint(1, 2, bottom, nullptr);
  EXPECT_TRUE(top == QelPoint(0, 0) && bottom == QelPoint(100, 90)) << chart->getYScale();

  // Clipped, a long stack draws the same pixels inside the clip.
  std::vector<float> a(300), b(300);
  for (size_t i = 0; i < a.size(); ++i) a[i] = float(i % 7) - 2, b[i] = float(i % 5);
  QelStackedBarChart many(display, QelPoint(-200, 60), 3, 5, 2);
  many.addData(series(a), palette("red"));
  many.addData(series(b), palette("blue"));
  Image full = drawn(many, 150, 100);
  ASSERT_TRUE(full.count(kRed) > 100u && full.count(kBlue) > 100u);
  QelRect clipRect(61, 0, 40, 100);
  QelRegion clip(clipRect);
  EXPECT_TRUE(
      imagesMatch(drawn(many, 150, 100, &clip), masked(full, clipRect), "stacked-bars-clipped"));
}

TEST_F(MultiChartTest, BarChartsRoundTripThroughDataFilesWithTheirSetPalettes) {
  auto bars = sideBySide();
  bars->setPalette(palette("black"));
  bars->setData(1, bars->getData(1));  // drawn with the chart's own palette
  bars->getData(2)->addPointInfo(new QelChartPointInfo(
      new QelFilledRectangle(display, QelRect(0, 0, 4, 4), palette("green")), 1, QelPoint(-2, -2)));
  auto stack = stacked();
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  std::string text;
  ASSERT_TRUE(readBackSavesTheSame(display, {bars.get(), stack.get()}, loaded, text));
  Image expected = sideBySideExpected();
  expected.fillRect(27, 30, 6, 40, kBlack);
  expected.fillRect(77, 70, 6, 20, kBlack);
  expected.fillRect(84, 38, 4, 4, kGreen);  // the decoration at blue's relative point (86, 40)
  EXPECT_TRUE(imagesMatch(drawn(*loaded[0], 120, 100), expected, "side-by-side-bars-read"));
  EXPECT_TRUE(imagesMatch(drawn(*loaded[1], 120, 120), stackedExpected(), "stacked-bars-read"));

  // Files with too many sets, a bad width, a set missing or a palette index off the table.
  CapturedMessages messages;
  for (auto [from, to] :
       {std::pair{" 10 3\n", " 10 70000\n"}, {" 10 3\n", " -10 3\n"}, {" 10 3\n", " 10 4\n"}})
    EXPECT_TRUE(loadEdited(display, text, from, to).empty()) << to;
  // An index off the palette table leaves the set to the chart's own palette.
  loaded = loadEdited(display, text, " 10 3\n1 ", " 10 3\n99999999999 ");
  ASSERT_EQ(loaded.size(), 2u);
  EXPECT_EQ(static_cast<QelMultiChart*>(loaded[1].get())->getPalette(0), display->defaultPalette());
}

TEST_F(MultiChartTest, NonFiniteAndHugeValuesNeverCrash) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  QelStackedBarChart pile(display, QelPoint(10, 50), 1e30f, 1e30f, 65535, palette("red"));
  pile.addData(series({nan, inf, -inf, 1e30f, -1e30f, 2}));
  pile.addData(series({1, -inf, inf, 1e30f, nan, 3}), palette("blue"));
  QelSideBySideBarChart side(display, QelPoint(INT32_MAX, INT32_MIN), -inf, nan, 65535);
  side.addData(series({nan, inf, -inf, 1e30f}));
  side.addData(new QelChartDataPoints(0, nullptr, 1));
  QelRegion clip(QelRect(0, 0, 40, 40));
  QelPort* port = windowPort(40, 40);
  for (QelMultiChart* chart : std::initializer_list<QelMultiChart*>{&pile, &side}) {
    chart->draw(port, nullptr, &clip);
    chart->contains({}, QelPoint(5, 5), nullptr);
    chart->adjust(QelRect(0, 0, 40, 40));
    chart->draw(port, nullptr, nullptr);
  }
  float from, to;
  pile.getStackedValues(0, 0, from, to);  // NaN stacks as nothing
  EXPECT_TRUE(from == 0 && to == 0);
}

}  // namespace
}  // namespace kestrel::test
