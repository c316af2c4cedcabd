#include <gtest/gtest.h>

#include <clocale>
#include <sstream>

#include "display/color.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "display/palette_io.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

class PaletteIOTest : public DisplayTest {
 protected:
  QelPalette* roundTrip(const QelPalette* palette, std::string* text = nullptr) {
    std::ostringstream out;
    QelWritePalette(out, *palette);
    if (text) *text = out.str();
    std::istringstream in(out.str());
    return QelReadPalette(*display, in);
  }
};

TEST_F(PaletteIOTest, EveryAttributeSurvivesAWriteAndARead) {
  const uint8_t dashes[] = {6, 2, 1, 2};
  QelPalette* palettes[] = {
      display->defaultPalette(),
      display->getPalette(
          display->getColor("#0f8"),
          display->getColor((unsigned short)0x1234, (unsigned short)0x5678, (unsigned short)0x9abc),
          nullptr, nullptr, display->getFont("fixed"), display->getLineStyle("dashdot"), 4,
          QelFillMaskPattern, QelArcChord, QelWindingRule, QelDrawModeXor, 1, 0xff00ff),
      display->getPalette(display->getColor("navy"), display->getColor("gold"), nullptr, nullptr,
                          nullptr, display->getLineStyle(4, dashes, 3), 0),
  };
  for (QelPalette* palette : palettes) {
    std::string text;
    EXPECT_EQ(roundTrip(palette, &text), palette) << text;
  }
}

TEST_F(PaletteIOTest, TextDoesNotDependOnTheProcessLocale) {
  QelPalette* palette = display->getPalette(nullptr, display->getColor("red"), nullptr, nullptr,
                                            nullptr, nullptr, 1234);
  std::string c;
  roundTrip(palette, &c);
  std::locale previous = std::locale::global(std::locale(""));  // whatever the machine has
  std::ostringstream out;
  out.imbue(std::locale(""));
  QelWritePalette(out, *palette);
  std::locale::global(previous);
  EXPECT_EQ(out.str(), c);
}

TEST_F(PaletteIOTest, MalformedLinesGiveNullAndUnknownNamesTheDefaults) {
  const char* malformed[] = {
      "",
      "\"red\"",
      "\"red\" \"blue\" - - 1 0 0 0 0 0",                  // too short
      "\"red\" \"blue\" - \"solid\" 70000 0 0 0 0 0 1 -",  // width beyond 16 bits
      "\"red\" \"blue\" - \"solid\" 1 7 0 0 0 0 1 -",      // no such fill style
      "\"red\" \"blue\" - [0 4 4 1 0 0 0 0 0 1 -",         // unclosed dash list
      "\"red\" \"blue\" - [0 4 300] 1 0 0 0 0 0 1 -",      // dash beyond a byte
      "\"red\" \"blue\" - \"solid\" -1 0 0 0 0 0 1 -",
      "\"unterminated",
  };
  for (const char* line : malformed) {
    std::istringstream in(line);
    EXPECT_EQ(QelReadPalette(*display, in), nullptr) << line;
  }
  std::istringstream unknown("\"no-such\" \"red\" - \"no-style\" 0 0 0 0 0 0 4294967295 -\n");
  QelPalette* palette = QelReadPalette(*display, unknown);
  ASSERT_NE(palette, nullptr);
  EXPECT_EQ(palette->getBackground(), display->defaultBackground());
  EXPECT_EQ(palette->getLineStyle(), display->solidLineStyle());
  EXPECT_EQ(palette->getForeground(), display->getColor("red"));

  // A font X does not know draws with the default, and stays for whoever else asked for it.
  CapturedMessages messages;
  QelFont* held = display->getFont("no-such-font");
  std::istringstream badFont("\"red\" \"blue\" \"no-such-font\" - 0 0 0 0 0 0 4294967295 -\n");
  QelPalette* fallback = QelReadPalette(*display, badFont);
  ASSERT_NE(fallback, nullptr);
  EXPECT_EQ(fallback->getFont(), display->defaultFont());
  EXPECT_STREQ(held->getName(), "no-such-font");
  EXPECT_EQ(display->getFont("no-such-font"), held);
}

}  // namespace
}  // namespace kestrel::test
