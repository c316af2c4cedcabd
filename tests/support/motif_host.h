// A small Motif application on the private server for view and container tests: an application
// shell holding a bulletin board, realized at a known place of the screen, with the keyboard
// focus given to it as a window manager would. Input is real: XTest moves the pointer and
// presses buttons and keys, and the host pumps the Xt queue until what a test waits for happens.
#pragma once

#include <X11/Intrinsic.h>

#include <functional>

#include "graphics/geometry.h"

namespace kestrel::test {

class MotifHost {
 public:
  // The shell's top-left corner is at (x, y) of the root window.
  MotifHost(Display* xDisplay, int x, int y, int width, int height);
  ~MotifHost();
  MotifHost(const MotifHost&) = delete;
  MotifHost& operator=(const MotifHost&) = delete;

  Widget shell() const { return _shell; }
  // The widget views are made in.
  Widget board() const { return _board; }
  Display* xDisplay() const { return _xDisplay; }

  // Realizes the shell and waits until it is mapped and focused.
  bool realize();
  // Dispatches events until `done` holds (true) or five seconds pass (false).
  bool pumpUntil(const std::function<bool()>& done);
  // Dispatches what the server has sent until it has been quiet for a moment.
  void settle();

  // Real input through XTest, in root coordinates or at a point of a widget.
  void moveTo(int rootX, int rootY);
  void moveTo(Widget widget, int x, int y);
  void button(unsigned int button, bool down);
  void click(unsigned int button);
  void key(unsigned long keysym, bool down);
  void type(unsigned long keysym);

 private:
  // Handles one event, or waits a millisecond when there is none (false).
  bool dispatch();

  Display* _xDisplay;
  XtAppContext _context;
  Widget _shell = nullptr;
  Widget _board = nullptr;
};

}  // namespace kestrel::test
