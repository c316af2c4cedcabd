#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>

#include "display/color.h"
#include "tests/display/rules.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {

void checkColorRules(QelDisplay* display) {
  CapturedMessages messages;
  using u16 = unsigned short;
  // #rgb and #rrggbb widen to one cached colour, whatever their case, and an RGB request for it
  // is that colour too.
  QelColor* teal = display->getColor("#0f8");
  ASSERT_NE(teal, nullptr);
  for (const char* same : {"#00ff88", "#0000ffff8888", "#00FF88"})
    EXPECT_EQ(display->getColor(same), teal) << same;
  EXPECT_EQ(display->getColor(u16(0), u16(0xffff), u16(0x8888)), teal);
  EXPECT_STREQ(teal->getName(), "#0000ffff8888");
  // X colour names ignore case, and so does the cache.
  QelColor* red = display->getColor("red");
  EXPECT_TRUE(red && display->getColor("Red") == red && display->findColor("RED") == red);
  const std::string tooLong(300, 'a');
  for (const char* bad : {"#0f", "no such colour", "", tooLong.c_str()})  // X refuses "#0f"
    EXPECT_EQ(display->getColor(bad), nullptr) << bad;
  EXPECT_EQ(display->getColor(static_cast<const char*>(nullptr)), nullptr);

  // Mutable colours are private cells: a new one per request where the visual has them.
  QelColor* first = display->getColor("red", 1);
  QelColor* second = display->getColor("red", 1);
  if (display->getVisual()->c_class == PseudoColor) {
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->getIndex(), second->getIndex());
    first->setRGB(0, 0, 0xffff);
    XColor cell;
    cell.pixel = first->getIndex();
    XQueryColor(display->getXDisplay(), display->getColormap()->getColormap(), &cell);
    EXPECT_TRUE(cell.blue == 0xffff && cell.red == 0);
  } else {
    EXPECT_TRUE(!first && !second);  // read-only visuals have no private cells
  }
  delete first;
  delete second;

  unsigned long distance = 1;
  u16 r, g, b;
  QelColor* nearest = display->getNearestColor(0xfff0, 0x10, 0, &distance);
  ASSERT_NE(nearest, nullptr);
  nearest->getRGB(r, g, b);
  EXPECT_TRUE(r == 0xffff && distance > 0);
  EXPECT_TRUE(messages.warnings().empty() && messages.fatals().empty());
}

namespace {

class ColorTest : public DisplayTest {};

TEST_F(ColorTest, NamesWidenShareAndFailQuietlyAndTheLastUnlockFrees) {
  checkColorRules(display);
  checkPaletteRules(display);
  QelColor* orange = display->getColor("orange");
  orange->lock();
  orange->lock();
  orange->unLock();
  EXPECT_EQ(display->findColor("orange"), orange);
  orange->unLock();
  EXPECT_EQ(display->findColor("orange"), nullptr);
}

// Hues in eighths of the circle, so that every component is exact before it is scaled to 16
// bits; a quarter scales to 16383.75, which rounds to 16384.
TEST(HsvTest, EachHueSectorGivesItsComponentsRoundedToSixteenBits) {
  using Row = std::tuple<float, float, float, int, int, int>;
  const float nan = std::nanf("");
  for (auto [h, s, v, r, g, b] :
       {Row{0, 1, 1, 65535, 0, 0}, Row{0.125f, 1, 1, 65535, 49151, 0},
        Row{0.25f, 1, 1, 32768, 65535, 0}, Row{0.375f, 1, 1, 0, 65535, 16384},
        Row{0.5f, 1, 1, 0, 65535, 65535}, Row{0.625f, 1, 1, 0, 16384, 65535},
        Row{0.75f, 1, 1, 32768, 0, 65535}, Row{0.875f, 1, 1, 65535, 0, 49151},
        Row{1.25f, 1, 1, 32768, 65535, 0},  // the hue wraps around
        Row{0, 0, 0.25f, 16384, 16384, 16384}, Row{nan, nan, 2, 65535, 65535, 65535}}) {
    unsigned short red, green, blue;
    QelHSVToRGB(h, s, v, red, green, blue);
    EXPECT_EQ(std::make_tuple(int(red), int(green), int(blue)), std::make_tuple(r, g, b))
        << h << " " << s << " " << v;
  }
}

}  // namespace
}  // namespace kestrel::test
