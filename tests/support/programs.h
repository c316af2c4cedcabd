// Running example programs under the private server and driving them from outside: the child
// process with its standard output, real input through xdotool, and the window tree.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <X11/Xlib.h>

#include "graphics/geometry.h"

namespace kestrel::test {

// A program as a child process, in a directory of its own and with extra environment
// variables ("NAME=value"); its standard output is kept. Killed when the object goes, and by
// the kernel should the test binary die first.
class Program {
 public:
  Program(const std::string& path, const std::vector<std::string>& args,
          const std::string& directory = ".", const std::vector<std::string>& environment = {});
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Everything the program wrote to its standard output so far.
  const std::string& output();
  // The exit status once the program ends by itself (128 + signal when killed); -1 when it is
  // still running after `seconds`.
  int waitForExit(int seconds = 10);

 private:
  pid_t _pid = -1;
  int _out = -1;
  std::string _text;
};

// Runs xdotool to the end; true when it succeeded.
bool xdotool(const std::vector<std::string>& args);
// Clicks button 1 at a point of the root window.
bool xdotoolClick(const QelPoint& root);
// Presses button 1 at the first point of the root window, moves through the others and releases
// at the last.
bool xdotoolDrag(const std::vector<QelPoint>& path);

std::vector<Window> children(Display* x, Window window);
bool isViewable(Display* x, Window window);
// The window's place and size in root coordinates.
QelRect rootGeometry(Display* x, Window window);
// The innermost window under a point of `top`.
Window deepestAt(Display* x, Window top, int px, int py);
// A viewable top-level window of that class (WM_CLASS), or None.
Window viewableTopLevel(Display* x, const char* resClass);
// The items of the pulldown menu posted over `owner`, top to bottom, separators left out: the
// children of the menu in the one viewable top-level window that is not `owner`.
std::vector<Window> postedMenuItems(Display* x, Window owner);

}  // namespace kestrel::test
