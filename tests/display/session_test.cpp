#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "display/dump_device.h"
#include "graphics/region.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

class SessionTest : public DisplayTest {
 protected:
  QelPalette* palette() const { return display->defaultPalette(); }
};

TEST_F(SessionTest, SecondCloseDrawingIsFatalAndChangesNothing) {
  QelPort* port = windowPort(10, 10);
  QelRegion clip(QelRect(0, 0, 5, 5));
  display->openDrawing(port, &clip);
  EXPECT_EQ(display->getDrawingPort(), port);
  EXPECT_EQ(display->getDrawingClip(), &clip);
  // An operation inside a session leaves it open.
  display->drawLine(port, palette(), QelPoint(0, 0), QelPoint(9, 9));
  EXPECT_EQ(display->getDrawingPort(), port);
  EXPECT_EQ(display->getDrawingClip(), &clip);
  display->closeDrawing();
  EXPECT_EQ(display->getDrawingPort(), nullptr);
  EXPECT_EQ(display->getDrawingClip(), nullptr);
  {
    CapturedMessages messages;
    display->closeDrawing();
    EXPECT_EQ(messages.fatals(),
              std::vector<std::string>{"QelDisplay::closeDrawing called twice without open!"});
    EXPECT_TRUE(messages.warnings().empty());
  }
  EXPECT_EQ(display->getDrawingPort(), nullptr);
  // An operation outside a session opens its own and closes it again.
  display->fillRectangle(port, palette(), QelRect(0, 0, 3, 3));
  EXPECT_EQ(display->getDrawingPort(), nullptr);
}

// Notes each call it is handed with its arguments, and the port of the session it came in.
class Recorder : public QelDumpDevice {
 public:
  explicit Recorder(const QelDisplay* display) : _display(display) {}
  void fillRectangle(QelPort*, const QelPalette*, const QelRect& r) override {
    note("fillRectangle", {r.x, r.y, int(r.w), int(r.h)});
  }
  void drawPolyLine(QelPort*, const QelPalette*, const QelPoint& start, uint32_t count,
                    const QelPoint* d) override {
    note("drawPolyLine relative", {start.x, start.y, int(count), d[0].x, d[0].y});
  }
  void fillPolyLine(QelPort*, const QelPalette*, const QelPoint& start, uint32_t count,
                    const QelPoint* d, int convex) override {
    note("fillPolyLine relative", {start.x, start.y, int(count), d[0].x, d[0].y, convex});
  }
  void clearArea(QelPort*, const QelRect& r, int reDraw) override {
    note("clearArea", {r.x, r.y, int(r.w), int(r.h), reDraw});
  }
  void clearArea(QelPort*, const QelRegion& region, int reDraw) override {
    note("clearArea region", {int(region.getCount()), reDraw});
  }
  void drawShadowRectangle(QelPort*, const QelPalette*, const QelPalette*, const QelRect& r,
                           uint16_t t) override {
    note("drawShadowRectangle", {r.x, r.y, int(r.w), int(r.h), t});
  }
  void drawReliefRectangle(QelPort*, const QelPalette*, const QelPalette*, const QelPalette*,
                           const QelRect& r, uint16_t t) override {
    note("drawReliefRectangle", {r.x, r.y, int(r.w), int(r.h), t});
  }
  void drawReliefPolyline(QelPort*, const QelPalette*, const QelPalette*, uint32_t count,
                          const QelPoint*, uint16_t t) override {
    note("drawReliefPolyline", {int(count), t});
  }
  void drawLabel(QelPort*, const QelPalette*, const char* label, const QelRect&,
                 unsigned int position) override {
    note("drawLabel", {int(std::string(label).size()), int(position)});
  }
  void drawMarker(QelPort*, const QelPalette*, const QelPoint& p, unsigned int type,
                  uint16_t size) override {
    note("drawMarker", {p.x, p.y, int(type), size});
  }
  void drawArrow(QelPort*, const QelPalette*, const QelRect& r, unsigned int direction) override {
    note("drawArrow", {r.x, r.y, int(direction)});
  }
  void setClip(const QelPalette*, const QelRect* r) override {
    note("setClip rect", {r ? r->x : -1, r ? int(r->w) : -1});
  }
  void setClip(const QelPalette*, const QelRegion* region) override {
    note("setClip region", {region ? int(region->getCount()) : -1});
  }
  void setClip(const QelPalette*, int32_t x, int32_t y, const QelBitmap* mask) override {
    note("setClip mask", {x, y, mask ? 1 : 0});
  }
  std::vector<std::string> calls;
  std::vector<QelPort*> sessions;

 private:
  void note(const char* name, std::initializer_list<int> values) {
    std::string call = name;
    for (int v : values) call += " " + std::to_string(v);
    calls.push_back(call);
    sessions.push_back(_display->getDrawingPort());
  }
  const QelDisplay* _display;
};

TEST_F(SessionTest, DumpDeviceReceivesEveryOperationAsCalledAndNothingIsDrawn) {
  QelPort* port = windowPort(30, 30);
  Recorder recorder(display);
  QelPalette* p = palette();
  display->setDumpDevice(&recorder);
  display->fillRectangle(port, p, QelRect(0, 0, 30, 30));
  QelPoint deltas[] = {{1, 1}, {9, 1}};
  display->drawPolyLine(port, p, QelPoint(5, 6), 2, deltas);
  display->fillPolyLine(port, p, QelPoint(5, 6), 2, deltas, 1);
  display->clearArea(port, QelRect(1, 1, 5, 5), 1);
  QelRegion region(QelRect(0, 0, 5, 5));
  region.add(QelRect(10, 10, 5, 5));
  display->clearArea(port, region, 0);
  display->drawShadowRectangle(port, p, p, QelRect(2, 3, 20, 10), 2);
  display->drawReliefRectangle(port, p, p, p, QelRect(2, 3, 20, 10), 3);
  display->drawReliefPolyline(port, p, p, 2, deltas, 2);
  display->drawLabel(port, p, "a\nbc", QelRect(0, 0, 30, 30), QelLeft);
  display->drawMarker(port, p, QelPoint(10, 10), 1023, 3);
  display->drawArrow(port, p, QelRect(4, 5, 10, 10), QelRight);
  const QelRect clipRect(3, 3, 8, 8);
  display->setClip(p, &clipRect);
  display->setClip(p, &region);
  display->setClip(p, 4, 5, display->defaultBitmap());
  display->setDumpDevice(nullptr);
  EXPECT_EQ(recorder.calls,
            (std::vector<std::string>{
                "fillRectangle 0 0 30 30", "drawPolyLine relative 5 6 2 1 1",
                "fillPolyLine relative 5 6 2 1 1 1", "clearArea 1 1 5 5 1", "clearArea region 2 0",
                "drawShadowRectangle 2 3 20 10 2", "drawReliefRectangle 2 3 20 10 3",
                "drawReliefPolyline 2 2", "drawLabel 4 1", "drawMarker 10 10 1023 3",
                "drawArrow 4 5 2", "setClip rect 3 8", "setClip region 2", "setClip mask 4 5 1"}));
  // The palette's graphics context is left as it was, and the window untouched.
  EXPECT_FALSE(p->hasClip());
  Image image = read(port);
  EXPECT_EQ(image.count(0xffffff), size_t(30 * 30));
}

}  // namespace
}  // namespace kestrel::test
