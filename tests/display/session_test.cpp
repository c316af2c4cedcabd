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

// Notes each call it is handed, and the port of the session it came in.
class Recorder : public QelDumpDevice {
 public:
  explicit Recorder(const QelDisplay* display) : _display(display) {}
  void drawLine(QelPort*, const QelPalette*, const QelPoint& a, const QelPoint& b) override {
    note("drawLine", {a.x, a.y, b.x, b.y});
  }
  void drawPolyLine(QelPort*, const QelPalette*, uint32_t count, const QelPoint* p) override {
    note("drawPolyLine", {int(count), p[0].x, p[0].y});
  }
  void fillPolyLine(QelPort*, const QelPalette*, uint32_t count, const QelPoint* p,
                    int convex) override {
    note("fillPolyLine", {int(count), p[0].x, p[0].y, convex});
  }
  void drawRectangle(QelPort*, const QelPalette*, const QelRect& r) override {
    note("drawRectangle", {r.x, r.y, int(r.w), int(r.h)});
  }
  void fillRectangle(QelPort*, const QelPalette*, const QelRect& r) override {
    note("fillRectangle", {r.x, r.y, int(r.w), int(r.h)});
  }
  void drawArc(QelPort*, const QelPalette*, const QelRect& r, float a, float d) override {
    note("drawArc", {r.x, r.y, int(r.w), int(r.h), int(a), int(d)});
  }
  void fillArc(QelPort*, const QelPalette*, const QelRect& r, float a, float d) override {
    note("fillArc", {r.x, r.y, int(r.w), int(r.h), int(a), int(d)});
  }
  void clearArea(QelPort*, const QelRect& r) override {
    note("clearArea", {r.x, r.y, int(r.w), int(r.h)});
  }
  void setClip(const QelPalette*, const QelRegion* region) override {
    note("setClip", {region ? int(region->getCount()) : -1});
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

TEST_F(SessionTest, MarkerDrawsAllFiguresInTableOrderInOneSession) {
  QelPort* port = windowPort(20, 20);
  Recorder recorder(display);
  display->setDumpDevice(&recorder);
  display->drawMarker(port, palette(), QelPoint(10, 10), 1023, 3);
  display->setDumpDevice(nullptr);
  EXPECT_EQ(recorder.calls,
            (std::vector<std::string>{
                "fillRectangle 7 7 6 6", "fillPolyLine 5 7 10 1", "fillPolyLine 3 7 13 1",
                "drawPolyLine 4 7 13", "drawPolyLine 5 7 10", "drawArc 7 7 6 6 0 360",
                "fillArc 7 7 6 6 0 360", "drawLine 7 7 13 13", "drawLine 7 13 13 7",
                "drawLine 7 10 13 10", "drawLine 10 7 10 13", "drawRectangle 7 7 6 6"}));
  EXPECT_EQ(recorder.sessions, std::vector<QelPort*>(12, port));
  EXPECT_EQ(display->getDrawingPort(), nullptr);
}

TEST_F(SessionTest, DumpDeviceReceivesEveryOperationAndNothingIsDrawn) {
  QelPort* port = windowPort(30, 30);
  Recorder recorder(display);
  display->setDumpDevice(&recorder);
  display->fillRectangle(port, palette(), QelRect(0, 0, 30, 30));
  QelPoint points[] = {{1, 1}, {9, 1}};
  // The relative form reaches the device as absolute points.
  display->drawPolyLine(port, palette(), QelPoint(5, 6), 2, points);
  display->clearArea(port, QelRect(1, 1, 5, 5), 1);
  QelRegion region(QelRect(0, 0, 5, 5));
  display->setClip(palette(), &region);
  display->setDumpDevice(nullptr);
  EXPECT_EQ(recorder.calls,
            (std::vector<std::string>{"fillRectangle 0 0 30 30", "drawPolyLine 3 5 6",
                                      "clearArea 1 1 5 5", "setClip 1"}));
  EXPECT_FALSE(palette()->hasClip());
  Image image = read(port);
  EXPECT_EQ(image.count(0xffffff), size_t(30 * 30));
}

}  // namespace
}  // namespace kestrel::test
