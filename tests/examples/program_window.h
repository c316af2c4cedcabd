// The example programs end to end: each runs as a child process on the private server, is driven
// with real input through xdotool and read back from the server. Everything about a program is
// learnt from outside: its windows from the tree, its objects from their colours.
#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "graphics/geometry.h"
#include "tests/support/pixels.h"
#include "tests/support/program.h"
#include "tests/support/x_server.h"

#include <X11/Xutil.h>

namespace kestrel::test {

class ProgramWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    x = XOpenDisplay(PrivateXEnvironment::displayName());
    ASSERT_NE(x, nullptr);
    // The program's windows come and go while the test looks at them: a request about a window
    // that has just gone fails quietly instead of ending the test binary.
    previousHandler = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    directory =
        std::filesystem::temp_directory_path() / ("kestrel-program-" + std::to_string(getpid()));
    std::filesystem::create_directories(directory);
  }
  void TearDown() override {
    if (HasFailure() && shell && isViewable(shell))
      writePng(read(shell), outputDirectory() + "/" +
                                ::testing::UnitTest::GetInstance()->current_test_info()->name() +
                                ".png");
    stop();
    std::filesystem::remove_all(directory);
    if (x) XCloseDisplay(x);
    XSetErrorHandler(previousHandler);
  }

  // Starts the program at the top-left of the screen and waits for its top-level window.
  void launch(const char* path, const char* resClass, const std::string& size,
              std::vector<std::string> args, const std::vector<std::string>& environment = {}) {
    args.insert(args.begin(), {"-geometry", size + "+0+0"});
    program = std::make_unique<Program>(path, args, directory, environment);
    ASSERT_TRUE(eventually([&] { return (shell = topLevel(resClass)) != None; }))
        << path << ": no window";
  }
  // Kills the program (if still running) and waits until the server has taken its window away.
  void stop() {
    program.reset();
    EXPECT_TRUE(!shell || eventually([&] { return !isViewable(shell); }));
    shell = None;
  }

  std::vector<Window> children(Window window) {
    Window root, parent, *list = nullptr;
    unsigned count = 0;
    if (!XQueryTree(x, window, &root, &parent, &list, &count)) return {};
    std::vector<Window> result(list, list + count);
    if (list) XFree(list);
    return result;
  }
  bool isViewable(Window window) {
    XWindowAttributes attributes;
    return XGetWindowAttributes(x, window, &attributes) && attributes.map_state == IsViewable;
  }
  // The window's place and size in root coordinates.
  QelRect box(Window window) {
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(x, window, &attributes)) return QelRect();
    int rootX = 0, rootY = 0;
    Window child;
    XTranslateCoordinates(x, window, DefaultRootWindow(x), 0, 0, &rootX, &rootY, &child);
    return QelRect(rootX, rootY, uint32_t(attributes.width), uint32_t(attributes.height));
  }
  QelPoint at(Window window, int px, int py) {
    QelRect b = box(window);
    return QelPoint(b.x + px, b.y + py);
  }
  static QelPoint centreOf(const QelRect& r) {
    return QelPoint(r.x + int32_t(r.w / 2), r.y + int32_t(r.h / 2));
  }
  Image read(Window window) {
    XSync(x, False);
    QelRect b = box(window);
    return readWindow(x, window, 0, 0, b.w, b.h);
  }
  // The innermost window under a point of `top`.
  Window deepestAt(Window top, int px, int py) {
    for (Window current = top, child;; current = child) {
      int cx, cy;
      child = None;
      XTranslateCoordinates(x, top, current, px, py, &cx, &cy, &child);
      if (child == None) return current;
    }
  }
  // A viewable top-level window of that class (WM_CLASS), or with `byTitle` of that title.
  Window topLevel(const std::string& text, bool byTitle = false) {
    for (Window window : children(DefaultRootWindow(x))) {
      XClassHint hint{};
      char* title = nullptr;
      bool match = byTitle ? XFetchName(x, window, &title) && title && text == title
                           : XGetClassHint(x, window, &hint) && text == hint.res_class;
      for (char* text : {title, hint.res_name, hint.res_class})
        if (text) XFree(text);
      if (match && isViewable(window)) return window;
    }
    return None;
  }

  bool xdotool(const std::vector<std::string>& args) {
    return Program("xdotool", args, ".").waitForExit() == 0;
  }
  // Button 1 clicked at a point of the root window.
  bool click(const QelPoint& root) {
    return xdotool({"mousemove", std::to_string(root.x), std::to_string(root.y), "click", "1"});
  }
  // Button 1 pressed at the first point of the root window, moved through the others and
  // released at the last.
  bool drag(const std::vector<QelPoint>& path) {
    std::vector<std::string> args;
    for (const QelPoint& p : path) {
      args.insert(args.end(), {"mousemove", std::to_string(p.x), std::to_string(p.y)});
      if (args.size() == 3) args.insert(args.end(), {"mousedown", "1"});
    }
    args.insert(args.end(), {"mouseup", "1"});
    return xdotool(args);
  }

  // The items of the menu posted over the shell, top to bottom, separators left out.
  std::vector<Window> menuItems() {
    for (Window top : children(DefaultRootWindow(x))) {
      if (top == shell || !isViewable(top)) continue;
      for (Window menu : children(top)) {
        std::vector<Window> items;
        for (Window item : children(menu))
          if (isViewable(item) && box(item).h > 6) items.push_back(item);
        std::sort(items.begin(), items.end(),
                  [&](Window a, Window b) { return box(a).y < box(b).y; });
        if (!items.empty()) return items;
      }
    }
    return {};
  }
  // Opens the menu `title` of the menu bar (0 is the first) and chooses its item `item` (a
  // negative one counts from the bottom).
  void choose(int title, int item) {
    // The menu bar holds the first title under the window's top-left corner.
    Window root, bar = None, *list = nullptr;
    unsigned count = 0;
    if (XQueryTree(x, deepestAt(shell, 10, 15), &root, &bar, &list, &count) && list) XFree(list);
    std::vector<Window> titles = children(bar);
    std::sort(titles.begin(), titles.end(),
              [&](Window a, Window b) { return box(a).x < box(b).x; });
    ASSERT_GT(titles.size(), size_t(title));
    ASSERT_TRUE(click(centreOf(box(titles[size_t(title)]))));
    std::vector<Window> items;
    ASSERT_TRUE(eventually([&] {
      items = menuItems();
      return int(items.size()) > (item < 0 ? -item - 1 : item);
    })) << "no menu with item "
        << item << " opened";
    ASSERT_TRUE(click(centreOf(box(items[size_t(item < 0 ? int(items.size()) + item : item)]))));
  }

  Display* x = nullptr;
  XErrorHandler previousHandler = nullptr;
  std::filesystem::path directory;
  std::unique_ptr<Program> program;
  Window shell = None;
};

}  // namespace kestrel::test
