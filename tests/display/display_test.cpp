#include <gtest/gtest.h>

#include <cstdlib>

#include "base/version.h"
#include "display/color.h"
#include "display/port.h"
#include "tests/display/rules.h"
#include "tests/support/display_fixture.h"
#include "tests/support/x_server.h"

namespace kestrel::test {
namespace {

// A display made on a fresh Xt connection with the given resources, for one test.
class FreshDisplay {
 public:
  explicit FreshDisplay(const std::vector<std::string>& resources = {},
                        const char* name = "kestrel-fresh")
      : _x(openXtDisplay()) {
    putResources(_x, resources);
    _display = new QelDisplay(_x, name);
  }
  ~FreshDisplay() {
    delete _display;
    closeXtDisplay(_x);
  }
  QelDisplay* operator->() const { return _display; }
  QelDisplay* get() const { return _display; }

 private:
  Display* _x;
  QelDisplay* _display;
};

TEST(QelDisplayTest, AdoptsAConnectionOrOpensItsOwnOrSaysWhyNot) {
  FreshDisplay display({}, "");
  ASSERT_NE(display->getXDisplay(), nullptr);
  EXPECT_STREQ(display->getName(), "Tessellar");
  EXPECT_EQ(QelDisplay::Find(display->getXDisplay()), display.get());
  EXPECT_EQ(display->defaultBitmap(), display->getBitmap("default"));
  QelDisplay own("kestrel", PrivateXEnvironment::displayName());
  EXPECT_NE(own.getColor("red"), nullptr);

  testing::internal::CaptureStdout();
  QelDisplay unusable(static_cast<void*>(nullptr), "nothing");
  QelDisplay nowhere("kestrel", ":999");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't open Display\nCan't open Display\n");
  EXPECT_EQ(nowhere.getXDisplay(), nullptr);
  EXPECT_EQ(unusable.getColor("red"), nullptr);
  EXPECT_EQ(unusable.getPalette(nullptr, nullptr), nullptr);

  // Bitmaps the server would refuse are never asked for: no X error.
  const int errors = QelDisplay::GetXErrorCount();
  for (auto [w, h, depth] :
       {std::tuple<uint16_t, uint16_t, int>{0, 10, 24}, {40000, 10, 24}, {10, 10, 13}})
    EXPECT_FALSE(QelBitmap(display.get(), w, h, depth).isValid()) << w << " " << depth;
  EXPECT_TRUE(QelBitmap(display.get(), 10, 10, 24).isValid());
  display->sync();
  EXPECT_EQ(QelDisplay::GetXErrorCount(), errors);
}

TEST(QelDisplayTest, ResourcesAreLookedUpUnderTheNameAndClassWithTrailingBlanksCut) {
  FreshDisplay display({"kestrel-fresh.greeting: hello  \t", "Tessellar*colour: green",
                        "kestrel-fresh.panel.label: Jobs", "kestrel-fresh.empty:",
                        "kestrel-fresh.panel.title.label: Caption", "Tessellar*Knob.label: K"});
  EXPECT_STREQ(display->getResource("greeting"), "hello");
  EXPECT_STREQ(display->getResource("colour"), "green");
  EXPECT_STREQ(display->getResource("empty", "fallback"), "fallback");
  EXPECT_STREQ(display->getResource("label", "panel", "Panel"), "Jobs");
  EXPECT_STREQ(display->getResource("label", "panel", "Panel", "title", "Title"), "Caption");
  EXPECT_STREQ(display->getResource("label", "panel", "Panel", "knob", "Knob"), "K");
  setenv("KESTREL_GREETING", "from-env", 1);
  EXPECT_STREQ(display->getEnvOrResource("KESTREL_GREETING", "greeting", "x"), "from-env");
  unsetenv("KESTREL_GREETING");
  EXPECT_STREQ(display->getEnvOrResource("KESTREL_GREETING", "greeting", "x"), "hello");
}

TEST(QelDisplayTest, HomeAndDataPathFollowTheirPrecedence) {
  // The program's home, then QELHOME, then the resources; QelPath goes before QELPATH.
  setenv("QELHOME", "/from/env/", 1);
  setenv("QELPATH", "/p1:/p2", 1);
  QelSetDefaultHome("/set/by/program");
  EXPECT_STREQ(FreshDisplay({"kestrel-fresh.home: /from/resource"})->getHome(), "/set/by/program");
  QelSetDefaultHome(nullptr);
  {
    FreshDisplay display({"kestrel-fresh.home: /from/resource", "kestrel-fresh.QelPath: /front"});
    EXPECT_STREQ(display->getHome(), "/from/env/");
    EXPECT_EQ(display->getPath(), "/front/:/p1/:/p2/");
  }
  unsetenv("QELHOME");
  unsetenv("QELPATH");
  EXPECT_EQ(FreshDisplay({"kestrel-fresh.home: /from/resource", "kestrel-fresh.QelHome: /other"})
                ->getPath(),
            "/from/resource/data/qel/:/from/resource/data/icon/:/from/resource/data/images/");
}

// Resource files of a user: the defaults fall back when the two colours could not be told apart.
TEST(QelDisplayTest, DefaultColoursFallBackWhenTheResourcesCannotBeToldApart) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"blue", "blue", "gray", "black"},                // equal texts
      {"black", "#000", "white", "black"},              // equal pixels
      {"no-such-colour", "yellow", "white", "yellow"},  // unknown background
      {"", "", "gray", "black"},                        // empty values
  };
  for (auto [background, foreground, expectedBackground, expectedForeground] : cases) {
    FreshDisplay display({std::string("kestrel-fresh.background: ") + background,
                          std::string("kestrel-fresh.foreground: ") + foreground});
    EXPECT_EQ(display->defaultBackground(), display->getColor(expectedBackground)) << background;
    EXPECT_EQ(display->defaultForeground(), display->getColor(expectedForeground)) << foreground;
  }
}

// Free cells of a PseudoColor colormap.
int freeCells(Display* x, Colormap colormap) {
  unsigned long pixels[256];
  for (int count = 256; count > 0; --count)
    if (XAllocColorCells(x, colormap, False, nullptr, 0, pixels, count)) {
      XFreeColors(x, colormap, pixels, count, 0);
      return count;
    }
  return 0;
}

Colormap configuredColormap = 0;
void useConfiguredColormap(QelDisplayConfig* config) {
  config->colormap = configuredColormap;
}

// Colour and palette rules hold at every depth; on 8 bits the display's mutable cells go with
// it, and a colormap without white or black is refused.
TEST(DisplayDepthTest, ColoursAndPalettesOnEightAndSixteenBitServers) {
  for (int depth : {8, 16}) {
    SCOPED_TRACE(depth);
    XServer server;
    std::string error;
    ASSERT_TRUE(server.start({640, 480, depth}, &error)) << error;
    Display* x = openXtDisplay(server.displayName().c_str());
    ASSERT_NE(x, nullptr);
    Colormap colormap = DefaultColormap(x, DefaultScreen(x));
    const int cells = freeCells(x, colormap);
    {
      QelDisplay display(x, "kestrel-depth");
      ASSERT_EQ(display.depth(), depth);
      checkColorRules(&display);
      checkPaletteRules(&display);
      if (depth == 8) {
        ASSERT_NE(display.getColor("red", 1), nullptr);  // nobody deletes these two
        ASSERT_NE(display.getColor(0.5f, 0.5f, 0.5f, 1), nullptr);
        EXPECT_LE(freeCells(x, colormap), cells - 2);
      }
    }
    EXPECT_EQ(freeCells(x, colormap), cells);
    if (depth == 8) {
      configuredColormap =
          XCreateColormap(x, DefaultRootWindow(x), DefaultVisual(x, DefaultScreen(x)), AllocAll);
      EXPECT_EQ(QelDisplay(x, "kestrel-full", useConfiguredColormap).getXDisplay(), nullptr);
      XFreeColormap(x, configuredColormap);
    }
    closeXtDisplay(x);
  }
}

}  // namespace
}  // namespace kestrel::test
