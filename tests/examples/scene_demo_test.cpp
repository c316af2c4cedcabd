// The scene demo end to end: its objects are found by their colours, its container's window as
// the innermost one in the middle of the shell.
#include <fstream>
#include <functional>
#include <sstream>

#include "tests/examples/program_window.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000;
// The scene's objects (X's steel blue, tomato and sea green) and the chart container's bars,
// bar edges and curve (light steel blue, firebrick, gold).
constexpr uint32_t kSky = 0x4682b4, kRoof = 0xff6347, kTree = 0x2e8b57;
constexpr uint32_t kBars = 0xb0c4de, kEdges = 0xb22222, kCurve = 0xffd700;

QelRect translated(QelRect r, int32_t dx, int32_t dy) {
  return QelRect(r.x + dx, r.y + dy, r.w, r.h);
}

// The selection's handles around that box, and no other black: eight squares of 8 by 8 centred
// on its corners and the middles of its sides.
bool selects(const Image& image, const QelRect& box) {
  return extentOf(image, kBlack) == QelRect(box.x - 4, box.y - 4, box.w + 8, box.h + 8) &&
         image.count(kBlack) == 8 * 8 * 8;
}

// Waits until `read` gives `expected`; otherwise compares the last image read with it.
::testing::AssertionResult settlesTo(const std::function<Image()>& read, const Image& expected,
                                     const std::string& name) {
  Image actual;
  if (eventually([&] { return (actual = read()).rgb == expected.rgb; }))
    return ::testing::AssertionSuccess();
  return imagesMatch(actual, expected, "scene_demo_" + name);
}

class SceneDemoTest : public ProgramWindowTest {
 protected:
  // Starts the demo (600 by 460) and waits until its scene shows.
  void start(const std::vector<std::string>& args) {
    ASSERT_NO_FATAL_FAILURE(launch(KESTREL_SCENE_DEMO, "SceneDemo", "600x460", args));
    ASSERT_TRUE(eventually([&] {
      QelRect b = box(shell);
      scene = deepestAt(shell, int(b.w / 2), int(b.h / 2));
      return extentOf(screen(), kSky).w > 0 && extentOf(screen(), kTree).w > 0;
    })) << "the scene was never drawn";
  }
  Image screen() { return read(scene); }
  void clickAt(const QelPoint& p) { ASSERT_TRUE(click(at(scene, p.x, p.y))); }
  // Presses on `from`, moves through the middle to `from` + (dx, dy) and releases.
  void dragBy(const QelPoint& from, int dx, int dy) {
    ASSERT_TRUE(drag({at(scene, from.x, from.y), at(scene, from.x + dx / 2, from.y + dy / 2),
                      at(scene, from.x + dx, from.y + dy)}));
  }
  // Gives a window the keyboard focus, as a window manager would, and types `keys`.
  void type(const std::string& keys, Window window = None) {
    ASSERT_TRUE(xdotool({"windowfocus", "--sync", std::to_string(window ? window : shell)}));
    ASSERT_TRUE(xdotool({"key", keys}));
  }
  Window scene = None;
};

// One session with a scene file: clicks select one object at a time, a drag moves one with its
// handles, an uncovered window repaints the same scene, and what File > Save wrote comes back the
// same after a restart.
TEST_F(SceneDemoTest, EditingSessionSelectsMovesRepaintsAndSavesTheScene) {
  const std::string sceneFile = (directory / "my_scene.qel").string();
  ASSERT_NO_FATAL_FAILURE(start({sceneFile}));
  const Image first = screen();
  EXPECT_EQ(first.count(kBlack), 0u) << "nothing is selected at start";
  const QelRect skyBox = extentOf(first, kSky), roofBox = extentOf(first, kRoof),
                treeBox = extentOf(first, kTree);
  clickAt(centreOf(skyBox));
  EXPECT_TRUE(eventually([&] { return selects(screen(), skyBox); }));
  // Selecting another object takes the handles away from the first.
  clickAt(centreOf(roofBox));
  EXPECT_TRUE(eventually([&] { return selects(screen(), roofBox); }));
  // Beyond the right of the scene's built-in size: the container follows the shell's geometry.
  dragBy(centreOf(treeBox), 160, 20);
  const QelRect movedTree = translated(treeBox, 160, 20);
  EXPECT_TRUE(eventually([&] {
    Image image = screen();
    return extentOf(image, kTree) == movedTree && selects(image, movedTree);
  })) << "the tree did not arrive with its handles alone";

  // Uncovered, all of it and then a part whose edges cut through objects, it repaints the same.
  clickAt(centreOf(skyBox));
  ASSERT_TRUE(eventually([&] { return selects(screen(), skyBox); }));
  const Image selected = screen();
  const QelRect sceneBox = box(scene);
  int n = 0;
  for (QelRect cover : {sceneBox, QelRect(sceneBox.x + 100, sceneBox.y + 60, 200, 150)}) {
    XSetWindowAttributes attributes;
    attributes.background_pixel = 0xff00ff;
    attributes.override_redirect = True;
    Window window = XCreateWindow(x, DefaultRootWindow(x), cover.x, cover.y, cover.w, cover.h, 0,
                                  CopyFromParent, InputOutput, CopyFromParent,
                                  CWBackPixel | CWOverrideRedirect, &attributes);
    XMapRaised(x, window);
    EXPECT_TRUE(eventually([&] { return isViewable(window); }));
    XDestroyWindow(x, window);
    EXPECT_TRUE(settlesTo([&] { return screen(); }, selected, "uncover_" + std::to_string(++n)));
  }

  // Saved with the sky selected: the file holds the objects, not the selection.
  dragBy(centreOf(skyBox), 30, 60);
  const QelRect movedSky = translated(skyBox, 30, 60);
  ASSERT_TRUE(eventually([&] { return extentOf(screen(), kSky) == movedSky; }));
  ASSERT_NO_FATAL_FAILURE(choose(0, 0));
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
  EXPECT_EQ(program->waitForExit(), 0);
  stop();

  ASSERT_NO_FATAL_FAILURE(start({sceneFile}));
  EXPECT_TRUE(settlesTo([&] { return screen(); }, saved, "restart"));
  // What was read from the file can be selected and dragged too.
  dragBy(centreOf(movedSky), -30, -60);
  EXPECT_TRUE(eventually([&] {
    Image image = screen();
    return extentOf(image, kSky) == skyBox && selects(image, skyBox);
  }));
}

// Without a scene file: the screenshot option writes what the window shows, Ctrl+S writes the
// default file, the chart container's window opens from the keyboard and answers its keys, and
// File > Quit ends the demo.
TEST_F(SceneDemoTest, DefaultSceneMatchesItsScreenshotAndOpensTheChartWindows) {
  const std::string shot = (directory / "shot.png").string();
  ASSERT_EQ(
      Program(KESTREL_SCENE_DEMO, {"-geometry", "600x460+0+0", "--screenshot", shot}, directory)
          .waitForExit(),
      0);
  ASSERT_TRUE(eventually([&] { return topLevel("SceneDemo") == None; }));
  const Image written = readPng(shot);
  ASSERT_EQ(std::make_pair(written.width, written.height), std::make_pair(600, 460));
  ASSERT_NO_FATAL_FAILURE(start({}));
  EXPECT_TRUE(settlesTo([&] { return read(shell); }, written, "screenshot"));
  ASSERT_NO_FATAL_FAILURE(type("ctrl+s"));
  EXPECT_TRUE(eventually([&] { return std::ifstream(directory / "scene.qel").good(); }));

  // In the chart container's window, "Z" halves the x range around its middle: half the bars (a
  // fixed number of pixels wide) leave the window. "B" fits both directions to the data, which
  // is where the window started. Keys go to the container's own window, the innermost one.
  ASSERT_NO_FATAL_FAILURE(type("ctrl+k"));
  Window window = None;
  ASSERT_TRUE(eventually([&] { return (window = topLevel("Chart container", true)) != None; }))
      << "View > Chart container opened no window";
  // Moved below the main window, all on the screen, so that it can be read back.
  ASSERT_TRUE(xdotool({"windowmove", "--sync", std::to_string(window), "0", "500"}));
  Image first;
  ASSERT_TRUE(eventually([&] {
    first = read(window);
    return first.count(kBars) > 100 && first.count(kEdges) > 20 && first.count(kCurve) > 100;
  })) << "the charts did not show";
  auto press = [&](const char* key) {
    ASSERT_TRUE(xdotool({"mousemove", "--window", std::to_string(window), "300", "200"}));
    type(key, deepestAt(window, 300, 200));
  };
  ASSERT_NO_FATAL_FAILURE(press("shift+z"));
  EXPECT_TRUE(eventually([&] { return read(window).count(kBars) < first.count(kBars) * 3 / 4; }));
  ASSERT_NO_FATAL_FAILURE(press("shift+b"));
  EXPECT_TRUE(settlesTo([&] { return read(window); }, first, "chart_container"));

  ASSERT_NO_FATAL_FAILURE(choose(0, -1));
  EXPECT_EQ(program->waitForExit(), 0);
}

}  // namespace
}  // namespace kestrel::test
