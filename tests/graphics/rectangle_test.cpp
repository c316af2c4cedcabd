#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "display/palette.h"
#include "graphics/rectangle.h"
#include "graphics/region.h"
#include "graphics/selection.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;

// Black on white: the display's default palette, which every object without one of its own uses.
class RectangleTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelRectangleModuleInit();
    QelSelectionModuleInit();
  }
};

TEST_F(RectangleTest, OutlinedDrawsItsFrameAndFilledItsAreaThroughTransformerAndClip) {
  QelPort* port = windowPort(80, 50);
  QelRectangle outlined(display, QelRect(4, 6, 20, 12));
  QelFilledRectangle filled(display, QelRect(30, 6, 10, 8));
  const QelTransformer twice(2, 0, 0, 2, -10, 0), down(1, 0, 0, 1, 0, 25);
  const QelRegion clip(QelRect(0, 30, 14, 20));
  filled.draw(port, &twice, nullptr);
  outlined.draw(port, &down, &clip);
  // The clip is taken off the shared palette: the next drawing with it is whole.
  EXPECT_FALSE(display->defaultPalette()->hasClip());
  outlined.draw(port, nullptr, nullptr);
  filled.draw(port, nullptr, nullptr);

  Image expected(80, 50, kWhite);
  for (int y : {6, 31}) {
    expected.fillRect(4, y, 20, 12, kBlack);
    expected.fillRect(5, y + 1, 18, 10, kWhite);
  }
  expected.fillRect(14, 31, 10, 12, kWhite);
  expected.fillRect(50, 12, 20, 16, kBlack);
  expected.fillRect(30, 6, 10, 8, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "rectangles"));
}

TEST_F(RectangleTest, OutlinedIsHitOnItsOutlineOnlyFilledEverywhereAndNeitherShrinksToNothing) {
  QelRectangle outlined(display, QelRect(10, 20, 30, 16));
  QelFilledRectangle filled(display, QelRect(10, 20, 30, 16));
  auto hits = [&](std::initializer_list<QelPoint> points, const QelTransformer* t) {
    std::string seen;
    for (QelPoint p : points)
      seen += std::to_string(outlined.contains(QelPoint(), p, t)) +
              std::to_string(filled.contains(QelPoint(), p, t)) + " ";
    return seen;
  };
  // Corners, sides, the right and bottom edges (x + w, y + h), the middle, near the outline
  // inside and outside the box, and past the right edge.
  const auto probes = {QelPoint(10, 20), QelPoint(40, 36), QelPoint(40, 28),
                       QelPoint(25, 36), QelPoint(25, 28), QelPoint(12, 28),
                       QelPoint(14, 28), QelPoint(8, 28),  QelPoint(41, 28)};
  EXPECT_EQ(hits(probes, nullptr), "11 11 11 11 01 11 01 00 00 ");
  const QelTransformer twice(2, 0, 0, 2, 0, 0);
  EXPECT_EQ(hits({QelPoint(80, 56), QelPoint(50, 56)}, &twice), "11 01 ");

  // Scaled by zero it keeps a pixel.
  outlined.scale(0, 0);
  EXPECT_EQ(outlined.getRect(), QelRect(10, 20, 1, 1));
}

// Odd width and height, so that the halves round down: the side handles sit at y = 16.
const QelRect kBox(10, 10, 21, 11);
// Its handle centres and codes in order: corners, left, right, top, bottom.
const QelPoint kCentres[] = {{10, 10}, {31, 10}, {31, 21}, {10, 21},
                             {10, 16}, {31, 16}, {20, 10}, {20, 21}};
const unsigned int kCodes[] = {5, 6, 10, 9, 1, 2, 4, 8};

// The frame of eight handles a selection draws around another graphic.
using SelectionTest = RectangleTest;

TEST_F(SelectionTest, EightHandlesAreDrawnRegionedAndHitWhereComputedCornersFirst) {
  QelRectangle object(display, kBox);
  QelDrawSelection selection(display, &object, 2);
  QelPort* port = windowPort(60, 40);
  QelRegion clip(QelRect(0, 0, 21, 40));
  selection.draw(port, nullptr, &clip);
  Image expected(60, 40, kWhite);
  for (const QelPoint& c : kCentres) expected.fillRect(c.x - 2, c.y - 2, 4, 4, kBlack);
  expected.fillRect(21, 0, 39, 40, kWhite);
  EXPECT_TRUE(imagesMatch(read(port), expected, "selection-handles-clipped"));

  QelTransformer shift(1, 0, 0, 1, 5, -3);
  QelRegion region(QelRect(0, 0, 99, 99));
  selection.computeRegion(region, &shift);
  ASSERT_EQ(region.getCount(), 8);
  for (uint16_t i = 0; i < 8; ++i)
    EXPECT_EQ(region.getRect(i), QelRect(kCentres[i].x + 3, kCentres[i].y - 5, 4, 4)) << i;

  // Hit in order with inclusive edges; handles of size 0 are hit exactly on their centres only.
  QelDrawSelection points(display, &object, 0);
  for (int i = 0; i < 8; ++i) {
    const QelPoint& c = kCentres[i];
    EXPECT_EQ(selection.direction(QelPoint(c.x + 2, c.y - 2), nullptr), kCodes[i]) << i;
    EXPECT_EQ(selection.direction(QelPoint(c.x - 3, c.y), nullptr), 0u) << i;
    EXPECT_EQ(points.direction(c, nullptr), kCodes[i]) << i;
    EXPECT_EQ(points.direction(QelPoint(c.x + 1, c.y), nullptr), 0u) << i;
  }
  const QelTransformer down(1, 0, 0, 1, 0, 5);
  EXPECT_TRUE(!selection.contains({}, QelPoint(20, 15), nullptr) &&
              selection.contains({}, QelPoint(20, 15), &down));

  // Where handles overlap the first in order wins: corners before sides.
  QelRectangle tiny(display, QelRect(40, 40, 2, 2)), flat(display, QelRect(0, 0, 40, 6));
  QelDrawSelection small(display, &tiny, 4), wide(display, &flat, 3);
  EXPECT_EQ(small.direction(QelPoint(40, 41), nullptr), 5u);  // the left handle's own centre
  EXPECT_EQ(wide.direction(QelPoint(0, 3), nullptr), 5u);
  EXPECT_EQ(wide.direction(QelPoint(0, 4), nullptr), 9u);
  EXPECT_EQ(wide.direction(QelPoint(17, 3), nullptr), 4u);
}

class BiggerSelection : public QelDrawSelection {
 public:
  using QelDrawSelection::QelDrawSelection;
  char extra[64];
};

// With blocks waiting in the selections' pool, a subclass still gets its own size (the
// sanitizer build sees an overflow otherwise).
TEST_F(SelectionTest, FreedSelectionsAreNotReusedForBiggerSubclasses) {
  QelRectangle object(display, kBox);
  std::vector<QelGraphic*> held;  // empties the pool, whatever earlier tests left in it
  for (int i = 0; i < 64; ++i) held.push_back(new QelDrawSelection(display, &object, 1));
  for (int i = 0; i < 4; ++i) {
    delete held[i];
    held[i] = new BiggerSelection(display, &object, 1);
    std::memset(static_cast<BiggerSelection*>(held[i])->extra, 0x5a, 64);
  }
  for (QelGraphic* g : held) delete g;
}

}  // namespace
}  // namespace kestrel::test
