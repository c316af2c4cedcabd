// Views: drawable windows of the toolkit placed over Xt widgets. A view's window gets its X events
// through Xt event handlers, translates them to QelEvents and routes them through grabs, keyboard
// focus and mnemonics to the receiving view's expose, input and resize calls.
#pragma once

#include <X11/Intrinsic.h>

#include <cstdint>
#include <string>
#include <vector>

#include "display/event.h"
#include "display/port.h"
#include "graphics/geometry.h"

class QelClassInfo;
class QelColor;
class QelCursor;
class QelDisplay;
class QelAbstractView;

using QelViewCallback = void (*)(QelAbstractView* view, QelEvent* event, void* userArg);
using QelViewResizeCallback = void (*)(QelAbstractView* view, QelRect& size, void* userArg);
using QelViewNotifyCallback = void (*)(QelAbstractView* view, void* userArg);

// What every view is: a port with a place on the screen and the calls events end in. The
// expose, input and resize calls do nothing here; subclasses decide what they mean.
class QelAbstractView : public QelPort {
 public:
  QelAbstractView(QelDisplay* display, const QelRect& size);
  ~QelAbstractView() override;

  uint16_t depth() const override;
  int isABitmap() const override { return 0; }
  virtual void move(const QelPoint& position);
  virtual void resize(uint32_t width, uint32_t height);
  virtual void moveResize(const QelRect& size);
  virtual void position(QelPoint& position) const;
  virtual void erase(const QelRect& rect, int reDraw);
  virtual void erase(int reDraw);
  virtual void setBackground(QelColor* color);
  virtual void raise() {}
  virtual void lower() {}
  virtual void show() {}
  virtual void hide() {}
  virtual int grab(QelCursor* cursor);
  virtual void unGrab();
  virtual int isViewable() const;
  virtual int isScrolled() const { return 0; }
  virtual void callExpose(QelEvent&) {}
  virtual void callInput(QelEvent&) {}
  virtual void callResize(QelRect&) {}
  virtual void callDestroy() {}
  virtual void childNotifyAdd(QelAbstractView*) {}
  virtual void childNotifyRemove(QelAbstractView*) {}
  // The view that answers to Alt + `mnemonic`, or null.
  virtual QelAbstractView* internalHandleMnemonic(char) { return nullptr; }
  virtual int internalHandleAccelerator(QelEvent&) { return 0; }
  virtual void updateTitle() {}
  virtual QelClassInfo* getClassInfo() const;

  const QelRect& getBBox() const { return _bbox; }
  Window getSystemView() const { return getDrawable(); }
  int isMapped() const { return _mapped; }
  int isTopLevel() const { return _topLevel; }
  // Makes this the view that receives the keyboard events of its display.
  void setFocus();

  static QelClassInfo* ClassInfo();

 protected:
  void setBBox(const QelRect& size);
  void setMapped(int mapped) { _mapped = mapped; }
  void setTopLevel(int topLevel) { _topLevel = topLevel; }
  void setWindow(Window window);

 private:
  QelRect _bbox;
  int _topLevel = 0;
  int _mapped = 0;
};

// Decorations and functions the window manager may give a top-level view.
enum QelWindowProperties : unsigned int {
  QelWindowNoBorder = 0x1,
  QelWindowNoResize = 0x2,
  QelWindowNoTitle = 0x4,
  QelWindowNoMinimize = 0x8,
  QelWindowNoMaximize = 0x10,
};

// A view over an Xt drawing area: one it makes inside a host widget, one over an existing
// widget, or one in a top-level shell of its own.
class QelView : public QelAbstractView {
 public:
  // Makes a managed XmDrawingArea named "qelview" inside `parentWidget`.
  QelView(QelDisplay* display, void* parentWidget, const QelRect& size, int visible = 1);
  // Takes over an existing realized widget, which it does not destroy.
  QelView(QelDisplay* display, void* widget);
  // A top-level view with its own shell.
  QelView(QelDisplay* display, const char* name, const char* title, const QelRect& size,
          int visible = 1);
  QelView(QelDisplay* display, const char* name, const char* title, const QelRect& size,
          unsigned int windowProperties, int visible);
  ~QelView() override;

  void move(const QelPoint& position) override;
  void resize(uint32_t width, uint32_t height) override;
  void moveResize(const QelRect& size) override;
  void position(QelPoint& position) const override;
  void setBackground(QelColor* color) override;
  void raise() override;
  void lower() override;
  void show() override;
  void hide() override;
  void callExpose(QelEvent& event) override;
  void callInput(QelEvent& event) override;
  void callResize(QelRect& size) override;
  void callDestroy() override;
  void updateTitle() override;
  QelClassInfo* getClassInfo() const override;
  virtual void setName(const char* name);
  virtual void setExposeCallback(QelViewCallback callback, void* userArg = nullptr);
  virtual void setInputCallback(QelViewCallback callback, void* userArg = nullptr);
  virtual void setResizeCallback(QelViewResizeCallback callback, void* userArg = nullptr);
  virtual void setDestroyCallback(QelViewNotifyCallback callback, void* userArg = nullptr);
  virtual void setDeleteCallback(QelViewNotifyCallback callback, void* userArg = nullptr);
  virtual void removeExposeCallback(QelViewCallback callback, void* userArg = nullptr);
  virtual void removeInputCallback(QelViewCallback callback, void* userArg = nullptr);
  virtual void removeResizeCallback(QelViewResizeCallback callback, void* userArg = nullptr);
  virtual void removeDestroyCallback(QelViewNotifyCallback callback, void* userArg = nullptr);
  virtual void removeDeleteCallback(QelViewNotifyCallback callback, void* userArg = nullptr);
  // The window manager asked to close a top-level view: the delete callbacks run, or, when
  // there are none, the view hides.
  virtual void callDelete();
  virtual void setTitle(const char* title);
  // Shows a top-level view and handles events, with input to other windows of the application
  // blocked, until the view is hidden.
  virtual void showModal();

  // The drawing area; null once Xt has destroyed it.
  Widget getWidget() const { return _widget; }
  // The top-level shell, or the parent widget of a view made inside one.
  Widget getShell() const { return _shell; }
  const char* getName() const { return _name.c_str(); }
  const char* getTitle() const { return _title.c_str(); }

  static QelClassInfo* ClassInfo();

 protected:
  void initSystemCallbacks();
  void removeSystemCallbacks();
  // Routes one X event of the drawing area (or of the shell, for a top-level view).
  void handleXEvent(XEvent* xEvent);

 private:
  template <typename F>
  struct Callback {
    F function;
    void* userArg;
    bool operator==(const Callback& other) const {
      return function == other.function && userArg == other.userArg;
    }
  };
  template <typename F>
  static void setCallback(std::vector<Callback<F>>& list, F function, void* userArg);
  template <typename F>
  static void removeCallback(std::vector<Callback<F>>& list, F function, void* userArg);

  void makeTopLevel(const char* name, const char* title, const QelRect& size,
                    unsigned int windowProperties, int visible);
  void attach(Widget widget);
  void sizeChanged(bool always);
  Widget topShell() const;
  bool routeKeyboard(QelEvent& event);
  static void eventHandler(Widget, XtPointer view, XEvent* event, Boolean*);
  static void nonMaskableHandler(Widget, XtPointer view, XEvent* event, Boolean*);
  static void shellHandler(Widget, XtPointer view, XEvent* event, Boolean*);
  static void destroyCallback(Widget, XtPointer view, XtPointer);
  static void deleteWindowCallback(Widget, XtPointer view, XtPointer);

  Widget _widget = nullptr;
  Widget _shell = nullptr;
  bool _ownsWidget = false;  // the drawing area (or the shell) was made here
  bool _modal = false;
  bool* _modalDestroyed = nullptr;  // tells a running showModal that the view is gone
  std::string _name;
  std::string _title;
  std::vector<Callback<QelViewCallback>> _exposeCallbacks;
  std::vector<Callback<QelViewCallback>> _inputCallbacks;
  std::vector<Callback<QelViewResizeCallback>> _resizeCallbacks;
  std::vector<Callback<QelViewNotifyCallback>> _destroyCallbacks;
  std::vector<Callback<QelViewNotifyCallback>> _deleteCallbacks;
};

// Registers the view classes; safe to call many times.
int QelViewModuleInit();

// Extension points for a test interface and an event recorder: when set, every event a view
// translates is shown to them before it is routed.
using QelEventObserver = void (*)(QelAbstractView* view, const QelEvent& event);
QelEventObserver QelSetTestInterface(QelEventObserver observer);
QelEventObserver QelSetEventRecorder(QelEventObserver recorder);
