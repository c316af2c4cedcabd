#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <vector>

#include "display/color.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "graphics/region.h"
#include "graphics/selection.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;

// Odd width and height, so that the halves round down: the side handles sit at y = 16.
const QelRect kBox(10, 10, 21, 11);
// Its handle centres and codes in order: corners, left, right, top, bottom.
const QelPoint kCentres[] = {{10, 10}, {31, 10}, {31, 21}, {10, 21},
                             {10, 16}, {31, 16}, {20, 10}, {20, 21}};
const unsigned int kCodes[] = {5, 6, 10, 9, 1, 2, 4, 8};

class SelectionTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelRectangleModuleInit();
    QelSelectionModuleInit();
    ink = display->getPalette(display->getColor("white"), display->getColor("black"));
    ink->lock();
  }
  void TearDown() override {
    ink->unLock();
    DisplayTest::TearDown();
  }
  QelPalette* ink = nullptr;
};

void collect(QelGraphic* g, void* seen) {
  static_cast<std::vector<QelGraphic*>*>(seen)->push_back(g);
}

TEST_F(SelectionTest, EightHandlesAreDrawnAndRegionedWhereComputed) {
  QelRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 2, ink);
  QelPort* port = windowPort(60, 40);
  selection.draw(port, nullptr, nullptr);
  Image expected(60, 40, kWhite);
  for (const QelPoint& c : kCentres) expected.fillRect(c.x - 2, c.y - 2, 4, 4, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "selection-handles"));

  QelPort* clipped = windowPort(60, 40);
  QelRegion clip(QelRect(0, 0, 21, 40));
  selection.draw(clipped, nullptr, &clip);
  EXPECT_FALSE(ink->hasClip());
  expected.fillRect(21, 0, 39, 40, kWhite);
  EXPECT_TRUE(imagesMatch(read(clipped), expected, "selection-handles-clipped"));

  QelTransformer shift(1, 0, 0, 1, 5, -3);
  QelRegion region(QelRect(0, 0, 99, 99));
  selection.computeRegion(region, &shift);
  ASSERT_EQ(region.getCount(), 8);
  for (uint16_t i = 0; i < 8; ++i)
    EXPECT_EQ(region.getRect(i), QelRect(kCentres[i].x + 3, kCentres[i].y - 5, 4, 4)) << i;
}

TEST_F(SelectionTest, HandlesAreHitInOrderWithInclusiveEdgesAndCornersWinning) {
  QelRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 2, ink);
  for (int i = 0; i < 8; ++i) {
    const QelPoint& c = kCentres[i];
    EXPECT_EQ(selection.direction(QelPoint(c.x + 2, c.y - 2), nullptr), kCodes[i]) << i;
    EXPECT_EQ(selection.direction(QelPoint(c.x - 3, c.y), nullptr), 0u) << i;
  }
  EXPECT_FALSE(selection.contains(QelPoint(), QelPoint(20, 15), nullptr));
  QelTransformer down(1, 0, 0, 1, 0, 5);
  EXPECT_TRUE(selection.contains(QelPoint(), QelPoint(20, 15), &down));

  // Where handles overlap the first in order wins: corners before sides.
  QelRectangle tiny(display, QelRect(40, 40, 2, 2), ink);
  QelDrawSelection small(display, &tiny, 4, ink);
  EXPECT_EQ(small.direction(QelPoint(40, 40), nullptr), 5u);
  EXPECT_EQ(small.direction(QelPoint(40, 41), nullptr), 5u);  // the left handle's own centre
  QelRectangle flat(display, QelRect(0, 0, 40, 6), ink);
  QelDrawSelection wide(display, &flat, 3, ink);
  EXPECT_EQ(wide.direction(QelPoint(0, 3), nullptr), 5u);
  EXPECT_EQ(wide.direction(QelPoint(0, 4), nullptr), 9u);
  EXPECT_EQ(wide.direction(QelPoint(17, 3), nullptr), 4u);
}

TEST_F(SelectionTest, ZeroSizeHandlesAreHitOnlyExactlyOnTheirCentres) {
  QelRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 0, ink);
  for (int i = 0; i < 8; ++i) {
    const QelPoint& c = kCentres[i];
    EXPECT_EQ(selection.direction(c, nullptr), kCodes[i]) << i;
    for (QelPoint n : {QelPoint(c.x + 1, c.y), QelPoint(c.x, c.y - 1)})
      EXPECT_EQ(selection.direction(n, nullptr), 0u) << i;
  }
}

class FixedRectangle : public QelRectangle {
 public:
  using QelRectangle::QelRectangle;
  bool zoomable() const override { return false; }
};

TEST_F(SelectionTest, FollowsItsObjectInBoxTransformZoomAndApply) {
  FixedRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 2, ink);
  QelRect box;
  QelTransformer shift(1, 0, 0, 1, 5, 0);
  selection.boundingBox(box, &shift);
  EXPECT_EQ(box, QelRect(13, 8, 25, 15));
  selection.translate(50, 50);
  EXPECT_EQ(object.getRect(), kBox);
  object.translate(1, 1);
  EXPECT_EQ(selection.direction(QelPoint(11, 11), nullptr), 5u);
  EXPECT_FALSE(selection.zoomable());
  std::vector<QelGraphic*> seen;
  selection.apply(collect, &seen);
  selection.applyReferences(collect, &seen);
  EXPECT_EQ(seen, (std::vector<QelGraphic*>{&object, &object}));
}

class BiggerSelection : public QelDrawSelection {
 public:
  using QelDrawSelection::QelDrawSelection;
  char extra[64];
};

TEST_F(SelectionTest, PoolReusesFreedSelectionsButNotForBiggerSubclasses) {
  QelRectangle object(display, kBox, ink);
  std::vector<QelGraphic*> held;  // empties the pool, whatever earlier tests left in it
  for (int i = 0; i < 64; ++i) held.push_back(new QelDrawSelection(display, &object, 1, ink));
  QelGraphic* first = new QelDrawSelection(display, &object, 1, ink);
  void* where = first;
  delete first;
  held.push_back(new QelDrawSelection(display, &object, 1, ink));
  EXPECT_EQ(static_cast<void*>(held.back()), where);
  // With blocks waiting in the pool, a subclass still gets its own size (the sanitizer build
  // sees an overflow otherwise).
  for (size_t i = 0; i < 4; ++i) {
    delete held[i];
    held[i] = nullptr;
  }
  for (int i = 0; i < 4; ++i) {
    auto* bigger = new BiggerSelection(display, &object, 1, ink);
    std::memset(bigger->extra, 0x5a, sizeof bigger->extra);
    held.push_back(bigger);
  }
  for (QelGraphic* g : held) delete g;
}

TEST_F(SelectionTest, ReferenceToNothingGivesASelectionSafeToDrawHitMeasureAndDelete) {
  std::istringstream text("4 -1");
  QelInputFile file(text);
  auto* selection = new QelDrawSelection(file, ink);
  EXPECT_FALSE(text.fail());
  EXPECT_EQ(selection->getSize(), 4u);
  QelPort* port = windowPort(20, 20);
  selection->draw(port, nullptr, nullptr);
  EXPECT_TRUE(imagesMatch(read(port), Image(20, 20, kWhite), "selection-of-nothing"));
  EXPECT_FALSE(selection->contains(QelPoint(), QelPoint(0, 0), nullptr));
  QelRect box(1, 1, 1, 1);
  selection->boundingBox(box, nullptr);
  EXPECT_EQ(box, QelRect());
  QelRegion region(QelRect(0, 0, 5, 5));
  selection->computeRegion(region, nullptr);
  EXPECT_TRUE(region.isEmpty());
  std::vector<QelGraphic*> seen;
  selection->apply(collect, &seen);
  EXPECT_TRUE(seen.empty());
  delete selection;

  // A negative size fails the stream instead of wrapping.
  for (const char* bad : {"-2 0", "4294967296 0", "x 0"}) {
    std::istringstream badText(bad);
    QelInputFile badFile(badText);
    QelDrawSelection broken(badFile, ink);
    EXPECT_TRUE(badText.fail() && broken.getSize() == 0 && !broken.getObject()) << bad;
  }
}

TEST_F(SelectionTest, WritesSizeThenReferenceAndReadsBackTheSameObject) {
  QelFilledRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 3, ink);
  std::stringstream saved;
  QelGraphic* graphics[] = {&object, &selection};
  ASSERT_TRUE(QelSaveGraphics(saved, 2, graphics));
  EXPECT_NE(saved.str().find(" QelDrawSelection 3 0"), std::string::npos) << saved.str();
  std::vector<QelGraphic*> loaded = QelLoadGraphics(saved, display);
  ASSERT_EQ(loaded.size(), 2u);
  auto* copy = dynamic_cast<QelDrawSelection*>(loaded[1]);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->getObject(), loaded[0]);
  EXPECT_EQ(copy->getSize(), 3u);
  EXPECT_EQ(static_cast<QelRectangle*>(loaded[0])->getRect(), kBox);
  delete loaded[1];
  delete loaded[0];
}

}  // namespace
}  // namespace kestrel::test
