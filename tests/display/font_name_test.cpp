#include <gtest/gtest.h>

#include <string>

#include "display/font.h"

namespace kestrel::test {
namespace {

std::string normalized(const char* name) {
  QelFontDescription description;
  return QelParseFontName(name, description) ? QelNormalizeFontName(description) : "(raw)";
}

// A foundry follows one dash, or two in the normal spelling, which parses back unchanged.
// Malformed toolkit names are X names as they are.
TEST(FontNameTest, EquivalentSpellingsNormaliseToOneNameAndMalformedOnesStayRaw) {
  for (auto [name, normal] :
       {std::pair<const char*, const char*>{"%helvetica-12-bi", "%helvetica-12-BI-"},
        {"%helvetica-12-IB", "%helvetica-12-BI-"},
        {"%times-8-uib", "%times-8-BIU-"},
        {"%helvetica-012-", "%helvetica-12--"},
        {"%helvetica-1-", "%helvetica-1--"},
        {"%helvetica-200-", "%helvetica-200--"},
        {"%helvetica-12-b-adobe", "%helvetica-12-B--adobe"},
        {"%helvetica-12-B--adobe", "%helvetica-12-B--adobe"},
        {"%helvetica-12-B--", "%helvetica-12-B-"}})
    EXPECT_EQ(normalized(name), normal) << name;
  for (const char* raw :
       {"%helvetica-0-", "%helvetica-201-", "%helvetica--B", "%helvetica-12", "%helvetica-12-X",
        "%helvetica-+12-", "%-12-B", "helvetica-12-B", "%", "",
        "%helvetica-99999999999999999999999-", "%helvetica-12-B-a-b", "%helvetica-12-B---adobe"})
    EXPECT_EQ(normalized(raw), "(raw)") << raw;
}

}  // namespace
}  // namespace kestrel::test
