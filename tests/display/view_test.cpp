#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <vector>

#include "display/view.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"

#include <X11/keysym.h>
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
  bool received(int type) const {
    for (const QelEvent& e : inputs)
      if (e.type == type) return true;
    return false;
  }

  std::vector<QelEvent> exposes, inputs;
  std::vector<QelRect> sizes;
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

TEST_F(ViewTest, PointerEventsArriveInViewCoordinatesWithDragsCompressed) {
  host->button(1, true);
  for (int x = 71; x < 120; ++x) host->moveTo(left->getWidget(), x, 50);
  host->button(1, false);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelButtonUp); }));
  const QelEvent& press = left->inputs.front();
  EXPECT_EQ(std::make_tuple(press.type, press.button, press.x, press.y),
            std::make_tuple(int(QelButtonDown), uint16_t(QelLeftButton), 70, 50));
  size_t drags = 0;
  for (const QelEvent& e : left->inputs) drags += e.type == QelButtonDragged;
  // The backlog of motions is skipped: fewer drags than moves, the last at the final place.
  EXPECT_TRUE(drags >= 1 && drags <= 49) << drags;
  const QelEvent& last = left->inputs[left->inputs.size() - 2];
  EXPECT_EQ(std::make_tuple(last.type, last.button, last.x),
            std::make_tuple(int(QelButtonDragged), uint16_t(QelLeftButton), 119));
  EXPECT_TRUE(right->inputs.empty());
}

TEST_F(ViewTest, KeysGoToTheLastClickedViewWhereverThePointerIs) {
  host->click(1);  // the left view takes the focus
  // Keys typed with the pointer over the right view still go to the focus view.
  host->moveTo(right->getWidget(), 40, 40);
  host->type(XK_y);
  ASSERT_TRUE(host->pumpUntil([&] { return left->received(QelKeyUp); }));
  EXPECT_EQ(display->getFocusView(), left);
  EXPECT_EQ(left->inputs.back().button, 'y');
  EXPECT_FALSE(right->received(QelKeyDown));
}

TEST_F(ViewTest, GeometryChangesReachCallResizeAndAreHeldToSixteenBits) {
  left->resize(200, 60);
  ASSERT_TRUE(host->pumpUntil([&] { return !left->sizes.empty(); }));
  EXPECT_EQ(left->sizes.back(), QelRect(10, 10, 200, 60));

  // Positions and sizes beyond X's 16 bits are held to what a widget can take.
  left->moveResize(QelRect(-100000, 5, 0, 30));
  host->settle();
  Position x, y;
  Dimension w, h;
  XtVaGetValues(left->getWidget(), XmNx, &x, XmNy, &y, XmNwidth, &w, XmNheight, &h, nullptr);
  EXPECT_EQ(std::make_tuple(x, y, w, h),
            std::make_tuple(Position(-32768), Position(5), Dimension(1), Dimension(30)));
}

}  // namespace
}  // namespace kestrel::test
