// What the chart tests share: data sets made from values, palettes by colour name, and a graphic
// drawn into a new window and read back.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "charts/chart.h"
#include "display/color.h"
#include "display/palette.h"
#include "graphics/rectangle.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0, kRed = 0xff0000, kGreen = 0x00ff00,
                   kBlue = 0x0000ff;

class ChartFixture : public DisplayTest {
 protected:
  void SetUp() override {
    QelChartModuleInit();
    QelRectangleModuleInit();
  }
  // A y-points set of `values`, owned by the set.
  static QelChartDataYPoints* series(const std::vector<float>& values) {
    auto* data = new QelChartDataYPoints(values.size(), nullptr, 1);
    for (size_t i = 0; i < values.size(); ++i) data->setPoint(i, QelFloatPoint(0, values[i]));
    return data;
  }
  // A set of (x, y) points, owned by the set.
  static QelChartDataPoints* points(const std::vector<QelFloatPoint>& values) {
    auto* data = new QelChartDataPoints(values.size(), nullptr, 1);
    for (size_t i = 0; i < values.size(); ++i) data->setPoint(i, values[i]);
    return data;
  }
  QelPalette* palette(const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  }
  // The graphic's hit test at each point, in order: "1" where it holds, "0" where not.
  static std::string hits(const QelGraphic& graphic, std::initializer_list<QelPoint> points,
                          const QelTransformer* t = nullptr) {
    std::string result;
    for (const QelPoint& p : points) result += graphic.contains({}, p, t) ? '1' : '0';
    return result;
  }
  static QelRect box(const QelGraphic& graphic, const QelTransformer* t = nullptr) {
    QelRect rect;
    graphic.boundingBox(rect, t);
    return rect;
  }
  // A white image of that size with the rectangles painted in `colour`.
  static Image painted(int w, int h, uint32_t colour, std::initializer_list<QelRect> rects) {
    Image image(w, h, kWhite);
    for (const QelRect& r : rects) image.fillRect(r.x, r.y, int(r.w), int(r.h), colour);
    return image;
  }
  Image drawn(const QelGraphic& graphic, int w, int h, const QelRegion* clip = nullptr,
              const QelTransformer* t = nullptr) {
    QelPort* port = windowPort(w, h);
    graphic.draw(port, t, clip);
    return read(port);
  }
};

}  // namespace kestrel::test
