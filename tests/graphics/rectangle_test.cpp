#include <gtest/gtest.h>

#include <sstream>

#include "display/color.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "graphics/region.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;

class RectangleTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelRectangleModuleInit();
    ink = display->getPalette(display->getColor("white"), display->getColor("black"));
    ink->lock();
  }
  void TearDown() override {
    ink->unLock();
    DisplayTest::TearDown();
  }
  QelPalette* ink = nullptr;
};

void frame(Image& image, int x, int y, int w, int h) {
  image.fillRect(x, y, w, 1, kBlack);
  image.fillRect(x, y + h - 1, w, 1, kBlack);
  image.fillRect(x, y, 1, h, kBlack);
  image.fillRect(x + w - 1, y, 1, h, kBlack);
}

TEST_F(RectangleTest, OutlinedDrawsItsFrameAndFilledItsAreaThroughTransformerAndClip) {
  QelPort* port = windowPort(80, 50);
  QelRectangle outlined(display, QelRect(4, 6, 20, 12), ink);
  QelFilledRectangle filled(display, QelRect(30, 6, 10, 8), ink);
  outlined.draw(port, nullptr, nullptr);
  QelTransformer twice(2, 0, 0, 2, -10, 0), down(1, 0, 0, 1, 0, 25);
  filled.draw(port, &twice, nullptr);
  QelRegion clip(QelRect(0, 30, 14, 20));
  outlined.draw(port, &down, &clip);
  // The clip is taken off the shared palette: the next drawing with it is whole.
  EXPECT_FALSE(ink->hasClip());
  filled.draw(port, nullptr, nullptr);

  Image expected(80, 50, kWhite);
  frame(expected, 4, 6, 20, 12);
  expected.fillRect(50, 12, 20, 16, kBlack);
  frame(expected, 4, 31, 20, 12);
  expected.fillRect(14, 31, 10, 12, kWhite);
  expected.fillRect(30, 6, 10, 8, kBlack);
  EXPECT_TRUE(imagesMatch(read(port), expected, "rectangles"));
}

TEST_F(RectangleTest, OutlinedIsHitOnItsOutlineOnlyAndFilledEverywhereEdgesIncluded) {
  QelRectangle outlined(display, QelRect(10, 20, 30, 16), ink);
  QelFilledRectangle filled(display, QelRect(10, 20, 30, 16), ink);
  auto hit = [](const QelGraphic& g, int32_t x, int32_t y, const QelTransformer* t = nullptr) {
    return g.contains(QelPoint(), QelPoint(x, y), t);
  };
  // Corners, sides, and the right and bottom edges (x + w, y + h) belong to both.
  for (QelPoint p : {QelPoint(10, 20), QelPoint(40, 36), QelPoint(40, 28), QelPoint(25, 36)})
    EXPECT_TRUE(hit(outlined, p.x, p.y) && hit(filled, p.x, p.y)) << p.x << "," << p.y;
  EXPECT_FALSE(hit(outlined, 25, 28));
  EXPECT_TRUE(hit(filled, 25, 28));
  // Nearness to the outline counts inside the box only.
  EXPECT_TRUE(hit(outlined, 12, 28));
  EXPECT_FALSE(hit(outlined, 14, 28));
  EXPECT_FALSE(hit(outlined, 8, 28));
  EXPECT_FALSE(hit(filled, 41, 28));
  QelTransformer twice(2, 0, 0, 2, 0, 0);
  EXPECT_TRUE(hit(outlined, 80, 56, &twice));
  EXPECT_FALSE(hit(outlined, 50, 56, &twice));
}

TEST_F(RectangleTest, ScaledByZeroKeepsWidthAndHeightOne) {
  QelRectangle r(display, QelRect(10, 20, 30, 40), ink);
  r.scale(0, 0);
  EXPECT_EQ(r.getRect(), QelRect(10, 20, 1, 1));
  // Measuring through a flattening map leaves the stored rectangle alone; applying it does not.
  QelTransformer flat(1, 0, 0, 0, 5, 0);
  QelRect box;
  r.boundingBox(box, &flat);
  EXPECT_EQ(box, QelRect(15, 0, 1, 0));
  r.applyTransform(&flat);
  EXPECT_EQ(r.getRect(), QelRect(15, 0, 1, 1));

  QelGraphic* copy = QelFilledRectangle(display, QelRect(1, 2, 3, 4), ink).copy();
  EXPECT_EQ(copy->getClassInfo(), QelFilledRectangle::ClassInfo());
  EXPECT_EQ(static_cast<QelRectangle*>(copy)->getRect(), QelRect(1, 2, 3, 4));
  EXPECT_EQ(static_cast<QelRectangle*>(copy)->getPalette(), ink);
  delete copy;
}

TEST_F(RectangleTest, WritesXYWidthHeightReadsThemBackAndRejectsMalformedNumbers) {
  QelFilledRectangle filled(display, QelRect(-7, 3, 4000000000u, 12), ink);
  std::ostringstream out;
  {
    QelOutputFile file(out);
    filled.write(file);
  }
  EXPECT_EQ(out.str(), "-7 3 4000000000 12");
  std::istringstream in(out.str());
  QelInputFile file(in);
  EXPECT_EQ(QelFilledRectangle(file, ink).getRect(), filled.getRect());
  EXPECT_FALSE(in.fail());

  // A negative width must not wrap to four billion pixels: the stream fails, the rectangle is
  // zero, and the class's reader gives the file reader nothing to keep.
  auto* info = static_cast<QelGraphicClassInfo*>(QelRectangle::ClassInfo());
  for (const char* bad : {"1 2 -3 4", "1 2 3 4294967296", "2147483648 0 1 1", "1 x 3 4", "1 2"}) {
    std::istringstream text(bad), again(bad);
    QelInputFile badFile(text), second(again);
    EXPECT_EQ(QelRectangle(badFile, ink).getRect(), QelRect()) << bad;
    EXPECT_TRUE(text.fail()) << bad;
    EXPECT_EQ(info->getReader()(second, ink), nullptr) << bad;
  }
}

}  // namespace
}  // namespace kestrel::test
