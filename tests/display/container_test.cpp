#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

#include "display/container.h"
#include "display/palette.h"
#include "graphics/rectangle.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"
#include "tests/support/motif_host.h"

#include <X11/keysym.h>
#include <Xm/Xm.h>

namespace kestrel::test {
namespace {

constexpr uint32_t kRed = 0xff0000, kBlue = 0x0000ff, kGreen = 0x00ff00;

// Keeps every event it is given; consumes them unless told not to.
class RecordingInteractor : public QelViewObjectInteractor {
 public:
  int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer*, QelTransformer*) override {
    if (event.type != QelKeyDown && event.type != QelKeyUp) calls.push_back({obj, event.type});
    return consume;
  }
  struct Call {
    QelGraphic* obj;
    int type;
    bool operator==(const Call& o) const { return obj == o.obj && type == o.type; }
  };
  std::vector<Call> calls;
  int consume = 1;
};

// A filled rectangle that counts how often it is drawn.
class CountingRectangle : public QelFilledRectangle {
 public:
  using QelFilledRectangle::QelFilledRectangle;
  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override {
    ++draws;
    QelFilledRectangle::draw(port, t, clip);
  }
  mutable int draws = 0;
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
    red = palette("red");
    blue = palette("blue");
    a = new CountingRectangle(display, QelRect(20, 20, 60, 40), red);
    b = new CountingRectangle(display, QelRect(150, 100, 60, 40), blue);
    container->addObject("A", a, 0);
    container->addObject("B", b, 0);
    container->setObjectInteractor(a, &interactor);
    container->setObjectInteractor(b, &interactor);
    ASSERT_TRUE(host->realize());
    ASSERT_TRUE(host->pumpUntil([&] { return a->draws > 0; }));
    host->settle();
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
  Image buffer() {
    QelBitmap* bitmap = container->getDoubleBuffer();
    return readDrawable(xDisplay, bitmap->getDrawable(), display->getVisual(),
                        DefaultColormap(xDisplay, DefaultScreen(xDisplay)), 0, 0, bitmap->width(),
                        bitmap->height());
  }
  // Scribbles green straight into the window, behind the container's back.
  void scribble(const QelRect& r) {
    display->fillRectangle(container, palette("green"), r);
    XSync(xDisplay, False);
  }
  void clickAt(int x, int y, unsigned int button = 1) {
    host->moveTo(container->getWidget(), x, y);
    host->click(button);
  }

  std::unique_ptr<MotifHost> host;
  TestContainer* container = nullptr;
  QelPalette *red = nullptr, *blue = nullptr;
  CountingRectangle *a = nullptr, *b = nullptr;
  RecordingInteractor interactor;
  uint32_t background = 0;
};

using Call = RecordingInteractor::Call;

TEST_F(ContainerTest, PressDragAndReleaseElsewhereAllReachThePressedObject) {
  host->moveTo(container->getWidget(), 30, 30);
  host->button(1, true);
  host->moveTo(container->getWidget(), 120, 80);   // empty space
  host->moveTo(container->getWidget(), 160, 110);  // over B
  host->button(1, false);
  ASSERT_TRUE(host->pumpUntil(
      [&] { return !interactor.calls.empty() && interactor.calls.back().type == QelButtonUp; }));
  EXPECT_EQ(interactor.calls.front(), (Call{a, QelButtonDown}));
  for (const Call& call : interactor.calls) EXPECT_EQ(call.obj, a) << call.type;
  EXPECT_EQ(container->getPressedObject(), a);  // kept after the release

  // A press with a modifier does not change the pressed object: it goes to A.
  interactor.calls.clear();
  host->key(XK_Shift_L, true);
  clickAt(160, 110);
  host->key(XK_Shift_L, false);
  ASSERT_TRUE(host->pumpUntil([&] { return interactor.calls.size() >= 2; }));
  EXPECT_EQ(interactor.calls.front(), (Call{a, QelButtonDown}));
  EXPECT_EQ(container->getPressedObject(), a);

  // A plain press on nothing clears it; a modified press then goes to what is under it.
  interactor.calls.clear();
  clickAt(250, 20);
  host->key(XK_Control_L, true);
  clickAt(160, 110);
  host->key(XK_Control_L, false);
  ASSERT_TRUE(host->pumpUntil([&] { return !interactor.calls.empty(); }));
  EXPECT_EQ(container->getPressedObject(), nullptr);
  EXPECT_EQ(interactor.calls.front(), (Call{b, QelButtonDown}));

  // The second click of a double click goes to the object pressed first, wherever it lands.
  QelSetDoubleClickPeriod(60000);
  interactor.calls.clear();
  clickAt(30, 30);
  clickAt(160, 110);
  ASSERT_TRUE(host->pumpUntil([&] {
    return std::count_if(interactor.calls.begin(), interactor.calls.end(),
                         [](const Call& c) { return c.type == QelButtonUp; }) == 2;
  }));
  EXPECT_EQ(interactor.calls[2], (Call{a, QelDoubleClick}));
  EXPECT_EQ(container->getPressedObject(), a);
  QelSetDoubleClickPeriod(0);
}

TEST_F(ContainerTest, ObjectDeletedWhileHeldLeavesNoDanglingEntry) {
  clickAt(30, 30);
  ASSERT_TRUE(host->pumpUntil([&] { return container->getPressedObject() == a; }));
  delete a;
  EXPECT_EQ(container->getPressedObject(), nullptr);
  EXPECT_FALSE(container->isManaged(a));
  EXPECT_EQ(container->getObjects(), std::vector<QelGraphic*>{b});
  // Events and redraws meet only what is left.
  interactor.calls.clear();
  clickAt(30, 30);
  clickAt(160, 110);
  container->reDraw();
  ASSERT_TRUE(host->pumpUntil([&] { return !interactor.calls.empty(); }));
  for (const Call& call : interactor.calls) EXPECT_EQ(call.obj, b);
  a = nullptr;
}

TEST_F(ContainerTest, EventsNoObjectTakesFallThroughToAccelerators) {
  static std::vector<std::pair<int, uint16_t>> shortCuts;
  shortCuts.clear();
  QelAcceleratorAction record = [](QelContainer*, QelEvent& e, void*) {
    shortCuts.push_back({e.type, e.button});
  };
  container->addAccelerator(record, QelKeyDown, 'k');
  container->addAccelerator(record, QelKeyDown, 'k', QelCtrlModifier);
  container->addAccelerator(record, QelKeyDown, QelRightArrowKey);
  container->addAccelerator(record, QelEnterWindow, 0);
  container->addAccelerator(record, QelKeyboardFocusIn, 0);

  // Entering and focusing never reach objects, even over one.
  host->moveTo(0, 0);
  host->moveTo(container->getWidget(), 30, 30);
  clickAt(250, 20);  // takes the keyboard focus
  host->type(XK_k);
  // Over A, whose interactor declines keys: they fall through too.
  interactor.consume = 0;
  host->moveTo(container->getWidget(), 30, 30);
  host->key(XK_Control_L, true);
  host->type(XK_k);
  host->key(XK_Control_L, false);
  host->type(XK_Right);
  host->type(XK_j);  // bound to nothing
  ASSERT_TRUE(host->pumpUntil([&] {
    return !shortCuts.empty() &&
           shortCuts.back() == std::make_pair(int(QelKeyDown), uint16_t(QelRightArrowKey));
  }));
  std::vector<std::pair<int, uint16_t>> keys;
  int enters = 0;
  for (auto& s : shortCuts)
    if (s.first == QelKeyDown)
      keys.push_back(s);
    else
      enters += s.first == QelEnterWindow;
  EXPECT_GE(enters, 1);
  using Key = std::pair<int, uint16_t>;
  EXPECT_EQ(keys, (std::vector<Key>{
                      {QelKeyDown, 'k'}, {QelKeyDown, 'k'}, {QelKeyDown, QelRightArrowKey}}));
  for (const Call& call : interactor.calls) {
    EXPECT_NE(call.type, QelEnterWindow);
    EXPECT_NE(call.type, QelKeyboardFocusIn);
    EXPECT_NE(call.type, QelExpose);
  }

  // An insensitive object takes nothing: its press falls through as well.
  container->addAccelerator(record, QelButtonDown, QelLeftButton);
  a->setSensitive(false);
  interactor.calls.clear();
  shortCuts.clear();
  clickAt(30, 30);
  ASSERT_TRUE(host->pumpUntil([&] { return !shortCuts.empty(); }));
  EXPECT_TRUE(interactor.calls.empty());
}

TEST_F(ContainerTest, ReDrawObjRepaintsTheObjectBoxAndATwoPixelMargin) {
  for (int on : {0, 1}) {
    ASSERT_EQ(container->setDoubleBuffering(on), 1);
    host->settle();
    scribble(QelRect(10, 10, 80, 60));
    container->erased.clear();
    container->reDrawObj(a);
    ASSERT_EQ(container->erased.size(), 1u);
    EXPECT_EQ(container->erased[0], QelRect(18, 18, 64, 44));
    Image image = screen();
    EXPECT_EQ(image.at(20, 20), kRed) << on;
    EXPECT_EQ(image.at(18, 18), background) << on;
    EXPECT_EQ(image.at(81, 61), background) << on;
    EXPECT_EQ(image.at(17, 17), kGreen) << on;  // beyond the margin: untouched
    EXPECT_EQ(image.at(82, 62), kGreen) << on;
  }
  // At the view's edge the damaged region is held to the view.
  container->erased.clear();
  a->moveResize(QelRect(-10, -10, 20, 20));
  container->reDrawObj(a);
  ASSERT_EQ(container->erased.size(), 1u);
  EXPECT_EQ(container->erased[0], QelRect(0, 0, 12, 12));
}

TEST_F(ContainerTest, DoubleBufferingDrawsTheSamePixelsAndServesExposuresFromTheBitmap) {
  container->addObject(new QelRectangle(display, QelRect(100, 30, 40, 120), red), 1);
  container->reDraw();
  Image direct = screen();
  ASSERT_EQ(container->setDoubleBuffering(1), 1);
  ASSERT_TRUE(container->isDoubleBuffering());
  EXPECT_TRUE(imagesMatch(buffer(), direct, "double-buffer-contents"));
  EXPECT_TRUE(imagesMatch(screen(), direct, "double-buffered-window"));

  // Covering and uncovering repaints from the bitmap without drawing any object.
  int drawsBefore = a->draws;
  Window cover =
      XCreateSimpleWindow(xDisplay, DefaultRootWindow(xDisplay), 0, 0, 400, 300, 0, 0, 0);
  XMapWindow(xDisplay, cover);
  XSync(xDisplay, False);
  XDestroyWindow(xDisplay, cover);
  host->settle();
  EXPECT_EQ(a->draws, drawsBefore);
  EXPECT_TRUE(imagesMatch(screen(), direct, "after-uncover"));

  // A resize remakes the bitmap at the new size.
  container->resize(250, 150);
  ASSERT_TRUE(host->pumpUntil([&] { return container->getDoubleBuffer()->width() == 250; }));
  EXPECT_EQ(container->getDoubleBuffer()->height(), 150u);
  host->settle();
  Image smaller = readWindow(xDisplay, container->getSystemView(), 0, 0, 250, 150);
  EXPECT_EQ(smaller.at(30, 30), kRed);
  EXPECT_EQ(smaller.at(160, 110), kBlue);

  ASSERT_EQ(container->setDoubleBuffering(0), 1);
  EXPECT_FALSE(container->isDoubleBuffering());
  EXPECT_EQ(container->getDoubleBuffer(), nullptr);
}

TEST_F(ContainerTest, ObjectsAreNamedRemovedAndReadBackFromAFile) {
  EXPECT_EQ(container->getObject("B"), b);
  EXPECT_STREQ(container->getObjectName(a), "A");
  EXPECT_EQ(container->getObject("nothing"), nullptr);
  EXPECT_EQ(container->getObject(nullptr), nullptr);

  std::stringstream file;
  ASSERT_TRUE(container->save(file));

  clickAt(30, 30);
  ASSERT_TRUE(host->pumpUntil([&] { return container->getPressedObject() == a; }));
  ASSERT_EQ(container->removeObject(a, 1), 1);
  EXPECT_EQ(container->removeObject(a, 1), 0);
  EXPECT_EQ(container->getPressedObject(), nullptr);
  EXPECT_EQ(container->getObjectInteractor(a), &interactor);  // the property stays
  EXPECT_EQ(screen().at(30, 30), background);
  delete a;
  a = nullptr;

  QelContainer copy(display, host->board(), QelRect(0, 0, 300, 200));
  host->settle();
  ASSERT_EQ(copy.read(file), 1);
  ASSERT_EQ(copy.getCardinal(), 2u);
  XSync(xDisplay, False);
  Image image = readWindow(xDisplay, copy.getSystemView(), 0, 0, 300, 200);
  EXPECT_EQ(image.at(30, 30), kRed);
  EXPECT_EQ(image.at(160, 110), kBlue);

  CapturedMessages messages;
  EXPECT_EQ(copy.readFile("/nonexistent/scene.qel"), 0);
  EXPECT_EQ(messages.warnings().size(), 1u);
  std::stringstream garbage("not a data file at all");
  EXPECT_EQ(copy.read(garbage), 0);
  EXPECT_EQ(copy.getCardinal(), 2u);
}

}  // namespace
}  // namespace kestrel::test
