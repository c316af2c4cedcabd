#include <gtest/gtest.h>

#include "display/color.h"
#include "tests/display/rules.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {

void checkColorRules(QelDisplay* display) {
  CapturedMessages messages;
  // #rgb and #rrggbb widen to one cached colour.
  QelColor* short3 = display->getColor("#0f8");
  ASSERT_NE(short3, nullptr);
  EXPECT_EQ(display->getColor("#00ff88"), short3);
  EXPECT_EQ(display->getColor("#0000ffff8888"), short3);
  EXPECT_STREQ(short3->getName(), "#0000ffff8888");
  unsigned short r, g, b;
  short3->getRGB(r, g, b);
  EXPECT_EQ(r, 0);
  EXPECT_EQ(g, 0xffff);
  EXPECT_EQ(b, 0x8888);
  EXPECT_EQ(display->getColor("#0f"), nullptr);  // neither 3 nor 6 digits: X refuses it

  QelColor* red = display->getColor("red");
  ASSERT_NE(red, nullptr);
  EXPECT_EQ(display->getColor("red"), red);
  EXPECT_EQ(display->findColor("red"), red);
  // X colour names ignore case, and so does the cache; an RGB request is the same colour too.
  using u16 = unsigned short;
  EXPECT_EQ(display->getColor("Red"), red);
  EXPECT_EQ(display->findColor("RED"), red);
  EXPECT_EQ(display->getColor("#00FF88"), short3);
  EXPECT_EQ(display->getColor(u16(0), u16(0xffff), u16(0x8888)), short3);
  EXPECT_EQ(display->getColor(u16(0xffff), u16(0), u16(0)),
            display->getColor(u16(0xffff), u16(0), u16(0)));
  EXPECT_EQ(display->getColor(0.0f, 1.0f, 1.0f), display->getColor(u16(0xffff), u16(0), u16(0)));

  EXPECT_EQ(display->getColor("no such colour"), nullptr);
  EXPECT_EQ(display->getColor(""), nullptr);
  EXPECT_EQ(display->getColor(static_cast<const char*>(nullptr)), nullptr);
  EXPECT_EQ(display->getColor(std::string(300, 'a').c_str()), nullptr);

  // Mutable colours are private cells: a new one per request where the visual has them.
  bool writable = display->getVisual()->c_class == PseudoColor;
  QelColor* first = display->getColor("red", 1);
  QelColor* second = display->getColor("red", 1);
  if (writable) {
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
    EXPECT_NE(first, red);
    EXPECT_NE(first->getIndex(), second->getIndex());
    first->setRGB(0, 0, 0xffff);
    XColor cell;
    cell.pixel = first->getIndex();
    XQueryColor(display->getXDisplay(), display->getColormap()->getColormap(), &cell);
    EXPECT_EQ(cell.blue, 0xffff);
    EXPECT_EQ(cell.red, 0);
  } else {
    EXPECT_EQ(first, nullptr);  // read-only visuals have no private cells
    EXPECT_EQ(second, nullptr);
  }
  delete first;
  delete second;

  unsigned long distance = 1;
  QelColor* nearest = display->getNearestColor(0xfff0, 0x10, 0, &distance);
  ASSERT_NE(nearest, nullptr);
  nearest->getRGB(r, g, b);
  EXPECT_EQ(r, 0xffff);
  EXPECT_GT(distance, 0u);
  EXPECT_TRUE(messages.warnings().empty());
  EXPECT_TRUE(messages.fatals().empty());
}

namespace {

class ColorTest : public DisplayTest {};

TEST_F(ColorTest, NamesWidenShareAndFailQuietly) {
  checkColorRules(display);
}

TEST_F(ColorTest, UnlockingTheLastHolderFreesAColour) {
  QelColor* orange = display->getColor("orange");
  ASSERT_NE(orange, nullptr);
  EXPECT_EQ(orange->getLockCount(), 0u);
  orange->lock();
  orange->lock();
  orange->unLock();
  EXPECT_EQ(display->findColor("orange"), orange);
  orange->unLock();
  EXPECT_EQ(display->findColor("orange"), nullptr);
}

// Resource files of a user: the defaults fall back when the two colours could not be told apart.
struct DefaultsCase {
  const char* background;
  const char* foreground;
  const char* expectedBackground;
  const char* expectedForeground;
};

TEST(DefaultColorsTest, ResourceFallbacks) {
  const DefaultsCase cases[] = {
      {"blue", "blue", "gray", "black"},                // equal texts
      {"black", "#000", "white", "black"},              // equal pixels
      {"no-such-colour", "yellow", "white", "yellow"},  // unknown background
      {"", "", "gray", "black"},                        // empty values
  };
  for (const DefaultsCase& c : cases) {
    Display* x = openXtDisplay();
    ASSERT_NE(x, nullptr);
    putResources(x, {std::string("kestrel-defaults.background: ") + c.background,
                     std::string("kestrel-defaults.foreground: ") + c.foreground});
    {
      QelDisplay display(x, "kestrel-defaults");
      ASSERT_NE(display.getXDisplay(), nullptr);
      QelColor* expectedBackground = display.getColor(c.expectedBackground);
      QelColor* expectedForeground = display.getColor(c.expectedForeground);
      EXPECT_EQ(display.defaultBackground(), expectedBackground) << c.background;
      EXPECT_EQ(display.defaultForeground(), expectedForeground) << c.foreground;
    }
    closeXtDisplay(x);
  }
}

}  // namespace
}  // namespace kestrel::test
