#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "display/font.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

class FontTest : public DisplayTest {};

// The name X matched for a font set (the locale's charset makes toolkit fonts font sets).
std::string matchedName(const QelFont* font) {
  XFontStruct** fonts;
  char** names;
  return font->isFontSet() && XFontsOfFontSet(font->getFontSet(), &fonts, &names) ? names[0] : "";
}

TEST_F(FontTest, EquivalentNamesGiveOneLoadedFontWithTheScreensMetrics) {
  CapturedMessages messages;
  QelFont* bold = display->getFont("%helvetica-12-bi");
  ASSERT_NE(bold, nullptr);
  EXPECT_EQ(display->getFont("%helvetica-12-IB"), bold);
  EXPECT_EQ(bold->getStyle(), uint32_t(QelFontStyleBold | QelFontStyleItalic));
  // Sizes are points, in tenths in the X name, at the screen's resolution (the private server's
  // is 100 dots per inch, where 12 points are 17 pixels). Helvetica's italic is an oblique
  // design; times has a true italic.
  EXPECT_EQ(bold->getXName(), "-*-helvetica-bold-o-normal--*-120-100-100-*-*-*-*");
  EXPECT_NE(matchedName(bold).find("-helvetica-bold-o-normal--17-120-100-100-"), std::string::npos);
  QelFont* times = display->getFont("%times-14-I-adobe");
  EXPECT_NE(matchedName(times).find("-adobe-times-medium-i-normal--20-140-"), std::string::npos);

  // The same 6 by 13 cells as a font set (the locale's charset) and as a core font.
  for (const char* name :
       {"fixed", "-misc-fixed-medium-r-semicondensed--13-120-75-75-c-60-iso10646-1"}) {
    QelFont* cell = display->getFont(name);
    ASSERT_NE(cell, nullptr);
    EXPECT_TRUE(cell->isSystemFont());
    EXPECT_EQ(cell->isFontSet(), name[0] == 'f') << name;
    EXPECT_EQ(std::make_tuple(cell->height(), cell->minWidth(), cell->maxWidth()),
              std::make_tuple(13, 6, 6));
    EXPECT_EQ(std::make_tuple(cell->textWidth("MMM", -1), cell->textWidth("MMM", 2),
                              cell->textWidth("MMM", 0), cell->textWidth(nullptr, 3)),
              std::make_tuple(18, 12, 0, 0));
  }
  EXPECT_EQ(display->getFont(""), nullptr);
  EXPECT_TRUE(messages.fatals().empty());
}

TEST_F(FontTest, UnknownAndOverLongNamesAreFatalAndRetriedOnEachRequest) {
  CapturedMessages messages;
  QelFont* unknown = display->getFont("no-such-font");
  ASSERT_NE(unknown, nullptr);
  EXPECT_FALSE(unknown->isValid());
  // Never filed under its name: asking again tries again (with the same object).
  EXPECT_EQ(display->findFont("no-such-font"), nullptr);
  EXPECT_EQ(display->getFont("no-such-font"), unknown);
  EXPECT_EQ(messages.fatals(),
            std::vector<std::string>(2, "Creating Font: Invalid Font no-such-font"));

  // Names far longer than X takes are just as unknown.
  for (const std::string& name : {std::string(256, 'x'), "%" + std::string(240, 'a') + "-12-BI"})
    EXPECT_FALSE(display->getFont(name.c_str())->isValid());
  EXPECT_EQ(messages.fatals().size(), 4u);
}

}  // namespace
}  // namespace kestrel::test
