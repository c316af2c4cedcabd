#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "display/color.h"
#include "display/palette.h"
#include "graphics/region.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;

// A one-pixel frame around w by h pixels.
void frame(Image& image, int x, int y, int w, int h, uint32_t color = kBlack) {
  image.fillRect(x, y, w, 1, color);
  image.fillRect(x, y + h - 1, w, 1, color);
  image.fillRect(x, y, 1, h, color);
  image.fillRect(x + w - 1, y, 1, h, color);
}

class DrawingTest : public DisplayTest {
 protected:
  void TearDown() override {
    for (QelPalette* palette : _palettes) palette->unLock();
    _palettes.clear();
    DisplayTest::TearDown();
  }

  // Black on white, lines `width` pixels wide.
  QelPalette* ink(uint16_t width = 0) {
    QelPalette* palette =
        display->getPalette(display->getColor("white"), display->getColor("black"), nullptr,
                            nullptr, nullptr, nullptr, width);
    palette->lock();
    _palettes.push_back(palette);
    return palette;
  }

  static Image blank(QelPort* port) { return Image(port->width(), port->height(), kWhite); }

 private:
  std::vector<QelPalette*> _palettes;
};

TEST_F(DrawingTest, RectangleOutlineCoversWidthByHeightAndAtLeastTwoByTwo) {
  QelPort* port = windowPort(64, 40);
  QelPalette* thin = ink();
  const QelRect rects[] = {{2, 2, 0, 0},    {6, 2, 1, 1},   {10, 2, 2, 2},
                           {14, 2, 10, 10}, {30, 2, 0, 10}, {36, 2, 10, 1}};
  for (const QelRect& r : rects) display->drawRectangle(port, thin, r);
  // Line width 1 follows the same rule as thin lines.
  display->drawRectangle(port, ink(1), QelRect(50, 2, 10, 10));
  Image expected = blank(port);
  frame(expected, 2, 2, 2, 2);
  frame(expected, 6, 2, 2, 2);
  frame(expected, 10, 2, 2, 2);
  frame(expected, 14, 2, 10, 10);
  frame(expected, 30, 2, 2, 10);
  frame(expected, 36, 2, 10, 2);
  frame(expected, 50, 2, 10, 10);

  // Three-pixel lines are centred on the one-pixel frame.
  display->drawRectangle(port, ink(3), QelRect(10, 20, 12, 10));
  frame(expected, 9, 19, 14, 12);
  frame(expected, 10, 20, 12, 10);
  frame(expected, 11, 21, 10, 8);
  EXPECT_TRUE(imagesMatch(read(port), expected, "rectangle-outlines"));
}

TEST_F(DrawingTest, RectangleFarBeyondSixteenBitsKeepsItsVisibleEdgesOnly) {
  QelPort* port = windowPort(40, 30);
  // Left and bottom edges fall inside; the others lie billions of pixels away.
  display->drawRectangle(port, ink(), QelRect(5, -2000000000, 4000000000u, 2000000020u));
  display->drawRectangle(port, ink(4), QelRect(-2000000000, -2000000000, 2000000030u, 4000000000u));
  // Outlines ending just left of or above the port (at x or y = -1) leave nothing in it.
  display->drawRectangle(port, ink(), QelRect(-3, 22, 3, 5));
  display->drawRectangle(port, ink(), QelRect(12, -3, 5, 3));
  display->drawRectangle(port, ink(), QelRect(-70000, 22, 69999, 5));
  Image expected = blank(port);
  expected.fillRect(5, 0, 1, 20, kBlack);
  expected.fillRect(5, 19, 35, 1, kBlack);
  // The thick frame's right edge: x = 29, four pixels centred on it.
  expected.fillRect(27, 0, 4, 30, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "rectangle-far-away"));
}

TEST_F(DrawingTest, FillRectangleCoversExactlyItsPixels) {
  QelPort* port = windowPort(40, 30);
  QelPalette* palette = ink();
  display->fillRectangle(port, palette, QelRect(3, 4, 10, 6));
  display->fillRectangle(port, palette, QelRect(-5, -5, 7, 7));
  display->fillRectangle(port, palette, QelRect(-2000000000, 20, 4000000000u, 3));
  display->fillRectangle(port, palette, QelRect(30, 5, 0, 10));
  Image expected = blank(port);
  expected.fillRect(3, 4, 10, 6, kBlack);
  expected.fillRect(0, 0, 2, 2, kBlack);
  expected.fillRect(0, 20, 40, 3, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "fill-rectangle"));
}

TEST_F(DrawingTest, ThinLineFromFarOutsideSixteenBitsDoesNotWrap) {
  QelPort* port = windowPort(50, 40);
  QelPalette* palette = ink();
  display->drawLine(port, palette, QelPoint(-2000000000, 25), QelPoint(30, 25));
  display->drawLine(port, palette, QelPoint(-1000000000, -1000000000), QelPoint(20, 20));
  display->drawLine(port, palette, QelPoint(45, 2000000000), QelPoint(45, -2000000000));
  // Entirely above the port: nothing.
  display->drawLine(port, palette, QelPoint(-2000000000, -3), QelPoint(2000000000, -3));
  Image expected = blank(port);
  expected.fillRect(0, 25, 31, 1, kBlack);
  for (int i = 0; i <= 20; ++i) expected.set(i, i, kBlack);
  expected.fillRect(45, 0, 1, 40, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "thin-line-far-away"));

  // A polyline keeps the visible parts of its segments, each where it belongs.
  QelPort* second = windowPort(40, 40);
  QelPoint points[] = {{5, 5}, {30, 5}, {30, 2000000000}, {10, 2000000000}, {10, 20}, {20, 20}};
  display->drawPolyLine(second, palette, 6, points);
  expected = blank(second);
  expected.fillRect(5, 5, 26, 1, kBlack);
  expected.fillRect(30, 5, 1, 35, kBlack);
  expected.fillRect(10, 20, 1, 20, kBlack);
  expected.fillRect(10, 20, 11, 1, kBlack);
  EXPECT_TRUE(imagesMatch(read(second), expected, "polyline-far-away"));
}

TEST_F(DrawingTest, ThickLinesAreCentredOnTheirPathNearAndFar) {
  QelPort* port = windowPort(50, 40);
  QelPalette* thick = ink(5);
  display->drawLine(port, thick, QelPoint(10, 10), QelPoint(30, 10));
  display->drawLine(port, thick, QelPoint(40, 2000000000), QelPoint(40, -2000000000));
  QelPoint zigzag[] = {{-2000000000, 30}, {20, 30}, {20, 2000000000}};
  display->drawPolyLine(port, ink(3), 3, zigzag);
  Image expected = blank(port);
  // Butt caps end at the end points; the width is split around the path.
  expected.fillRect(10, 8, 20, 5, kBlack);
  expected.fillRect(38, 0, 5, 40, kBlack);
  // The corner is a miter join, the other ends are cut far away.
  expected.fillRect(0, 29, 22, 3, kBlack);
  expected.fillRect(19, 29, 3, 11, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "thick-lines"));
}

TEST_F(DrawingTest, PolygonsWithFarVerticesFillTheWindowCorrectly) {
  QelPort* port = windowPort(60, 50);
  QelPalette* palette = ink();
  // An L whose long arm reaches two billion pixels to the right.
  QelPoint arm[] = {{5, 5}, {2000000000, 5}, {2000000000, 15}, {20, 15}, {20, 40}, {5, 40}};
  display->fillPolyLine(port, palette, 6, arm);
  // A right triangle with its corner far down and right: its hypotenuse is the diagonal.
  QelPoint triangle[] = {{30, 20}, {1000000030, 20}, {1000000030, 1000000020}};
  display->fillPolyLine(port, palette, 3, triangle, 1);
  Image expected = blank(port);
  expected.fillRect(5, 5, 55, 10, kBlack);
  expected.fillRect(5, 15, 15, 25, kBlack);
  // Pixel centres on or right of the diagonal (x - 30 >= y - 20).
  for (int y = 20; y < 50; ++y) expected.fillRect(y + 10, y, 60, 1, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "polygon-far-vertices"));

  // A polygon around the whole window, both ways round, fills all of it.
  QelPoint around[] = {{-2000000000, -2000000000},
                       {2000000000, -2000000000},
                       {2000000000, 2000000000},
                       {-2000000000, 2000000000}};
  QelPort* second = windowPort(20, 20);
  display->fillPolyLine(second, palette, 4, around);
  Image filled(20, 20, kBlack);
  EXPECT_TRUE(imagesMatch(read(second), filled, "polygon-around-window"));
}

TEST_F(DrawingTest, ArcsCoverTheirRectangle) {
  QelPort* port = windowPort(60, 40);
  QelPalette* palette = ink();
  display->drawArc(port, palette, QelRect(5, 5, 20, 16), 0, 360);
  display->fillArc(port, palette, QelRect(30, 5, 20, 16), 0, 360);
  // Too wide for X: not drawn at all.
  display->drawArc(port, palette, QelRect(0, 0, 65536, 30), 0, 360);
  display->fillArc(port, palette, QelRect(0, 0, 30, 70000), 0, 360);
  Image image = read(port);
  // Outline and fill both reach exactly w by h pixels, and nothing else is drawn.
  auto inkBox = [&](int x0, int x1) {
    int left = 1000, right = -1, top = 1000, bottom = -1;
    for (int y = 0; y < image.height; ++y)
      for (int x = x0; x < x1; ++x)
        if (image.at(x, y) != kWhite)
          left = std::min(left, x), right = std::max(right, x), top = std::min(top, y),
          bottom = std::max(bottom, y);
    return QelRect(left, top, right - left + 1, bottom - top + 1);
  };
  EXPECT_EQ(inkBox(0, 28), QelRect(5, 5, 20, 16));
  EXPECT_EQ(inkBox(28, 60), QelRect(30, 5, 20, 16));
  EXPECT_EQ(image.at(15, 13), kWhite);  // an outline, not a fill
  EXPECT_EQ(image.at(40, 13), kBlack);

  // A quarter from three o'clock counter-clockwise lies in the top-right quadrant.
  QelPort* quarter = windowPort(30, 30);
  display->fillArc(quarter, palette, QelRect(5, 5, 20, 20), 0, 90);
  Image q = read(quarter);
  EXPECT_EQ(q.at(20, 10), kBlack);
  EXPECT_EQ(q.at(10, 10), kWhite);
  EXPECT_EQ(q.at(20, 20), kWhite);
}

TEST_F(DrawingTest, ClipRegionLeavesOutZeroWidthRectangles) {
  QelPort* port = windowPort(40, 30);
  QelPalette* palette = display->getPalette(display->getColor("white"), display->getColor("navy"));
  palette->lock();
  QelRegion region(QelRect(20, 0, 0, 30));
  region.add(QelRect(5, 5, 10, 10));
  ASSERT_EQ(region.getCount(), 2);
  display->setClip(palette, &region);
  display->fillRectangle(port, palette, QelRect(0, 0, 40, 30));
  display->drawLine(port, palette, QelPoint(0, 7), QelPoint(39, 7));
  Image expected = blank(port);
  const uint32_t navy = 0x000080;
  expected.fillRect(5, 5, 10, 10, navy);
  EXPECT_TRUE(imagesMatch(read(port), expected, "clip-zero-width"));

  display->setClip(palette, static_cast<const QelRegion*>(nullptr));
  display->fillRectangle(port, palette, QelRect(0, 0, 40, 30));
  EXPECT_TRUE(imagesMatch(read(port), Image(40, 30, navy), "clip-removed"));
  palette->unLock();
}

TEST_F(DrawingTest, BitmapsCopyIntoWindowsWithAndWithoutTransparency) {
  QelPort* port = windowPort(40, 20);
  QelPalette* palette = ink();
  // A 16x8 depth-1 bitmap: the left half set.
  std::vector<unsigned char> bits(2 * 8);
  for (int row = 0; row < 8; ++row) bits[size_t(row) * 2] = 0xff;
  QelBitmap stencil(display, 16, 8, bits.data());
  ASSERT_TRUE(stencil.isValid());
  display->fillRectangle(port, palette, QelRect(0, 10, 40, 10));
  // Opaque: set pixels in the foreground, clear ones in the background.
  display->copyArea(port, palette, &stencil, QelRect(0, 0, 16, 8), QelPoint(2, 1));
  // Transparent: only the set pixels; this one lands on black and must leave its right half.
  QelPalette* white = display->getPalette(display->getColor("black"), display->getColor("white"));
  display->copyTransparentArea(port, white, &stencil, QelRect(0, 0, 16, 8), QelPoint(20, 11));
  Image expected = blank(port);
  expected.fillRect(0, 10, 40, 10, kBlack);
  expected.fillRect(2, 1, 8, 8, kBlack);
  expected.fillRect(20, 11, 8, 8, kWhite);
  EXPECT_TRUE(imagesMatch(read(port), expected, "bitmap-copies"));

  // A pixmap port cleared to the default palette's background, then copied out whole.
  QelBitmap buffer(display, 40, 20, display->depth());
  display->fillRectangle(&buffer, palette, QelRect(0, 0, 40, 20));
  display->clearArea(&buffer, QelRect(5, 5, 10, 10), 0);
  display->copyArea(port, palette, &buffer, QelRect(-100, -100, 1000, 1000), QelPoint(-100, -100));
  Image cleared(40, 20, kBlack);
  unsigned short r, g, b;
  display->defaultPalette()->getBackground()->getRGB(r, g, b);
  cleared.fillRect(5, 5, 10, 10, uint32_t(r >> 8) << 16 | uint32_t(g >> 8) << 8 | (b >> 8));
  EXPECT_TRUE(imagesMatch(read(port), cleared, "pixmap-cleared-and-copied"));
}

// Lines and filled diamonds of a copying context are queued and sent a context at a time: what
// lands must be what drawing each figure with its own request gives, in the order drawn.
TEST_F(DrawingTest, QueuedLinesAndDiamondsDrawWhatOneRequestEachDraws) {
  QelBitmap queued(display, 200, 60, display->depth()), direct(display, 200, 60, display->depth());
  for (QelBitmap* b : {&queued, &direct}) display->fillRectangle(b, ink(), QelRect(0, 0, 200, 60));
  QelPalette* dotted = display->getPalette(nullptr, display->getColor("green"), nullptr, nullptr,
                                           nullptr, display->getLineStyle("dot"), 2);
  QelPalette* red =
      display->getPalette(nullptr, display->getColor("red"), nullptr, nullptr, nullptr, nullptr, 3);
  Display* x = xDisplay;
  auto both = [&](QelPalette* p, int x0, int y0, int x1, int y1, int diamond) {
    display->openDrawing(&queued, nullptr);
    display->drawLine(&queued, p, QelPoint(x0, y0), QelPoint(x1, y1));
    if (diamond >= 0)
      display->drawMarker(&queued, p, QelPoint(x0, y0), QelMarkerFilledDiamond, diamond);
    display->closeDrawing();
    XDrawLine(x, direct.getDrawable(), p->getGC(), x0, y0, x1, y1);
    const short s = short(diamond), cx = short(x0), cy = short(y0);
    XPoint shape[5] = {{short(cx - s), cy},
                       {cx, short(cy - s)},
                       {short(cx + s), cy},
                       {cx, short(cy + s)},
                       {short(cx - s), cy}};
    if (diamond >= 0)
      XFillPolygon(x, direct.getDrawable(), p->getGC(), shape, 5, Convex, CoordModeOrigin);
  };
  // Every size up to the largest remembered, overlapping, in two contexts drawn in turns.
  for (int size = 0; size <= 64; size += size < 9 ? 1 : 11) {
    both(dotted, 3 + size * 3, 10 + size % 7, 150 - size, 50 - size % 5, size);
    both(red, 10 + size * 2, 55 - size % 9, 190 - size * 2, 5 + size % 11, size % 6);
  }
  XSync(x, False);
  auto pixels = [&](QelBitmap& b) {
    return readDrawable(x, b.getDrawable(), display->getVisual(),
                        DefaultColormap(x, DefaultScreen(x)), 0, 0, 200, 60);
  };
  EXPECT_TRUE(imagesMatch(pixels(queued), pixels(direct), "queued-figures"));
}

TEST_F(DrawingTest, TraceSwitchPrintsOperationPortAndGeometry) {
  QelPort* port = windowPort(20, 20);
  QelPalette* palette = ink();
  ASSERT_EQ(QelGetDrawTrace(), 0);
  QelSetDrawTrace(1);
  EXPECT_EQ(QelGetDrawTrace(), 1);
  testing::internal::CaptureStdout();
  display->drawRectangle(port, palette, QelRect(1, 2, 3, 4));
  display->drawLine(port, palette, QelPoint(-5, 6), QelPoint(7, 8));
  std::string traced = testing::internal::GetCapturedStdout();
  QelSetDrawTrace(0);
  char expected[200];
  std::snprintf(expected, sizeof expected, "drawRectangle %p 1 2 3 4\ndrawLine %p -5 6 7 8\n",
                static_cast<void*>(port), static_cast<void*>(port));
  EXPECT_EQ(traced, expected);

  testing::internal::CaptureStdout();
  display->drawRectangle(port, palette, QelRect(1, 2, 3, 4));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace kestrel::test
