#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "charts/chart.h"
#include "charts/marker.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlue = 0x0000ff;

class ChartMarkerTest : public DisplayTest {
 protected:
  void SetUp() override { QelChartModuleInit(); }
  QelPalette* palette(const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  }
};

TEST_F(ChartMarkerTest, FiguresCentreOnThePointInsideTheBox) {
  const unsigned types[] = {
      QelMarkerPlus,     QelMarkerCross,         QelMarkerDiamond,
      QelMarkerTriangle, QelMarkerFilledDiamond, QelMarkerCircle,
      QelMarkerSquare,   QelMarkerFilledSquare,  QelMarkerPlus | QelMarkerSquare};
  for (unsigned type : types) {
    QelMarker marker(display, QelPoint(20, 20), type, 5, palette("blue"));
    QelPort* port = windowPort(40, 40);
    marker.draw(port, nullptr, nullptr);
    QelRect drawn = extentOf(read(port), kBlue);
    QelRect box;
    marker.boundingBox(box);
    EXPECT_EQ(box, QelRect(15, 15, 11, 11));
    EXPECT_FALSE(drawn.isEmpty()) << type;
    EXPECT_TRUE(box.contains(drawn)) << type;
    // Centred within half a pixel: the 2s boxes of the square and circle, and the filled
    // figures' far edges, are a pixel short on the right or bottom.
    EXPECT_LE(std::abs(2 * 20 - (drawn.x + drawn.right64() - 1)), 1) << type;
    EXPECT_LE(std::abs(2 * 20 - (drawn.y + drawn.bottom64() - 1)), 1) << type;
    EXPECT_GE(drawn.w, 10u) << type;
  }
  // The plus is exactly centred.
  QelMarker plus(display, QelPoint(20, 20), QelMarkerPlus, 5, palette("blue"));
  QelPort* port = windowPort(40, 40);
  QelTransformer shift(QelPoint(7, -3));
  plus.draw(port, &shift, nullptr);
  Image image = read(port);
  EXPECT_EQ(extentOf(image, kBlue), QelRect(22, 12, 11, 11));
  EXPECT_EQ(image.at(27, 17), kBlue);
  EXPECT_EQ(image.count(kBlue), 21u);
}

TEST_F(ChartMarkerTest, HitTestMoveAndTransformFollowThePoint) {
  QelMarker marker(display, QelPoint(50, 40), QelMarkerCircle, 3);
  EXPECT_TRUE(marker.contains({}, QelPoint(53, 43), nullptr));
  EXPECT_TRUE(marker.contains({}, QelPoint(47, 37), nullptr));
  EXPECT_FALSE(marker.contains({}, QelPoint(54, 40), nullptr));
  EXPECT_FALSE(marker.contains({}, QelPoint(50, 36), nullptr));
  QelTransformer zoom(2.0, 2.0);
  QelRect box;
  marker.boundingBox(box, &zoom);
  EXPECT_EQ(box, QelRect(97, 77, 7, 7));  // the size stays in pixels
  EXPECT_TRUE(marker.contains({}, QelPoint(100, 80), &zoom));

  // Like every graphic's, move puts the box's corner at (x, y): the point lands size further.
  marker.move(10, 12);
  EXPECT_EQ(marker.getPoint(), QelPoint(13, 15));
  marker.translate(5, -2);
  EXPECT_EQ(marker.getPoint(), QelPoint(18, 13));
  marker.applyTransform(&zoom);
  EXPECT_EQ(marker.getPoint(), QelPoint(36, 26));
  EXPECT_EQ(marker.getSize(), 3u);

  // Far out, the box saturates instead of wrapping.
  QelMarker far(display, QelPoint(INT32_MAX, INT32_MIN), QelMarkerSquare, 65535);
  far.boundingBox(box);
  EXPECT_EQ(box.x, INT32_MAX - 65535);
  EXPECT_EQ(box.y, INT32_MIN);
  EXPECT_EQ(box.w, 131071u);
  QelPort* port = windowPort(20, 20);
  far.draw(port, nullptr, nullptr);
  EXPECT_EQ(read(port).count(kWhite), 400u);
}

TEST_F(ChartMarkerTest, JobMarkerWithOffsetMinusFourIsCentredOnItsDataPoint) {
  // A filled diamond of size 4 offset by -(4 / 2 + 2): the box's corner goes 4 pixels up and
  // left of the point, which puts the diamond's centre on it.
  auto* data = new QelChartDataYPoints(3, nullptr, 1);
  for (unsigned long i = 0; i < 3; ++i) data->setPoint(i, QelFloatPoint(0, float(i)));
  data->addPointInfo(new QelChartPointInfo(
      new QelMarker(display, QelPoint(), QelMarkerFilledDiamond, 4, palette("blue")), 1,
      QelPoint(-4, -4)));
  // Point 1 at (30, 40).
  QelPolylineChart chart(display, data, QelPoint(10, 50), 20, 10, palette("red"));
  QelPort* port = windowPort(80, 80);
  chart.draw(port, nullptr, nullptr);
  Image image = read(port);
  // The polygon (26, 40) (30, 36) (34, 40) (30, 44) as X fills it: far edges left out.
  EXPECT_EQ(extentOf(image, kBlue), QelRect(26, 37, 8, 7));
  EXPECT_EQ(image.at(30, 40), kBlue);

  // Zoomed, the data point moves and the marker keeps its pixel size around it.
  QelTransformer zoom(2.0, 2.0);
  port = windowPort(160, 160);
  chart.draw(port, &zoom, nullptr);
  image = read(port);
  EXPECT_EQ(extentOf(image, kBlue), QelRect(56, 77, 8, 7));
  EXPECT_EQ(image.at(60, 80), kBlue);
}

TEST_F(ChartMarkerTest, MarkersRoundTripThroughDataFiles) {
  auto* data = new QelChartDataYPoints(2, nullptr, 1);
  data->addPointInfo(new QelChartPointInfo(
      new QelMarker(display, QelPoint(), QelMarkerFilledTriangle, 9, palette("blue")), 1,
      QelPoint(0, -4)));
  std::unique_ptr<QelGraphic> chart(new QelPolylineChart(display, data, QelPoint(0, 20), 1, 1));
  std::unique_ptr<QelGraphic> marker(
      new QelMarker(display, QelPoint(-70000, 12), QelMarkerCross | QelMarkerCircle, 300));
  QelGraphic* graphics[] = {marker.get(), chart.get()};
  std::stringstream file;
  ASSERT_TRUE(QelSaveGraphics(file, 2, graphics));
  const std::string text = file.str();
  std::vector<QelGraphic*> loaded = QelLoadGraphics(file, display);
  ASSERT_EQ(loaded.size(), 2u) << text;
  std::unique_ptr<QelGraphic> first(loaded[0]), second(loaded[1]);
  auto* read = dynamic_cast<QelMarker*>(first.get());
  ASSERT_NE(read, nullptr);
  EXPECT_STREQ(read->getClassInfo()->getClassName(), "QelMarker");
  EXPECT_EQ(read->getPoint(), QelPoint(-70000, 12));
  EXPECT_EQ(read->getType(), unsigned(QelMarkerCross | QelMarkerCircle));
  EXPECT_EQ(read->getSize(), 300u);
  auto* polyline = dynamic_cast<QelPolylineChart*>(second.get());
  ASSERT_NE(polyline, nullptr);
  QelChartPointInfo* info = polyline->getData()->getPointInfo(1);
  ASSERT_NE(info, nullptr);
  auto* decoration = dynamic_cast<QelMarker*>(info->getGraphic());
  ASSERT_NE(decoration, nullptr);
  EXPECT_EQ(decoration->getType(), unsigned(QelMarkerFilledTriangle));
  EXPECT_EQ(decoration->getSize(), 9u);
  EXPECT_EQ(decoration->getPalette(), palette("blue"));
  EXPECT_EQ(info->getOffset(), QelPoint(0, -4));

  // Unknown figures, sizes beyond 16 bits and missing fields are refused.
  for (const char* bad : {"-70000 12 4096 300", "-70000 12 12 65536", "-70000 12 12", "a b c d"}) {
    std::string broken = text;
    broken.replace(broken.find("-70000 12 12 300"), 16, bad);
    std::stringstream in(broken);
    CapturedMessages messages;
    std::vector<QelGraphic*> result = QelLoadGraphics(in, display);
    EXPECT_TRUE(result.empty()) << bad;
    for (QelGraphic* g : result) delete g;
  }
}

}  // namespace
}  // namespace kestrel::test
