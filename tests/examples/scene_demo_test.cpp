// The scene demo end to end: the real program on the private server, driven by xdotool, its
// window read back. Everything about the demo is learnt from outside: its windows from the tree,
// its objects from their colours.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "graphics/geometry.h"
#include "tests/support/pixels.h"
#include "tests/support/programs.h"
#include "tests/support/waiting.h"
#include "tests/support/x_server.h"

#include <X11/Xutil.h>

namespace kestrel::test {
namespace {

constexpr int kWidth = 600, kHeight = 460;  // the shell, as the tests start it
constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;
constexpr size_t kHandlePixels = 8 * 8 * 8;  // eight handles of 8 by 8

size_t countIn(const Image& image, const QelRect& rect, uint32_t color) {
  size_t n = 0;
  for (int64_t y = std::max<int64_t>(rect.y, 0);
       y < std::min<int64_t>(rect.bottom64(), image.height); ++y)
    for (int64_t x = std::max<int64_t>(rect.x, 0);
         x < std::min<int64_t>(rect.right64(), image.width); ++x)
      n += image.at(int(x), int(y)) == color;
  return n;
}

QelPoint centreOf(const QelRect& r) {
  return QelPoint(r.x + int32_t(r.w / 2), r.y + int32_t(r.h / 2));
}

QelRect translated(QelRect r, int32_t dx, int32_t dy) {
  r.x += dx;
  r.y += dy;
  return r;
}

// Black 8 by 8 squares on the four corners of the box, and no other black: the selection's
// handles around that box alone.
bool selects(const Image& image, const QelRect& box) {
  const int32_t right = box.x + int32_t(box.w), bottom = box.y + int32_t(box.h);
  for (QelPoint c : {QelPoint(box.x, box.y), QelPoint(right, box.y), QelPoint(right, bottom),
                     QelPoint(box.x, bottom)})
    if (countIn(image, QelRect(c.x - 4, c.y - 4, 8, 8), kBlack) != 64) return false;
  return image.count(kBlack) == kHandlePixels;
}

// Waits until `read` gives `expected`; otherwise compares the last image read with it.
::testing::AssertionResult settlesTo(const std::function<Image()>& read, const Image& expected,
                                     const std::string& name) {
  Image actual;
  if (eventually([&] { return (actual = read()).rgb == expected.rgb; }))
    return ::testing::AssertionSuccess();
  return imagesMatch(actual, expected, "scene_demo_" + name);
}

class SceneDemoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    x = XOpenDisplay(PrivateXEnvironment::displayName());
    ASSERT_NE(x, nullptr);
    // The demo's windows come and go while the tests look at them: a request about a window
    // that has just gone fails quietly instead of ending the test binary.
    previousHandler = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    char pattern[] = "/tmp/kestrel-scene-demo-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    directory = pattern;
    sceneFile = directory + "/my_scene.qel";
    sky = rgbOf("steel blue");
    roof = rgbOf("tomato");
    tree = rgbOf("sea green");
  }

  void TearDown() override {
    if (HasFailure() && shell) {
      const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
      QelRect box = rootGeometry(x, shell);
      writePng(readWindow(x, shell, 0, 0, box.w, box.h),
               outputDirectory() + "/scene_demo_" + name + ".png");
    }
    stop();
    if (!directory.empty()) std::filesystem::remove_all(directory);
    if (x) XCloseDisplay(x);
    XSetErrorHandler(previousHandler);
  }

  uint32_t rgbOf(const char* name) {
    XColor color;
    XParseColor(x, DefaultColormap(x, DefaultScreen(x)), name, &color);
    return uint32_t(color.red >> 8) << 16 | uint32_t(color.green >> 8) << 8 | (color.blue >> 8);
  }

  // Starts the demo at the top-left of the screen and waits until its scene shows.
  void launch(std::vector<std::string> args) {
    args.insert(args.begin(),
                {"-geometry", std::to_string(kWidth) + "x" + std::to_string(kHeight) + "+0+0"});
    demo = std::make_unique<Program>(KESTREL_SCENE_DEMO, args, directory);
    ASSERT_TRUE(eventually([&] { return (shell = viewableTopLevel(x, "SceneDemo")) != None; }))
        << "the demo's window never showed";
    ASSERT_TRUE(eventually([&] {
      // The container's window: the innermost one in the middle of the shell.
      QelRect box = rootGeometry(x, shell);
      scene = deepestAt(x, shell, int(box.w / 2), int(box.h / 2));
      return extentOf(screen(), sky).w > 0 && extentOf(screen(), tree).w > 0;
    })) << "the scene was never drawn";
  }

  // Kills the demo (if still running) and waits until the server has taken its windows away.
  void stop() {
    demo.reset();
    if (shell) {
      EXPECT_TRUE(eventually([&] { return viewableTopLevel(x, "SceneDemo") == None; }));
    }
    shell = scene = None;
  }

  Image read(Window window) {
    XSync(x, False);
    QelRect box = rootGeometry(x, window);
    return readWindow(x, window, 0, 0, box.w, box.h);
  }
  Image screen() { return read(scene); }

  QelPoint toRoot(const QelPoint& p, int dx = 0, int dy = 0) {
    QelRect box = rootGeometry(x, scene);
    return QelPoint(box.x + p.x + dx, box.y + p.y + dy);
  }
  void clickAt(const QelPoint& p) { ASSERT_TRUE(xdotoolClick(toRoot(p))); }
  // Presses on `from`, moves through the middle to `from` + (dx, dy) and releases.
  void drag(const QelPoint& from, int dx, int dy) {
    ASSERT_TRUE(xdotoolDrag({toRoot(from), toRoot(from, dx / 2, dy / 2), toRoot(from, dx, dy)}));
  }
  // Gives a window the keyboard focus, as a window manager would, and types `keys`.
  void type(const std::string& keys, Window window = None) {
    ASSERT_TRUE(xdotool({"windowfocus", "--sync", std::to_string(window ? window : shell)}));
    ASSERT_TRUE(xdotool({"key", keys}));
  }

  // Posts the File menu with a click on its title and clicks its item `index` counted from the
  // top (a negative index counts from the bottom).
  void chooseFromFileMenu(int index) {
    QelRect shellBox = rootGeometry(x, shell), sceneBox = rootGeometry(x, scene);
    ASSERT_TRUE(xdotoolClick(QelPoint(shellBox.x + 15, (shellBox.y + sceneBox.y) / 2)));
    std::vector<Window> items;
    ASSERT_TRUE(eventually([&] { return !(items = postedMenuItems(x, shell)).empty(); }))
        << "the File menu did not open";
    const int at = index >= 0 ? index : int(items.size()) + index;
    ASSERT_TRUE(xdotoolClick(centreOf(rootGeometry(x, items[size_t(at)]))));
  }

  // A viewable top-level window with that title, moved to (0, 500), below the main window and
  // all on the screen, so that it can be read back; None when it never showed.
  Window windowNamed(const char* title) {
    Window found = None;
    eventually([&] {
      for (Window window : children(x, DefaultRootWindow(x))) {
        char* name = nullptr;
        if (XFetchName(x, window, &name) && name && std::string(name) == title &&
            isViewable(x, window))
          found = window;
        if (name) XFree(name);
      }
      return found != None;
    });
    if (found && !xdotool({"windowmove", "--sync", std::to_string(found), "0", "500"}))
      ADD_FAILURE() << title << " could not be moved";
    return found;
  }

  Display* x = nullptr;
  XErrorHandler previousHandler = nullptr;
  std::string directory, sceneFile;
  std::unique_ptr<Program> demo;
  Window shell = None, scene = None;
  uint32_t sky = 0, roof = 0, tree = 0;
};

// One session with a scene file: clicks select one object at a time, a drag moves one with its
// handles, uncovered and resized windows repaint the same scene, and what File > Save wrote comes
// back the same after a restart.
TEST_F(SceneDemoTest, EditingSessionSelectsMovesRepaintsAndSavesTheScene) {
  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  const Image start = screen();
  EXPECT_EQ(start.count(kBlack), 0u) << "nothing is selected at start";
  const QelRect skyBox = extentOf(start, sky), roofBox = extentOf(start, roof),
                treeBox = extentOf(start, tree);
  clickAt(centreOf(skyBox));
  EXPECT_TRUE(eventually([&] { return selects(screen(), skyBox); }));
  // Selecting another object takes the handles away from the first.
  clickAt(centreOf(roofBox));
  EXPECT_TRUE(eventually([&] { return selects(screen(), roofBox); }));
  // Beyond the right of the scene's built-in size: the container follows the shell's geometry.
  drag(centreOf(treeBox), 160, 20);
  const QelRect movedTree = translated(treeBox, 160, 20);
  EXPECT_TRUE(eventually([&] {
    Image image = screen();
    return extentOf(image, tree) == movedTree && selects(image, movedTree);
  })) << "the tree did not arrive with its handles alone";
  // Where it was, with its handles, is plain background again.
  QelRect old(treeBox.x - 4, treeBox.y - 4, treeBox.w + 8, treeBox.h + 8);
  EXPECT_EQ(countIn(screen(), old, kWhite), size_t(old.w) * old.h);
  clickAt(QelPoint(300, 180));
  EXPECT_TRUE(eventually([&] { return screen().count(kBlack) == 0; }));

  // Uncovered, all of it and then a part whose edges cut through objects, it repaints the same.
  clickAt(centreOf(skyBox));
  ASSERT_TRUE(eventually([&] { return selects(screen(), skyBox); }));
  const Image selected = screen();
  const QelRect sceneBox = rootGeometry(x, scene);
  int n = 0;
  for (QelRect cover : {sceneBox, QelRect(sceneBox.x + 100, sceneBox.y + 60, 200, 150)}) {
    XSetWindowAttributes attributes;
    attributes.background_pixel = 0xff00ff;
    attributes.override_redirect = True;
    Window window = XCreateWindow(x, DefaultRootWindow(x), cover.x, cover.y, cover.w, cover.h, 0,
                                  CopyFromParent, InputOutput, CopyFromParent,
                                  CWBackPixel | CWOverrideRedirect, &attributes);
    XMapRaised(x, window);
    EXPECT_TRUE(eventually([&] { return isViewable(x, window); }));
    XDestroyWindow(x, window);
    EXPECT_TRUE(settlesTo([&] { return screen(); }, selected, "uncover_" + std::to_string(++n)));
  }

  // Saved with the sky selected: the file holds the objects, not the selection.
  drag(centreOf(skyBox), 30, 60);
  const QelRect movedSky = translated(skyBox, 30, 60);
  ASSERT_TRUE(eventually([&] { return extentOf(screen(), sky) == movedSky; }));
  ASSERT_NO_FATAL_FAILURE(chooseFromFileMenu(0));
  std::string text;
  ASSERT_TRUE(eventually([&] {
    std::stringstream file;
    file << std::ifstream(sceneFile).rdbuf();
    return (text = file.str()).find("QelFilledRectangle") != std::string::npos;
  })) << text;
  EXPECT_EQ(text.find("QelDrawSelection"), std::string::npos) << text;
  clickAt(QelPoint(300, 180));
  ASSERT_TRUE(eventually([&] { return screen().count(kBlack) == 0; }));
  const Image saved = screen();
  ASSERT_NO_FATAL_FAILURE(type("ctrl+q"));
  EXPECT_EQ(demo->waitForExit(), 0);
  stop();

  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  EXPECT_TRUE(settlesTo([&] { return screen(); }, saved, "restart"));
  // What was read from the file can be selected and dragged too.
  drag(centreOf(movedSky), -30, -60);
  EXPECT_TRUE(eventually([&] {
    Image image = screen();
    return extentOf(image, sky) == skyBox && selects(image, skyBox);
  }));

  // Resized smaller, cutting objects, and then larger, where they must come back whole.
  const Image before = screen();
  for (auto [width, height] : {std::pair(300, 250), std::pair(760, 560)}) {
    ASSERT_TRUE(xdotool(
        {"windowsize", std::to_string(shell), std::to_string(width), std::to_string(height)}));
    ASSERT_TRUE(eventually([&] { return rootGeometry(x, scene).w == uint32_t(width); }));
    const QelRect now = rootGeometry(x, scene);
    Image expected(int(now.w), int(now.h), kWhite);
    for (int row = 0; row < std::min(expected.height, before.height); ++row)
      for (int col = 0; col < std::min(expected.width, before.width); ++col)
        expected.set(col, row, before.at(col, row));
    EXPECT_TRUE(settlesTo([&] { return screen(); }, expected, "resize_" + std::to_string(width)));
  }
}

// Without a scene file: the screenshot option writes what the window shows, Ctrl+S writes the
// default file, the two chart windows open from the keyboard, and File > Quit ends the demo.
TEST_F(SceneDemoTest, DefaultSceneMatchesItsScreenshotAndOpensTheChartWindows) {
  const std::string shot = directory + "/shot.png";
  {
    Program screenshot(KESTREL_SCENE_DEMO, {"-geometry", "600x460+0+0", "--screenshot", shot},
                       directory);
    ASSERT_EQ(screenshot.waitForExit(), 0);
  }
  ASSERT_TRUE(eventually([&] { return viewableTopLevel(x, "SceneDemo") == None; }));
  const Image written = readPng(shot);
  ASSERT_EQ(written.width, kWidth);
  ASSERT_EQ(written.height, kHeight);
  ASSERT_NO_FATAL_FAILURE(launch({}));
  EXPECT_TRUE(settlesTo([&] { return read(shell); }, written, "screenshot"));
  ASSERT_NO_FATAL_FAILURE(type("ctrl+s"));
  EXPECT_TRUE(eventually([&] { return std::ifstream(directory + "/scene.qel").good(); }));

  // Each kind draws in its own colour (the side-by-side and stacked bars in two), the axes in
  // one more; the series move on with the timer, and the charts with them.
  ASSERT_NO_FATAL_FAILURE(type("ctrl+l"));
  const Window charts = windowNamed("Live charts");
  ASSERT_NE(charts, None) << "View > Live charts opened no window";
  const char* colours[] = {"navy",      "light sky blue", "pale green",     "dark orange",
                           "purple",    "orange",         "steel blue",     "tomato",
                           "sea green", "gold",           "dark slate gray"};
  Image first;
  ASSERT_TRUE(eventually([&] {
    first = read(charts);
    return std::all_of(std::begin(colours), std::end(colours),
                       [&](const char* c) { return first.count(rgbOf(c)) > 20; });
  })) << "not every chart kind showed";
  EXPECT_TRUE(eventually([&] { return read(charts).rgb != first.rgb; }));
  if (HasFailure()) writePng(first, outputDirectory() + "/scene_demo_live_charts.png");

  // In the chart container's window, "Z" halves the x range around its middle: half the bars (a
  // fixed number of pixels wide) leave the window. "B" fits both directions to the data, which
  // is where the window started. Keys go to the container's own window, the innermost one.
  ASSERT_NO_FATAL_FAILURE(type("ctrl+k"));
  const Window window = windowNamed("Chart container");
  ASSERT_NE(window, None) << "View > Chart container opened no window";
  const uint32_t bars = rgbOf("light steel blue");
  ASSERT_TRUE(eventually([&] {
    first = read(window);
    return first.count(bars) > 100 && first.count(rgbOf("firebrick")) > 20 &&
           first.count(rgbOf("gold")) > 100;
  })) << "the charts did not show";
  auto press = [&](const char* key) {
    ASSERT_TRUE(xdotool({"mousemove", "--window", std::to_string(window), "300", "200"}));
    type(key, deepestAt(x, window, 300, 200));
  };
  ASSERT_NO_FATAL_FAILURE(press("shift+z"));
  EXPECT_TRUE(eventually([&] { return read(window).count(bars) < first.count(bars) * 3 / 4; }));
  ASSERT_NO_FATAL_FAILURE(press("shift+b"));
  EXPECT_TRUE(settlesTo([&] { return read(window); }, first, "chart_container"));

  ASSERT_NO_FATAL_FAILURE(chooseFromFileMenu(-1));
  EXPECT_EQ(demo->waitForExit(), 0);
}

}  // namespace
}  // namespace kestrel::test
