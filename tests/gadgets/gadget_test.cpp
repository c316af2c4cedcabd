#include <gtest/gtest.h>

#include <X11/keysym.h>

#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <sstream>
#include <thread>

#include "display/color.h"
#include "display/container.h"
#include "display/display.h"
#include "display/event.h"
#include "display/font.h"
#include "display/palette.h"
#include "gadgets/message_label.h"
#include "gadgets/motif_look.h"
#include "gadgets/scroll_bar.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "tests/support/data_files.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"

namespace kestrel::test {
namespace {

// The colour a palette paints with, as the image read back shows it.
uint32_t rgbOf(const QelPalette* palette) {
  unsigned short r, g, b;
  palette->getForeground()->getRGB(r, g, b);
  return uint32_t(r >> 8) << 16 | uint32_t(g >> 8) << 8 | uint32_t(b >> 8);
}

QelPoint centreOf(const QelRect& r) {
  return QelPoint(r.x + int32_t(r.w / 2), r.y + int32_t(r.h / 2));
}

class GadgetTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
  }
};

TEST_F(GadgetTest, SetValuesSwapsWidensAndClamps) {
  struct Case {
    int32_t min, max, value, size;
    int32_t wantMin, wantMax, wantValue, wantSize;
  };
  const Case cases[] = {
      {10, 0, 5, 3, 0, 10, 5, 3},    // reversed bounds swap
      {5, 5, 5, 1, 5, 6, 5, 1},      // equal bounds one apart
      {0, 10, 5, 50, 0, 10, 0, 10},  // slider at most the range; value follows
      {0, 10, 5, 0, 0, 10, 5, 1},    // slider at least 1
      {0, 10, 20, 3, 0, 10, 7, 3},   // value at most max - sliderSize
      {0, 10, -5, 3, 0, 10, 0, 3},   // and at least min
      {INT32_MAX, INT32_MAX, 0, 1, INT32_MAX - 1, INT32_MAX, INT32_MAX - 1, 1},
      {INT32_MIN, INT32_MAX, 0, INT32_MAX, INT32_MIN, INT32_MAX, 0, INT32_MAX},
  };
  for (const Case& c : cases) {
    QelScrollBar bar(display, QelRect(0, 0, 100, 20));
    bar.setValues(c.min, c.max, c.value, c.size);
    EXPECT_EQ(bar.getMin(), c.wantMin) << c.min << " " << c.max;
    EXPECT_EQ(bar.getMax(), c.wantMax) << c.min << " " << c.max;
    EXPECT_EQ(bar.getValue(), c.wantValue) << c.min << " " << c.max;
    EXPECT_EQ(bar.getSliderSize(), c.wantSize) << c.min << " " << c.max;
  }
}

// A scroll bar that counts its drawings and callbacks.
class CountingBar : public QelScrollBar {
 public:
  using QelScrollBar::QelScrollBar;
  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override {
    ++draws;
    QelScrollBar::draw(port, t, clip);
  }
  mutable int draws = 0;
};

TEST_F(GadgetTest, SetValueCallsNothingAndRedrawsOnlyWhenHeldAndChanged) {
  int calls = 0;
  auto count = [](QelGraphic*, void* n) { ++*static_cast<int*>(n); };
  auto* bar = new CountingBar(display, QelRect(10, 10, 200, 20));
  bar->setCallback(QelGraphic::CallbackSymbol(), count, &calls);
  bar->setValue(20, 1);  // not held: nothing to redraw through
  EXPECT_EQ(bar->draws, 0);
  MotifHost host(xDisplay, 30, 30, 300, 100);
  QelContainer container(display, host.board(), QelRect(0, 0, 300, 100));
  container.addObject(bar, 0);
  ASSERT_TRUE(host.realize());
  host.settle();
  bar->draws = 0;
  bar->setValue(20, 1);  // unchanged
  EXPECT_EQ(bar->draws, 0);
  bar->setValue(30, 0);
  EXPECT_EQ(bar->draws, 0);
  bar->setValue(40, 1);
  EXPECT_EQ(bar->draws, 1);
  EXPECT_EQ(bar->getValue(), 40);
  EXPECT_EQ(calls, 0);
}

// A holder that observes its scroll bars: they tell it of changes instead of calling back.
class ObservingContainer : public QelContainer, public QelGraphicObserver {
 public:
  using QelContainer::QelContainer;
  QelGraphicObserver* getObserver(const QelGraphic*) const override {
    return const_cast<ObservingContainer*>(this);
  }
  void notify(QelGraphic*, const QelSymbol* what) override { heard.push_back(what); }
  std::vector<const QelSymbol*> heard;
};

TEST_F(GadgetTest, AnObservingHolderHearsOfChangesAndTheDefaultSizeComesAndGoes) {
  MotifHost host(xDisplay, 30, 30, 300, 100);
  ObservingContainer container(display, host.board(), QelRect(0, 0, 300, 100));
  auto* bar = new QelScrollBar(display, QelRect(10, 10, 200, 30));
  int calls = 0;
  bar->setCallback(
      QelGraphic::CallbackSymbol(), [](QelGraphic*, void* n) { ++*static_cast<int*>(n); }, &calls);
  container.addObject(bar, 0);
  QelEvent end;
  end.type = QelKeyDown;
  end.button = QelEndKey;
  EXPECT_EQ(bar->handleEvent(end, &container), 1);
  EXPECT_EQ(bar->getValue(), 90);
  EXPECT_EQ(container.heard, std::vector<const QelSymbol*>{QelScrollBar::ValueChangedSymbol()});
  EXPECT_EQ(calls, 0);

  bar->useDefaultSize(1);
  EXPECT_EQ(bar->getRect().h, 19u);
  bar->useDefaultSize(0);
  EXPECT_EQ(bar->getRect().h, 30u);
}

TEST_F(GadgetTest, PositionToValueSpansTheTrackAndATinyTrackGivesZero) {
  for (unsigned int orientation : {unsigned(QelHorizontal), unsigned(QelVertical)}) {
    QelRect rect = orientation == QelHorizontal ? QelRect(0, 0, 200, 20) : QelRect(0, 0, 20, 200);
    QelScrollBar bar(display, rect, orientation);
    bar.setValues(100, 200, 150, 20);
    QelScrollBarLayout parts = bar.layout(nullptr);
    ASSERT_GT(parts.trackLength, 0);
    auto at = [&](int64_t along) {
      return orientation == QelHorizontal ? QelPoint(int32_t(along), 10)
                                          : QelPoint(10, int32_t(along));
    };
    EXPECT_EQ(bar.positionToValue(at(parts.trackStart), nullptr), 100);
    EXPECT_EQ(bar.positionToValue(at(parts.trackStart - 50), nullptr), 100);
    EXPECT_EQ(bar.positionToValue(at(parts.trackStart + parts.trackLength), nullptr), 180);
    // The slider drawn for a value starts where that value's position is.
    int32_t start = orientation == QelHorizontal ? parts.slider.x : parts.slider.y;
    EXPECT_EQ(bar.positionToValue(at(start), nullptr), 150);
  }
  QelScrollBar tiny(display, QelRect(0, 0, 12, 20));
  EXPECT_EQ(tiny.positionToValue(QelPoint(6, 5), nullptr), 0);
}

TEST_F(GadgetTest, MotifLookPaintsTroughSliderAndArrowsInTheirReliefColours) {
  for (unsigned int orientation : {unsigned(QelHorizontal), unsigned(QelVertical)}) {
    SCOPED_TRACE(orientation);
    QelRect rect = orientation == QelHorizontal ? QelRect(5, 5, 150, 20) : QelRect(5, 5, 20, 150);
    QelScrollBar bar(display, rect, orientation, 2);
    bar.setValues(0, 100, 0, 30);
    QelPort* port = windowPort(170, 170);
    bar.draw(port, nullptr, nullptr);
    Image image = read(port);
    QelScrollBarLayout parts = bar.layout(nullptr);
    const uint32_t face = rgbOf(bar.getBackgroundPalette()),
                   light = rgbOf(bar.getTopShadowPalette()),
                   dark = rgbOf(bar.getBottomShadowPalette()),
                   trough = rgbOf(bar.getSelectPalette());
    // Sunken frame: shaded at the top-left, lit at the bottom-right.
    EXPECT_EQ(image.at(rect.x, rect.y), dark);
    EXPECT_EQ(image.at(int(rect.right64()) - 1, int(rect.bottom64()) - 1), light);
    // The slider is raised at its place; the trough shows beyond it.
    EXPECT_EQ(image.at(parts.slider.x, parts.slider.y), light);
    EXPECT_EQ(image.at(int(parts.slider.right64()) - 1, int(parts.slider.bottom64()) - 1), dark);
    EXPECT_EQ(image.at(centreOf(parts.slider).x, centreOf(parts.slider).y), face);
    QelPoint beyond =
        orientation == QelHorizontal
            ? QelPoint(int32_t(parts.slider.right64()) + 5, centreOf(parts.trough).y)
            : QelPoint(centreOf(parts.trough).x, int32_t(parts.slider.bottom64()) + 5);
    EXPECT_EQ(image.at(beyond.x, beyond.y), trough);
    // The arrows at both ends, their faces in the face colour.
    for (const QelRect& arrow : {parts.decrementArrow, parts.incrementArrow}) {
      EXPECT_EQ(arrow.w, arrow.h);
      EXPECT_EQ(image.at(centreOf(arrow).x, centreOf(arrow).y), face);
    }
  }
}

TEST_F(GadgetTest, ClicksDragsHeldArrowsAndKeysMoveTheValueAndCallBack) {
  MotifHost host(xDisplay, 30, 30, 300, 200);
  QelContainer container(display, host.board(), QelRect(0, 0, 300, 200));
  auto* bar = new QelScrollBar(display, QelRect(10, 10, 260, 20));
  bar->setValues(0, 100, 50, 10);
  int changes = 0, drags = 0;
  auto count = [](QelGraphic*, void* n) { ++*static_cast<int*>(n); };
  bar->setCallback(QelGraphic::CallbackSymbol(), count, &changes);
  bar->setCallback(QelScrollBar::DragCallbackSymbol(), count, &drags);
  container.addObject(bar, 0);
  ASSERT_TRUE(host.realize());
  host.settle();
  QelScrollBarLayout parts = bar->layout(nullptr);
  auto clickAt = [&](const QelPoint& p) {
    host.moveTo(container.getWidget(), p.x, p.y);
    host.click(1);
    host.settle();
  };

  clickAt(centreOf(parts.decrementArrow));
  EXPECT_EQ(bar->getValue(), 49);
  clickAt(centreOf(parts.incrementArrow));
  EXPECT_EQ(bar->getValue(), 50);
  EXPECT_EQ(changes, 2);
  clickAt(QelPoint(parts.trough.x + 2, centreOf(parts.trough).y));
  EXPECT_EQ(bar->getValue(), 40);  // one page towards the pointer
  clickAt(QelPoint(int32_t(parts.trough.right64()) - 2, centreOf(parts.trough).y));
  EXPECT_EQ(bar->getValue(), 50);

  // Held, the arrow repeats.
  host.moveTo(container.getWidget(), centreOf(parts.incrementArrow).x,
              centreOf(parts.incrementArrow).y);
  host.button(1, true);
  auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(700);
  host.pumpUntil([&] { return std::chrono::steady_clock::now() > until; });
  host.button(1, false);
  host.settle();
  EXPECT_GT(bar->getValue(), 51);

  // The slider follows the pointer to either end, calling the drag callbacks on the way and
  // the main ones once, on release.
  for (int end : {-400, 800}) {
    parts = bar->layout(nullptr);
    int before = changes;
    drags = 0;
    host.moveTo(container.getWidget(), centreOf(parts.slider).x, centreOf(parts.slider).y);
    host.button(1, true);
    host.moveTo(container.getWidget(), centreOf(parts.slider).x + end / 4, 20);
    host.moveTo(container.getWidget(), centreOf(parts.slider).x + end, 20);
    host.button(1, false);
    host.settle();
    EXPECT_EQ(bar->getValue(), end < 0 ? 0 : 90);
    EXPECT_GT(drags, 0);
    EXPECT_EQ(changes, before + 1);
  }

  // With the focus (the bar was pressed last), keys move it too.
  struct Key {
    unsigned long keysym;
    int32_t value;
  };
  for (const Key& k : {Key{XK_Home, 0}, Key{XK_Right, 1}, Key{XK_Next, 11}, Key{XK_End, 90},
                       Key{XK_Prior, 80}, Key{XK_Left, 79}}) {
    host.type(k.keysym);
    host.settle();
    EXPECT_EQ(bar->getValue(), k.value) << k.keysym;
  }
  EXPECT_TRUE(bar->hasFocus());
}

TEST_F(GadgetTest, LabelTextAlignsInItsRectangleOpaqueOrNot) {
  QelFont* fixed = display->getFont("fixed");
  QelPalette* palette = display->getPalette(display->getColor("gray"), display->getColor("black"),
                                            nullptr, nullptr, fixed);
  const QelRect rect(10, 10, 120, 30);
  const int32_t width = fixed->textWidth("Hi", 2);
  int left[3] = {0, 0, 0};
  const unsigned int alignments[] = {QelLeft, QelCenter, QelRight};
  for (int opaque : {0, 1}) {
    for (int i = 0; i < 3; ++i) {
      QelMessageLabel label(display, "Hi", rect, alignments[i], 0, palette, 1);
      label.setOpaque(opaque);
      QelPort* port = windowPort(150, 50);
      label.draw(port, nullptr, nullptr);
      Image image = read(port);
      EXPECT_EQ(image.at(rect.x + 1, rect.y + 1),
                opaque ? rgbOf(label.getBackgroundPalette()) : 0xffffffu);
      left[i] = INT_MAX;
      for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
          if (image.at(x, y) == 0) left[i] = std::min(left[i], x);
    }
    // The same glyphs, moved by the room the text leaves.
    EXPECT_EQ(left[1] - left[0], int(rect.w - width) / 2);
    EXPECT_EQ(left[2] - left[0], int(rect.w) - width);
  }
}

TEST_F(GadgetTest, MessageNamesAreOwnedAsToldAndKeysFollowTheLanguage) {
  QelMessageString text(nullptr, QelCenter, 1);
  EXPECT_STREQ(text.getName(), "");
  text.setName(strdup("handed over"), 0);  // kept and freed by the string itself
  EXPECT_STREQ(text.getName(), "handed over");
  text.setName(text.getName(), 1);  // a copy of its own name
  EXPECT_STREQ(text.getName(), "handed over");
  text.setName(nullptr, 0);
  EXPECT_EQ(text.getName(), nullptr);

  QelMessageDatabase& messages = display->getMessageDatabase();
  messages.setMessage("&kestrelTestQuit", "&Quit", "C");
  messages.setMessage("&kestrelTestQuit", "&Beenden", "de");
  QelMessageLabel label(display, QelPoint(0, 0), "&kestrelTestQuit");
  EXPECT_STREQ(label.getText(), "&Quit");
  EXPECT_EQ(label.getMnemonic(), 'Q');
  messages.setLanguage("de");
  EXPECT_STREQ(label.getText(), "&Beenden");
  EXPECT_EQ(label.getMnemonic(), 'B');
  messages.setLanguage("C");

  // Lines times the font's height plus 3; the widest line, the mnemonic mark left out.
  QelFont* font = label.getPalette()->getFont();
  label.getMessage().setName("a\n&bb\nc", 1);
  uint32_t w = 0, h = 0;
  label.computeSize(label.getPalette(), w, h);
  EXPECT_EQ(h, uint32_t(3 * (font->ascent() + font->descent()) + 3));
  EXPECT_EQ(w, uint32_t(font->textWidth("bb", 2)));
}

TEST_F(GadgetTest, ScrollBarsAndLabelsReadBackFromDataFiles) {
  auto bar = std::make_unique<QelScrollBar>(display, QelRect(1, 2, 30, 200), QelVertical, 3);
  bar->setValues(-5, 500, 42, 17);
  bar->pageIncrement = 33;
  auto label = std::make_unique<QelMessageLabel>(display, "two \"quoted\"\nlines",
                                                 QelRect(4, 5, 60, 30), QelRight, 1);
  label->setOpaque(1);
  label->setSensitive(false);
  std::string text;
  auto loaded = roundTrip(display, {bar.get(), label.get()}, &text);
  ASSERT_EQ(loaded.size(), 2u) << text;
  QelGraphic *first = loaded[0].get(), *second = loaded[1].get();
  auto* readBar = dynamic_cast<QelScrollBar*>(first);
  ASSERT_NE(readBar, nullptr);
  EXPECT_EQ(readBar->getRect(), QelRect(1, 2, 30, 200));
  EXPECT_EQ(readBar->getOrientation(), unsigned(QelVertical));
  EXPECT_EQ(readBar->getThickness(), 3);
  EXPECT_EQ(readBar->getValue(), 42);
  EXPECT_EQ(readBar->getMin(), -5);
  EXPECT_EQ(readBar->getSliderSize(), 17);
  EXPECT_EQ(readBar->pageIncrement, 33);
  auto* readLabel = dynamic_cast<QelMessageLabel*>(second);
  ASSERT_NE(readLabel, nullptr);
  EXPECT_STREQ(readLabel->getMessage().getName(), "two \"quoted\"\nlines");
  EXPECT_EQ(readLabel->getMessage().getAlignment(), unsigned(QelRight));
  EXPECT_TRUE(readLabel->isOpaque());
  EXPECT_FALSE(readLabel->isSensitive());
}

}  // namespace
}  // namespace kestrel::test
