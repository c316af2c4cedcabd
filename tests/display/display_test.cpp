#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

#include "base/version.h"
#include "display/color.h"
#include "display/main_loop.h"
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

  testing::internal::CaptureStdout();
  QelDisplay unusable(static_cast<void*>(nullptr), "nothing");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't open Display\n");
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
                        "kestrel-fresh.panel.label: Jobs", "kestrel-fresh.empty:",
                        "kestrel-fresh.panel.title.label: Caption", "Tessellar*Knob.label: K"});
  EXPECT_STREQ(display->getResource("greeting"), "hello");
  EXPECT_STREQ(display->getResource("colour"), "green");
  EXPECT_STREQ(display->getResource("missing", "fallback"), "fallback");
  EXPECT_STREQ(display->getResource("empty", "fallback"), "fallback");
  EXPECT_STREQ(display->getResource("label", "panel", "Panel"), "Jobs");
  EXPECT_EQ(display->getResource("label", "other", "Other"), nullptr);
  EXPECT_STREQ(display->getResource("label", "panel", "Panel", "title", "Title"), "Caption");
  EXPECT_STREQ(display->getResource("label", "panel", "Panel", "knob", "Knob"), "K");
  EXPECT_EQ(display->getResource("label", "panel", "Panel", "other", "Other"), nullptr);
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
  // An error of a request made before a bitmap is still the program's, reported as usual.
  testing::internal::CaptureStderr();
  XFreePixmap(display->getXDisplay(), 0x1fffffff);
  QelBitmap refused(display.get(), 10, 10, 13);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(QelDisplay::GetXErrorCount(), before + 1);
  EXPECT_EQ(display->getLastXError(), BadPixmap);
  EXPECT_FALSE(refused.isValid());
  EXPECT_FALSE(empty.isValid());
  EXPECT_FALSE(tooWide.isValid());
  EXPECT_FALSE(badDepth.isValid());
  EXPECT_TRUE(fine.isValid());
}

int customError(Display*, XErrorEvent*) {
  return 0;
}
int customIOError(Display*) {
  return 0;
}
void customWarning(String) {}

// The handler installed now, found by putting another in and the same back.
template <typename Handler, typename Set>
Handler current(Set set) {
  Handler handler = set(nullptr);
  set(handler);
  return handler;
}

TEST(QelDisplayTest, TheHostsHandlersComeBackWithTheLastDisplay) {
  Display* x = openXtDisplay();
  ASSERT_NE(x, nullptr);
  XtAppContext app = XtDisplayToApplicationContext(x);
  auto setWarning = [app](XtErrorHandler h) { return XtAppSetWarningHandler(app, h); };
  XErrorHandler hostError = XSetErrorHandler(customError);
  XIOErrorHandler hostIOError = XSetIOErrorHandler(customIOError);
  XtErrorHandler hostWarning = XtAppSetWarningHandler(app, customWarning);
  auto* first = new QelDisplay(x, "kestrel-first");
  auto* second = new QelDisplay(x, "kestrel-second");
  delete first;
  EXPECT_NE(current<XErrorHandler>(XSetErrorHandler), customError);  // one display is left
  EXPECT_NE(current<XtErrorHandler>(setWarning), customWarning);
  delete second;
  EXPECT_EQ(current<XErrorHandler>(XSetErrorHandler), customError);
  EXPECT_EQ(current<XIOErrorHandler>(XSetIOErrorHandler), customIOError);
  EXPECT_EQ(current<XtErrorHandler>(setWarning), customWarning);
  XSetErrorHandler(hostError);
  XSetIOErrorHandler(hostIOError);
  XtAppSetWarningHandler(app, hostWarning);
  closeXtDisplay(x);
}

void readOne(XtPointer reads, int* fd, XtInputId*) {
  char c;
  if (read(*fd, &c, 1) == 1) ++*static_cast<int*>(reads);
}

TEST(QelInputTest, AnInputWhoseDescriptorWasClosedIsDroppedWhenSelectFails) {
  FreshDisplay display;
  XtAppContext app = QelDisplay::GetAppContext();
  int live[2], dead[2];
  ASSERT_EQ(pipe(live), 0);
  ASSERT_EQ(pipe(dead), 0);
  int reads = 0, never = 0;
  XtInputId kept = QelAddInput(live[0], readOne, &reads);
  XtInputId lost = QelAddInput(dead[0], readOne, &never);
  ASSERT_TRUE(kept && lost);
  EXPECT_EQ(QelAddInput(-1, readOne, &reads), 0u);
  close(dead[0]);
  close(dead[1]);
  XtAppWarning(app, "some other warning");  // ignored
  XtAppWarning(app, "Select failed; error code 9");
  EXPECT_EQ(QelRemoveInput(lost), 0);  // already dropped
  ASSERT_EQ(write(live[1], "x", 1), 1);
  XtAppProcessEvent(app, XtIMAlternateInput);
  EXPECT_EQ(reads, 1);
  EXPECT_EQ(QelRemoveInput(kept), 1);
  EXPECT_EQ(QelRemoveInput(kept), 0);
  close(live[0]);
  close(live[1]);
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

TEST(EightBitDisplayTest, MutableCellsGoWithTheDisplayAndAColormapWithoutWhiteOrBlackIsRefused) {
  XServer server;
  std::string error;
  ASSERT_TRUE(server.start({640, 480, 8}, &error)) << error;
  Display* x = openXtDisplay(server.displayName().c_str());
  ASSERT_NE(x, nullptr);
  Colormap colormap = DefaultColormap(x, DefaultScreen(x));
  int before = freeCells(x, colormap);
  {
    QelDisplay display(x, "kestrel-cells");
    ASSERT_NE(display.getXDisplay(), nullptr);
    ASSERT_NE(display.getColor("red", 1), nullptr);  // nobody deletes these two
    ASSERT_NE(display.getColor(0.5f, 0.5f, 0.5f, 1), nullptr);
    EXPECT_LE(freeCells(x, colormap), before - 2);
  }
  EXPECT_EQ(freeCells(x, colormap), before);

  // Every cell private: not even white or black can be shared.
  configuredColormap =
      XCreateColormap(x, DefaultRootWindow(x), DefaultVisual(x, DefaultScreen(x)), AllocAll);
  {
    QelDisplay display(x, "kestrel-full", useConfiguredColormap);
    EXPECT_EQ(display.getXDisplay(), nullptr);
  }
  XFreeColormap(x, configuredColormap);
  closeXtDisplay(x);
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
