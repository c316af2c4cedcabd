#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>

#include "display/font.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000, kRed = 0xff0000;
// Both 6 by 13 cells, ascent 11: the same design as a font set (the locale's charset) and as a
// core font.
constexpr const char* kSetFont = "fixed";
constexpr const char* kCoreFont =
    "-misc-fixed-medium-r-semicondensed--13-120-75-75-c-60-iso10646-1";

class TextDrawingTest : public DisplayTest {
 protected:
  // Black text; image strings on red.
  static const QelPalette* palette(const char* fontName) {
    return display->getPalette(display->getColor("red"), display->getColor("black"), nullptr,
                               nullptr, display->getFont(fontName));
  }
  static void clear(QelPort* port) { XClearWindow(xDisplay, port->getDrawable()); }
  // The box of the black pixels of the port.
  QelRect ink(QelPort* port) { return extentOf(read(port), kBlack); }
};

TEST_F(TextDrawingTest, AnchorBitsPlaceTextInsideItsBox) {
  QelPort* port = windowPort(200, 100);
  for (const char* name : {kSetFont, kCoreFont}) {
    const QelPalette* p = palette(name);
    const QelFont* f = p->getFont();
    ASSERT_EQ(f->isFontSet(), name == kSetFont);
    const int w = f->textWidth("Hg", -1), a = f->ascent(), d = f->descent(), cell = f->maxWidth();
    const int middle = 50 + (a - d) / 2;
    // Where the text must start: its left and its baseline.
    for (auto [position, left, baseline] :
         {std::tuple<unsigned, int, int>{0, 100, 50},
          {QelLeft | QelTop, 100, 50 + a},
          {QelRight | QelBottom, 100 - w, 50 - d},
          {QelCenter, 100 - w / 2, middle},
          {QelRight | QelCenter, 100 - w, middle},
          {QelCenter | QelTop, 100 - w / 2, 50 + a},
          {QelLeft | QelRight | QelTop | QelBottom, 100, 50 + a}}) {
      clear(port);
      display->drawString(port, p, QelPoint(100, 50), "Hg", -1, position);
      const QelRect box = ink(port);
      SCOPED_TRACE(std::string(name) + " position " + std::to_string(position));
      ASSERT_FALSE(box.isEmpty());
      EXPECT_TRUE(box.x >= left && box.x < left + cell) << box.x;
      EXPECT_TRUE(box.right() <= left + w && box.right() > left + w - cell) << box.right();
      EXPECT_TRUE(box.y >= baseline - a && box.y < baseline) << box.y;
      EXPECT_TRUE(box.bottom() <= baseline + d && box.bottom() > baseline) << box.bottom();
    }
  }
}

TEST_F(TextDrawingTest, NothingDrawnForEmptyInputOrAnchorsBeyondSixteenBits) {
  QelPort* port = windowPort(100, 40);
  const uint16_t wide[] = {'a', 'b', 0};
  for (const char* name : {kSetFont, kCoreFont}) {
    const QelPalette* p = palette(name);
    display->drawString(port, p, QelPoint(10, 20), "", 5);  // never read past the terminator
    display->drawString(port, p, QelPoint(10, 20), "abc", 0);
    display->drawIString(port, p, QelPoint(10, 20), "abc", -2);
    display->drawIWChar(port, p, QelPoint(10, 20), nullptr, 2);
    display->drawLabel(port, p, "", QelRect(0, 0, 100, 40), 0);
    // X coordinates are 16-bit: each of these anchors would wrap around onto the window.
    for (QelPoint far : {QelPoint(65536 + 10, 20), QelPoint(10, 65536 + 20),
                         QelPoint(-65536 + 10, 20), QelPoint(INT_MIN, INT_MIN)}) {
      display->drawString(port, p, far, "abc", -1);
      display->drawIString(port, p, far, "abc", -1, QelCenter);
      display->drawIWChar(port, p, far, wide, -1);
    }
  }
  EXPECT_EQ(read(port).count(kWhite), size_t(100 * 40));
}

TEST_F(TextDrawingTest, TextFromFarOutsideShowsOnlyItsVisiblePart) {
  QelPort* port = windowPort(100, 40);
  const std::string text(12000, 'M');  // 72000 pixels: it starts far beyond the 16-bit range
  for (const char* name : {kSetFont, kCoreFont}) {
    SCOPED_TRACE(name);
    clear(port);
    display->drawString(port, palette(name), QelPoint(18 - 72000, 20), text.c_str(), -1);
    QelRect box = ink(port);  // its last 3 cells
    EXPECT_TRUE(!box.isEmpty() && box.x < 6 && box.right() <= 18 && box.right() > 12);
    clear(port);
    display->drawString(port, palette(name), QelPoint(82, 20), text.c_str(), -1);
    box = ink(port);  // its first 3 cells
    EXPECT_TRUE(box.x >= 82 && box.right() > 94);
  }
}

}  // namespace
}  // namespace kestrel::test
