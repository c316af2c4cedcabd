#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "charts/multi_chart.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "graphics/region.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kRed = 0xff0000, kGreen = 0x00ff00, kBlue = 0x0000ff;
constexpr unsigned long kNone = static_cast<unsigned long>(-1);

class MultiChartTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelChartModuleInit();
    QelRectangleModuleInit();
  }
  static QelChartDataYPoints* series(std::vector<float> values) {
    auto* data = new QelChartDataYPoints(values.size(), nullptr, 1);
    for (size_t i = 0; i < values.size(); ++i) data->setPoint(i, QelFloatPoint(0, values[i]));
    return data;
  }
  QelPalette* palette(const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  }
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
  QelChartData* a = series({1});
  QelChartData* b = series({2});
  QelChartData* c = series({3});
  QelStackedBarChart chart(display, 10, palette("black"));
  {
    auto* other = new QelStackedBarChart(display);
    other->addData(a);
    chart.addData(a, palette("red"));
    EXPECT_EQ(a->getLockCount(), 2u);
    delete other;  // the set survives: this chart still holds it
  }
  EXPECT_EQ(a->getLockCount(), 1u);
  const uint32_t blueLocks = palette("blue")->getLockCount();
  chart.insertData(0, b);
  chart.insertData(99, c, palette("blue"));  // past the end: appended
  chart.insertData(0, nullptr);
  ASSERT_EQ(chart.getDataCount(), 3);
  EXPECT_EQ(chart.getData(0), b);
  EXPECT_EQ(chart.getData(1), a);
  EXPECT_EQ(chart.getData(2), c);
  EXPECT_EQ(chart.getData(3), nullptr);
  EXPECT_EQ(chart.getIndex(c), 2);
  EXPECT_EQ(chart.getIndex(nullptr), -1);
  EXPECT_EQ(chart.getPalette(0), palette("black"));  // none given: the chart's own
  EXPECT_EQ(chart.getPalette(1), palette("red"));
  EXPECT_EQ(chart.getPalette(3), nullptr);
  EXPECT_EQ(palette("blue")->getLockCount(), blueLocks + 1);

  // Setting a set over itself keeps it; replacing unlocks the old set and palette.
  chart.setData(0, b, palette("red"));
  EXPECT_EQ(b->getLockCount(), 1u);
  EXPECT_EQ(chart.getPalette(0), palette("red"));
  c->lock();
  chart.setData(2, b);
  EXPECT_EQ(c->getLockCount(), 1u);
  EXPECT_EQ(b->getLockCount(), 2u);
  chart.setData(3, c);
  chart.setData(1, nullptr);
  EXPECT_EQ(chart.getData(1), a);
  chart.removeData(7);
  chart.removeData(0);
  EXPECT_EQ(chart.getDataCount(), 2);
  EXPECT_EQ(chart.getData(0), a);
  EXPECT_EQ(b->getLockCount(), 1u);

  // A copy shares the sets.
  {
    std::unique_ptr<QelGraphic> copy(chart.copy());
    EXPECT_EQ(a->getLockCount(), 2u);
    EXPECT_EQ(static_cast<QelMultiChart*>(copy.get())->getPalette(0), palette("red"));
  }
  EXPECT_EQ(a->getLockCount(), 1u);

  // Growing past 5 and 10 entries keeps the order.
  const uint32_t redLocks = palette("red")->getLockCount();
  QelSideBySideBarChart many(display);
  std::vector<QelChartData*> sets;
  for (int i = 0; i < 12; ++i) {
    sets.push_back(series({float(i)}));
    many.insertData(0, sets.back(), i % 2 ? palette("red") : nullptr);
  }
  ASSERT_EQ(many.getDataCount(), 12);
  for (int i = 0; i < 12; ++i) {
    EXPECT_EQ(many.getData(i), sets[11 - i]);
    EXPECT_EQ(many.getIndex(sets[11 - i]), i);
  }
  EXPECT_EQ(palette("red")->getLockCount(), redLocks + 6);
  c->unLock();
}

TEST_F(MultiChartTest, SideBySideBarsStandInSlotsAroundTheirX) {
  auto chart = sideBySide();
  QelPort* port = windowPort(120, 100);
  chart->draw(port, nullptr, nullptr);
  EXPECT_TRUE(imagesMatch(read(port), sideBySideExpected(), "side-by-side-bars"));
  EXPECT_EQ(chart->barRect(1, 1, nullptr), QelRect(77, 70, 6, 20));
  EXPECT_EQ(chart->barRect(3, 0, nullptr), QelRect());
  EXPECT_EQ(chart->barRect(0, 2, nullptr), QelRect());

  // The box holds every bar: the half group on each side and the base.
  QelRect box;
  chart->boundingBox(box);
  EXPECT_EQ(box, QelRect(21, 20, 68, 70));

  // Through a clip, only the pixels inside it change.
  QelRect clipRect(74, 25, 30, 50);
  QelRegion clip(clipRect);
  QelPort* clipped = windowPort(120, 100);
  chart->draw(clipped, nullptr, &clip);
  EXPECT_TRUE(imagesMatch(read(clipped), masked(sideBySideExpected(), clipRect),
                          "side-by-side-bars-clipped"));

  // Moving the box moves the mapping by as much: the margins are not taken for data.
  chart->move(box.x + 5, box.y - 4);
  EXPECT_EQ(chart->getOrigin(), QelPoint(35, 66));
}

TEST_F(MultiChartTest, WhichDataPointFindsTheSlotAndContainsHitsOnlyBars) {
  auto chart = sideBySide();
  // Relative points of the first group: red (24, 50), green (30, 30), blue (36, 60).
  QelPoint p;
  chart->getDataRelativePoint(2, 0, p, nullptr);
  EXPECT_EQ(p, QelPoint(36, 60));
  int set = 7;
  EXPECT_EQ(chart->whichDataPoint(2, QelPoint(38, 62), nullptr, set), 0u);
  EXPECT_EQ(set, 2);
  EXPECT_EQ(chart->whichDataPoint(0, QelPoint(77 + 3, 90), nullptr, set), 1u);
  EXPECT_EQ(set, 1);
  EXPECT_EQ(chart->whichDataPoint(2, QelPoint(50, 50), nullptr, set), kNone);
  EXPECT_EQ(set, -1);

  EXPECT_TRUE(chart->contains({}, QelPoint(21, 69), nullptr));
  EXPECT_TRUE(chart->contains({}, QelPoint(80, 89), nullptr));
  EXPECT_FALSE(chart->contains({}, QelPoint(80, 90), nullptr));
  EXPECT_FALSE(chart->contains({}, QelPoint(39, 65), nullptr));  // right of the blue bar
  EXPECT_FALSE(chart->contains({}, QelPoint(50, 60), nullptr));  // between the groups

  // The redraw area of a moving point covers its bar and its neighbour's.
  QelRect area;
  chart->dataPointRelativeBBox(0, 0, area, nullptr);
  EXPECT_EQ(area, QelRect(21, 20, 57, 50));
}

TEST_F(MultiChartTest, StackedSegmentsPileOnTheSumsAndNegativesHangBelowTheBase) {
  auto chart = stacked();
  QelPort* port = windowPort(120, 120);
  chart->draw(port, nullptr, nullptr);
  EXPECT_TRUE(imagesMatch(read(port), stackedExpected(), "stacked-bars"));

  float from = 9, to = 9;
  chart->getStackedValues(2, 1, from, to);
  EXPECT_EQ(from, 3);
  EXPECT_EQ(to, 4);
  chart->getStackedValues(1, 2, from, to);
  EXPECT_EQ(from, -1);
  EXPECT_EQ(to, -3);
  chart->getStackedValues(3, 0, from, to);
  EXPECT_EQ(from, 0);
  EXPECT_EQ(to, 0);
  QelPoint top;
  chart->getDataStackedPoint(2, 0, top, nullptr);
  EXPECT_EQ(top, QelPoint(30, 20));
  EXPECT_EQ(chart->barRect(1, 2, nullptr), QelRect(105, 90, 10, 20));
  EXPECT_TRUE(chart->contains({}, QelPoint(106, 109), nullptr));
  EXPECT_FALSE(chart->contains({}, QelPoint(106, 110), nullptr));

  // The range holds the sums (6 and -3), which no set reaches alone.
  QelFloatRect range;
  chart->chartBBox(range);
  EXPECT_EQ(range, QelFloatRect(0, -3, 2, 6));
  QelRect box;
  chart->boundingBox(box);
  EXPECT_EQ(box, QelRect(25, 20, 90, 90));
  chart->adjust(QelRect(0, 0, 100, 90));
  EXPECT_EQ(chart->getYScale(), 10);
  EXPECT_EQ(chart->getOrigin(), QelPoint(0, 60));
  chart->getDataStackedPoint(2, 0, top, nullptr);
  EXPECT_EQ(top, QelPoint(0, 0));
  chart->getDataStackedPoint(1, 2, top, nullptr);
  EXPECT_EQ(top, QelPoint(100, 90));

  // Positive stacks keep zero on the bottom edge and reach the top with their sum.
  QelStackedBarChart positive(display);
  positive.addData(series({1, 2}));
  positive.addData(series({3, 2}));
  positive.adjust(QelRect(0, 0, 50, 80));
  EXPECT_EQ(positive.getOrigin().y, 80);
  EXPECT_EQ(positive.getYScale(), 20);
}

TEST_F(MultiChartTest, ClippedStacksDrawTheSameVisiblePixels) {
  std::vector<float> a(300), b(300);
  for (size_t i = 0; i < a.size(); ++i) {
    a[i] = float(i % 7) - 2;
    b[i] = float(i % 5);
  }
  QelStackedBarChart chart(display, QelPoint(-200, 60), 3, 5, 2);
  chart.addData(series(a), palette("red"));
  chart.addData(series(b), palette("blue"));
  QelPort* whole = windowPort(150, 100);
  chart.draw(whole, nullptr, nullptr);
  Image full = read(whole);
  ASSERT_GT(full.count(kRed), 100u);
  ASSERT_GT(full.count(kBlue), 100u);
  QelRect clipRect(61, 0, 40, 100);
  QelRegion clip(clipRect);
  QelPort* part = windowPort(150, 100);
  chart.draw(part, nullptr, &clip);
  EXPECT_TRUE(imagesMatch(read(part), masked(full, clipRect), "stacked-bars-clipped"));
}

TEST_F(MultiChartTest, BarChartsRoundTripThroughDataFilesWithTheirSetPalettes) {
  auto bars = sideBySide();
  bars->setPalette(palette("black"));
  bars->setData(1, bars->getData(1));  // drawn with the chart's own palette
  bars->getData(2)->addPointInfo(new QelChartPointInfo(
      new QelFilledRectangle(display, QelRect(0, 0, 4, 4), palette("green")), 1, QelPoint(-2, -2)));
  auto stack = stacked();
  QelGraphic* graphics[] = {bars.get(), stack.get()};
  std::stringstream file;
  ASSERT_TRUE(QelSaveGraphics(file, 2, graphics));
  const std::string text = file.str();
  std::vector<QelGraphic*> loaded = QelLoadGraphics(file, display);
  ASSERT_EQ(loaded.size(), 2u) << text;
  std::unique_ptr<QelGraphic> first(loaded[0]), second(loaded[1]);

  auto* side = dynamic_cast<QelSideBySideBarChart*>(first.get());
  ASSERT_NE(side, nullptr) << text;
  EXPECT_EQ(side->getBarWidth(), 6);
  ASSERT_EQ(side->getDataCount(), 3) << text;
  EXPECT_EQ(side->getPalette(0), palette("red"));
  EXPECT_EQ(side->getPalette(1), palette("black"));
  EXPECT_EQ(side->getPalette(2), palette("blue"));
  EXPECT_EQ(side->getData(1)->getCount(), 2u);
  QelPort* port = windowPort(120, 100);
  side->draw(port, nullptr, nullptr);
  Image expected = sideBySideExpected();
  expected.fillRect(27, 30, 6, 40, 0);
  expected.fillRect(77, 70, 6, 20, 0);
  expected.fillRect(84, 38, 4, 4, kGreen);  // the decoration at blue's relative point (86, 40)
  EXPECT_TRUE(imagesMatch(read(port), expected, "side-by-side-bars-read"));

  auto* pile = dynamic_cast<QelStackedBarChart*>(second.get());
  ASSERT_NE(pile, nullptr) << text;
  EXPECT_EQ(pile->getBarWidth(), 10);
  EXPECT_EQ(pile->getOrigin(), QelPoint(30, 80));
  ASSERT_EQ(pile->getDataCount(), 3);
  QelPort* other = windowPort(120, 120);
  pile->draw(other, nullptr, nullptr);
  EXPECT_TRUE(imagesMatch(read(other), stackedExpected(), "stacked-bars-read"));

  // An unknown data class: the message, and the chart keeps the sets read before it.
  std::string broken = text;
  broken.replace(broken.rfind("QelChartDataYPoints"), 19, "QelChartDataMissing");
  std::stringstream brokenFile(broken);
  CapturedMessages messages;
  loaded = QelLoadGraphics(brokenFile, display);
  ASSERT_EQ(loaded.size(), 2u);
  ASSERT_EQ(messages.fatals().size(), 1u);
  EXPECT_EQ(messages.fatals()[0],
            "QelAbstractChart::readData: Unregistered class: QelChartDataMissing");
  auto* shortened = dynamic_cast<QelStackedBarChart*>(loaded[1]);
  ASSERT_NE(shortened, nullptr);
  EXPECT_EQ(shortened->getDataCount(), 2);
  for (QelGraphic* g : loaded) delete g;
}

TEST_F(MultiChartTest, MalformedValuesAndFilesNeverCrash) {
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
  for (QelMultiChart* chart :
       {static_cast<QelMultiChart*>(&pile), static_cast<QelMultiChart*>(&side)}) {
    chart->draw(port, nullptr, nullptr);
    chart->draw(port, nullptr, &clip);
    QelRect box;
    chart->boundingBox(box);
    chart->contains({}, QelPoint(5, 5), nullptr);
    chart->adjust(QelRect(0, 0, 40, 40));
    chart->draw(port, nullptr, &clip);
  }
  float from, to;
  pile.getStackedValues(0, 0, from, to);  // NaN stacks as nothing
  EXPECT_EQ(from, 0);
  EXPECT_EQ(to, 0);
  int set = 0;
  side.whichDataPoint(UINT32_MAX, QelPoint(), nullptr, set);
  QelRect area;
  side.dataPointRelativeBBox(9, 0, area, nullptr);
  EXPECT_TRUE(area.isEmpty());

  // Files with too many sets, a bad width or a palette index off the table.
  auto* good = new QelStackedBarChart(display, QelPoint(0, 0), 1, 1, 4, palette("red"));
  good->addData(series({1}), palette("blue"));
  std::unique_ptr<QelGraphic> owner(good);
  QelGraphic* graphics[] = {good};
  std::stringstream out;
  ASSERT_TRUE(QelSaveGraphics(out, 1, graphics));
  const std::string text = out.str();
  const std::string record = " 4 1\n";
  ASSERT_NE(text.find(record), std::string::npos) << text;
  auto load = [&](const std::string& from, const std::string& to) {
    std::string changed = text;
    changed.replace(changed.find(from), from.size(), to);
    std::stringstream in(changed);
    return QelLoadGraphics(in, display);
  };
  CapturedMessages messages;
  EXPECT_TRUE(load(record, " 4 70000\n").empty());
  EXPECT_TRUE(load(record, " -4 1\n").empty());
  EXPECT_TRUE(load(record, " 4 -1\n").empty());
  EXPECT_TRUE(load(record, " 4 2\n").empty());  // the second set is missing
  std::vector<QelGraphic*> offTable = load(record + "1 ", record + "99999999999 ");
  ASSERT_EQ(offTable.size(), 1u);
  EXPECT_EQ(static_cast<QelMultiChart*>(offTable[0])->getPalette(0), palette("red"));
  delete offTable[0];
}

}  // namespace
}  // namespace kestrel::test
