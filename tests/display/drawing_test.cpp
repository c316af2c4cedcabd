#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "display/color.h"
#include "display/palette.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;
constexpr int32_t kFar = 2000000000;

class DrawingTest : public DisplayTest {
 protected:
  // Black on white, lines `width` pixels wide.
  QelPalette* ink(uint16_t width = 0) {
    return display->getPalette(display->getColor("white"), display->getColor("black"), nullptr,
                               nullptr, nullptr, nullptr, width);
  }
};

TEST_F(DrawingTest, RectangleOutlineCoversWidthByHeightAndAtLeastTwoByTwo) {
  QelPort* port = windowPort(64, 40);
  Image expected(64, 40, kWhite);
  // What is drawn, and the frame it gives.
  for (auto [drawn, framed] : {std::pair<QelRect, QelRect>{{2, 2, 0, 0}, {2, 2, 2, 2}},
                               {{6, 2, 1, 1}, {6, 2, 2, 2}},
                               {{14, 2, 10, 10}, {14, 2, 10, 10}},
                               {{30, 2, 0, 10}, {30, 2, 2, 10}},
                               {{36, 2, 10, 1}, {36, 2, 10, 2}}}) {
    display->drawRectangle(port, ink(), drawn);
    expected.fillRect(framed.x, framed.y, int(framed.w), int(framed.h), kBlack);
    expected.fillRect(framed.x + 1, framed.y + 1, int(framed.w) - 2, int(framed.h) - 2, kWhite);
  }
  // Line width 1 follows the same rule as thin lines; three-pixel lines are centred on the
  // one-pixel frame.
  display->drawRectangle(port, ink(1), QelRect(50, 2, 10, 10));
  expected.fillRect(50, 2, 10, 10, kBlack);
  expected.fillRect(51, 3, 8, 8, kWhite);
  display->drawRectangle(port, ink(3), QelRect(10, 20, 12, 10));
  expected.fillRect(9, 19, 14, 12, kBlack);
  expected.fillRect(12, 22, 8, 6, kWhite);
  EXPECT_TRUE(imagesMatch(read(port), expected, "rectangle-outlines"));
}

// Figures reaching far beyond X's 16-bit coordinates keep exactly their visible pixels: each
// row draws into a white port of its own and lists the black rectangles (and black pixels) it
// must give.
TEST_F(DrawingTest, FiguresFarBeyondSixteenBitsKeepTheirVisiblePixelsOnly) {
  struct Case {
    struct {
      const char* name;
      int w, h;
    } port;
    std::function<void(QelPort*)> draw;
    std::vector<QelRect> black;
    std::function<bool(int, int)> alsoBlack;
  };
  auto none = [](int, int) { return false; };
  const Case cases[] = {
      {{"rectangle-far-away", 40, 30},
       [&](QelPort* port) {
         // Left and bottom edges fall inside; the others lie billions of pixels away.
         display->drawRectangle(port, ink(), QelRect(5, -kFar, 4000000000u, kFar + 20u));
         display->drawRectangle(port, ink(4), QelRect(-kFar, -kFar, kFar + 30u, 4000000000u));
         // Outlines ending just left of or above the port (at x or y = -1) leave nothing in it.
         display->drawRectangle(port, ink(), QelRect(-3, 22, 3, 5));
         display->drawRectangle(port, ink(), QelRect(12, -3, 5, 3));
         display->drawRectangle(port, ink(), QelRect(-70000, 22, 69999, 5));
       },
       // The thick frame's right edge is x = 29, four pixels centred on it.
       {{5, 0, 1, 20}, {5, 19, 35, 1}, {27, 0, 4, 30}},
       none},
      {{"fill-rectangle", 40, 30},
       [&](QelPort* port) {
         display->fillRectangle(port, ink(), QelRect(-5, -5, 7, 7));
         display->fillRectangle(port, ink(), QelRect(-kFar, 20, 4000000000u, 3));
         display->fillRectangle(port, ink(), QelRect(30, 5, 0, 10));
       },
       {{0, 0, 2, 2}, {0, 20, 40, 3}},
       none},
      {{"thin-line-far-away", 50, 40},
       [&](QelPort* port) {
         display->drawLine(port, ink(), QelPoint(-kFar, 25), QelPoint(30, 25));
         display->drawLine(port, ink(), QelPoint(-1000000000, -1000000000), QelPoint(20, 20));
         display->drawLine(port, ink(), QelPoint(45, kFar), QelPoint(45, -kFar));
         display->drawLine(port, ink(), QelPoint(-kFar, -3), QelPoint(kFar, -3));  // above
       },
       {{0, 25, 31, 1}, {45, 0, 1, 40}},
       [](int x, int y) { return x == y && x <= 20; }},
      // A polyline keeps the visible parts of its segments, each where it belongs.
      {{"polyline-far-away", 40, 40},
       [&](QelPort* port) {
         QelPoint points[] = {{5, 5}, {30, 5}, {30, kFar}, {10, kFar}, {10, 20}, {20, 20}};
         display->drawPolyLine(port, ink(), 6, points);
       },
       {{5, 5, 26, 1}, {30, 5, 1, 35}, {10, 20, 1, 20}, {10, 20, 11, 1}},
       none},
      // A closed curve that must be cut keeps the straight line that closes it.
      {{"closed-curve-far-away", 40, 30},
       [&](QelPort* port) {
         QelPoint curve[] = {{5, 5}, {5, 100000}, {35, 100000}, {35, 5}};
         display->drawClosedBezier(port, ink(), 4, curve);
       },
       {{5, 5, 31, 1}, {5, 5, 1, 25}, {35, 5, 1, 25}},
       none},
      // Butt caps end at the end points and the width is split around the path; the corner is
      // a miter join, the other ends are cut far away.
      {{"thick-lines", 50, 40},
       [&](QelPort* port) {
         display->drawLine(port, ink(5), QelPoint(10, 10), QelPoint(30, 10));
         display->drawLine(port, ink(5), QelPoint(40, kFar), QelPoint(40, -kFar));
         display->drawLine(port, ink(5), QelPoint(10, 20), QelPoint(32768, 20));  // past 16 bits
         QelPoint zigzag[] = {{-kFar, 30}, {20, 30}, {20, kFar}};
         display->drawPolyLine(port, ink(3), 3, zigzag);
       },
       {{10, 8, 20, 5}, {38, 0, 5, 40}, {10, 18, 40, 5}, {0, 29, 22, 3}, {19, 29, 3, 11}},
       none},
      // An L whose long arm reaches just past 16 bits, and a triangle whose slope of 1/3
      // crosses the cut at x = 62 at y = 30.67: rounded to 31, the cut edge fills the window's
      // pixels exactly as the far one does.
      {{"polygon-far-vertices", 60, 50},
       [&](QelPort* port) {
         QelPoint arm[] = {{5, 5}, {32768, 5}, {32768, 15}, {20, 15}, {20, 40}, {5, 40}};
         display->fillPolyLine(port, ink(), 6, arm);
         QelPoint triangle[] = {{30, 20}, {300000030, 100000020}, {30, 100000020}};
         display->fillPolyLine(port, ink(), 3, triangle);
       },
       {{5, 5, 55, 10}, {5, 15, 15, 25}},
       [](int x, int y) { return y >= 20 && x >= 30 && 3 * (y - 20) > x - 30; }},
      // Around the whole window, both ways round: all of it.
      {{"polygon-around-window", 20, 20},
       [&](QelPort* port) {
         QelPoint around[] = {{-kFar, -kFar}, {kFar, -kFar}, {kFar, kFar}, {-kFar, kFar}};
         display->fillPolyLine(port, ink(), 4, around);
       },
       {{0, 0, 20, 20}},
       none},
  };
  for (const Case& c : cases) {
    const auto [name, w, h] = c.port;
    QelPort* port = windowPort(w, h);
    c.draw(port);
    Image expected(w, h, kWhite);
    for (const QelRect& r : c.black) expected.fillRect(r.x, r.y, int(r.w), int(r.h), kBlack);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        if (c.alsoBlack(x, y)) expected.set(x, y, kBlack);
    EXPECT_TRUE(imagesMatch(read(port), expected, name));
  }
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
    display->drawMarker(&queued, p, QelPoint(x0, y0), QelMarkerFilledDiamond, diamond);
    display->closeDrawing();
    XDrawLine(x, direct.getDrawable(), p->getGC(), x0, y0, x1, y1);
    const short s = short(diamond), cx = short(x0), cy = short(y0);
    XPoint shape[5] = {{short(cx - s), cy},
                       {cx, short(cy - s)},
                       {short(cx + s), cy},
                       {cx, short(cy + s)},
                       {short(cx - s), cy}};
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

TEST_F(DrawingTest, ArcsCoverTheirRectangle) {
  QelPort* port = windowPort(60, 40);
  QelPalette* palette = ink();
  display->drawArc(port, palette, QelRect(5, 5, 20, 16), 0, 360);
  display->fillArc(port, palette, QelRect(30, 5, 20, 16), 0, 360);
  // Too wide for X: not drawn at all.
  display->drawArc(port, palette, QelRect(0, 0, 65536, 30), 0, 360);
  display->fillArc(port, palette, QelRect(0, 0, 30, 70000), 0, 360);
  // Outline and fill both reach exactly w by h pixels, and nothing else is drawn.
  Image image = read(port), left = image, right = image;
  left.fillRect(28, 0, 32, 40, kWhite);
  right.fillRect(0, 0, 28, 40, kWhite);
  EXPECT_EQ(extentOf(left, kBlack), QelRect(5, 5, 20, 16));
  EXPECT_EQ(extentOf(right, kBlack), QelRect(30, 5, 20, 16));
  // An outline, not a fill; a quarter from three o'clock counter-clockwise lies top right.
  display->fillArc(port, palette, QelRect(5, 20, 20, 20), 0, 90);
  EXPECT_TRUE(pixelsAre(
      read(port),
      {{15, 13, kWhite}, {40, 13, kBlack}, {20, 25, kBlack}, {10, 25, kWhite}, {20, 35, kWhite}}));
}

}  // namespace
}  // namespace kestrel::test
