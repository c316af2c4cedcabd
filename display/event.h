// The toolkit's input event: an X event translated to one record, with double and multi clicks
// recognised from the display's previous button press.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>

class QelDisplay;

// Zero is the "none" type: the translation gives it to events it does not know, and nothing
// dispatches it. Key up, key down, button down, button up and button dragged have fixed values.
enum QelEventType : int {
  QelNoEvent = 0,
  QelKeyUp = 1,
  QelKeyDown = 2,
  QelButtonDown = 3,
  QelButtonUp = 4,
  QelEnterWindow = 5,
  QelLeaveWindow = 6,
  QelPointerMoved = 7,
  QelButtonDragged = 8,
  QelDoubleClick = 9,
  QelMultiClick = 10,
  QelKeyboardFocusIn = 11,
  QelKeyboardFocusOut = 12,
  QelExpose = 13,
  QelVisibility = 14,
  QelDestroy = 15,
  QelUnmap = 16,
  QelMap = 17,
  QelReparent = 18,
  QelConfigure = 19,
};

// Bits of QelEvent::button for pointer events: X button n gives bit n-1.
enum QelButton : uint16_t {
  QelLeftButton = 1,
  QelMiddleButton = 2,
  QelRightButton = 4,
  QelButton4 = 8,
};

// Key events carry the key's character in QelEvent::button; these keys have none and carry a code
// of the toolkit's instead. Other keys without a character carry the low 16 bits of their keysym.
enum QelKeyCode : uint16_t {
  QelUpArrowKey = 550,
  QelLeftArrowKey = 551,
  QelDownArrowKey = 552,
  QelRightArrowKey = 553,
  QelHomeKey = 554,
  QelEndKey = 555,
  QelPageUpKey = 556,
  QelPageDownKey = 557,
  QelInsertKey = 558,
  QelF1Key = 561,  // F1 to F12 follow in order
};

// Bits of QelEvent::modifiers. The low four are the keyboard modifiers that interactors test
// together (modifiers & 0xf), and a press with any of them is a "modified" one; the buttons held
// sit above them; Alt (X Mod1) is the mnemonic modifier. Caps Lock sits above the low four so
// that a click with it left on is a plain click; Num Lock (Mod2) and the other X modifiers are
// left out so that a lock key left on changes no binding.
enum QelModifier : uint16_t {
  QelShiftModifier = 0x0001,  // X Shift
  QelCtrlModifier = 0x0004,   // X Control
  QelMetaModifier = 0x0008,   // X Mod4 (the logo key)
  QelLeftButtonModifier = 0x0100,
  QelMiddleButtonModifier = 0x0200,
  QelRightButtonModifier = 0x0400,
  QelMnemonicModifier = 0x0800,  // X Mod1 (Alt)
  QelButton4Modifier = 0x1000,
  QelLockModifier = 0x2000,  // X Lock (Caps Lock)
};

struct QelEvent {
  int type = QelNoEvent;
  // Which member is meaningful depends on the type: the button bit for pointer events (the
  // character, or else the keysym, for key events), the count of exposures still to come, the
  // visibility state.
  union {
    uint16_t button;
    uint16_t count;
    int state = 0;
  };
  uint16_t modifiers = 0;
  int32_t globalX = 0, globalY = 0;  // relative to the root window
  int32_t x = 0, y = 0;              // in the window; an exposure's origin
  int32_t width = 0, height = 0;     // an exposure's size, or the new size
  int clickCount = 0;                // 2 for a double click, one more for each further click
  Window window = 0;
  uint32_t time = 0;
  XEvent* xEvent = nullptr;  // the raw event, valid only while it is being handled
};

// Fills `event` from `xEvent`. Returns the type, QelNoEvent for X events the toolkit ignores.
int QelDisplayDecodeEvent(QelDisplay* display, XEvent* xEvent, QelEvent& event);

// The longest time between two presses that still makes them one multiple click, in
// milliseconds (250 by default).
unsigned int QelGetDoubleClickPeriod();
void QelSetDoubleClickPeriod(unsigned int milliseconds);

// Drops the motion events of `window` already queued and moves `event` to the latest position:
// a drag follows the pointer, not the backlog.
void QelSkipMotionEvents(QelDisplay* display, Window window, QelEvent& event);
