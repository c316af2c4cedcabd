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

// Notes each call it is handed with its arguments.
class Recorder : public QelDumpDevice {
 public:
  void fillRectangle(QelPort*, const QelPalette*, const QelRect& r) override {
    note("fillRectangle", {r.x, r.y, int(r.w), int(r.h)});
  }
  void drawPolyLine(QelPort*, const QelPalette*, const QelPoint& start, uint32_t count,
                    const QelPoint* d) override {
    note("drawPolyLine relative", {start.x, start.y, int(count), d[0].x, d[0].y});
  }
  void clearArea(QelPort*, const QelRegion& region, int reDraw) override {
    note("clearArea region", {int(region.getCount()), reDraw});
  }
  void drawLabel(QelPort*, const QelPalette*, const char* label, const QelRect&,
                 unsigned int position) override {
    note("drawLabel", {int(std::string(label).size()), int(position)});
  }
  void setClip(const QelPalette*, const QelRegion* region) override {
    note("setClip region", {region ? int(region->getCount()) : -1});
  }
  std::vector<std::string> calls;

 private:
  void note(const char* name, std::initializer_list<int> values) {
    std::string call = name;
    for (int v : values) call += " " + std::to_string(v);
    calls.push_back(call);
  }
};

TEST_F(SessionTest, DumpDeviceReceivesEveryOperationAsCalledAndNothingIsDrawn) {
  QelPort* port = windowPort(30, 30);
  Recorder recorder;
  QelPalette* p = palette();
  display->setDumpDevice(&recorder);
  display->fillRectangle(port, p, QelRect(0, 0, 30, 30));
  QelPoint deltas[] = {{1, 1}, {9, 1}};
  display->drawPolyLine(port, p, QelPoint(5, 6), 2, deltas);
  QelRegion region(QelRect(0, 0, 5, 5));
  region.add(QelRect(10, 10, 5, 5));
  display->clearArea(port, region, 0);
  display->drawLabel(port, p, "a\nbc", QelRect(0, 0, 30, 30), QelLeft);
  display->setClip(p, &region);
  display->setDumpDevice(nullptr);
  EXPECT_EQ(recorder.calls, (std::vector<std::string>{
                                "fillRectangle 0 0 30 30", "drawPolyLine relative 5 6 2 1 1",
                                "clearArea region 2 0", "drawLabel 4 1", "setClip region 2"}));
  // The palette's graphics context is left as it was, and the window untouched.
  EXPECT_FALSE(p->hasClip());
  EXPECT_EQ(read(port).count(0xffffff), size_t(30 * 30));
}

}  // namespace
}  // namespace kestrel::test
