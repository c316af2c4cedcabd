#include "display/view.h"

#include <Xm/DrawingA.h>
#include <Xm/MwmUtil.h>
#include <Xm/Protocols.h>
#include <Xm/Xm.h>

#include <algorithm>
#include <climits>
#include <unordered_map>

#include "base/module_init.h"
#include "display/color.h"
#include "display/display.h"
#include "display/pattern.h"
#include "graphics/class_info.h"

namespace {

// Key press and release, button press and release, enter and leave, pointer and button motion,
// exposure, structure notify, focus change and colormap change.
constexpr EventMask kViewEventMask = 0xa2a07f;
constexpr const char* kShellClass = "Tessellar";

QelEventObserver testInterface = nullptr;
QelEventObserver eventRecorder = nullptr;

// The view of each shell that had the keyboard focus last: focus coming back to a shell goes to it.
std::unordered_map<Widget, QelAbstractView*>& lastFocus() {
  static std::unordered_map<Widget, QelAbstractView*> views;
  return views;
}

// Xt positions and sizes are 16-bit.
Position toPosition(int32_t v) {
  return Position(std::clamp<int32_t>(v, SHRT_MIN, SHRT_MAX));
}
Dimension toDimension(uint32_t v) {
  return Dimension(std::clamp<uint32_t>(v, 1, SHRT_MAX));
}

Widget shellOf(Widget widget) {
  while (widget && !XtIsShell(widget)) widget = XtParent(widget);
  return widget;
}

}  // namespace

int QelViewModuleInit() {
  static int state = 0;
  return QelInitializeOnce(state, [] { QelView::ClassInfo(); });
}

QelEventObserver QelSetTestInterface(QelEventObserver observer) {
  std::swap(testInterface, observer);
  return observer;
}

QelEventObserver QelSetEventRecorder(QelEventObserver recorder) {
  std::swap(eventRecorder, recorder);
  return recorder;
}

// --- QelAbstractView ---------------------------------------------------------------------------

QelAbstractView::QelAbstractView(QelDisplay* display, const QelRect& size)
    : QelPort(display, 0, size.w, size.h), _bbox(size) {}

QelAbstractView::~QelAbstractView() {
  if (getDisplay()) getDisplay()->removeView(this);
  for (auto it = lastFocus().begin(); it != lastFocus().end();)
    it = it->second == this ? lastFocus().erase(it) : std::next(it);
}

uint16_t QelAbstractView::depth() const {
  return getDisplay() ? getDisplay()->depth() : 0;
}

void QelAbstractView::move(const QelPoint& position) {
  moveResize(QelRect(position.x, position.y, _bbox.w, _bbox.h));
}

void QelAbstractView::resize(uint32_t width, uint32_t height) {
  moveResize(QelRect(_bbox.x, _bbox.y, width, height));
}

void QelAbstractView::moveResize(const QelRect& size) {
  setBBox(size);
}

void QelAbstractView::position(QelPoint& position) const {
  position = QelPoint(_bbox.x, _bbox.y);
}

void QelAbstractView::erase(const QelRect& rect, int reDraw) {
  Display* xDisplay = getDisplay() ? getDisplay()->getXDisplay() : nullptr;
  if (!xDisplay || !getDrawable() || rect.isEmpty()) return;
  // Only the part inside the window matters, and that part fits X's 16-bit fields.
  QelRect visible(0, 0, width(), height());
  visible.intersection(rect);
  if (visible.isEmpty()) return;
  getDisplay()->sendQueuedFigures();
  XClearArea(xDisplay, getDrawable(), visible.x, visible.y, visible.w, visible.h,
             reDraw ? True : False);
}

void QelAbstractView::erase(int reDraw) {
  Display* xDisplay = getDisplay() ? getDisplay()->getXDisplay() : nullptr;
  if (!xDisplay || !getDrawable()) return;
  getDisplay()->sendQueuedFigures();
  XClearArea(xDisplay, getDrawable(), 0, 0, 0, 0, reDraw ? True : False);
}

void QelAbstractView::setBackground(QelColor* color) {
  Display* xDisplay = getDisplay() ? getDisplay()->getXDisplay() : nullptr;
  if (xDisplay && getDrawable() && color && color->isAllocated())
    XSetWindowBackground(xDisplay, getDrawable(), color->getIndex());
}

int QelAbstractView::grab(QelCursor* cursor) {
  Display* xDisplay = getDisplay() ? getDisplay()->getXDisplay() : nullptr;
  if (!xDisplay || !getDrawable()) return 0;
  // The pointer grab keeps events coming while the pointer is outside the application;
  // owner events let the other views see theirs, which the routing then hands over here.
  unsigned int mask = ButtonPressMask | ButtonReleaseMask | PointerMotionMask | ButtonMotionMask |
                      EnterWindowMask | LeaveWindowMask;
  if (XGrabPointer(xDisplay, getDrawable(), True, mask, GrabModeAsync, GrabModeAsync, None,
                   cursor ? cursor->getXCursor() : None, CurrentTime) != GrabSuccess)
    return 0;
  getDisplay()->addGrab(this);
  return 1;
}

void QelAbstractView::unGrab() {
  QelDisplay* display = getDisplay();
  if (!display) return;
  display->removeGrab(this);
  if (!display->getGrabView() && display->getXDisplay())
    XUngrabPointer(display->getXDisplay(), CurrentTime);
}

int QelAbstractView::isViewable() const {
  Display* xDisplay = getDisplay() ? getDisplay()->getXDisplay() : nullptr;
  XWindowAttributes attributes;
  return xDisplay && getDrawable() && XGetWindowAttributes(xDisplay, getDrawable(), &attributes) &&
         attributes.map_state == IsViewable;
}

void QelAbstractView::setFocus() {
  QelDisplay* display = getDisplay();
  if (!display) return;
  display->setFocusView(this);
  // Remembered per shell: focus coming back to the shell returns here.
  Widget widget = display->getXDisplay() && getDrawable()
                      ? XtWindowToWidget(display->getXDisplay(), getDrawable())
                      : nullptr;
  if (Widget shell = shellOf(widget)) lastFocus()[shell] = this;
}

QelClassInfo* QelAbstractView::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelAbstractView::ClassInfo() {
  static QelClassInfo info("QelAbstractView", nullptr);
  return &info;
}

void QelAbstractView::setBBox(const QelRect& size) {
  _bbox = size;
  setSize(size.w, size.h);
}

void QelAbstractView::setWindow(Window window) {
  QelDisplay* display = getDisplay();
  if (display) display->removeView(this);
  setDrawable(window);
  if (display) display->addView(window, this);
}

// --- QelView: construction and the system callbacks --------------------------------------------

QelView::QelView(QelDisplay* display, void* parentWidget, const QelRect& size, int visible)
    : QelAbstractView(display, size) {
  Widget parent = static_cast<Widget>(parentWidget);
  if (!parent || !display || !display->getXDisplay()) return;
  Arg args[10];
  Cardinal n = 0;
  XtSetArg(args[n], XmNx, toPosition(size.x)), ++n;
  XtSetArg(args[n], XmNy, toPosition(size.y)), ++n;
  XtSetArg(args[n], XmNwidth, toDimension(size.w)), ++n;
  XtSetArg(args[n], XmNheight, toDimension(size.h)), ++n;
  XtSetArg(args[n], XmNmarginWidth, 0), ++n;
  XtSetArg(args[n], XmNmarginHeight, 0), ++n;
  // The toolkit owns the drawing area's contents: Motif neither resizes it to children nor
  // draws a focus highlight over them.
  XtSetArg(args[n], XmNresizePolicy, XmRESIZE_NONE), ++n;
  XtSetArg(args[n], XmNtraversalOn, True), ++n;
  XtSetArg(args[n], XmNhighlightThickness, 0), ++n;
  XtSetArg(args[n], XmNmappedWhenManaged, visible ? True : False), ++n;
  _shell = parent;
  _ownsWidget = true;
  attach(XtCreateManagedWidget("qelview", xmDrawingAreaWidgetClass, parent, args, n));
}

QelView::QelView(QelDisplay* display, void* widget) : QelAbstractView(display, QelRect()) {
  Widget w = static_cast<Widget>(widget);
  if (!w || !display || !display->getXDisplay()) return;
  Position x = 0, y = 0;
  Dimension width = 0, height = 0;
  XtVaGetValues(w, XmNx, &x, XmNy, &y, XmNwidth, &width, XmNheight, &height, nullptr);
  setBBox(QelRect(x, y, width, height));
  _shell = XtParent(w);
  attach(w);
}

QelView::QelView(QelDisplay* display, const char* name, const char* title, const QelRect& size,
                 int visible)
    : QelAbstractView(display, size) {
  makeTopLevel(name, title, size, 0, visible);
}

QelView::QelView(QelDisplay* display, const char* name, const char* title, const QelRect& size,
                 unsigned int windowProperties, int visible)
    : QelAbstractView(display, size) {
  makeTopLevel(name, title, size, windowProperties, visible);
}

void QelView::makeTopLevel(const char* name, const char* title, const QelRect& size,
                           unsigned int windowProperties, int visible) {
  QelDisplay* display = getDisplay();
  if (!display || !display->getXDisplay()) return;
  setTopLevel(1);
  _name = name && *name ? name : "qelview";
  _title = title ? title : _name;
  int decorations = MWM_DECOR_ALL, functions = MWM_FUNC_ALL;
  // With the "all" bit set the listed bits are the ones taken away.
  if (windowProperties & QelWindowNoBorder) decorations |= MWM_DECOR_BORDER;
  if (windowProperties & QelWindowNoResize)
    decorations |= MWM_DECOR_RESIZEH, functions |= MWM_FUNC_RESIZE;
  if (windowProperties & QelWindowNoTitle) decorations |= MWM_DECOR_TITLE;
  if (windowProperties & QelWindowNoMinimize)
    decorations |= MWM_DECOR_MINIMIZE, functions |= MWM_FUNC_MINIMIZE;
  if (windowProperties & QelWindowNoMaximize)
    decorations |= MWM_DECOR_MAXIMIZE, functions |= MWM_FUNC_MAXIMIZE;
  Arg args[10];
  Cardinal n = 0;
  XtSetArg(args[n], XmNx, toPosition(size.x)), ++n;
  XtSetArg(args[n], XmNy, toPosition(size.y)), ++n;
  XtSetArg(args[n], XmNwidth, toDimension(size.w)), ++n;
  XtSetArg(args[n], XmNheight, toDimension(size.h)), ++n;
  XtSetArg(args[n], XmNtitle, _title.c_str()), ++n;
  XtSetArg(args[n], XmNdeleteResponse, XmDO_NOTHING), ++n;
  if (windowProperties) {
    XtSetArg(args[n], XmNmwmDecorations, decorations), ++n;
    XtSetArg(args[n], XmNmwmFunctions, functions), ++n;
  }
  _shell = XtAppCreateShell(_name.c_str(), kShellClass, topLevelShellWidgetClass,
                            display->getXDisplay(), args, n);
  _ownsWidget = true;
  Atom deleteWindow = XmInternAtom(display->getXDisplay(), (char*)"WM_DELETE_WINDOW", False);
  XmAddWMProtocolCallback(_shell, deleteWindow, deleteWindowCallback, this);
  n = 0;
  XtSetArg(args[n], XmNwidth, toDimension(size.w)), ++n;
  XtSetArg(args[n], XmNheight, toDimension(size.h)), ++n;
  XtSetArg(args[n], XmNmarginWidth, 0), ++n;
  XtSetArg(args[n], XmNmarginHeight, 0), ++n;
  XtSetArg(args[n], XmNresizePolicy, XmRESIZE_NONE), ++n;
  XtSetArg(args[n], XmNtraversalOn, True), ++n;
  XtSetArg(args[n], XmNhighlightThickness, 0), ++n;
  Widget area = XtCreateManagedWidget("qelview", xmDrawingAreaWidgetClass, _shell, args, n);
  XtRealizeWidget(_shell);
  attach(area);
  if (visible) show();
}

void QelView::attach(Widget widget) {
  _widget = widget;
  setWindow(XtIsRealized(widget) ? XtWindow(widget) : 0);
  initSystemCallbacks();
}

QelView::~QelView() {
  if (_modalDestroyed) *_modalDestroyed = true;
  if (!_widget) return;
  removeSystemCallbacks();
  if (_ownsWidget) XtDestroyWidget(isTopLevel() ? _shell : _widget);
}

void QelView::initSystemCallbacks() {
  if (!_widget) return;
  XtAddEventHandler(_widget, kViewEventMask, False, eventHandler, this);
  if (isTopLevel()) XtAddEventHandler(_shell, StructureNotifyMask, False, shellHandler, this);
  // Client messages and graphics exposures come whatever the mask.
  XtAddEventHandler(_widget, NoEventMask, True, nonMaskableHandler, this);
  XtAddCallback(_widget, XmNdestroyCallback, destroyCallback, this);
}

void QelView::removeSystemCallbacks() {
  if (!_widget) return;
  XtRemoveEventHandler(_widget, kViewEventMask, False, eventHandler, this);
  if (isTopLevel()) XtRemoveEventHandler(_shell, StructureNotifyMask, False, shellHandler, this);
  XtRemoveEventHandler(_widget, NoEventMask, True, nonMaskableHandler, this);
  XtRemoveCallback(_widget, XmNdestroyCallback, destroyCallback, this);
}

void QelView::eventHandler(Widget, XtPointer view, XEvent* event, Boolean*) {
  static_cast<QelView*>(view)->handleXEvent(event);
}

void QelView::nonMaskableHandler(Widget, XtPointer view, XEvent* event, Boolean*) {
  static_cast<QelView*>(view)->handleXEvent(event);
}

void QelView::shellHandler(Widget, XtPointer data, XEvent* event, Boolean*) {
  QelView* view = static_cast<QelView*>(data);
  switch (event->type) {
    case MapNotify:
    case UnmapNotify:
      view->setMapped(event->type == MapNotify);
      break;
    case ConfigureNotify:
      view->sizeChanged(false);
      break;
    default:
      break;
  }
}

void QelView::destroyCallback(Widget, XtPointer data, XtPointer) {
  QelView* view = static_cast<QelView*>(data);
  // The widget is going: nothing may refer to it or to its window from now on.
  view->removeSystemCallbacks();
  if (view->getDisplay()) view->getDisplay()->removeView(view);
  view->_widget = nullptr;
  if (view->isTopLevel()) view->_shell = nullptr;
  view->setDrawable(0);
  view->setMapped(0);
  view->callDestroy();
}

void QelView::deleteWindowCallback(Widget, XtPointer view, XtPointer) {
  static_cast<QelView*>(view)->callDelete();
}

// --- QelView: event routing --------------------------------------------------------------------

// The size of the drawing area as Xt has it now, at the view's current position; `always`
// reports it even when it is the size the view already has.
void QelView::sizeChanged(bool always) {
  if (!_widget) return;
  Dimension width = 0, height = 0;
  XtVaGetValues(_widget, XmNwidth, &width, XmNheight, &height, nullptr);
  QelRect size(getBBox().x, getBBox().y, width, height);
  if (!always && size.w == getBBox().w && size.h == getBBox().h) return;
  setBBox(size);
  callResize(size);
}

void QelView::handleXEvent(XEvent* xEvent) {
  QelDisplay* display = getDisplay();
  // A view made before its parent was realized learns its window from the first event, and the
  // size its parent gave it meanwhile: a window created at its final size has no configure.
  if (!getDrawable() && _widget && XtIsRealized(_widget)) {
    setWindow(XtWindow(_widget));
    sizeChanged(false);
  }
  QelEvent event;
  switch (xEvent->type) {
    case Expose:
    case GraphicsExpose:
      QelDisplayDecodeEvent(display, xEvent, event);
      callExpose(event);
      return;
    case MapNotify:
    case UnmapNotify:
      if (!isTopLevel()) setMapped(xEvent->type == MapNotify);
      return;
    case ConfigureNotify:
      // A shell that resizes itself consumes its own notification: a top-level view learns
      // of that change from its drawing area.
      sizeChanged(!isTopLevel());
      return;
    default:
      break;
  }
  if (QelDisplayDecodeEvent(display, xEvent, event) == QelNoEvent) return;
  bool press = xEvent->type == ButtonPress;
  if (press && _widget) XmProcessTraversal(_widget, XmTRAVERSE_CURRENT);
  if (event.type == QelButtonDragged) QelSkipMotionEvents(display, event.window, event);
  if (testInterface) testInterface(this, event);
  if (eventRecorder) eventRecorder(this, event);
  if (QelAbstractView* grabber = display->getGrabView()) {
    grabber->callInput(event);
    return;
  }
  if (press) setFocus();
  if (routeKeyboard(event)) return;
  callInput(event);
}

bool QelView::routeKeyboard(QelEvent& event) {
  QelDisplay* display = getDisplay();
  QelAbstractView* focus = display->getFocusView();
  switch (event.type) {
    case QelKeyboardFocusIn: {
      // The view that had the focus last in this shell gets it back; a shell never focused
      // before gives it to this view. Focus coming from within the same shell changes nothing.
      auto last = lastFocus().find(topShell());
      if (last == lastFocus().end()) {
        setFocus();
        callInput(event);
      } else if (last->second != focus) {
        display->setFocusView(last->second);
        last->second->callInput(event);
      }
      return true;
    }
    case QelKeyboardFocusOut:
      // Only the view that held the focus loses it; with none, nobody is told.
      display->setFocusView(nullptr);
      if (focus) focus->callInput(event);
      return true;
    case QelKeyDown:
    case QelKeyUp:
      if (event.modifiers & QelMnemonicModifier) {
        QelAbstractView* from = focus ? focus : this;
        if (QelAbstractView* claimant = from->internalHandleMnemonic(char(event.button))) {
          claimant->callInput(event);
          return true;
        }
      }
      if (!focus) return false;
      focus->callInput(event);
      return true;
    default:
      return false;
  }
}

Widget QelView::topShell() const {
  return shellOf(_widget);
}

// --- QelView: geometry, appearance and the user callbacks --------------------------------------

void QelView::moveResize(const QelRect& size) {
  QelAbstractView::moveResize(size);
  Widget target = isTopLevel() ? _shell : _widget;
  if (target)
    XtVaSetValues(target, XmNx, toPosition(size.x), XmNy, toPosition(size.y), XmNwidth,
                  toDimension(size.w), XmNheight, toDimension(size.h), nullptr);
}

void QelView::move(const QelPoint& position) {
  moveResize(QelRect(position.x, position.y, getBBox().w, getBBox().h));
}

void QelView::resize(uint32_t width, uint32_t height) {
  moveResize(QelRect(getBBox().x, getBBox().y, width, height));
}

void QelView::position(QelPoint& position) const {
  Widget target = isTopLevel() ? _shell : _widget;
  if (!target) return QelAbstractView::position(position);
  Position x = 0, y = 0;
  XtVaGetValues(target, XmNx, &x, XmNy, &y, nullptr);
  position = QelPoint(x, y);
}

void QelView::setBackground(QelColor* color) {
  if (!_widget) return QelAbstractView::setBackground(color);
  if (color && color->isAllocated())
    XtVaSetValues(_widget, XmNbackground, Pixel(color->getIndex()), nullptr);
}

void QelView::raise() {
  Widget target = isTopLevel() ? _shell : _widget;
  if (target && XtIsRealized(target)) XRaiseWindow(XtDisplay(target), XtWindow(target));
}

void QelView::lower() {
  Widget target = isTopLevel() ? _shell : _widget;
  if (target && XtIsRealized(target)) XLowerWindow(XtDisplay(target), XtWindow(target));
}

void QelView::show() {
  if (isTopLevel() && _shell)
    XtPopup(_shell, XtGrabNone);
  else if (_widget)
    XtMapWidget(_widget);
}

void QelView::hide() {
  _modal = false;
  if (isTopLevel() && _shell)
    XtPopdown(_shell);
  else if (_widget)
    XtUnmapWidget(_widget);
}

void QelView::showModal() {
  if (!isTopLevel() || !_shell) return;
  XtAppContext context = XtWidgetToApplicationContext(_shell);
  bool destroyed = false;
  _modalDestroyed = &destroyed;
  _modal = true;
  show();
  XtAddGrab(_shell, True, False);
  Widget shell = _shell;
  while (!destroyed && _modal && _shell) XtAppProcessEvent(context, XtIMAll);
  // The shell may have gone with the view; Xt drops the grab of a destroyed widget itself.
  if (!destroyed && _shell == shell) XtRemoveGrab(shell);
  if (!destroyed) _modalDestroyed = nullptr;
}

void QelView::updateTitle() {
  if (isTopLevel() && _shell) XtVaSetValues(_shell, XmNtitle, _title.c_str(), nullptr);
}

void QelView::setTitle(const char* title) {
  _title = title ? title : "";
  updateTitle();
}

void QelView::setName(const char* name) {
  _name = name ? name : "";
}

QelClassInfo* QelView::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelView::ClassInfo() {
  static QelClassInfo info("QelView", QelAbstractView::ClassInfo());
  return &info;
}

template <typename F>
void QelView::setCallback(std::vector<Callback<F>>& list, F function, void* userArg) {
  Callback<F> entry{function, userArg};
  if (function && std::find(list.begin(), list.end(), entry) == list.end()) list.push_back(entry);
}

template <typename F>
void QelView::removeCallback(std::vector<Callback<F>>& list, F function, void* userArg) {
  list.erase(std::remove(list.begin(), list.end(), Callback<F>{function, userArg}), list.end());
}

void QelView::setExposeCallback(QelViewCallback callback, void* userArg) {
  setCallback(_exposeCallbacks, callback, userArg);
}
void QelView::setInputCallback(QelViewCallback callback, void* userArg) {
  setCallback(_inputCallbacks, callback, userArg);
}
void QelView::setResizeCallback(QelViewResizeCallback callback, void* userArg) {
  setCallback(_resizeCallbacks, callback, userArg);
}
void QelView::setDestroyCallback(QelViewNotifyCallback callback, void* userArg) {
  setCallback(_destroyCallbacks, callback, userArg);
}
void QelView::setDeleteCallback(QelViewNotifyCallback callback, void* userArg) {
  setCallback(_deleteCallbacks, callback, userArg);
}
void QelView::removeExposeCallback(QelViewCallback callback, void* userArg) {
  removeCallback(_exposeCallbacks, callback, userArg);
}
void QelView::removeInputCallback(QelViewCallback callback, void* userArg) {
  removeCallback(_inputCallbacks, callback, userArg);
}
void QelView::removeResizeCallback(QelViewResizeCallback callback, void* userArg) {
  removeCallback(_resizeCallbacks, callback, userArg);
}
void QelView::removeDestroyCallback(QelViewNotifyCallback callback, void* userArg) {
  removeCallback(_destroyCallbacks, callback, userArg);
}
void QelView::removeDeleteCallback(QelViewNotifyCallback callback, void* userArg) {
  removeCallback(_deleteCallbacks, callback, userArg);
}

// A callback may remove itself or others: each call works on a copy of the list.
void QelView::callExpose(QelEvent& event) {
  for (auto entry : std::vector(_exposeCallbacks)) entry.function(this, &event, entry.userArg);
}

void QelView::callInput(QelEvent& event) {
  for (auto entry : std::vector(_inputCallbacks)) entry.function(this, &event, entry.userArg);
}

void QelView::callResize(QelRect& size) {
  for (auto entry : std::vector(_resizeCallbacks)) entry.function(this, size, entry.userArg);
}

void QelView::callDestroy() {
  for (auto entry : std::vector(_destroyCallbacks)) entry.function(this, entry.userArg);
}

void QelView::callDelete() {
  if (_deleteCallbacks.empty()) return hide();
  for (auto entry : std::vector(_deleteCallbacks)) entry.function(this, entry.userArg);
}
