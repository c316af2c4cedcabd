#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "charts/chart_data.h"
#include "charts/point_buffers.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// The x values of the slice of `data` for the x range [minx, maxx].
std::vector<float> slice(const QelChartData& data, float minx, float maxx) {
  unsigned long count = 0;
  const QelFloatPoint* points = data.getPoints(QelFloatRect(minx, 0, maxx, 0), count);
  std::vector<float> result;
  for (unsigned long i = 0; i < count; ++i) result.push_back(points[i].x);
  return result;
}

QelFloatRect box(const QelChartData& data) {
  QelFloatRect rect;
  data.boundingBox(rect);
  return rect;
}

QelFloatPoint point(const QelChartData& data, unsigned long index) {
  QelFloatPoint p;
  data.getPoint(index, p);
  return p;
}

TEST(ChartDataTest, StepUsesCountMinusOneOnlyFromTwoPoints) {
  EXPECT_EQ(QelChartDataFunction(2, 5, 1, nullptr).getStep(), 3);  // divided by 1, not by 0
  QelChartDataFunction four(2, 5, 4, [](float x) { return x * x; });
  EXPECT_EQ(four.getStep(), 1);
  EXPECT_EQ(point(four, 3), QelFloatPoint(5, 25));
  // A one-point set: the slice around any x is that point.
  float value = 7;
  QelChartDataYPoints single(1, &value, 0);
  EXPECT_EQ(single.getStep(), 0);
  EXPECT_EQ(slice(single, -3, 3), std::vector<float>{0});
  EXPECT_EQ(box(single), QelFloatRect(0, 7, 0, 7));
}

TEST(ChartDataTest, SlicesHoldTheRangeAndOneNeighbourEachSide) {
  using Xs = std::vector<float>;
  // Points: found by two scans that assume ascending x.
  std::vector<QelFloatPoint> ascending;
  for (int i = 0; i < 10; ++i) ascending.push_back(QelFloatPoint(float(i * 10), float(i)));
  QelChartDataPoints data(ascending.size(), ascending.data(), 0);
  EXPECT_EQ(slice(data, 25, 45), (Xs{20, 30, 40, 50}));
  EXPECT_EQ(slice(data, -50, -10), (Xs{0, 10}));   // before the data
  EXPECT_EQ(slice(data, 500, 600), (Xs{90}));      // after it
  EXPECT_EQ(slice(data, kNaN, kNaN).size(), 10u);  // unordered bounds stop the scans
  // Unordered data is not sorted: the slice is what the scans leave.
  std::vector<QelFloatPoint> unordered = {{50, 0}, {0, 0}, {30, 0}, {10, 0}, {90, 0}};
  EXPECT_EQ(slice(QelChartDataPoints(unordered.size(), unordered.data(), 0), 20, 40),
            (Xs{50, 0, 30, 10, 90}));
  EXPECT_TRUE(slice(QelChartDataPoints(0, nullptr, 0), 0, 1).empty());

  // Indexed sets compute the slice from the index, whatever the rectangle holds.
  QelChartDataYPoints ys(100, nullptr, 0);
  EXPECT_EQ(slice(ys, 10.5f, 12.2f), (Xs{9, 10, 11, 12, 13}));
  for (float edge : {kInf, kNaN, 1e30f}) EXPECT_EQ(slice(ys, -edge, edge).size(), 100u) << edge;
  EXPECT_EQ(slice(ys, 500, 600), Xs{99});  // the last point, as the neighbour of the range
  EXPECT_TRUE(slice(ys, -600, -500).empty());
  unsigned long count = 9;
  EXPECT_NE(QelChartDataYPoints(0, nullptr, 0).getPoints(QelFloatRect(0, 0, 1, 1), count), nullptr);
  EXPECT_EQ(count, 0u);
}

TEST(ChartDataTest, SettingPointsKeepsTheBoxCurrentAndReadOnlyDataIgnoresIt) {
  QelChartDataPoints points(3, nullptr, 0);
  for (QelFloatPoint p : {QelFloatPoint(1, 1), QelFloatPoint(2, 8), QelFloatPoint(3, -4)})
    points.setPoint(unsigned(p.x) - 1, p);
  points.setPoint(3, {100, 100});  // beyond the set: ignored
  EXPECT_EQ(box(points), QelFloatRect(1, -4, 3, 8));
  points.setPoint(1, {2, 0});
  EXPECT_EQ(box(points).maxy, 1);

  QelChartDataYPoints ys(2, nullptr, 0);
  QelChartDataFunction function(0, 1, 2, [](float x) { return x + 1; });
  ys.setPoint(1, {55, 9});  // x is the index: ignored
  function.setPoint(0, {5, 5});
  EXPECT_TRUE(point(ys, 1) == QelFloatPoint(1, 9) && point(function, 0) == QelFloatPoint(0, 1));
}

// The first info of an index is found; a copy has values and infos of its own and no lock.
TEST(ChartDataTest, PointInfosAndCopies) {
  auto* data = new QelChartDataYPoints(4, nullptr, 0);
  data->lock();
  auto* first = new QelChartPointInfo(nullptr, 2, QelPoint(3, 4));
  for (auto* info : {first, new QelChartPointInfo(nullptr, 2)}) data->addPointInfo(info);
  std::unique_ptr<QelChartData> copy(data->copy());
  data->setPoint(0, {0, 42});
  EXPECT_TRUE(data->getPointInfo(2) == first && !data->getPointInfo(0) && point(*copy, 0).y == 0 &&
              copy->getLockCount() == 0u && copy->getPointInfo(2) != first);
  data->unLock();  // deletes the set and its infos
}

TEST(ChartDataTest, ScratchBuffersRefuseImpossibleRequests) {
  EXPECT_EQ(QelAllocPoints(std::numeric_limits<size_t>::max()), nullptr);
  EXPECT_EQ(QelAllocInternalPoints(std::numeric_limits<size_t>::max() / 2), nullptr);
  EXPECT_NE(QelAllocPoints(1000), nullptr);  // still usable
  // Counts beyond 32 bits make an empty set, not a wrapped one.
  EXPECT_EQ(QelChartDataPoints(std::numeric_limits<unsigned long>::max(), nullptr, 1).getCount(),
            0u);
}

class ChartDataFileTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelRectangleModuleInit();
    QelChartDataModuleInit();
  }
  // Reads a set as a chart record holds it: the class name, then the values.
  static QelChartData* readSet(std::istream& stream) {
    QelInputFile in(stream);
    std::string name;
    in.readToken(name);
    auto* info = dynamic_cast<QelChartDataClassInfo*>(QelClassInfo::Get(name.c_str()));
    return info && info->getReader() ? info->getReader()(in) : nullptr;
  }
  // Writes the set and reads it back; `text` receives the file.
  static std::unique_ptr<QelChartData> roundTrip(const QelChartData& data, std::string& text) {
    std::stringstream stream;
    {
      QelOutputFile out(stream);
      stream << data.getClassInfo()->getClassName() << ' ';
      data.write(out);
    }
    text = stream.str();
    return std::unique_ptr<QelChartData>(readSet(stream));
  }
};

TEST_F(ChartDataFileTest, EveryKindRoundTripsWithItsPointInfos) {
  QelFloatPoint values[] = {{0.5f, -1}, {1.25f, 3}, {2, 1e-7f}};
  QelChartDataPoints points(3, values, 0);
  points.addPointInfo(
      new QelChartPointInfo(new QelFilledRectangle(display, QelRect(1, 2, 3, 4)), 1, {5, -6}));
  points.addPointInfo(new QelChartPointInfo(nullptr, 2));  // written as an empty entry
  std::string text;
  auto read = roundTrip(points, text);
  ASSERT_NE(read, nullptr) << text;
  for (unsigned long i = 0; i < 3; ++i) EXPECT_EQ(point(*read, i), values[i]);
  unsigned long infos = 0;
  read->getAllPointInfo(infos);
  QelChartPointInfo* info = read->getPointInfo(1);
  ASSERT_TRUE(infos == 1u && info && info->getGraphic()) << text;
  QelRect rect;
  info->getGraphic()->boundingBox(rect);
  EXPECT_TRUE(info->getOffset() == QelPoint(5, -6) && rect == QelRect(1, 2, 3, 4));
  // The function is not in the file: the values written stand in for it.
  read = roundTrip(QelChartDataFunction(1, 3, 3, [](float x) { return 2 * x; }), text);
  ASSERT_NE(read, nullptr) << text;
  EXPECT_EQ(point(*read, 2), QelFloatPoint(3, 6));
}

TEST_F(ChartDataFileTest, NonFiniteValuesStayOutOfBoxesWhereverTheyStandAndReadBack) {
  // NaN first, in the middle or last, and infinities: the box is that of the finite values.
  for (std::vector<float> values :
       {std::vector<float>{kNaN, 1, 5}, {1, kNaN, 5}, {1, 5, kNaN}, {kInf, 1, -kInf, 5}}) {
    const float last = float(values.size() - 1);
    QelChartDataYPoints ys(values.size(), values.data(), 0);
    EXPECT_EQ(box(ys), QelFloatRect(0, 1, last, 5));
    // What the library writes, it reads: NaN and the infinities included.
    std::string text;
    auto read = roundTrip(ys, text);
    ASSERT_NE(read, nullptr) << text;
    for (unsigned long i = 0; i < values.size(); ++i) {
      const float y = point(*read, i).y;
      EXPECT_TRUE(std::isnan(values[i]) ? std::isnan(y) : y == values[i]) << text;
    }
  }
  // All of them non-finite: the empty range.
  float none[] = {kNaN, kInf};
  EXPECT_EQ(box(QelChartDataYPoints(2, none, 0)), QelFloatRect(0, 0, 1, 0));
}

TEST_F(ChartDataFileTest, MalformedValuesReadNothing) {
  for (const char* text : {"QelChartDataPoints 3\n 1 2 3", "QelChartDataYPoints -2\n",
                           "QelChartDataYPoints 4000000000\n 1 2", "QelChartDataYPoints 2\n 1 2x",
                           "QelChartDataYPoints 1\n 1e999",
                           "QelChartDataPoints 1\n 1 2 I 1 0 -1 QelNoSuchClass 1 2 3 4 0 0"}) {
    std::stringstream stream(text);
    EXPECT_EQ(std::unique_ptr<QelChartData>(readSet(stream)), nullptr) << text;
  }
}

}  // namespace
}  // namespace kestrel::test
