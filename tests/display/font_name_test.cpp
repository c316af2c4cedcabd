#include <gtest/gtest.h>

#include <string>

#include "display/font.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

std::string normalized(const char* name) {
  QelFontDescription description;
  return QelParseFontName(name, description) ? QelNormalizeFontName(description) : "(raw)";
}

TEST(FontNameTest, EquivalentSpellingsNormaliseToOneName) {
  EXPECT_EQ(normalized("%helvetica-12-bi"), "%helvetica-12-BI-");
  EXPECT_EQ(normalized("%helvetica-12-IB"), "%helvetica-12-BI-");
  EXPECT_EQ(normalized("%helvetica-12-BI-"), "%helvetica-12-BI-");
  EXPECT_EQ(normalized("%times-8-uib"), "%times-8-BIU-");
  EXPECT_EQ(normalized("%helvetica-12-"), "%helvetica-12--");
  EXPECT_EQ(normalized("%helvetica-012-b"), "%helvetica-12-B-");
  EXPECT_EQ(normalized("%helvetica-1-"), "%helvetica-1--");
  EXPECT_EQ(normalized("%helvetica-200-"), "%helvetica-200--");

  // A foundry follows one dash, or two in the normal spelling, which parses back unchanged.
  QelFontDescription d;
  ASSERT_TRUE(QelParseFontName("%helvetica-12-b-adobe", d));
  EXPECT_EQ(d.family, "helvetica");
  EXPECT_EQ(d.size, 12);
  EXPECT_EQ(d.style, uint32_t(QelFontStyleBold));
  EXPECT_EQ(d.foundry, "adobe");
  EXPECT_EQ(QelNormalizeFontName(d), "%helvetica-12-B--adobe");
  EXPECT_EQ(normalized("%helvetica-12-B--adobe"), "%helvetica-12-B--adobe");
  EXPECT_EQ(normalized("%helvetica-12-B--"), "%helvetica-12-B-");
}

TEST(FontNameTest, MalformedToolkitNamesAreRawXNames) {
  for (const char* name :
       {"%helvetica-0-", "%helvetica-201-", "%helvetica--B", "%helvetica-12", "%helvetica-12-X",
        "%helvetica-+12-", "%-12-B", "helvetica-12-B", "%", "",
        "%helvetica-99999999999999999999999-", "%helvetica-12-B-a-b", "%helvetica-12-B---adobe"})
    EXPECT_EQ(normalized(name), "(raw)") << name;
  QelFontDescription untouched;
  EXPECT_FALSE(QelParseFontName(nullptr, untouched));
}

class FontNameBlankingTest : public DisplayTest {};

TEST_F(FontNameBlankingTest, WildcardsInToolkitNamesBecomeBlanks) {
  CapturedMessages messages;
  QelFont* starred = display->getFont("%helvetica*-12-B");
  ASSERT_NE(starred, nullptr);
  EXPECT_EQ(display->getFont("%helvetica?-12-b"), starred);
  EXPECT_STREQ(starred->getName(), "%helvetica -12-B-");
  EXPECT_EQ(starred->getDescription().family, "helvetica ");
  EXPECT_FALSE(starred->isValid());  // a wildcard would have matched helvetica
  // Asked for twice, and never loaded, so reported twice.
  ASSERT_EQ(messages.fatals().size(), 2u);
  EXPECT_EQ(messages.fatals()[0],
            "Creating Font: Invalid Font -*-helvetica -bold-r-normal--*-120-100-100-*-*-*-*");

  // A raw X name keeps its wildcards.
  QelFont* raw = display->getFont("-misc-fixed-medium-r-semicondensed--13-*-*-*-*-*-iso8859-1");
  ASSERT_NE(raw, nullptr);
  EXPECT_TRUE(raw->isValid());
  EXPECT_TRUE(raw->isSystemFont());
  EXPECT_EQ(messages.fatals().size(), 2u);
}

}  // namespace
}  // namespace kestrel::test
