#include "display/event.h"

#include <X11/Xutil.h>
#include <X11/keysym.h>

#include "display/display.h"

namespace {

unsigned int doubleClickPeriod = 250;

uint16_t buttonBit(unsigned int xButton) {
  return xButton >= 1 && xButton <= 16 ? uint16_t(1u << (xButton - 1)) : 0;
}

uint16_t translateState(unsigned int state) {
  uint16_t modifiers = state & (ShiftMask | ControlMask);
  if (state & LockMask) modifiers |= QelLockModifier;
  if (state & Mod4Mask) modifiers |= QelMetaModifier;
  if (state & Mod1Mask) modifiers |= QelMnemonicModifier;
  if (state & Button1Mask) modifiers |= QelLeftButtonModifier;
  if (state & Button2Mask) modifiers |= QelMiddleButtonModifier;
  if (state & Button3Mask) modifiers |= QelRightButtonModifier;
  if (state & Button4Mask) modifiers |= QelButton4Modifier;
  return modifiers;
}

uint16_t buttonModifier(uint16_t bit) {
  switch (bit) {
    case QelLeftButton:
      return QelLeftButtonModifier;
    case QelMiddleButton:
      return QelMiddleButtonModifier;
    case QelRightButton:
      return QelRightButtonModifier;
    case QelButton4:
      return QelButton4Modifier;
    default:
      return 0;
  }
}

uint16_t keyCode(KeySym keysym) {
  switch (keysym) {
    case XK_Up:
    case XK_KP_Up:
      return QelUpArrowKey;
    case XK_Left:
    case XK_KP_Left:
      return QelLeftArrowKey;
    case XK_Down:
    case XK_KP_Down:
      return QelDownArrowKey;
    case XK_Right:
    case XK_KP_Right:
      return QelRightArrowKey;
    case XK_Home:
      return QelHomeKey;
    case XK_End:
      return QelEndKey;
    case XK_Prior:
      return QelPageUpKey;
    case XK_Next:
      return QelPageDownKey;
    case XK_Insert:
      return QelInsertKey;
    default:
      if (keysym >= XK_F1 && keysym <= XK_F12) return uint16_t(QelF1Key + (keysym - XK_F1));
      return uint16_t(keysym & 0xffff);
  }
}

// The lowest button held, for a drag.
uint16_t heldButton(unsigned int state) {
  static const unsigned int masks[] = {Button1Mask, Button2Mask, Button3Mask, Button4Mask};
  for (unsigned int i = 0; i < 4; ++i)
    if (state & masks[i]) return uint16_t(1u << i);
  return 0;
}

template <typename PointerEvent>
void takePointer(const PointerEvent& from, QelEvent& event) {
  event.time = uint32_t(from.time);
  event.x = from.x;
  event.y = from.y;
  event.globalX = from.x_root;
  event.globalY = from.y_root;
  event.modifiers = translateState(from.state);
}

// Expose and GraphicsExpose carry the same rectangle and count.
template <typename ExposeEvent>
void takeExposure(const ExposeEvent& from, QelEvent& event) {
  event.type = QelExpose;
  event.x = from.x;
  event.y = from.y;
  event.width = from.width;
  event.height = from.height;
  event.count = uint16_t(from.count);
}

// Turns a press into a double or multi click when it repeats the display's last press in time.
void recogniseClicks(QelDisplay* display, QelEvent& event) {
  QelEvent& previous = display->lastButtonPress();
  bool repeated = (previous.type == QelButtonDown || previous.type == QelDoubleClick ||
                   previous.type == QelMultiClick) &&
                  previous.button == event.button && previous.window == event.window &&
                  previous.modifiers == event.modifiers &&
                  uint32_t(event.time - previous.time) < doubleClickPeriod;
  if (repeated && previous.type == QelButtonDown) {
    event.type = QelDoubleClick;
    event.clickCount = 2;
  } else if (repeated) {
    event.type = QelMultiClick;
    event.clickCount = previous.clickCount + 1;
  }
  previous = event;
  previous.xEvent = nullptr;
}

}  // namespace

int QelDisplayDecodeEvent(QelDisplay* display, XEvent* xEvent, QelEvent& event) {
  event = QelEvent();
  if (!xEvent) return QelNoEvent;
  event.window = xEvent->xany.window;
  event.xEvent = xEvent;
  switch (xEvent->type) {
    case KeyPress:
    case KeyRelease: {
      XKeyEvent& key = xEvent->xkey;
      event.type = xEvent->type == KeyPress ? QelKeyDown : QelKeyUp;
      takePointer(key, event);
      char text[8];
      KeySym keysym = NoSymbol;
      // Control is left to the modifiers: Ctrl+K gives 'k' with the Ctrl bit, not a control
      // character, so that bindings name the key the user pressed.
      XKeyEvent plain = key;
      plain.state &= ~ControlMask;
      int length = XLookupString(&plain, text, sizeof text, &keysym, nullptr);
      event.button = length == 1 ? uint16_t(static_cast<unsigned char>(text[0])) : keyCode(keysym);
      break;
    }
    case ButtonPress:
      event.type = QelButtonDown;
      takePointer(xEvent->xbutton, event);
      event.button = buttonBit(xEvent->xbutton.button);
      if (display) recogniseClicks(display, event);  // clicks are told apart per display
      break;
    case ButtonRelease:
      event.type = QelButtonUp;
      takePointer(xEvent->xbutton, event);
      event.button = buttonBit(xEvent->xbutton.button);
      event.modifiers &= uint16_t(~buttonModifier(event.button));
      break;
    case MotionNotify:
      takePointer(xEvent->xmotion, event);
      event.button = heldButton(xEvent->xmotion.state);
      event.type = event.button ? QelButtonDragged : QelPointerMoved;
      break;
    case EnterNotify:
    case LeaveNotify:
      event.type = xEvent->type == EnterNotify ? QelEnterWindow : QelLeaveWindow;
      takePointer(xEvent->xcrossing, event);
      break;
    case FocusIn:
      event.type = QelKeyboardFocusIn;
      break;
    case FocusOut:
      event.type = QelKeyboardFocusOut;
      break;
    case Expose:
      takeExposure(xEvent->xexpose, event);
      break;
    case GraphicsExpose:
      takeExposure(xEvent->xgraphicsexpose, event);
      break;
    case VisibilityNotify:
      event.type = QelVisibility;
      event.state = xEvent->xvisibility.state;
      break;
    case DestroyNotify:
      event.type = QelDestroy;
      break;
    case UnmapNotify:
      event.type = QelUnmap;
      break;
    case MapNotify:
      event.type = QelMap;
      break;
    case ReparentNotify:
      event.type = QelReparent;
      event.x = xEvent->xreparent.x;
      event.y = xEvent->xreparent.y;
      break;
    case ConfigureNotify: {
      const XConfigureEvent& configure = xEvent->xconfigure;
      event.type = QelConfigure;
      event.x = configure.x;
      event.y = configure.y;
      event.width = configure.width;
      event.height = configure.height;
      break;
    }
    default:
      break;
  }
  return event.type;
}

unsigned int QelGetDoubleClickPeriod() {
  return doubleClickPeriod;
}

void QelSetDoubleClickPeriod(unsigned int milliseconds) {
  doubleClickPeriod = milliseconds;
}

void QelSkipMotionEvents(QelDisplay* display, Window window, QelEvent& event) {
  Display* xDisplay = display ? display->getXDisplay() : nullptr;
  if (!xDisplay) return;
  XEvent motion;
  while (XCheckTypedWindowEvent(xDisplay, window, MotionNotify, &motion)) {
    uint16_t button = event.button;
    takePointer(motion.xmotion, event);
    event.button = button;
  }
}
