// Timers and the toolkit's event loop: thin layers over the Xt application context, which the
// host's own loop normally drives; the loop functions serve programs where the toolkit owns it.
#pragma once

#include <X11/Intrinsic.h>
#include <X11/Xlib.h>

#include <cstdint>

class QelDisplay;

// Calls its procedure (or an override of doIt) every period until suspended.
class QelTimer {
 public:
  using Procedure = void (*)(QelTimer* timer, void* userArg);

  // The period is seconds * 1000 + milliseconds (a negative one stops the timer); the timer does
  // not start until run().
  QelTimer(QelDisplay* display, int seconds, int milliseconds, Procedure procedure = nullptr,
           void* userArg = nullptr);
  virtual ~QelTimer();

  // Restarts the period from now. A period of 0 leaves the timer stopped.
  void run();
  void run(int seconds, int milliseconds);
  void suspend();
  int isRunning() const { return _id != 0; }
  void setProc(Procedure procedure, void* userArg);
  // Runs after the next firing is already armed, so it may suspend or delete the timer.
  virtual void doIt();

  QelDisplay* getDisplay() const { return _display; }
  uint32_t getPeriod() const { return _period; }

  QelTimer(const QelTimer&) = delete;
  QelTimer& operator=(const QelTimer&) = delete;

 private:
  static uint32_t periodOf(int seconds, int milliseconds);
  static void fire(XtPointer timer, XtIntervalId* id);
  void arm();

  QelDisplay* _display;
  XtIntervalId _id = 0;
  void* _userArg;
  uint32_t _period;
  Procedure _proc;
};

// Returns at once without an application context; otherwise dispatches events until the
// context's exit flag is set.
void QelMainLoop();
// Waits for the next event (running timers and inputs meanwhile) and returns the display it came
// from; null without an application context.
QelDisplay* QelNextEvent(XEvent* event);

// A pre-hook returning 0 swallows the event. The post-hook's result is ignored.
using QelDispatchHook = int (*)(XEvent* event);
QelDispatchHook QelSetDispatchPrehook(QelDispatchHook hook);
QelDispatchHook QelSetDispatchPosthook(QelDispatchHook hook);
// Hands the event to Xt between the hooks; returns Xt's answer, or 1 when the pre-hook took it.
int QelDispatchEvent(XEvent* event);

// Watches `fd` for reading on the toolkit's application context and calls `proc` when it is
// readable (0 without an application context). The toolkit keeps the list of its inputs, so that
// one whose descriptor was closed under it is dropped when Xt reports the failing select.
// Defined beside the Xt warning handler that does the dropping (x_errors.cpp).
XtInputId QelAddInput(int fd, XtInputCallbackProc proc, XtPointer data);
// 1 when the input was registered and is now removed, 0 when it was unknown (or already dropped).
int QelRemoveInput(XtInputId id);

// Processes one input of any kind (event, timer, file), waiting for one; returns whether there is
// an application context to process it in.
int _QelProcessInput();
void QelExit(int status);
