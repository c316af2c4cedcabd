#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>

#include "display/palette.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;
constexpr int kSize = 6, kCell = 30;

// Marks the pixels (x, y) of the cell around (cx, cy) for which `inside(x - cx, y - cy)` holds.
void mark(Image& image, int cx, int cy, const std::function<bool(int, int)>& inside) {
  for (int y = cy - kCell / 2; y < cy + kCell / 2; ++y)
    for (int x = cx - kCell / 2; x < cx + kCell / 2; ++x)
      if (inside(x - cx, y - cy)) image.set(x, y, kBlack);
}

class MarkerTest : public DisplayTest {};

TEST_F(MarkerTest, EachFigureCoversItsHandComputedPixels) {
  const unsigned types[] = {QelMarkerFilledSquare, QelMarkerFilledDiamond, QelMarkerFilledTriangle,
                            QelMarkerDiamond,      QelMarkerCircle,        QelMarkerFilledCircle,
                            QelMarkerCross,        QelMarkerPlus,          QelMarkerSquare};
  const int count = int(sizeof types / sizeof *types);
  QelPort* port = windowPort(count * kCell, kCell);
  QelPalette* palette = display->getPalette(display->getColor("white"), display->getColor("black"));
  for (int i = 0; i < count; ++i)
    display->drawMarker(port, palette, QelPoint(kCell / 2 + i * kCell, kCell / 2), types[i], kSize);

  // Pixel centres are the integer points; polygon edges on the left and top belong to the fill,
  // those on the right and bottom do not.
  Image expected(count * kCell, kCell, kWhite);
  const int s = kSize, cy = kCell / 2;
  auto cx = [](int cell) { return kCell / 2 + cell * kCell; };
  // Filled square: 2s by 2s from (x - s, y - s).
  expected.fillRect(cx(0) - s, cy - s, 2 * s, 2 * s, kBlack);
  // Filled diamond: inside |u| + |v| < s, plus its left edges.
  mark(expected, cx(1), cy, [&](int u, int v) {
    return std::abs(u) + std::abs(v) < s || (std::abs(u) + std::abs(v) == s && u < 0);
  });
  // Filled triangle: apex (0, -s), base from (-s, s) to (s, s); each row v reaches from the
  // left edge at -s + (s - v) / 2 up to, not including, the right edge at s - (s - v) / 2.
  mark(expected, cx(2), cy,
       [&](int u, int v) { return v < s && 2 * u >= -2 * s + (s - v) && 2 * u < 2 * s - (s - v); });
  // Diamond: |u| + |v| = s.
  mark(expected, cx(3), cy, [&](int u, int v) { return std::abs(u) + std::abs(v) == s; });
  // Circle: the outline of the 2s by 2s box, centred on (-1/2, -1/2) with radius s - 1/2.
  mark(expected, cx(4), cy, [&](int u, int v) {
    double d = std::hypot(u + 0.5, v + 0.5);
    return std::fabs(d - (s - 0.5)) < 0.5;
  });
  // Filled circle: centres within radius s of the point; of the four on the circle, the left
  // and top ones, like the left and top edges of a polygon.
  mark(expected, cx(5), cy, [&](int u, int v) {
    return u * u + v * v < s * s || (u == -s && v == 0) || (u == 0 && v == -s);
  });
  // Cross: both diagonals of the box from (x - s, y - s) to (x + s, y + s).
  for (int k = -s; k <= s; ++k) {
    expected.set(cx(6) + k, cy + k, kBlack);
    expected.set(cx(6) + k, cy - k, kBlack);
  }
  // Plus: a row and a column 2s + 1 pixels long.
  expected.fillRect(cx(7) - s, cy, 2 * s + 1, 1, kBlack);
  expected.fillRect(cx(7), cy - s, 1, 2 * s + 1, kBlack);
  // Square: the 2s by 2s frame.
  expected.fillRect(cx(8) - s, cy - s, 2 * s, 2 * s, kBlack);
  expected.fillRect(cx(8) - s + 1, cy - s + 1, 2 * s - 2, 2 * s - 2, kWhite);
  EXPECT_TRUE(imagesMatch(read(port), expected, "marker-figures"));
}

}  // namespace
}  // namespace kestrel::test
