#include <gtest/gtest.h>

#include <sstream>

#include "display/color.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "display/palette_io.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

class PaletteIOTest : public DisplayTest {
 protected:
  QelPalette* read(const std::string& line) {
    std::istringstream in(line);
    return QelReadPalette(*display, in);
  }
};

// Whether the text follows the locale is checked with the data files that hold palettes.
TEST_F(PaletteIOTest, EveryAttributeSurvivesAWriteAndARead) {
  using u16 = unsigned short;
  const uint8_t dashes[] = {6, 2, 1, 2};
  QelPalette* palettes[] = {
      display->defaultPalette(),
      display->getPalette(
          display->getColor("#0f8"), display->getColor(u16(0x1234), u16(0x5678), u16(0x9abc)),
          nullptr, nullptr, display->getFont("fixed"), display->getLineStyle("dashdot"), 4,
          QelFillMaskPattern, QelArcChord, QelWindingRule, QelDrawModeXor, 1, 0xff00ff),
      display->getPalette(display->getColor("navy"), display->getColor("gold"), nullptr, nullptr,
                          nullptr, display->getLineStyle(4, dashes, 3), 0, QelFillColorPattern),
  };
  for (QelPalette* palette : palettes) {
    std::ostringstream out;
    QelWritePalette(out, *palette);
    EXPECT_EQ(read(out.str()), palette) << out.str();
  }
}

TEST_F(PaletteIOTest, MalformedLinesGiveNullAndUnknownNamesTheDefaults) {
  for (const char* line : {
           "",
           "\"red\"",
           "\"red\" \"blue\" - - 1 0 0 0 0 0",                  // too short
           "\"red\" \"blue\" - \"solid\" 70000 0 0 0 0 0 1 -",  // width beyond 16 bits
           "\"red\" \"blue\" - \"solid\" 1 3 0 0 0 0 1 -",      // no such fill style
           "\"red\" \"blue\" - [0 4 4 1 0 0 0 0 0 1 -",         // unclosed dash list
           "\"red\" \"blue\" - [0 4 300] 1 0 0 0 0 0 1 -",      // dash beyond a byte
           "\"red\" \"blue\" - \"solid\" -1 0 0 0 0 0 1 -",
           "\"unterminated",
       })
    EXPECT_EQ(read(line), nullptr) << line;
  QelPalette* palette = read("\"no-such\" \"red\" - \"no-style\" 0 0 0 0 0 0 4294967295 -\n");
  ASSERT_NE(palette, nullptr);
  EXPECT_EQ(palette->getBackground(), display->defaultBackground());
  EXPECT_EQ(palette->getLineStyle(), display->solidLineStyle());
  EXPECT_EQ(palette->getForeground(), display->getColor("red"));
}

}  // namespace
}  // namespace kestrel::test
