#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "display/view.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <Xm/DrawingA.h>
#include <Xm/Xm.h>

namespace kestrel::test {
namespace {

// A view that keeps what reaches its expose, input and resize calls.
class RecordingView : public QelView {
 public:
  using QelView::QelView;
  void callExpose(QelEvent& event) override { exposes.push_back(event); }
  void callInput(QelEvent& event) override { inputs.push_back(event); }
  void callResize(QelRect& size) override { sizes.push_back(size); }
  void callDestroy() override { destroyed = true; }
  QelAbstractView* internalHandleMnemonic(char c) override {
    return c == mnemonic ? mnemonicTarget : nullptr;
  }

  std::vector<int> inputTypes() const {
    std::vector<int> types;
    for (const QelEvent& e : inputs) types.push_back(e.type);
    return types;
  }
  bool received(int type) const {
    for (const QelEvent& e : inputs)
      if (e.type == type) return true;
    return false;
  }

  std::vector<QelEvent> exposes, inputs;
  std::vector<QelRect> sizes;
  bool destroyed = false;
  char mnemonic = 0;
  QelAbstractView* mnemonicTarget = nullptr;
};

class ViewTest : public DisplayTest {
 protected:
  void SetUp() override {
    host = std::make_unique<MotifHost>(xDisplay, 60, 50, 320, 200);
    left = new RecordingView(display, host->board(), QelRect(10, 10, 140, 100));
    right = new RecordingView(display, host->board(), QelRect(170, 10, 140, 100));
    ASSERT_TRUE(host->realize());
    ASSERT_TRUE(host->pumpUntil([&] { return !left->exposes.empty() && !right->exposes.empty(); }));
    host->moveTo(left->getWidget(), 70, 50);
    host->settle();
    left->inputs.clear();
    right->inputs.clear();
    left->exposes.clear();
    right->exposes.clear();
  }
  void TearDown() override {
    delete left;
    delete right;
    host.reset();
    DisplayTest::TearDown();
  }

  std::unique_ptr<MotifHost> host;
  RecordingView* left = nullptr;
  RecordingView* right = nullptr;
};

TEST_F(ViewTest, ViewInsideAHostWidgetIsAManagedDrawingAreaFoundFromItsWindow) {
  Widget area = left->getWidget();
  ASSERT_NE(area, nullptr);
  EXPECT_STREQ(XtName(area), "qelview");
  EXPECT_TRUE(XtIsSubclass(area, xmDrawingAreaWidgetClass));
  EXPECT_TRUE(XtIsManaged(area));
  EXPECT_EQ(XtParent(area), host->board());
  EXPECT_EQ(left->getSystemView(), XtWindow(area));
  EXPECT_EQ(display->getView(left->getSystemView()), left);
  EXPECT_TRUE(left->isMapped());
  EXPECT_TRUE(left->isViewable());
  EXPECT_EQ(left->width(), 140u);
  EXPECT_EQ(left->height(), 100u);
  QelPoint position;
  left->position(position);
  EXPECT_EQ(position, QelPoint(10, 10));

  Window window = right->getSystemView();
  delete right;
  right = nullptr;
  EXPECT_EQ(display->getView(window), nullptr);
  host->settle();
  EXPECT_TRUE(XtIsManaged(area));  // the other view is untouched
}

TEST_F(ViewTest, QuickClicksBecomeDoubleAndMultiClicksUntilButtonOrModifierChanges) {
  unsigned int period = QelGetDoubleClickPeriod();
  QelSetDoubleClickPeriod(5000);  // XTest presses are quick, but a loaded machine is not
  for (int i = 0; i < 3; ++i) host->click(1);
  host->click(3);
  host->key(XK_Control_L, true);
  host->click(3);
  host->key(XK_Control_L, false);
  ASSERT_TRUE(host->pumpUntil([&] { return left->inputs.size() >= 10; }));
  QelSetDoubleClickPeriod(period);

  std::vector<int> presses, counts;
  for (const QelEvent& e : left->inputs)
    if (e.type == QelButtonDown || e.type == QelDoubleClick || e.type == QelMultiClick) {
      presses.push_back(e.type);
      counts.push_back(e.clickCount);
    }
  EXPECT_EQ(presses, (std::vector<int>{QelButtonDown, QelDoubleClick, QelMultiClick, QelButtonDown,
                                       QelButtonDown}));
  EXPECT_EQ(counts, (std::vector<int>{0, 2, 3, 0, 0}));
  EXPECT_TRUE(right->inputs.empty());
}

TEST_F(ViewTest, PointerEventsArriveInViewCoordinatesWithDragsCompressed) {
  host->button(1, true);
  for (int x = 71; x < 120; ++x) host->moveTo(left->getWidget(), x, 50);
  host->button(1, false);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelButtonUp); }));
  const QelEvent& press = left->inputs.front();
  EXPECT_EQ(press.type, QelButtonDown);
  EXPECT_EQ(press.button, QelLeftButton);
  EXPECT_EQ(press.x, 70);
  EXPECT_EQ(press.y, 50);
  size_t drags = 0;
  for (const QelEvent& e : left->inputs) drags += e.type == QelButtonDragged;
  // The backlog of motions is skipped: fewer drags than moves, the last at the final place.
  EXPECT_GE(drags, 1u);
  EXPECT_LE(drags, 49u);
  const QelEvent& last = left->inputs[left->inputs.size() - 2];
  EXPECT_EQ(last.type, QelButtonDragged);
  EXPECT_EQ(last.x, 119);
  EXPECT_EQ(last.button, QelLeftButton);
}

TEST_F(ViewTest, GrabbingViewTakesEveryInputEventButNotExposures) {
  ASSERT_EQ(right->grab(nullptr), 1);
  host->click(1);
  host->type(XK_a);
  ASSERT_TRUE(host->pumpUntil([&] { return right->received(QelKeyUp); }));
  EXPECT_TRUE(right->received(QelButtonDown));
  EXPECT_TRUE(right->received(QelButtonUp));
  EXPECT_TRUE(left->inputs.empty());

  // Uncovering the other view exposes it: the exposure goes to it alone, not to the grabber.
  Window cover =
      XCreateSimpleWindow(xDisplay, DefaultRootWindow(xDisplay), 0, 0, 400, 300, 0, 0, 0);
  XMapWindow(xDisplay, cover);
  XSync(xDisplay, False);
  XDestroyWindow(xDisplay, cover);
  ASSERT_TRUE(host->pumpUntil([&] { return !left->exposes.empty(); }));
  host->settle();
  EXPECT_TRUE(left->inputs.empty());
  for (const QelEvent& e : right->inputs) EXPECT_NE(e.type, QelExpose);

  right->unGrab();
  right->inputs.clear();
  host->click(1);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelButtonUp); }));
  EXPECT_FALSE(right->received(QelButtonDown));  // only the crossing of the ungrab
}

TEST_F(ViewTest, KeysFollowTheClickedViewAndMnemonicsReachTheViewThatClaimsThem) {
  host->click(1);  // the left view takes the focus
  host->type(XK_x);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelKeyUp); }));
  EXPECT_EQ(display->getFocusView(), left);

  // Keys typed with the pointer over the right view still go to the focus view.
  host->moveTo(right->getWidget(), 40, 40);
  left->inputs.clear();
  host->type(XK_y);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelKeyUp); }));
  EXPECT_EQ(left->inputs.back().button, 'y');
  EXPECT_FALSE(right->received(QelKeyDown));

  host->click(1);  // now the right view has it
  right->inputs.clear();
  host->type(XK_z);
  ASSERT_TRUE(host->pumpUntil([&] { return right->received(QelKeyUp); }));
  EXPECT_EQ(display->getFocusView(), right);

  // Alt+m, claimed by the left view from the focus view (the right one).
  right->mnemonic = 'm';
  right->mnemonicTarget = left;
  left->inputs.clear();
  right->inputs.clear();
  XModifierKeymap* map = XGetModifierMapping(xDisplay);
  KeyCode alt = map->modifiermap[Mod1MapIndex * map->max_keypermod];
  XFreeModifiermap(map);
  XTestFakeKeyEvent(xDisplay, alt, True, 0);
  host->type(XK_m);
  XTestFakeKeyEvent(xDisplay, alt, False, 0);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelKeyUp); }));
  EXPECT_EQ(left->inputs.front().button, 'm');
  EXPECT_TRUE(left->inputs.front().modifiers & QelMnemonicModifier);
  EXPECT_FALSE(right->received(QelKeyDown) && right->inputs.back().button == 'm');
}

TEST_F(ViewTest, FocusLeavingAndComingBackReturnsToTheLastFocusedView) {
  host->moveTo(right->getWidget(), 40, 40);
  host->click(1);
  host->settle();
  ASSERT_EQ(display->getFocusView(), right);
  right->inputs.clear();
  left->inputs.clear();

  XSetInputFocus(xDisplay, PointerRoot, RevertToPointerRoot, CurrentTime);
  ASSERT_TRUE(host->pumpUntil([&] { return display->getFocusView() == nullptr; }));
  EXPECT_TRUE(right->received(QelKeyboardFocusOut));

  host->moveTo(left->getWidget(), 40, 40);  // where the pointer is does not matter
  XSetInputFocus(xDisplay, XtWindow(host->shell()), RevertToParent, CurrentTime);
  ASSERT_TRUE(host->pumpUntil([&] { return right->received(QelKeyboardFocusIn); }));
  EXPECT_EQ(display->getFocusView(), right);
  EXPECT_FALSE(left->received(QelKeyboardFocusIn));

  // With no focus view, a focus out is nobody's to receive.
  host->settle();
  display->setFocusView(nullptr);
  right->inputs.clear();
  XSetInputFocus(xDisplay, PointerRoot, RevertToPointerRoot, CurrentTime);
  host->settle();
  EXPECT_FALSE(right->received(QelKeyboardFocusOut));
  EXPECT_FALSE(left->received(QelKeyboardFocusOut));
}

TEST_F(ViewTest, GeometryChangesReachCallResizeAndTheMappedFlagFollowsTheWidget) {
  left->resize(200, 60);
  ASSERT_TRUE(host->pumpUntil([&] { return !left->sizes.empty(); }));
  EXPECT_EQ(left->sizes.back(), QelRect(10, 10, 200, 60));
  EXPECT_EQ(left->width(), 200u);
  EXPECT_EQ(left->height(), 60u);

  left->hide();
  ASSERT_TRUE(host->pumpUntil([&] { return !left->isMapped(); }));
  EXPECT_FALSE(left->isViewable());
  left->show();
  ASSERT_TRUE(host->pumpUntil([&] { return left->isMapped(); }));

  // Positions and sizes beyond X's 16 bits are held to what a widget can take.
  left->moveResize(QelRect(-100000, 5, 0, 30));
  host->settle();
  Position x, y;
  Dimension w, h;
  XtVaGetValues(left->getWidget(), XmNx, &x, XmNy, &y, XmNwidth, &w, XmNheight, &h, nullptr);
  EXPECT_EQ(x, -32768);
  EXPECT_EQ(y, 5);
  EXPECT_EQ(w, 1);
  EXPECT_EQ(h, 30);
}

TEST_F(ViewTest, ObserversSeeEveryTranslatedEventBeforeRouting) {
  static std::vector<int> seen, recorded;
  seen.clear();
  recorded.clear();
  QelSetTestInterface([](QelAbstractView*, const QelEvent& e) { seen.push_back(e.type); });
  QelSetEventRecorder([](QelAbstractView*, const QelEvent& e) { recorded.push_back(e.type); });
  host->click(2);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelButtonUp); }));
  EXPECT_EQ(QelSetTestInterface(nullptr) != nullptr, true);
  EXPECT_EQ(QelSetEventRecorder(nullptr) != nullptr, true);
  EXPECT_EQ(seen, left->inputTypes());
  EXPECT_EQ(recorded, left->inputTypes());
}

TEST_F(ViewTest, DestroyedWidgetLeavesAViewThatIsSafeToUseAndDelete) {
  XtDestroyWidget(left->getWidget());
  host->settle();
  EXPECT_TRUE(left->destroyed);
  EXPECT_EQ(left->getWidget(), nullptr);
  EXPECT_EQ(left->getSystemView(), 0u);
  left->resize(10, 10);
  left->erase(1);
  left->show();
  EXPECT_FALSE(left->isViewable());
}

TEST_F(ViewTest, UserCallbacksRunInOrderAndCanBeRemoved) {
  QelView view(display, host->board(), QelRect(0, 120, 50, 50));
  static std::vector<int> calls;
  calls.clear();
  QelViewCallback first = [](QelAbstractView*, QelEvent*, void* arg) {
    calls.push_back(int(reinterpret_cast<intptr_t>(arg)));
  };
  view.setInputCallback(first, reinterpret_cast<void*>(1));
  view.setInputCallback(first, reinterpret_cast<void*>(2));
  view.setInputCallback(first, reinterpret_cast<void*>(1));  // already there
  QelEvent event;
  view.callInput(event);
  view.removeInputCallback(first, reinterpret_cast<void*>(1));
  view.callInput(event);
  EXPECT_EQ(calls, (std::vector<int>{1, 2, 2}));
}

TEST_F(ViewTest, TopLevelViewHasItsShellTitleAndDeleteBehaviour) {
  RecordingView top(display, "toolkitTop", "A title", QelRect(500, 300, 120, 90), 1);
  ASSERT_NE(top.getShell(), nullptr);
  EXPECT_TRUE(XtIsShell(top.getShell()));
  EXPECT_TRUE(top.isTopLevel());
  ASSERT_TRUE(host->pumpUntil([&] { return top.isMapped() && !top.exposes.empty(); }));
  char* title = nullptr;
  XtVaGetValues(top.getShell(), XmNtitle, &title, nullptr);
  EXPECT_STREQ(title, "A title");

  // The shell's resize reaches the view.
  XtVaSetValues(top.getShell(), XmNwidth, Dimension(200), nullptr);
  ASSERT_TRUE(host->pumpUntil([&] { return !top.sizes.empty() && top.sizes.back().w == 200; }));

  // Without delete callbacks, the window manager's close request hides the view.
  XEvent message = {};
  message.xclient.type = ClientMessage;
  message.xclient.window = XtWindow(top.getShell());
  message.xclient.message_type = XInternAtom(xDisplay, "WM_PROTOCOLS", False);
  message.xclient.format = 32;
  message.xclient.data.l[0] = long(XInternAtom(xDisplay, "WM_DELETE_WINDOW", False));
  message.xclient.data.l[1] = CurrentTime;
  XSendEvent(xDisplay, message.xclient.window, False, NoEventMask, &message);
  ASSERT_TRUE(host->pumpUntil([&] { return !top.isMapped(); }));

  static int deletes = 0;
  top.setDeleteCallback([](QelAbstractView*, void*) { ++deletes; });
  top.show();
  ASSERT_TRUE(host->pumpUntil([&] { return top.isMapped(); }));
  XSendEvent(xDisplay, message.xclient.window, False, NoEventMask, &message);
  ASSERT_TRUE(host->pumpUntil([&] { return deletes == 1; }));
  host->settle();
  EXPECT_TRUE(top.isMapped());
}

}  // namespace
}  // namespace kestrel::test

namespace kestrel::test {
namespace {

// A view made in a parent that is not realized yet, then resized by its parent's layout before
// realization: its window is created at that size and no configure ever reports it.
TEST_F(DisplayTest, ViewMadeBeforeRealizationLearnsTheSizeItsWindowWasMadeAt) {
  MotifHost host(xDisplay, 30, 30, 200, 150);
  RecordingView view(display, host.board(), QelRect(0, 0, 50, 40));
  XtVaSetValues(view.getWidget(), XmNwidth, Dimension(160), XmNheight, Dimension(120), nullptr);
  EXPECT_EQ(view.getSystemView(), 0u);
  ASSERT_TRUE(host.realize());
  ASSERT_TRUE(host.pumpUntil([&] { return !view.exposes.empty(); }));
  EXPECT_EQ(view.getSystemView(), XtWindow(view.getWidget()));
  EXPECT_EQ(view.width(), 160u);
  EXPECT_EQ(view.height(), 120u);
  EXPECT_EQ(display->getView(view.getSystemView()), &view);
}

}  // namespace
}  // namespace kestrel::test
