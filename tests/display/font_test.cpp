#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "display/font.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

// Every font name handed to Xlib passes here first, so a test can see the longest one.
namespace {
size_t longestFontName = 0;
template <typename F>
F seen(const char* name, const char* symbol) {
  if (name) longestFontName = std::max(longestFontName, std::strlen(name));
  return reinterpret_cast<F>(dlsym(RTLD_NEXT, symbol));
}
}  // namespace

extern "C" XFontStruct* XLoadQueryFont(Display* d, const char* name) {
  return seen<XFontStruct* (*)(Display*, const char*)>(name, "XLoadQueryFont")(d, name);
}
extern "C" XFontSet XCreateFontSet(Display* d, const char* names, char*** missing, int* count,
                                   char** text) {
  using Create = XFontSet (*)(Display*, const char*, char***, int*, char**);
  return seen<Create>(names, "XCreateFontSet")(d, names, missing, count, text);
}
extern "C" char** XListFonts(Display* d, const char* pattern, int max, int* count) {
  using List = char** (*)(Display*, const char*, int, int*);
  return seen<List>(pattern, "XListFonts")(d, pattern, max, count);
}

namespace kestrel::test {
namespace {

class FontTest : public DisplayTest {};

// The name X matched for a font set (the locale's charset makes toolkit fonts font sets).
std::string matchedName(const QelFont* font) {
  XFontStruct** fonts;
  char** names;
  return font->isFontSet() && XFontsOfFontSet(font->getFontSet(), &fonts, &names) ? names[0] : "";
}

TEST_F(FontTest, EquivalentNamesGiveOneLoadedFont) {
  CapturedMessages messages;
  QelFont* bold = display->getFont("%helvetica-12-bi");
  ASSERT_NE(bold, nullptr);
  EXPECT_EQ(display->getFont("%helvetica-12-IB"), bold);
  EXPECT_EQ(display->getFont("%helvetica-12-BI-"), bold);
  EXPECT_EQ(bold->getSize(), 12);
  EXPECT_EQ(bold->getStyle(), uint32_t(QelFontStyleBold | QelFontStyleItalic));
  // Sizes are points, in tenths in the X name, at the screen's resolution (the private server's
  // is 100 dots per inch, where 12 points are 17 pixels). Helvetica's italic is an oblique
  // design; times has a true italic.
  EXPECT_EQ(bold->getXName(), "-*-helvetica-bold-o-normal--*-120-100-100-*-*-*-*");
  EXPECT_NE(matchedName(bold).find("-helvetica-bold-o-normal--17-120-100-100-"), std::string::npos);
  QelFont* times = display->getFont("%times-14-I-adobe");
  EXPECT_NE(matchedName(times).find("-adobe-times-medium-i-normal--20-140-"), std::string::npos);
  EXPECT_GT(bold->textWidth("MMM", -1), bold->textWidth("iii", -1));

  QelFont* fixed = display->getFont("fixed");
  ASSERT_NE(fixed, nullptr);
  EXPECT_EQ(display->getFont("fixed"), fixed);
  EXPECT_TRUE(fixed->isSystemFont());
  EXPECT_EQ(fixed->height(), 13);
  EXPECT_EQ(fixed->minWidth(), 6);
  EXPECT_EQ(fixed->maxWidth(), 6);
  EXPECT_EQ(fixed->textWidth("MMM", -1), 18);
  EXPECT_EQ(fixed->textWidth("MMM", 2), 12);
  EXPECT_EQ(fixed->textWidth("MMM", 0) + fixed->textWidth(nullptr, 3), 0);
  // Not the locale's charset: a core font, with the same metrics.
  QelFont* core =
      display->getFont("-misc-fixed-medium-r-semicondensed--13-120-75-75-c-60-iso10646-1");
  ASSERT_NE(core, nullptr);
  EXPECT_FALSE(core->isFontSet());
  EXPECT_NE(core->getXFontStruct(), nullptr);
  EXPECT_EQ(core->height(), 13);
  EXPECT_EQ(core->textWidth("MMM", -1), 18);

  EXPECT_EQ(display->getFont(nullptr), nullptr);
  EXPECT_EQ(display->getFont(""), nullptr);
  EXPECT_TRUE(messages.fatals().empty());
}

TEST_F(FontTest, UnknownAndOverLongNamesAreFatalAndNeverReachTheServer) {
  CapturedMessages messages;
  QelFont* unknown = display->getFont("no-such-font");
  ASSERT_NE(unknown, nullptr);
  EXPECT_FALSE(unknown->isValid());
  // Never filed under its name: asking again tries again (with the same object).
  EXPECT_EQ(display->findFont("no-such-font"), nullptr);
  EXPECT_EQ(display->getFont("no-such-font"), unknown);
  EXPECT_FALSE(display->getFont("%nosuchfamily-12-")->isValid());
  EXPECT_EQ(display->findFont("%nosuchfamily-12--"), nullptr);
  std::vector<std::string> expected = {
      "Creating Font: Invalid Font no-such-font", "Creating Font: Invalid Font no-such-font",
      "Creating Font: Invalid Font -*-nosuchfamily-medium-r-normal--*-120-100-100-*-*-*-*"};
  EXPECT_EQ(messages.fatals(), expected);

  // 255 bytes go to the server (which knows no such font); one more and they never do.
  longestFontName = 0;
  std::string longFamily = "%" + std::string(240, 'a') + "-12-BI";  // its X name is longer
  for (const std::string& name : {std::string(255, 'x'), "fixed" + std::string(251, ' '),
                                  std::string(100 * 1024, '\xff'), longFamily}) {
    QelFont* font = display->getFont(name.c_str());
    ASSERT_NE(font, nullptr);
    EXPECT_FALSE(font->isValid());
    font->lock();
    font->unLock();
    EXPECT_EQ(display->findFont(name.c_str()), nullptr);
  }
  EXPECT_EQ(longestFontName, 255u);
  EXPECT_EQ(messages.fatals().size(), 7u);
}

TEST_F(FontTest, AliasesRenameFreeFontsCopyHeldOnesAndAreUnique) {
  CapturedMessages messages;
  QelFont* free = display->getFont("%helvetica-14-");
  EXPECT_EQ(display->dupFont(free, "caption"), free);
  EXPECT_TRUE(free->isAlias());
  EXPECT_EQ(display->findFont("caption"), free);
  EXPECT_EQ(display->findFont("%helvetica-14--"), nullptr);  // it left the font table

  QelFont* held = display->getFont("%helvetica-10-");
  held->lock();
  QelFont* copy = display->dupFont(held, "small");
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, held);
  EXPECT_TRUE(copy->isAlias() && copy->isValid());
  EXPECT_EQ(copy->ascent(), held->ascent());
  EXPECT_EQ(display->getFont("%helvetica-10-"), held);
  EXPECT_EQ(display->getFont("small"), copy);
  QelFont* again = display->dupFont(free, "caption2");  // an alias is copied, never renamed
  EXPECT_NE(again, free);
  QelFont* system = display->getFont("6x13");
  system->lock();
  QelFont* systemCopy = display->dupFont(system, "cell");
  EXPECT_TRUE(systemCopy->isSystemFont());
  EXPECT_EQ(systemCopy->getXName(), "6x13");

  EXPECT_EQ(display->dupFont(held, "caption"), nullptr);
  EXPECT_EQ(display->dupFont(held, "bold"), nullptr);
  std::vector<std::string> expected = {"QelDisplay::dupFont: font alias caption already used",
                                       "QelDisplay::dupFont: font alias bold already used"};
  EXPECT_EQ(messages.warnings(), expected);

  // Deleting a font, or unlocking its last holder, takes it out of every table.
  for (QelFont* font : {free, copy, again, systemCopy}) delete font;
  held->unLock();
  system->unLock();
  for (const char* name : {"caption", "caption2", "small", "cell", "%helvetica-10--", "6x13"})
    EXPECT_EQ(display->findFont(name), nullptr) << name;
}

TEST_F(FontTest, PredefinedFontsAreLockedAliases) {
  for (const char* name : {"default", "normal", "bold", "italic", "large", "monospace"}) {
    QelFont* font = display->getFont(name);
    ASSERT_NE(font, nullptr) << name;
    EXPECT_TRUE(font->isValid() && font->isAlias() && font->getLockCount() >= 1) << name;
  }
  EXPECT_EQ(display->defaultFont(), display->findFont("default"));
  EXPECT_EQ(display->defaultFont()->getXName(), "fixed");
  // An alias is the font itself, which stays known under its own name: asking for that name
  // does not load it a second time.
  EXPECT_EQ(display->getFont("fixed"), display->defaultFont());
  EXPECT_EQ(display->findFont("monospace"), display->defaultFont());
  EXPECT_EQ(display->getFont("%helvetica-12-B"), display->findFont("bold"));
  EXPECT_EQ(display->getSystemFont("fixed"), display->defaultFont());
  EXPECT_EQ(display->findFont("bold")->getStyle(), uint32_t(QelFontStyleBold));
  EXPECT_EQ(display->findFont("italic")->getStyle(), uint32_t(QelFontStyleItalic));
  EXPECT_GT(display->findFont("large")->height(), display->findFont("normal")->height());
}

// The font warnings only (the home directory may be unset).
std::vector<std::string> fontWarnings(const CapturedMessages& messages) {
  std::vector<std::string> found;
  for (const std::string& text : messages.warnings())
    if (text.find("font") != std::string::npos) found.push_back(text);
  return found;
}

TEST(PredefinedFontTest, ResourcesChooseFontsAndMissingOnesFallBack) {
  Display* x = openXtDisplay();
  ASSERT_NE(x, nullptr);
  putResources(x, {"kestrel-fonts.boldfont: %helvetica-18-I", "kestrel-fonts.italicfont: nonsense",
                   "kestrel-fonts.font: %helvetica-10-"});
  {
    CapturedMessages messages;
    QelDisplay display(x, "kestrel-fonts");
    EXPECT_EQ(display.defaultFont()->getSize(), 10);
    EXPECT_EQ(display.findFont("bold")->getStyle(), uint32_t(QelFontStyleItalic));
    EXPECT_EQ(display.findFont("bold")->getSize(), 18);
    EXPECT_EQ(display.findFont("italic")->getDescription().family, "helvetica");
    EXPECT_EQ(messages.fatals(), std::vector<std::string>{"Creating Font: Invalid Font nonsense"});
    // The configured font is reported before the built-in choice stands in.
    EXPECT_EQ(fontWarnings(messages),
              std::vector<std::string>{"QelDisplay::initFont: cannot create italic font"});
  }
  // With only the server's built-in fonts helvetica is gone: the configured default font falls
  // back to "fixed", which stands in for the others, with a warning each.
  int pathLength = 0;
  char** path = XGetFontPath(x, &pathLength);
  char builtIns[] = "built-ins";
  char* only[] = {builtIns};
  XSetFontPath(x, only, 1);
  {
    CapturedMessages messages;
    QelDisplay display(x, "kestrel-fonts");
    XSetFontPath(x, path, pathLength);
    EXPECT_EQ(display.defaultFont()->getXName(), "fixed");
    for (const char* name : {"normal", "bold", "italic", "large"})
      EXPECT_EQ(display.findFont(name)->getXName(), "fixed") << name;
    std::vector<std::string> expected = {"QelDisplay::initFont: cannot create default font",
                                         "QelDisplay::initFont: cannot create normal font",
                                         "QelDisplay::initFont: cannot create bold font",
                                         "QelDisplay::initFont: cannot create italic font",
                                         "QelDisplay::initFont: cannot create large font"};
    EXPECT_EQ(fontWarnings(messages), expected);
  }
  // A server with no font at all: the default font is fatal, and the display still works.
  char empty[] = "/tmp/kestrel-no-fonts-XXXXXX";
  ASSERT_NE(mkdtemp(empty), nullptr);
  std::string index = std::string(empty) + "/fonts.dir";
  std::FILE* file = std::fopen(index.c_str(), "w");
  ASSERT_NE(file, nullptr);
  std::fputs("0\n", file);
  std::fclose(file);
  char* none[] = {empty};
  XSetFontPath(x, none, 1);
  {
    CapturedMessages messages;
    QelDisplay display(x, "kestrel-fonts");
    XSetFontPath(x, path, pathLength);
    ASSERT_NE(display.getXDisplay(), nullptr);
    EXPECT_FALSE(display.defaultFont()->isValid());
    const std::vector<std::string>& fatals = messages.fatals();
    EXPECT_EQ(
        std::count(fatals.begin(), fatals.end(), "QelDisplay: cannot find default font fixed"), 1);
    QelPalette* palette = display.defaultPalette();
    QelBitmap port(&display, 20, 20, display.depth());
    display.drawString(&port, palette, QelPoint(2, 15), "text", 4);
    display.sync();
  }
  std::remove(index.c_str());
  rmdir(empty);
  XFreeFontPath(path);
  closeXtDisplay(x);
}

}  // namespace
}  // namespace kestrel::test
