// The scene demo end to end: the real program on the private server, driven by xdotool, its
// window read back. Everything about the demo is learnt from outside: its windows from the tree,
// its objects from their colours.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
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

constexpr const char* kDemoClass = "SceneDemo";
constexpr int kWidth = 600, kHeight = 460;  // the shell, as the tests start it
constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;
constexpr size_t kHandlePixels = 8 * 8 * 8;  // eight handles of 8 by 8

// The demo's windows come and go while the tests look at them: a request about a window that
// has just gone fails quietly (its call returns failure) instead of ending the test binary.
int ignoreXError(Display*, XErrorEvent*) {
  return 0;
}

bool hasDemoClass(Display* x, Window window) {
  XClassHint hint{};
  if (!XGetClassHint(x, window, &hint)) return false;
  bool demo = hint.res_class && std::string(hint.res_class) == kDemoClass;
  XFree(hint.res_name);
  XFree(hint.res_class);
  return demo;
}

// The demo's viewable top-level window, or None.
Window findDemoShell(Display* x) {
  for (Window window : children(x, DefaultRootWindow(x)))
    if (hasDemoClass(x, window) && isViewable(x, window)) return window;
  return None;
}

// A viewable top-level window with that title, or None.
Window findWindowNamed(Display* x, const char* title) {
  for (Window window : children(x, DefaultRootWindow(x))) {
    char* name = nullptr;
    bool match = XFetchName(x, window, &name) && name && std::string(name) == title;
    if (name) XFree(name);
    if (match && isViewable(x, window)) return window;
  }
  return None;
}

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

// Black 8 by 8 squares on the four corners of the box: the selection's corner handles.
bool framedByHandles(const Image& image, const QelRect& box) {
  const int32_t right = box.x + int32_t(box.w), bottom = box.y + int32_t(box.h);
  for (QelPoint c : {QelPoint(box.x, box.y), QelPoint(right, box.y), QelPoint(right, bottom),
                     QelPoint(box.x, bottom)})
    if (countIn(image, QelRect(c.x - 4, c.y - 4, 8, 8), kBlack) != 64) return false;
  return true;
}

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class SceneDemoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    x = XOpenDisplay(PrivateXEnvironment::displayName());
    ASSERT_NE(x, nullptr);
    previousHandler = XSetErrorHandler(ignoreXError);
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
    ASSERT_TRUE(eventually([&] { return (shell = findDemoShell(x)) != None; }))
        << "the demo's window never showed";
    ASSERT_TRUE(eventually([&] {
      findSceneWindow();
      return extentOf(screen(), sky).w > 0 && extentOf(screen(), tree).w > 0;
    })) << "the scene was never drawn";
  }

  // Kills the demo (if still running) and waits until the server has taken its windows away.
  void stop() {
    demo.reset();
    if (shell) {
      EXPECT_TRUE(eventually([&] { return findDemoShell(x) == None; }));
    }
    shell = scene = None;
  }

  // The container's window: the innermost one in the middle of the shell.
  void findSceneWindow() {
    QelRect box = rootGeometry(x, shell);
    scene = deepestAt(x, shell, int(box.w / 2), int(box.h / 2));
  }

  Image screen() {
    XSync(x, False);
    QelRect box = rootGeometry(x, scene);
    return readWindow(x, scene, 0, 0, box.w, box.h);
  }

  QelPoint toRoot(const QelPoint& p) {
    QelRect box = rootGeometry(x, scene);
    return QelPoint(box.x + p.x, box.y + p.y);
  }

  void clickAt(const QelPoint& p) {
    QelPoint r = toRoot(p);
    ASSERT_TRUE(xdotool({"mousemove", std::to_string(r.x), std::to_string(r.y), "click", "1"}));
  }

  // Presses on `from`, moves through the middle to `from` + (dx, dy) and releases.
  void drag(const QelPoint& from, int dx, int dy) {
    QelPoint a = toRoot(from);
    auto at = [&](int fraction) {
      return std::vector<std::string>{"mousemove", std::to_string(a.x + dx * fraction / 2),
                                      std::to_string(a.y + dy * fraction / 2)};
    };
    std::vector<std::string> args = at(0);
    args.insert(args.end(), {"mousedown", "1"});
    for (int fraction : {1, 2}) {
      std::vector<std::string> step = at(fraction);
      args.insert(args.end(), step.begin(), step.end());
    }
    args.insert(args.end(), {"mouseup", "1"});
    ASSERT_TRUE(xdotool(args));
  }

  // Gives the demo the keyboard focus, as a window manager would, and types `keys`.
  void type(const std::string& keys) {
    ASSERT_TRUE(xdotool({"windowfocus", "--sync", std::to_string(shell)}));
    ASSERT_TRUE(xdotool({"key", keys}));
  }

  // Posts the File menu with a click on its title and clicks its item `index` counted from the
  // top (a negative index counts from the bottom).
  void chooseFromFileMenu(int index) {
    QelRect shellBox = rootGeometry(x, shell), sceneBox = rootGeometry(x, scene);
    int barHeight = sceneBox.y - shellBox.y;
    ASSERT_TRUE(xdotool({"mousemove", std::to_string(shellBox.x + 15),
                         std::to_string(shellBox.y + barHeight / 2), "click", "1"}));
    std::vector<Window> items;
    ASSERT_TRUE(eventually([&] { return !(items = menuItems()).empty(); }))
        << "the File menu did not open";
    QelRect item = rootGeometry(x, items[index >= 0 ? index : int(items.size()) + index]);
    QelPoint c = centreOf(item);
    ASSERT_TRUE(xdotool({"mousemove", std::to_string(c.x), std::to_string(c.y), "click", "1"}));
  }

  // The items of the posted pulldown, top to bottom: the children of the menu inside the one
  // viewable top-level window that is not the demo's own.
  std::vector<Window> menuItems() {
    for (Window top : children(x, DefaultRootWindow(x))) {
      if (top == shell || !isViewable(x, top)) continue;
      for (Window menu : children(x, top)) {
        std::vector<Window> items = children(x, menu);
        std::sort(items.begin(), items.end(),
                  [&](Window a, Window b) { return rootGeometry(x, a).y < rootGeometry(x, b).y; });
        if (!items.empty()) return items;
      }
    }
    return {};
  }

  bool sceneShowsSelectionOf(uint32_t color) {
    Image image = screen();
    return framedByHandles(image, extentOf(image, color)) && image.count(kBlack) == kHandlePixels;
  }

  Display* x = nullptr;
  XErrorHandler previousHandler = nullptr;
  std::string directory, sceneFile;
  std::unique_ptr<Program> demo;
  Window shell = None, scene = None;
  uint32_t sky = 0, roof = 0, tree = 0;
};

TEST_F(SceneDemoTest, ClickSelectsOneObjectDragMovesItAndAClickOnNothingClears) {
  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  Image before = screen();
  EXPECT_EQ(before.count(kBlack), 0u) << "nothing is selected at start";
  const QelRect skyBox = extentOf(before, sky), roofBox = extentOf(before, roof),
                treeBox = extentOf(before, tree);

  clickAt(centreOf(skyBox));
  EXPECT_TRUE(eventually([&] { return sceneShowsSelectionOf(sky); }));
  // Selecting another object takes the handles away from the first.
  clickAt(centreOf(roofBox));
  EXPECT_TRUE(eventually([&] { return sceneShowsSelectionOf(roof); }));

  // Beyond the right of the scene's built-in size: the container follows the shell's geometry.
  drag(centreOf(treeBox), 160, 20);
  const QelRect moved = translated(treeBox, 160, 20);
  EXPECT_TRUE(eventually([&] {
    Image image = screen();
    return extentOf(image, tree) == moved && framedByHandles(image, moved) &&
           image.count(kBlack) == kHandlePixels;
  })) << "the tree did not arrive with its handles alone";
  // Where it was, with its handles, is plain background again.
  QelRect old(treeBox.x - 4, treeBox.y - 4, treeBox.w + 8, treeBox.h + 8);
  EXPECT_EQ(countIn(screen(), old, kWhite), size_t(old.w) * old.h);

  clickAt(QelPoint(300, 180));
  EXPECT_TRUE(eventually([&] { return screen().count(kBlack) == 0; }));
}

TEST_F(SceneDemoTest, UncoveringRepaintsTheSameScene) {
  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  clickAt(centreOf(extentOf(screen(), sky)));
  ASSERT_TRUE(eventually([&] { return sceneShowsSelectionOf(sky); }));
  const Image before = screen();
  const QelRect sceneBox = rootGeometry(x, scene);
  int n = 0;
  // Covering all of it, then a part whose edges cut through objects.
  for (QelRect cover : {sceneBox, QelRect(sceneBox.x + 100, sceneBox.y + 60, 200, 150)}) {
    SCOPED_TRACE(++n);
    XSetWindowAttributes attributes;
    attributes.background_pixel = 0xff00ff;
    attributes.override_redirect = True;
    Window window = XCreateWindow(x, DefaultRootWindow(x), cover.x, cover.y, cover.w, cover.h, 0,
                                  CopyFromParent, InputOutput, CopyFromParent,
                                  CWBackPixel | CWOverrideRedirect, &attributes);
    XMapRaised(x, window);
    EXPECT_TRUE(eventually([&] { return isViewable(x, window); }));
    XDestroyWindow(x, window);
    Image after;
    bool same = eventually([&] { return (after = screen()).rgb == before.rgb; });
    EXPECT_TRUE(same ? ::testing::AssertionSuccess()
                     : imagesMatch(after, before, "scene_demo_uncover_" + std::to_string(n)));
  }
}

TEST_F(SceneDemoTest, ResizingTheShellRedrawsTheSceneInTheNewSize) {
  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  const Image before = screen();
  // Smaller first, cutting objects; larger after, where they must come back whole.
  for (auto [width, height] : {std::pair(300, 250), std::pair(760, 560)}) {
    SCOPED_TRACE(width);
    ASSERT_TRUE(xdotool(
        {"windowsize", std::to_string(shell), std::to_string(width), std::to_string(height)}));
    Image after, expected;
    bool same = eventually([&] {
      if (rootGeometry(x, scene).w != uint32_t(width)) return false;
      after = screen();
      expected = Image(after.width, after.height, kWhite);
      for (int row = 0; row < std::min(after.height, before.height); ++row)
        for (int col = 0; col < std::min(after.width, before.width); ++col)
          expected.set(col, row, before.at(col, row));
      return after.rgb == expected.rgb;
    });
    EXPECT_TRUE(same ? ::testing::AssertionSuccess()
                     : imagesMatch(after, expected, "scene_demo_resize_" + std::to_string(width)));
  }
}

TEST_F(SceneDemoTest, SavedSceneComesBackTheSameAfterARestart) {
  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  const QelRect skyBox = extentOf(screen(), sky);
  drag(centreOf(skyBox), 30, 60);
  const QelRect moved = translated(skyBox, 30, 60);
  ASSERT_TRUE(eventually([&] { return extentOf(screen(), sky) == moved; }));

  // Saved with the sky still selected: the file holds the objects, not the selection.
  ASSERT_NO_FATAL_FAILURE(chooseFromFileMenu(0));
  ASSERT_TRUE(eventually([&] { return std::ifstream(sceneFile).good(); }));
  const std::string text = fileText(sceneFile);
  EXPECT_NE(text.find("QelFilledRectangle"), std::string::npos) << text;
  EXPECT_EQ(text.find("QelDrawSelection"), std::string::npos) << text;

  clickAt(QelPoint(300, 180));
  ASSERT_TRUE(eventually([&] { return screen().count(kBlack) == 0; }));
  const Image saved = screen();
  ASSERT_NO_FATAL_FAILURE(type("ctrl+q"));
  EXPECT_EQ(demo->waitForExit(), 0);
  stop();

  ASSERT_NO_FATAL_FAILURE(launch({sceneFile}));
  Image after;
  bool same = eventually([&] { return (after = screen()).rgb == saved.rgb; });
  EXPECT_TRUE(same ? ::testing::AssertionSuccess()
                   : imagesMatch(after, saved, "scene_demo_restart"));
  // What was read from the file can be selected and dragged too.
  drag(centreOf(moved), -30, -60);
  EXPECT_TRUE(eventually([&] {
    Image image = screen();
    return extentOf(image, sky) == skyBox && framedByHandles(image, skyBox);
  }));
}

TEST_F(SceneDemoTest, WithoutAFileSaveWritesTheDefaultFileAndQuitEndsTheDemo) {
  ASSERT_NO_FATAL_FAILURE(launch({}));
  ASSERT_NO_FATAL_FAILURE(type("ctrl+s"));
  EXPECT_TRUE(eventually([&] { return std::ifstream(directory + "/scene.qel").good(); }));
  ASSERT_NO_FATAL_FAILURE(chooseFromFileMenu(-1));
  EXPECT_EQ(demo->waitForExit(), 0);
}

TEST_F(SceneDemoTest, ScreenshotOptionWritesTheWindowAndExits) {
  const std::string shot = directory + "/shot.png";
  {
    Program screenshot(KESTREL_SCENE_DEMO, {"-geometry", "600x460+0+0", "--screenshot", shot},
                       directory);
    ASSERT_EQ(screenshot.waitForExit(), 0);
  }
  ASSERT_TRUE(eventually([&] { return findDemoShell(x) == None; }));
  const Image written = readPng(shot);
  ASSERT_EQ(written.width, kWidth);
  ASSERT_EQ(written.height, kHeight);
  // The same picture as the live window's.
  ASSERT_NO_FATAL_FAILURE(launch({}));
  Image live;
  bool same = eventually(
      [&] { return (live = readWindow(x, shell, 0, 0, kWidth, kHeight)).rgb == written.rgb; });
  EXPECT_TRUE(same ? ::testing::AssertionSuccess()
                   : imagesMatch(written, live, "scene_demo_screenshot"));
}

TEST_F(SceneDemoTest, LiveChartsWindowShowsEveryKindMovingWithItsTimer) {
  ASSERT_NO_FATAL_FAILURE(launch({}));
  ASSERT_NO_FATAL_FAILURE(type("ctrl+l"));
  Window charts = None;
  ASSERT_TRUE(eventually([&] { return (charts = findWindowNamed(x, "Live charts")) != None; }))
      << "View > Live charts opened no window";
  // Below the main window, all on the screen, so that it can be read back.
  ASSERT_TRUE(xdotool({"windowmove", "--sync", std::to_string(charts), "0", "500"}));
  QelRect box;
  auto read = [&] {
    XSync(x, False);
    box = rootGeometry(x, charts);
    return readWindow(x, charts, 0, 0, box.w, box.h);
  };
  // Each kind draws in its own colour (the side-by-side and stacked bars in two), the axes in
  // one more.
  const char* colours[] = {"navy",      "light sky blue", "pale green",     "dark orange",
                           "purple",    "orange",         "steel blue",     "tomato",
                           "sea green", "gold",           "dark slate gray"};
  Image first;
  ASSERT_TRUE(eventually([&] {
    first = read();
    return std::all_of(std::begin(colours), std::end(colours),
                       [&](const char* c) { return first.count(rgbOf(c)) > 20; });
  })) << "not every chart kind showed";
  // The series move on with the timer, and the charts with them.
  Image later;
  EXPECT_TRUE(eventually([&] { return (later = read()).rgb != first.rgb; }));
  if (HasFailure()) writePng(first, outputDirectory() + "/scene_demo_live_charts.png");
}

TEST_F(SceneDemoTest, ChartContainerWindowZoomsFromTheKeyboardAndFitsBack) {
  ASSERT_NO_FATAL_FAILURE(launch({}));
  ASSERT_NO_FATAL_FAILURE(type("ctrl+k"));
  Window window = None;
  ASSERT_TRUE(eventually([&] { return (window = findWindowNamed(x, "Chart container")) != None; }))
      << "View > Chart container opened no window";
  ASSERT_TRUE(xdotool({"windowmove", "--sync", std::to_string(window), "0", "500"}));
  auto read = [&] {
    XSync(x, False);
    QelRect box = rootGeometry(x, window);
    return readWindow(x, window, 0, 0, box.w, box.h);
  };
  const uint32_t bars = rgbOf("light steel blue");
  Image first;
  ASSERT_TRUE(eventually([&] {
    first = read();
    return first.count(bars) > 100 && first.count(rgbOf("firebrick")) > 20 &&
           first.count(rgbOf("gold")) > 100;
  })) << "the charts did not show";
  // "Z" halves the x range around its middle: half the bars (a fixed number of pixels wide)
  // leave the window. "B" fits both directions to the data, which is where the window started.
  // The keys go to the container's own window, the innermost one of the shell.
  Window inner = window;
  for (;;) {
    Window root, parent, *children = nullptr;
    unsigned count = 0;
    XQueryTree(x, inner, &root, &parent, &children, &count);
    if (count) inner = children[count - 1];
    if (children) XFree(children);
    if (!count) break;
  }
  auto press = [&](const char* key) {
    ASSERT_TRUE(xdotool({"windowfocus", "--sync", std::to_string(inner)}));
    ASSERT_TRUE(xdotool({"mousemove", "--window", std::to_string(window), "300", "200"}));
    ASSERT_TRUE(xdotool({"key", key}));
  };
  ASSERT_NO_FATAL_FAILURE(press("shift+z"));
  Image zoomed;
  EXPECT_TRUE(
      eventually([&] { return (zoomed = read()).count(bars) < first.count(bars) * 3 / 4; }));
  ASSERT_NO_FATAL_FAILURE(press("shift+b"));
  Image fitted;
  EXPECT_TRUE(eventually([&] { return (fitted = read()).rgb == first.rgb; }));
  if (HasFailure()) writePng(zoomed, outputDirectory() + "/scene_demo_chart_container.png");
}

}  // namespace
}  // namespace kestrel::test
