#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>

#include "display/dump_device.h"
#include "display/font.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000, kRed = 0xff0000;
// Both 6 by 13 cells: the same design as a font set (the locale's charset) and as a core font.
constexpr const char* kSetFont = "fixed";
constexpr const char* kCoreFont =
    "-misc-fixed-medium-r-semicondensed--13-120-75-75-c-60-iso10646-1";

// The smallest box (inclusive edges) around the pixels that are not white.
struct Box {
  int left = INT_MAX, top = INT_MAX, right = INT_MIN, bottom = INT_MIN;
  bool empty() const { return left > right; }
};

Box inkBox(const Image& image) {
  Box box;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      if (image.at(x, y) != kWhite) {
        box.left = std::min(box.left, x), box.right = std::max(box.right, x);
        box.top = std::min(box.top, y), box.bottom = std::max(box.bottom, y);
      }
  return box;
}

class TextDrawingTest : public DisplayTest {
 protected:
  // Black text; image strings on red.
  static const QelPalette* palette(const char* fontName) {
    return display->getPalette(display->getColor("red"), display->getColor("black"), nullptr,
                               nullptr, display->getFont(fontName));
  }
  static void clear(QelPort* port) { XClearWindow(xDisplay, port->getDrawable()); }
};

TEST_F(TextDrawingTest, AnchorBitsPlaceTextInsideItsBox) {
  QelPort* port = windowPort(200, 100);
  for (const char* name : {kSetFont, kCoreFont}) {
    const QelPalette* p = palette(name);
    const QelFont* f = p->getFont();
    ASSERT_EQ(f->isFontSet(), name == kSetFont);
    const int w = f->textWidth("Hg", -1), a = f->ascent(), d = f->descent(), cell = f->maxWidth();
    const int middle = 50 + (a - d) / 2;
    struct {
      unsigned position;
      int left, baseline;  // where the text must start
    } cases[] = {{0, 100, 50},
                 {QelLeft | QelTop, 100, 50 + a},
                 {QelRight | QelBottom, 100 - w, 50 - d},
                 {QelCenter, 100 - w / 2, middle},
                 {QelRight | QelCenter, 100 - w, middle},
                 {QelCenter | QelTop, 100 - w / 2, 50 + a},
                 {QelLeft | QelRight | QelTop | QelBottom, 100, 50 + a}};
    for (const auto& c : cases) {
      clear(port);
      display->drawString(port, p, QelPoint(100, 50), "Hg", -1, c.position);
      Box ink = inkBox(read(port));
      SCOPED_TRACE(std::string(name) + " position " + std::to_string(c.position));
      ASSERT_FALSE(ink.empty());
      EXPECT_TRUE(ink.left >= c.left && ink.left < c.left + cell) << ink.left;
      EXPECT_TRUE(ink.right < c.left + w && ink.right >= c.left + w - cell) << ink.right;
      EXPECT_TRUE(ink.top >= c.baseline - a && ink.top < c.baseline) << ink.top;
      EXPECT_TRUE(ink.bottom < c.baseline + d && ink.bottom >= c.baseline) << ink.bottom;
    }
  }
}

TEST_F(TextDrawingTest, ImageStringsPaintTheirBackgroundPastTheRequestLimit) {
  QelBitmap pixmap(display, 1900, 30, display->depth());  // wider than the screen
  GC white = XCreateGC(xDisplay, pixmap.getDrawable(), 0, nullptr);
  XSetForeground(xDisplay, white, WhitePixel(xDisplay, DefaultScreen(xDisplay)));
  std::string dots(300, '.');  // one X request carries at most 255 characters
  for (const char* name : {kSetFont, kCoreFont}) {
    SCOPED_TRACE(name);
    const QelPalette* p = palette(name);
    XFillRectangle(xDisplay, pixmap.getDrawable(), white, 0, 0, 1900, 30);
    display->drawIString(&pixmap, p, QelPoint(0, 0), "Hi", -1, QelLeft | QelTop);
    Image image = read(&pixmap);
    const int w = 12, h = 13;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) EXPECT_TRUE(image.at(x, y) == kRed || image.at(x, y) == kBlack);
    EXPECT_GT(image.count(kRed), 0u);
    EXPECT_EQ(image.count(kWhite), size_t(image.width * image.height - w * h));
    display->drawIString(&pixmap, p, QelPoint(0, 0), dots.c_str(), -1, QelLeft | QelTop);
    EXPECT_EQ(read(&pixmap).at(6 * 300 - 2, 1), kRed);
  }
  XFreeGC(xDisplay, white);
}

struct Recorder : QelDumpDevice {
  int calls = 0;
  void drawString(QelPort*, const QelPalette*, const QelPoint&, const char*, int,
                  unsigned) override {
    ++calls;
  }
  void drawWChar(QelPort*, const QelPalette*, const QelPoint&, const uint16_t*, int) override {
    ++calls;
  }
  void drawTransformedString(QelPort*, const QelPalette*, const QelPoint&, const char*, int,
                             const QelTransformer*) override {
    ++calls;
  }
  void drawLabel(QelPort*, const QelPalette*, const char*, const QelRect&, unsigned) override {
    ++calls;
  }
};

TEST_F(TextDrawingTest, NothingDrawnForEmptyInputUnreachableAnchorsOrADumpDevice) {
  QelPort* port = windowPort(100, 40);
  const uint16_t wide[] = {'a', 'b', 0};
  for (const char* name : {kSetFont, kCoreFont}) {
    const QelPalette* p = palette(name);
    display->drawString(port, p, QelPoint(10, 20), "", -1);
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
  display->drawString(port, nullptr, QelPoint(10, 20), "abc", -1);
  display->drawString(nullptr, palette(kSetFont), QelPoint(10, 20), "abc", -1);

  Recorder recorder;
  display->setDumpDevice(&recorder);
  display->drawString(port, palette(kSetFont), QelPoint(10, 20), "abc", -1);
  display->drawWChar(port, palette(kSetFont), QelPoint(10, 20), wide, -1);
  display->drawTransformedString(port, palette(kSetFont), QelPoint(10, 20), "abc", -1, nullptr);
  display->drawLabel(port, palette(kSetFont), "a\nb", QelRect(0, 0, 100, 40), 0);
  display->setDumpDevice(nullptr);
  EXPECT_EQ(recorder.calls, 4);
  EXPECT_EQ(read(port).count(kWhite), size_t(100 * 40));
}

TEST_F(TextDrawingTest, TextFromFarOutsideShowsOnlyItsVisiblePart) {
  QelPort* port = windowPort(100, 40);
  std::string text(12000, 'M');  // 72000 pixels: it starts far beyond the 16-bit range
  for (const char* name : {kSetFont, kCoreFont}) {
    SCOPED_TRACE(name);
    clear(port);
    display->drawString(port, palette(name), QelPoint(18 - 72000, 20), text.c_str(), -1);
    Box ink = inkBox(read(port));  // its last 3 cells
    EXPECT_TRUE(!ink.empty() && ink.left >= 0 && ink.left < 6 && ink.right < 18 && ink.right >= 12);
    clear(port);
    display->drawString(port, palette(name), QelPoint(82, 20), text.c_str(), -1);
    ink = inkBox(read(port));  // its first 3 cells
    EXPECT_TRUE(!ink.empty() && ink.left >= 82 && ink.right >= 94);
  }
}

TEST_F(TextDrawingTest, SixteenBitCharactersAreHighByteFirstAndTransformsMoveOnlyTheAnchor) {
  QelPort* port = windowPort(100, 60);
  const uint16_t hi[] = {'H', 'i', 0};
  for (const char* name : {kSetFont, kCoreFont}) {
    clear(port);
    display->drawString(port, palette(name), QelPoint(20, 40), "Hi", 2);
    Image expected = read(port);
    clear(port);
    display->drawWChar(port, palette(name), QelPoint(20, 40), hi, -1);
    EXPECT_TRUE(imagesMatch(read(port), expected, std::string("wchar-") + name));
    clear(port);
    QelTransformer doubling(2.0, 2.0);  // glyphs stay the same size
    display->drawTransformedString(port, palette(name), QelPoint(10, 20), "Hi", -1, &doubling);
    EXPECT_TRUE(imagesMatch(read(port), expected, std::string("transformed-") + name));
    display->drawIWChar(port, palette(name), QelPoint(20, 40), hi, -1);
    EXPECT_GT(read(port).count(kRed), 0u);
  }
  // U+2500 is a rule across the whole cell; swapped bytes would draw '%'.
  const uint16_t rule[] = {0x2500, 0};
  clear(port);
  display->drawWChar(port, palette(kCoreFont), QelPoint(10, 20), rule, -1);
  Box ink = inkBox(read(port));
  EXPECT_TRUE(ink.left == 10 && ink.right == 15 && ink.top == ink.bottom);
}

TEST_F(TextDrawingTest, LabelsStackLinesAndUnderlineTheMnemonic) {
  QelPort* port = windowPort(200, 100);
  const QelPalette* p = palette(kCoreFont);  // 6 by 13 cells, ascent 11
  uint32_t w = 1, h = 1, emptyW = 1, emptyH = 1;
  display->labelSize(p, "&Open\nA && B", w, h);
  EXPECT_EQ(w, 30u);  // "A & B"
  EXPECT_EQ(h, 26u);
  display->labelSize(p, "", emptyW, emptyH);
  EXPECT_EQ(emptyW + emptyH, 0u);

  const QelRect rect(20, 10, 100, 60);
  auto underlined = [&](const Image& image) {  // a full row under the first cell
    for (int x = 20; x < 26; ++x)
      if (image.at(x, 10 + 11 + 1) != kBlack) return false;
    return true;
  };
  display->drawLabel(port, p, "&Open\nA && B", rect, QelLeft | QelTop);
  Image image = read(port);
  Box ink = inkBox(image);
  EXPECT_TRUE(ink.left >= 20 && ink.right < 50 && ink.top >= 10 && ink.bottom < 36) << ink.right;
  EXPECT_GE(ink.bottom, 10 + 13);  // the second line is there
  EXPECT_TRUE(underlined(image));

  clear(port);
  display->drawLabel(port, p, "Open", rect, 0);  // centred both ways: 24 by 13 in 100 by 60
  ink = inkBox(read(port));
  EXPECT_TRUE(ink.left >= 58 && ink.right < 82 && ink.top >= 33 && ink.bottom < 46);
  clear(port);
  display->drawLabel(port, p, "Open", rect, QelLeft | QelTop);
  EXPECT_FALSE(underlined(read(port)));
}

}  // namespace
}  // namespace kestrel::test
