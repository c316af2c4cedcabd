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

std::vector<float> xs(const QelFloatPoint* points, unsigned long count) {
  std::vector<float> result;
  for (unsigned long i = 0; i < count; ++i) result.push_back(points[i].x);
  return result;
}

TEST(ChartDataTest, StepUsesCountMinusOneOnlyFromTwoPoints) {
  QelChartDataFunction one(2, 5, 1, nullptr);
  EXPECT_EQ(one.getStep(), 3);  // divided by 1, not by 0
  QelChartDataFunction four(2, 5, 4, [](float x) { return x * x; });
  EXPECT_EQ(four.getStep(), 1);
  QelFloatPoint p;
  four.getPoint(3, p);
  EXPECT_EQ(p, QelFloatPoint(5, 25));

  // A one-point set divides by 1: the slice around any x is that point.
  float value = 7;
  QelChartDataYPoints single(1, &value, 0);
  EXPECT_EQ(single.getStep(), 0);
  unsigned long count = 0;
  const QelFloatPoint* points = single.getPoints(QelFloatRect(-3, 0, 3, 0), count);
  ASSERT_EQ(count, 1u);
  EXPECT_EQ(points[0], QelFloatPoint(0, 7));
  QelFloatRect box;
  single.boundingBox(box);
  EXPECT_EQ(box.minx, 0);
  EXPECT_EQ(box.maxx, 0);
  EXPECT_EQ(box.miny, 7);
}

TEST(ChartDataTest, PointsSliceIsFoundByTwoScansWithOneNeighbourEachSide) {
  std::vector<QelFloatPoint> ascending;
  for (int i = 0; i < 10; ++i) ascending.push_back(QelFloatPoint(float(i * 10), float(i)));
  QelChartDataPoints data(ascending.size(), ascending.data(), 0);
  unsigned long count = 0;
  const QelFloatPoint* slice = data.getPoints(QelFloatRect(25, -1e9f, 45, 1e9f), count);
  EXPECT_EQ(xs(slice, count), (std::vector<float>{20, 30, 40, 50}));
  slice = data.getPoints(QelFloatRect(-50, 0, -10, 0), count);  // before the data
  EXPECT_EQ(xs(slice, count), (std::vector<float>{0, 10}));
  slice = data.getPoints(QelFloatRect(500, 0, 600, 0), count);  // after it
  EXPECT_EQ(xs(slice, count), (std::vector<float>{90}));
  slice = data.getPoints(QelFloatRect(kNaN, 0, kNaN, 0), count);  // unordered bounds stop scans
  EXPECT_EQ(count, 10u);

  // Unordered data is not sorted: the slice is what the scans leave.
  std::vector<QelFloatPoint> unordered = {{50, 0}, {0, 0}, {30, 0}, {10, 0}, {90, 0}};
  QelChartDataPoints mixed(unordered.size(), unordered.data(), 0);
  slice = mixed.getPoints(QelFloatRect(20, 0, 40, 0), count);
  EXPECT_EQ(xs(slice, count), (std::vector<float>{50, 0, 30, 10, 90}));

  QelChartDataPoints empty(0, nullptr, 0);
  empty.getPoints(QelFloatRect(0, 0, 1, 1), count);
  EXPECT_EQ(count, 0u);
}

TEST(ChartDataTest, IndexedSliceHoldsAnyRectangleToTheData) {
  std::vector<float> values(100);
  for (size_t i = 0; i < values.size(); ++i) values[i] = float(i % 7);
  QelChartDataYPoints data(values.size(), values.data(), 0);
  unsigned long count = 0;
  const QelFloatPoint* slice = data.getPoints(QelFloatRect(10.5f, 0, 12.2f, 0), count);
  EXPECT_EQ(xs(slice, count), (std::vector<float>{9, 10, 11, 12, 13}));
  for (QelFloatRect rect : {QelFloatRect(-kInf, 0, kInf, 0), QelFloatRect(kNaN, 0, kNaN, 0),
                            QelFloatRect(-1e30f, 0, 1e30f, 0)}) {
    data.getPoints(rect, count);
    EXPECT_EQ(count, 100u);
  }
  data.getPoints(QelFloatRect(500, 0, 600, 0), count);
  EXPECT_EQ(count, 1u);  // the last point, as the neighbour of the range
  data.getPoints(QelFloatRect(-600, 0, -500, 0), count);
  EXPECT_EQ(count, 0u);
  QelChartDataYPoints empty(0, nullptr, 0);
  EXPECT_NE(empty.getPoints(QelFloatRect(0, 0, 1, 1), count), nullptr);
  EXPECT_EQ(count, 0u);
}

TEST(ChartDataTest, SettingPointsKeepsTheBoxCurrentAndReadOnlyDataIgnoresIt) {
  QelChartDataPoints points(3, nullptr, 0);  // made here, owned here
  EXPECT_EQ(points.ownsValues(), 1);
  points.setPoint(0, {1, 1});
  points.setPoint(1, {2, 8});
  points.setPoint(2, {3, -4});
  points.setPoint(3, {100, 100});  // beyond the set: ignored
  QelFloatRect box;
  points.boundingBox(box);
  EXPECT_EQ(box.minx, 1);
  EXPECT_EQ(box.maxx, 3);
  EXPECT_EQ(box.miny, -4);
  EXPECT_EQ(box.maxy, 8);
  points.setPoint(1, {2, 0});
  points.boundingBox(box);
  EXPECT_EQ(box.maxy, 1);

  QelChartDataYPoints ys(2, nullptr, 0);
  ys.setPoint(1, {55, 9});  // x is the index: ignored
  QelFloatPoint p;
  ys.getPoint(1, p);
  EXPECT_EQ(p, QelFloatPoint(1, 9));

  QelChartDataFunction function(0, 1, 2, [](float x) { return x + 1; });
  EXPECT_EQ(function.isReadOnly(), 1);
  function.setPoint(0, {5, 5});
  function.getPoint(0, p);
  EXPECT_EQ(p, QelFloatPoint(0, 1));
}

TEST(ChartDataTest, LocksPointInfosAndCopies) {
  auto* data = new QelChartDataYPoints(4, nullptr, 0);
  data->lock();
  data->lock();
  data->unLock();
  EXPECT_EQ(data->getLockCount(), 1u);

  auto* first = new QelChartPointInfo(nullptr, 2, QelPoint(3, 4));
  auto* second = new QelChartPointInfo(nullptr, 2);
  data->addPointInfo(first);
  data->addPointInfo(second);
  data->addPointInfo(new QelChartPointInfo(nullptr, 3));
  EXPECT_EQ(data->getPointInfo(2), first);
  EXPECT_EQ(data->getPointInfo(0), nullptr);
  data->removePointInfo(2, 0);  // left to the caller
  EXPECT_EQ(data->getPointInfo(2), second);
  delete first;
  data->removePointInfo(9, 1);  // nothing there
  unsigned long count = 0;
  data->getAllPointInfo(count);
  EXPECT_EQ(count, 2u);

  std::unique_ptr<QelChartData> copy(data->copy());
  data->setPoint(0, {0, 42});
  QelFloatPoint p;
  copy->getPoint(0, p);
  EXPECT_EQ(p.y, 0);  // the copy has its own values
  EXPECT_EQ(copy->getLockCount(), 0u);
  copy->getAllPointInfo(count);
  EXPECT_EQ(count, 2u);
  EXPECT_NE(copy->getPointInfo(2), second);
  data->unLock();  // deletes the set and its infos
}

TEST(ChartDataTest, ScratchBuffersRefuseImpossibleRequests) {
  EXPECT_NE(QelAllocFloatPoints(10), nullptr);
  QelPoint* points = QelAllocPoints(10);
  ASSERT_NE(points, nullptr);
  EXPECT_EQ(QelAllocPoints(12), points);  // the first allocation had room for two more
  EXPECT_EQ(QelAllocPoints(std::numeric_limits<size_t>::max()), nullptr);
  EXPECT_EQ(QelAllocInternalPoints(std::numeric_limits<size_t>::max() / 2), nullptr);
  EXPECT_NE(QelAllocPoints(1000), nullptr);  // still usable
  // Counts beyond 32 bits make an empty set, not a wrapped one.
  QelChartDataPoints huge(std::numeric_limits<unsigned long>::max(), nullptr, 1);
  EXPECT_EQ(huge.getCount(), 0u);
}

class ChartDataFileTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelRectangleModuleInit();
    QelChartDataModuleInit();
  }
  // Writes the set as a chart record would and reads it back through the registry.
  QelChartData* roundTrip(const QelChartData& data, std::string* text = nullptr) {
    std::stringstream stream;
    {
      QelOutputFile out(stream);
      stream << data.getClassInfo()->getClassName() << ' ';
      data.write(out);
    }
    if (text) *text = stream.str();
    QelInputFile in(stream);
    std::string name;
    in.readToken(name);
    auto* info = dynamic_cast<QelChartDataClassInfo*>(QelClassInfo::Get(name.c_str()));
    return info && info->getReader() ? info->getReader()(in) : nullptr;
  }
};

TEST_F(ChartDataFileTest, EveryKindRoundTripsWithItsPointInfos) {
  QelFloatPoint values[] = {{0.5f, -1}, {1.25f, 3}, {2, 1e-7f}};
  QelChartDataPoints points(3, values, 0);
  points.addPointInfo(
      new QelChartPointInfo(new QelFilledRectangle(display, QelRect(1, 2, 3, 4)), 1, {5, -6}));
  points.addPointInfo(new QelChartPointInfo(nullptr, 2));  // written as an empty entry
  std::string text;
  std::unique_ptr<QelChartData> read(roundTrip(points, &text));
  ASSERT_NE(read, nullptr) << text;
  ASSERT_EQ(read->getCount(), 3u);
  for (unsigned long i = 0; i < 3; ++i) {
    QelFloatPoint p;
    read->getPoint(i, p);
    EXPECT_EQ(p, values[i]);
  }
  unsigned long infos = 0;
  read->getAllPointInfo(infos);
  ASSERT_EQ(infos, 1u);
  QelChartPointInfo* info = read->getPointInfo(1);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->getOffset(), QelPoint(5, -6));
  QelRect box;
  info->getGraphic()->boundingBox(box);
  EXPECT_EQ(box, QelRect(1, 2, 3, 4));

  float ys[] = {4, 5, 6, 7};
  std::unique_ptr<QelChartData> yRead(roundTrip(QelChartDataYPoints(4, ys, 0)));
  ASSERT_NE(yRead, nullptr);
  QelFloatRect bbox;
  yRead->boundingBox(bbox);
  EXPECT_EQ(bbox.maxx, 3);
  EXPECT_EQ(bbox.maxy, 7);

  // The function is not in the file: the values written stand in for it.
  std::unique_ptr<QelChartData> fRead(
      roundTrip(QelChartDataFunction(1, 3, 3, [](float x) { return 2 * x; })));
  ASSERT_NE(fRead, nullptr);
  QelFloatPoint p;
  fRead->getPoint(2, p);
  EXPECT_EQ(p, QelFloatPoint(3, 6));
}

TEST_F(ChartDataFileTest, NonFiniteValuesStayOutOfBoxesWhereverTheyStandAndReadBack) {
  // NaN first, in the middle or last, and infinities: the box is that of the finite values.
  for (const std::vector<float>& values :
       {std::vector<float>{kNaN, 1, 5}, {1, kNaN, 5}, {1, 5, kNaN}, {kInf, 1, -kInf, 5}}) {
    std::vector<float> copy = values;
    QelChartDataYPoints ys(copy.size(), copy.data(), 0);
    QelFloatRect box;
    ys.boundingBox(box);
    EXPECT_EQ(box.miny, 1);
    EXPECT_EQ(box.maxy, 5);

    std::vector<QelFloatPoint> pairs;
    for (size_t i = 0; i < values.size(); ++i) pairs.push_back({values[i], float(i)});
    QelChartDataPoints points(pairs.size(), pairs.data(), 0);
    points.boundingBox(box);
    EXPECT_EQ(box, QelFloatRect(1, 0, 5, float(values.size() - 1)));

    // What the library writes, it reads: NaN and the infinities included.
    std::string text;
    std::unique_ptr<QelChartData> read(roundTrip(ys, &text));
    ASSERT_NE(read, nullptr) << text;
    for (unsigned long i = 0; i < values.size(); ++i) {
      QelFloatPoint p;
      read->getPoint(i, p);
      if (std::isnan(values[i]))
        EXPECT_TRUE(std::isnan(p.y)) << text;
      else
        EXPECT_EQ(p.y, values[i]) << text;
    }
  }
  // All of them non-finite: the empty range.
  float none[] = {kNaN, kInf};
  QelChartDataYPoints empty(2, none, 0);
  QelFloatRect box;
  empty.boundingBox(box);
  EXPECT_EQ(box, QelFloatRect(0, 0, 1, 0));
}

TEST_F(ChartDataFileTest, MalformedValuesReadNothing) {
  for (const char* text : {"QelChartDataPoints 3\n 1 2 3", "QelChartDataYPoints -2\n",
                           "QelChartDataYPoints 4000000000\n 1 2", "QelChartDataYPoints 2\n 1 2x",
                           "QelChartDataYPoints 1\n 1e999",
                           "QelChartDataPoints 1\n 1 2 I 1 0 -1 QelNoSuchClass 1 2 3 4 0 0"}) {
    std::stringstream stream(text);
    QelInputFile in(stream);
    std::string name;
    in.readToken(name);
    auto* info = dynamic_cast<QelChartDataClassInfo*>(QelClassInfo::Get(name.c_str()));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getReader()(in), nullptr) << text;
  }
}

}  // namespace
}  // namespace kestrel::test
