#include <gtest/gtest.h>

#include <cstdlib>

#include "base/version.h"
#include "display/port.h"
#include "tests/display/rules.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"
#include "tests/support/x_server.h"

namespace kestrel::test {
namespace {

// A display made on a fresh Xt connection with the given resources, for one test.
class FreshDisplay {
 public:
  explicit FreshDisplay(const std::vector<std::string>& resources = {},
                        const char* name = "kestrel-fresh") {
    _x = openXtDisplay();
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

TEST(QelDisplayTest, AdoptsAConnectionAndIsFoundFromIt) {
  FreshDisplay display({}, "");
  ASSERT_NE(display->getXDisplay(), nullptr);
  EXPECT_STREQ(display->getName(), "Tessellar");
  EXPECT_EQ(QelDisplay::Find(display->getXDisplay()), display.get());
  EXPECT_NE(QelDisplay::GetAppContext(), nullptr);
  EXPECT_EQ(display->depth(), 24);
  EXPECT_EQ(display->screenWidth(), 1280u);
  EXPECT_NE(display->getScreenPort(), nullptr);
  EXPECT_EQ(display->defaultBitmap(), display->getBitmap("default"));
  EXPECT_EQ(display->defaultBitmap()->depth(), 1);

  QelDisplay unusable(static_cast<void*>(nullptr), "nothing");
  EXPECT_EQ(unusable.getXDisplay(), nullptr);
  EXPECT_EQ(unusable.getColor("red"), nullptr);
  EXPECT_EQ(unusable.getPalette(nullptr, nullptr), nullptr);
}

TEST(QelDisplayTest, OpensItsOwnConnectionOrSaysWhyNot) {
  testing::internal::CaptureStdout();
  QelDisplay nowhere("kestrel", ":999");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't open Display\n");
  EXPECT_EQ(nowhere.getXDisplay(), nullptr);

  QelDisplay own("kestrel", PrivateXEnvironment::displayName());
  ASSERT_NE(own.getXDisplay(), nullptr);
  EXPECT_NE(own.getColor("red"), nullptr);
}

TEST(QelDisplayTest, ResourcesAreLookedUpUnderTheNameAndClassWithTrailingBlanksCut) {
  FreshDisplay display({"kestrel-fresh.greeting: hello  \t", "Tessellar*colour: green",
                        "kestrel-fresh.panel.label: Jobs", "kestrel-fresh.empty:"});
  EXPECT_STREQ(display->getResource("greeting"), "hello");
  EXPECT_STREQ(display->getResource("colour"), "green");
  EXPECT_STREQ(display->getResource("missing", "fallback"), "fallback");
  EXPECT_STREQ(display->getResource("empty", "fallback"), "fallback");
  EXPECT_STREQ(display->getResource("label", "panel", "Panel"), "Jobs");
  EXPECT_EQ(display->getResource("label", "other", "Other"), nullptr);
  setenv("KESTREL_GREETING", "from-env", 1);
  EXPECT_STREQ(display->getEnvOrResource("KESTREL_GREETING", "greeting", "x"), "from-env");
  unsetenv("KESTREL_GREETING");
  EXPECT_STREQ(display->getEnvOrResource("KESTREL_GREETING", "greeting", "x"), "hello");
  EXPECT_STREQ(display->getEnvOrResource("KESTREL_GREETING", "nothing", "x"), "x");
}

TEST(QelDisplayTest, HomeAndDataPathFollowTheirPrecedence) {
  unsetenv("QELHOME");
  unsetenv("QELPATH");
  QelSetDefaultHome("/set/by/program");
  {
    FreshDisplay display({"kestrel-fresh.home: /from/resource"});
    EXPECT_STREQ(display->getHome(), "/set/by/program");
    EXPECT_EQ(display->getPath(),
              "/set/by/program/data/qel/:/set/by/program/data/icon/:/set/by/program/data/images/");
  }
  QelSetDefaultHome(nullptr);
  {
    FreshDisplay display({"kestrel-fresh.home: /from/resource", "kestrel-fresh.QelHome: /other"});
    EXPECT_STREQ(display->getHome(), "/from/resource");
  }
  setenv("QELHOME", "/from/env/", 1);
  setenv("QELPATH", "/p1:/p2", 1);
  {
    FreshDisplay display({"kestrel-fresh.home: /from/resource", "kestrel-fresh.QelPath: /front"});
    EXPECT_STREQ(display->getHome(), "/from/env/");
    EXPECT_EQ(display->getPath(), "/front/:/p1/:/p2/");
  }
  unsetenv("QELHOME");
  unsetenv("QELPATH");
  {
    FreshDisplay display({"kestrel-fresh.QelHome: /qel/home"});
    EXPECT_STREQ(display->getHome(), "/qel/home");
  }
  CapturedMessages messages;
  FreshDisplay display;
  ASSERT_EQ(messages.warnings().size(), 1u);
  EXPECT_EQ(messages.warnings()[0],
            std::string("Setting Tessellar home to ") + display->getHome() + "\n");
}

TEST(QelDisplayTest, MessageKeysResolveThroughTheDisplay) {
  FreshDisplay display;
  EXPECT_STRNE(display->getMessage("&QelCSDBCouldntAllBm"), "&QelCSDBCouldntAllBm");
  EXPECT_STREQ(display->getMessage("plain"), "plain");
}

TEST(QelDisplayTest, XErrorsAreCountedAndRecordedAndStopOnErrorIsRead) {
  FreshDisplay display;
  EXPECT_FALSE(display->stopsOnXError());
  testing::internal::CaptureStderr();
  int before = QelDisplay::GetXErrorCount();
  XFreePixmap(display->getXDisplay(), 0x1fffffff);  // no such pixmap
  display->sync();
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(QelDisplay::GetXErrorCount(), before + 1);
  EXPECT_EQ(display->getLastXError(), BadPixmap);
  EXPECT_NE(err.find("Total X errors : " + std::to_string(before + 1)), std::string::npos);

  setenv("QELSTOPONXERROR", "TRUE", 1);
  EXPECT_TRUE(FreshDisplay()->stopsOnXError());
  unsetenv("QELSTOPONXERROR");
  EXPECT_TRUE(FreshDisplay({"kestrel-fresh.stopOnXError: true"})->stopsOnXError());
}

TEST(QelDisplayTest, BitmapsTheServerRefusesHaveNoPixmapAndNoErrorReport) {
  FreshDisplay display;
  testing::internal::CaptureStderr();
  int before = QelDisplay::GetXErrorCount();
  QelBitmap empty(display.get(), 0, 10, 24);
  QelBitmap tooWide(display.get(), 40000, 10, 24);
  QelBitmap badDepth(display.get(), 10, 10, 13);
  QelBitmap fine(display.get(), 10, 10, 24);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(QelDisplay::GetXErrorCount(), before);
  EXPECT_FALSE(empty.isValid());
  EXPECT_FALSE(tooWide.isValid());
  EXPECT_FALSE(badDepth.isValid());
  EXPECT_TRUE(fine.isValid());
}

TEST(DisplayDepthTest, ColourAndPaletteRulesHoldOnEightAndSixteenBitServers) {
  for (int depth : {8, 16}) {
    SCOPED_TRACE(depth);
    XServer server;
    std::string error;
    ASSERT_TRUE(server.start({640, 480, depth}, &error)) << error;
    Display* x = openXtDisplay(server.displayName().c_str());
    ASSERT_NE(x, nullptr);
    {
      QelDisplay display(x, "kestrel-depth");
      ASSERT_NE(display.getXDisplay(), nullptr);
      EXPECT_EQ(display.depth(), depth);
      checkColorRules(&display);
      checkPaletteRules(&display);
    }
    closeXtDisplay(x);
  }
}

}  // namespace
}  // namespace kestrel::test
