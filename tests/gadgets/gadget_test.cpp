#include <gtest/gtest.h>

#include <X11/keysym.h>

#include <array>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>

#include "display/color.h"
#include "display/container.h"
#include "display/font.h"
#include "display/palette.h"
#include "gadgets/message_label.h"
#include "gadgets/motif_look.h"
#include "gadgets/scroll_bar.h"
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

void count(QelGraphic*, void* counter) {
  ++*static_cast<int*>(counter);
}

class GadgetTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
  }
};

TEST_F(GadgetTest, SetValuesSwapsWidensAndClamps) {
  using Values = std::array<int32_t, 4>;  // min, max, value, slider size
  struct Case {
    Values given, kept;
  };
  const Case cases[] = {
      {{10, 0, 5, 3}, {0, 10, 5, 3}},    // reversed bounds swap
      {{5, 5, 5, 1}, {5, 6, 5, 1}},      // equal bounds one apart
      {{0, 10, 5, 50}, {0, 10, 0, 10}},  // slider at most the range; value follows
      {{0, 10, 5, 0}, {0, 10, 5, 1}},    // slider at least 1
      {{0, 10, 20, 3}, {0, 10, 7, 3}},   // value at most max - sliderSize
      {{0, 10, -5, 3}, {0, 10, 0, 3}},   // and at least min
      {{INT32_MAX, INT32_MAX, 0, 1}, {INT32_MAX - 1, INT32_MAX, INT32_MAX - 1, 1}},
      {{INT32_MIN, INT32_MAX, 0, INT32_MAX}, {INT32_MIN, INT32_MAX, 0, INT32_MAX}},
  };
  for (const Case& c : cases) {
    QelScrollBar bar(display, QelRect(0, 0, 100, 20));
    bar.setValues(c.given[0], c.given[1], c.given[2], c.given[3]);
    EXPECT_EQ((Values{bar.getMin(), bar.getMax(), bar.getValue(), bar.getSliderSize()}), c.kept)
        << c.given[0] << " " << c.given[1] << " " << c.given[2] << " " << c.given[3];
  }
}

// A holder that, once observing, hears of its scroll bars' changes instead of their callbacks.
class ObservingContainer : public QelContainer, public QelGraphicObserver {
 public:
  using QelContainer::QelContainer;
  QelGraphicObserver* getObserver(const QelGraphic*) const override {
    return observing ? const_cast<ObservingContainer*>(this) : nullptr;
  }
  void notify(QelGraphic*, const QelSymbol* what) override { heard.push_back(what); }
  bool observing = false;
  std::vector<const QelSymbol*> heard;
};

TEST_F(GadgetTest, PositionToValueSpansTheTrackAndATinyTrackGivesZero) {
  for (unsigned int orientation : {unsigned(QelHorizontal), unsigned(QelVertical)}) {
    const bool across = orientation == QelHorizontal;
    QelScrollBar bar(display, across ? QelRect(0, 0, 200, 20) : QelRect(0, 0, 20, 200),
                     orientation);
    bar.setValues(100, 200, 150, 20);
    QelScrollBarLayout parts = bar.layout(nullptr);
    auto valueAt = [&](int64_t along) {
      return bar.positionToValue(
          across ? QelPoint(int32_t(along), 10) : QelPoint(10, int32_t(along)), nullptr);
    };
    EXPECT_EQ(valueAt(parts.trackStart), 100);
    EXPECT_EQ(valueAt(parts.trackStart - 50), 100);
    EXPECT_EQ(valueAt(parts.trackStart + parts.trackLength), 180);
    // The slider drawn for a value starts where that value's position is.
    EXPECT_EQ(valueAt(across ? parts.slider.x : parts.slider.y), 150);
  }
  QelScrollBar tiny(display, QelRect(0, 0, 12, 20));
  EXPECT_EQ(tiny.positionToValue(QelPoint(6, 5), nullptr), 0);
  // On a bar too short for two square arrows they share it; a slider is never shorter than 6.
  QelScrollBar stub(display, QelRect(0, 0, 30, 20), QelHorizontal);
  QelScrollBarLayout parts = stub.layout(nullptr);
  EXPECT_EQ(parts.decrementArrow, QelRect(2, 2, 13, 16));  // inside the two-pixel shadow
  EXPECT_EQ(parts.incrementArrow, QelRect(15, 2, 13, 16));
  QelScrollBar wide(display, QelRect(0, 0, 200, 20), QelHorizontal);
  wide.setValues(0, 1000000, 0, 1);
  EXPECT_EQ(wide.layout(nullptr).slider.w, 6u);
}

TEST_F(GadgetTest, MotifLookPaintsTroughSliderAndArrowsInTheirReliefColours) {
  for (unsigned int orientation : {unsigned(QelHorizontal), unsigned(QelVertical)}) {
    SCOPED_TRACE(orientation);
    const bool across = orientation == QelHorizontal;
    QelRect rect = across ? QelRect(5, 5, 150, 20) : QelRect(5, 5, 20, 150);
    QelScrollBar bar(display, rect, orientation, 2);
    bar.setValues(0, 100, 0, 30);
    QelPort* port = windowPort(170, 170);
    bar.draw(port, nullptr, nullptr);
    const QelScrollBarLayout parts = bar.layout(nullptr);
    const uint32_t face = rgbOf(bar.getBackgroundPalette()),
                   light = rgbOf(bar.getTopShadowPalette()),
                   dark = rgbOf(bar.getBottomShadowPalette()),
                   trough = rgbOf(bar.getSelectPalette());
    // A sunken frame (shaded at the top-left, lit at the bottom-right), the slider raised at its
    // place with the trough beyond it, and the arrows at both ends with faces in the face colour.
    const QelRect& s = parts.slider;
    const QelPoint c = centreOf(s), t = centreOf(parts.trough), d = centreOf(parts.decrementArrow),
                   i = centreOf(parts.incrementArrow);
    const QelPoint beyond(across ? int32_t(s.right64()) + 5 : t.x,
                          across ? t.y : int32_t(s.bottom64()) + 5);
    // The lower shade takes the bottom-left corner, the upper one stops before it.
    const std::vector<ExpectedPixel> expected = {
        {rect.x, rect.y, dark},
        {int(rect.right64()) - 1, int(rect.bottom64()) - 1, light},
        {s.x, s.y, light},
        {int(s.right64()) - 1, int(s.bottom64()) - 1, dark},
        {c.x, c.y, face},
        {beyond.x, beyond.y, trough},
        {d.x, d.y, face},
        {i.x, i.y, face},
        {rect.x, int(rect.bottom64()) - 1, light},
        {s.x, int(s.bottom64()) - 1, dark}};
    EXPECT_TRUE(pixelsAre(read(port), expected));
  }
}

TEST_F(GadgetTest, ClicksDragsHeldTroughAndKeysMoveTheValueAndCallBackOrNotify) {
  MotifHost host(xDisplay, 30, 30, 300, 200);
  ObservingContainer container(display, host.board(), QelRect(0, 0, 300, 200));
  auto* bar = new QelScrollBar(display, QelRect(10, 10, 260, 20));
  bar->setValues(20, 120, 70, 10);  // a minimum other than 0 moves every value
  int changes = 0, drags = 0;
  bar->setCallback(QelGraphic::CallbackSymbol(), count, &changes);
  bar->setCallback(QelScrollBar::DragCallbackSymbol(), count, &drags);
  container.addObject(bar, 0);
  ASSERT_TRUE(host.realize());
  host.settle();
  const Widget widget = container.getWidget();
  QelScrollBarLayout parts = bar->layout(nullptr);
  // One page towards the pointer from either end of the trough.
  const int32_t troughY = centreOf(parts.trough).y;
  for (auto [at, value] : {std::pair<QelPoint, int32_t>{centreOf(parts.decrementArrow), 69},
                           {centreOf(parts.incrementArrow), 70},
                           {QelPoint(parts.trough.x + 2, troughY), 60},
                           {QelPoint(int32_t(parts.trough.right64()) - 2, troughY), 70}}) {
    host.moveTo(widget, at.x, at.y);
    host.click(1);
    host.settle();
    EXPECT_EQ(bar->getValue(), value) << at.x;
  }
  EXPECT_EQ(changes, 4);
  // Held in the trough, pages go on while the pointer is past the slider's last pixel: held on
  // the pixel just past the slider at 50, they stop at 60.
  bar->setValue(50, 0);
  const int32_t stop = int32_t(bar->layout(nullptr).slider.right64());
  bar->setValue(20, 0);
  host.moveTo(widget, stop, troughY);
  host.button(1, true);
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(900);
  host.pumpUntil([&] { return std::chrono::steady_clock::now() > until; });
  host.button(1, false);
  host.settle();
  EXPECT_EQ(bar->getValue(), 60);

  // The slider follows the pointer to either end, calling the drag callbacks on the way and
  // the main ones once, on release.
  // Halfway along the track is halfway along the values above the minimum.
  const int halfway = int(parts.trackLength / 2);
  for (auto [end, value] : {std::pair<int, int>{-400, 20}, {halfway, 65}, {800, 110}}) {
    const QelPoint slider = centreOf(bar->layout(nullptr).slider);
    const int before = changes;
    drags = 0;
    host.moveTo(widget, slider.x, slider.y);
    host.button(1, true);
    host.moveTo(widget, slider.x + end / 2, 20);
    host.moveTo(widget, slider.x + end, 20);
    host.button(1, false);
    host.settle();
    EXPECT_NEAR(bar->getValue(), value, end == halfway ? 1 : 0);
    EXPECT_GT(drags, 0);
    EXPECT_EQ(changes, before + 1);
  }

  // With the focus (the bar was pressed last), keys move it too.
  for (auto [keysym, value] : {std::pair<unsigned long, int32_t>{XK_Home, 20},
                               {XK_Right, 21},
                               {XK_Next, 31},
                               {XK_End, 110},
                               {XK_Prior, 100},
                               {XK_Left, 99}}) {
    host.type(keysym);
    host.settle();
    EXPECT_EQ(bar->getValue(), value) << keysym;
  }
  // An observing holder hears of the change instead, and no callback runs.
  container.observing = true;
  const int before = changes;
  host.type(XK_Home);
  host.settle();
  EXPECT_EQ(container.heard, std::vector<const QelSymbol*>{QelScrollBar::ValueChangedSymbol()});
  EXPECT_EQ(changes, before);
}

TEST_F(GadgetTest, LabelsAlignFollowTheLanguageAndMeasureEveryLine) {
  QelFont* fixed = display->getFont("fixed");
  QelPalette* palette = display->getPalette(display->getColor("gray"), display->getColor("black"),
                                            nullptr, nullptr, fixed);
  const QelRect rect(10, 10, 120, 30);
  const int32_t width = fixed->textWidth("Hi", 2);
  for (int opaque : {0, 1}) {
    int left[3];
    const unsigned int alignments[] = {QelLeft, QelCenter, QelRight};
    for (int i = 0; i < 3; ++i) {
      QelMessageLabel label(display, "Hi", rect, alignments[i], 0, palette, 1);
      label.setOpaque(opaque);
      QelPort* port = windowPort(150, 50);
      label.draw(port, nullptr, nullptr);
      Image image = read(port);
      EXPECT_EQ(image.at(rect.x + 1, rect.y + 1),
                opaque ? rgbOf(label.getBackgroundPalette()) : 0xffffffu);
      left[i] = extentOf(image, 0).x;
    }
    // The same glyphs, moved by the room the text leaves.
    EXPECT_EQ(left[1] - left[0], int(rect.w - width) / 2);
    EXPECT_EQ(left[2] - left[0], int(rect.w) - width);
  }

  QelMessageDatabase& messages = display->getMessageDatabase();
  messages.setMessage("&kestrelTestQuit", "&Quit", "C");
  messages.setMessage("&kestrelTestQuit", "&Beenden", "de");
  QelMessageLabel label(display, QelPoint(0, 0), "&kestrelTestQuit");
  EXPECT_STREQ(label.getText(), "&Quit");
  messages.setLanguage("de");
  EXPECT_STREQ(label.getText(), "&Beenden");
  EXPECT_EQ(label.getMnemonic(), 'B');
  messages.setLanguage("C");

  // Lines times the font's height plus 3; the widest line, the mnemonic mark left out.
  label.getMessage().setName(strdup("a\n&bb\nc"), 0);  // kept and freed by the string itself
  label.getMessage().setName(label.getMessage().getName(), 1);  // a copy of its own name
  uint32_t w = 0, h = 0;
  label.computeSize(palette, w, h);
  EXPECT_EQ(h, uint32_t(3 * (fixed->ascent() + fixed->descent()) + 3));
  EXPECT_EQ(w, uint32_t(fixed->textWidth("bb", 2)));
}

TEST_F(GadgetTest, ScrollBarsAndLabelsReadBackFromDataFiles) {
  QelScrollBar bar(display, QelRect(1, 2, 30, 200), QelVertical, 3);
  bar.setValues(-5, 500, 42, 17);
  bar.pageIncrement = 33;
  QelMessageLabel label(display, "two \"quoted\"\nlines", QelRect(4, 5, 60, 30), QelRight, 1);
  label.setOpaque(1);
  label.setSensitive(false);
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  std::string text;
  ASSERT_TRUE(readBackSavesTheSame(display, {&bar, &label}, loaded, text));
  // The fields in the order the file gives them.
  EXPECT_NE(text.find(" 1 2 30 200 3 1 " + std::to_string(QelVertical) + " -5 500 42 17 1 1 33 10"),
            std::string::npos)
      << text;
}

}  // namespace
}  // namespace kestrel::test
