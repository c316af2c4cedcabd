#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
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

class SelectionTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelGraphicModuleInit();
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

// The object of most tests: odd width and height, so that the halves round down.
const QelRect kBox(10, 10, 21, 11);
// Its handle centres in drawing order: corners, left, right, top, bottom.
const QelPoint kCentres[] = {{10, 10}, {31, 10}, {31, 21}, {10, 21},
                             {10, 16}, {31, 16}, {20, 10}, {20, 21}};
const unsigned int kCodes[] = {5, 6, 10, 9, 1, 2, 4, 8};

TEST_F(SelectionTest, EightHandlesAreDrawnAndRegionedWhereComputed) {
  QelPort* port = windowPort(60, 40);
  QelRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 2, ink);
  selection.draw(port, nullptr, nullptr);
  Image expected(port->width(), port->height(), kWhite);
  for (const QelPoint& c : kCentres) expected.fillRect(c.x - 2, c.y - 2, 4, 4, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "selection-handles"));

  // The region holds the same squares, in the same order, and follows the transformer.
  QelTransformer shift(1, 0, 0, 1, 5, -3);
  QelRegion region(QelRect(0, 0, 99, 99));
  selection.computeRegion(region, &shift);
  ASSERT_EQ(region.getCount(), 8);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(region.getRect(uint16_t(i)), QelRect(kCentres[i].x + 3, kCentres[i].y - 5, 4, 4))
        << "handle " << i;

  // A clip region cuts the handles and is taken off the palette afterwards.
  QelPort* clipped = windowPort(60, 40);
  QelRegion clip(QelRect(0, 0, 21, 40));
  selection.draw(clipped, nullptr, &clip);
  EXPECT_FALSE(ink->hasClip());
  expected.fillRect(21, 0, 39, 40, kWhite);
  EXPECT_TRUE(imagesMatch(read(clipped), expected, "selection-handles-clipped"));
}

TEST_F(SelectionTest, HandlesAreHitInOrderWithInclusiveEdgesAndCornersWinning) {
  QelRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 2, ink);
  for (int i = 0; i < 8; ++i) {
    const QelPoint& c = kCentres[i];
    EXPECT_EQ(selection.direction(c, nullptr), kCodes[i]) << "handle " << i;
    EXPECT_EQ(selection.direction(QelPoint(c.x + 2, c.y - 2), nullptr), kCodes[i]) << i;
    EXPECT_EQ(selection.direction(QelPoint(c.x - 2, c.y + 2), nullptr), kCodes[i]) << i;
    EXPECT_EQ(selection.direction(QelPoint(c.x + 3, c.y + 3), nullptr), 0u) << i;
    EXPECT_TRUE(selection.contains(QelPoint(), c, nullptr));
  }
  EXPECT_EQ(selection.direction(QelPoint(20, 15), nullptr), 0u);
  EXPECT_FALSE(selection.contains(QelPoint(), QelPoint(20, 15), nullptr));
  // Handles are found on the transformed box.
  QelTransformer twice(2, 0, 0, 2, 0, 0);
  EXPECT_EQ(selection.direction(QelPoint(62, 42), &twice), 10u);
  EXPECT_EQ(selection.direction(QelPoint(31, 21), &twice), 0u);

  // Where handles overlap, the first in order wins: corners before sides.
  QelRectangle tiny(display, QelRect(40, 40, 2, 2), ink);
  QelDrawSelection small(display, &tiny, 4, ink);
  EXPECT_EQ(small.direction(QelPoint(40, 40), nullptr), 5u);  // the left handle covers it too
  EXPECT_EQ(small.direction(QelPoint(40, 41), nullptr), 5u);  // the left handle's own centre
  EXPECT_EQ(small.direction(QelPoint(46, 46), nullptr), 10u);
  QelRectangle flat(display, QelRect(0, 0, 40, 6), ink);
  QelDrawSelection wide(display, &flat, 3, ink);
  EXPECT_EQ(wide.direction(QelPoint(0, 3), nullptr), 5u);  // on both corners' edges
  EXPECT_EQ(wide.direction(QelPoint(0, 4), nullptr), 9u);
  EXPECT_EQ(wide.direction(QelPoint(17, 3), nullptr), 4u);
  EXPECT_EQ(wide.direction(QelPoint(17, 4), nullptr), 8u);
}

TEST_F(SelectionTest, ZeroSizeHandlesAreHitOnlyOnTheirCentresAndDrawNothing) {
  QelRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 0, ink);
  for (int i = 0; i < 8; ++i) {
    const QelPoint& c = kCentres[i];
    EXPECT_EQ(selection.direction(c, nullptr), kCodes[i]) << "handle " << i;
    for (QelPoint n : {QelPoint(c.x + 1, c.y), QelPoint(c.x - 1, c.y), QelPoint(c.x, c.y + 1),
                       QelPoint(c.x, c.y - 1)})
      EXPECT_EQ(selection.direction(n, nullptr), 0u) << n.x << "," << n.y;
  }
  QelRect box;
  selection.boundingBox(box, nullptr);
  EXPECT_EQ(box, kBox);
  QelPort* port = windowPort(40, 30);
  selection.draw(port, nullptr, nullptr);
  EXPECT_TRUE(imagesMatch(read(port), Image(40, 30, kWhite), "selection-zero-size"));
}

class FixedGraphic : public QelRectangle {
 public:
  using QelRectangle::QelRectangle;
  bool zoomable() const override { return false; }
};

void collect(QelGraphic* g, void* arg) {
  static_cast<std::vector<QelGraphic*>*>(arg)->push_back(g);
}

TEST_F(SelectionTest, FollowsItsObjectForBoxTransformsZoomAndApply) {
  FixedGraphic object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 2, ink);
  QelRect box;
  selection.boundingBox(box, nullptr);
  EXPECT_EQ(box, QelRect(8, 8, 25, 15));
  QelTransformer shift(1, 0, 0, 1, 5, 0);
  selection.boundingBox(box, &shift);
  EXPECT_EQ(box, QelRect(13, 8, 25, 15));

  // Moving the selection moves nothing; moving the object moves the handles.
  selection.translate(50, 50);
  EXPECT_EQ(object.getRect(), kBox);
  object.translate(1, 1);
  EXPECT_EQ(selection.direction(QelPoint(11, 11), nullptr), 5u);

  EXPECT_FALSE(selection.zoomable());
  std::vector<QelGraphic*> seen;
  selection.apply(collect, &seen);
  selection.applyReferences(collect, &seen);
  EXPECT_EQ(seen, (std::vector<QelGraphic*>{&object, &object}));

  QelGraphic* copy = selection.copy();
  ASSERT_EQ(copy->getClassInfo(), QelDrawSelection::ClassInfo());
  EXPECT_EQ(static_cast<QelDrawSelection*>(copy)->getObject(), &object);
  EXPECT_EQ(static_cast<QelDrawSelection*>(copy)->getSize(), 2u);
  EXPECT_EQ(static_cast<QelDrawSelection*>(copy)->getPalette(), ink);
  delete copy;
}

class BiggerSelection : public QelDrawSelection {
 public:
  using QelDrawSelection::QelDrawSelection;
  char extra[64];
};

TEST_F(SelectionTest, PoolReusesFreedSelectionsAndLeavesBiggerSubclassesToTheHeap) {
  QelRectangle object(display, kBox, ink);
  // Empty the pool whatever earlier tests left in it.
  std::vector<QelGraphic*> held;
  for (int i = 0; i < 64; ++i) held.push_back(new QelDrawSelection(display, &object, 1, ink));
  auto* first = new QelDrawSelection(display, &object, 1, ink);
  void* where = first;
  delete first;
  auto* second = new QelDrawSelection(display, &object, 3, ink);
  EXPECT_EQ(static_cast<void*>(second), where);
  held.push_back(second);
  // Even with blocks waiting in the pool, a subclass gets a block of its own size: the
  // sanitizer build sees any overflow.
  for (int i = 0; i < 4; ++i) {
    delete held.back();
    held.pop_back();
  }
  for (int i = 0; i < 4; ++i) {
    auto* bigger = new BiggerSelection(display, &object, 1, ink);
    std::memset(bigger->extra, 0x5a, sizeof bigger->extra);
    held.push_back(bigger);
  }
  for (QelGraphic* g : held) delete g;
}

TEST_F(SelectionTest, ReadingAReferenceToNothingGivesASelectionSafeToDrawHitMeasureAndDelete) {
  std::istringstream text("4 -1");
  QelInputFile file(text);
  auto* selection = new QelDrawSelection(file, ink);
  EXPECT_FALSE(text.fail());
  EXPECT_EQ(selection->getSize(), 4u);
  EXPECT_EQ(selection->getObject(), nullptr);

  QelPort* port = windowPort(20, 20);
  selection->draw(port, nullptr, nullptr);
  EXPECT_TRUE(imagesMatch(read(port), Image(20, 20, kWhite), "selection-of-nothing"));
  EXPECT_EQ(selection->direction(QelPoint(0, 0), nullptr), 0u);
  EXPECT_FALSE(selection->contains(QelPoint(), QelPoint(0, 0), nullptr));
  QelRect box(1, 1, 1, 1);
  selection->boundingBox(box, nullptr);
  EXPECT_EQ(box, QelRect());
  QelRegion region(QelRect(0, 0, 5, 5));
  selection->computeRegion(region, nullptr);
  EXPECT_TRUE(region.isEmpty());
  std::vector<QelGraphic*> seen;
  selection->apply(collect, &seen);
  selection->applyReferences(collect, &seen);
  EXPECT_TRUE(seen.empty());
  EXPECT_TRUE(selection->zoomable());
  delete selection;

  // A negative or oversized size fails the stream instead of wrapping.
  for (const char* bad : {"-2 0", "4294967296 0", "x 0", ""}) {
    std::istringstream badText(bad);
    QelInputFile badFile(badText);
    QelDrawSelection broken(badFile, ink);
    EXPECT_TRUE(badText.fail()) << '"' << bad << '"';
    EXPECT_EQ(broken.getSize(), 0u);
    EXPECT_EQ(broken.getObject(), nullptr);
  }
}

TEST_F(SelectionTest, WritesSizeThenReferenceAndReadsBackTheSameObject) {
  QelFilledRectangle object(display, kBox, ink);
  QelDrawSelection selection(display, &object, 3, ink);
  {
    std::ostringstream text;
    QelOutputFile file(text);
    selection.write(file);
    EXPECT_EQ(text.str(), "3 -1");  // the object is not in this file
  }
  std::stringstream saved;
  QelGraphic* graphics[] = {&object, &selection};
  ASSERT_TRUE(QelSaveGraphics(saved, 2, graphics));
  EXPECT_NE(saved.str().find(" QelDrawSelection 3 0"), std::string::npos) << saved.str();
  std::vector<QelGraphic*> loaded = QelLoadGraphics(saved, display);
  ASSERT_EQ(loaded.size(), 2u);
  auto* rect = dynamic_cast<QelFilledRectangle*>(loaded[0]);
  auto* copy = dynamic_cast<QelDrawSelection*>(loaded[1]);
  ASSERT_TRUE(rect && copy);
  EXPECT_EQ(rect->getRect(), kBox);
  EXPECT_EQ(copy->getObject(), rect);
  EXPECT_EQ(copy->getSize(), 3u);
  delete copy;
  delete rect;
}

}  // namespace
}  // namespace kestrel::test
