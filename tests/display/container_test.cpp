#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "display/container.h"
#include "display/palette.h"
#include "graphics/rectangle.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kRed = 0xff0000, kGreen = 0x00ff00;

// Keeps every event it is given but keys, as (object, type), and consumes them.
using Call = std::pair<QelGraphic*, int>;
class RecordingInteractor : public QelViewObjectInteractor {
 public:
  int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer*, QelTransformer*) override {
    if (event.type != QelKeyDown && event.type != QelKeyUp) calls.push_back({obj, event.type});
    return 1;
  }
  std::vector<Call> calls;
};

// Remembers the regions it is asked to erase.
class TestContainer : public QelContainer {
 public:
  using QelContainer::QelContainer;
  void eraseRegion(const QelRegion& region) override {
    erased.push_back(region.getBBox());
    QelContainer::eraseRegion(region);
  }
  std::vector<QelRect> erased;
};

class ContainerTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelRectangleModuleInit();
    // Clicks here are separate presses, however quickly XTest makes them.
    QelSetDoubleClickPeriod(0);
    host = std::make_unique<MotifHost>(xDisplay, 40, 30, 300, 200);
    container = new TestContainer(display, host->board(), QelRect(0, 0, 300, 200));
    a = new QelFilledRectangle(display, QelRect(20, 20, 60, 40), palette("red"));
    b = new QelFilledRectangle(display, QelRect(150, 100, 60, 40), palette("blue"));
    container->addObject("A", a, 0);
    container->addObject("B", b, 0);
    container->setObjectInteractor(a, &interactor);
    container->setObjectInteractor(b, &interactor);
    ASSERT_TRUE(host->realize());
    ASSERT_TRUE(host->pumpUntil([&] { return screen().at(30, 30) == kRed; }));
    background = screen().at(290, 10);
  }
  void TearDown() override {
    QelSetDoubleClickPeriod(250);
    delete container;
    host.reset();
    DisplayTest::TearDown();
  }

  QelPalette* palette(const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  }
  Image screen() {
    XSync(xDisplay, False);
    return readWindow(xDisplay, container->getSystemView(), 0, 0, 300, 200);
  }
  void clickAt(int x, int y) {
    host->moveTo(container->getWidget(), x, y);
    host->click(1);
  }

  std::unique_ptr<MotifHost> host;
  TestContainer* container = nullptr;
  QelFilledRectangle *a = nullptr, *b = nullptr;
  RecordingInteractor interactor;
  uint32_t background = 0;
};

TEST_F(ContainerTest, PressDragAndReleaseElsewhereAllReachThePressedObject) {
  host->moveTo(container->getWidget(), 30, 30);
  host->button(1, true);
  host->moveTo(container->getWidget(), 120, 80);   // empty space
  host->moveTo(container->getWidget(), 160, 110);  // over B
  host->button(1, false);
  ASSERT_TRUE(host->pumpUntil(
      [&] { return !interactor.calls.empty() && interactor.calls.back().second == QelButtonUp; }));
  EXPECT_EQ(interactor.calls.front(), (Call{a, QelButtonDown}));
  for (const Call& call : interactor.calls) EXPECT_EQ(call.first, a) << call.second;
  EXPECT_EQ(container->getPressedObject(), a);  // kept after the release

  // An object deleted while it is held leaves no dangling entry: events meet only what is left.
  delete a;
  a = nullptr;
  EXPECT_EQ(container->getPressedObject(), nullptr);
  EXPECT_EQ(container->getObjects(), std::vector<QelGraphic*>{b});
  interactor.calls.clear();
  clickAt(30, 30);
  clickAt(160, 110);
  container->reDraw();
  ASSERT_TRUE(host->pumpUntil([&] { return interactor.calls.size() >= 2; }));
  for (const Call& call : interactor.calls) EXPECT_EQ(call.first, b);
}

TEST_F(ContainerTest, ReDrawObjRepaintsTheObjectBoxAndATwoPixelMargin) {
  for (int on : {0, 1}) {
    ASSERT_EQ(container->setDoubleBuffering(on), 1);
    host->settle();
    // Green straight into the window, behind the container's back; beyond the margin it stays.
    display->fillRectangle(container, palette("green"), QelRect(10, 10, 80, 60));
    container->erased.clear();
    container->reDrawObj(a);
    EXPECT_EQ(container->erased, std::vector<QelRect>{QelRect(18, 18, 64, 44)});
    EXPECT_TRUE(pixelsAre(screen(), {ExpectedPixel{20, 20, kRed}, ExpectedPixel{18, 18, background},
                                     ExpectedPixel{81, 61, background},
                                     ExpectedPixel{17, 17, kGreen}, ExpectedPixel{82, 62, kGreen}}))
        << on;
  }
  // At the view's edge the damaged region is held to the view.
  container->erased.clear();
  a->moveResize(QelRect(-10, -10, 20, 20));
  container->reDrawObj(a);
  EXPECT_EQ(container->erased, std::vector<QelRect>{QelRect(0, 0, 12, 12)});
}

}  // namespace
}  // namespace kestrel::test
