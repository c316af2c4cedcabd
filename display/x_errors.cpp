// The toolkit's X error, X I/O error and Xt warning handlers, and the inputs the Xt loop
// watches for the toolkit.
#include "display/x_errors.h"

#include <X11/Intrinsic.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "display/display.h"
#include "display/main_loop.h"

namespace {

int totalXErrors = 0;

struct RegisteredInput {
  int fd;
  XtInputId id;
};
std::vector<RegisteredInput>& inputs() {
  static std::vector<RegisteredInput> list;
  return list;
}

}  // namespace

// Reaches the display's error fields for the handlers.
class QelDisplayErrorHandlers {
 public:
  static int error(Display* xDisplay, XErrorEvent* event) {
    QelDisplay* display = QelDisplay::Find(xDisplay);
    // Only the requests made since the trap began are the trapping caller's.
    if (display && display->_trappingXErrors && event->serial >= display->_trapSerial) {
      if (!display->_trappedXError) display->_trappedXError = event->error_code;
      display->_lastXError = event->error_code;
      return 0;
    }
    char text[256];
    XGetErrorText(xDisplay, event->error_code, text, sizeof text);
    std::fprintf(stderr, "X error: %s (request %d.%d, resource 0x%lx, serial %lu)\n", text,
                 event->request_code, event->minor_code, event->resourceid, event->serial);
    std::fprintf(stderr, "Total X errors : %d\n", ++totalXErrors);
    if (display) {
      display->_lastXError = event->error_code;
      if (display->_stopOnXError) std::raise(16);
    }
    return 0;
  }

  static int ioError(Display* xDisplay) {
    std::fprintf(stderr, "## IO Error on X display %x\n", unsigned(uintptr_t(xDisplay)));
    std::fprintf(stderr, "## Error: %s\n", std::strerror(errno));
    return 0;
  }
};

namespace {

// What the handlers replaced, and the displays that still rely on them.
struct XHandlers {
  XErrorHandler previousError = nullptr;
  XIOErrorHandler previousIOError = nullptr;
  std::set<const QelDisplay*> users;
};
XHandlers& xHandlers() {
  static XHandlers handlers;
  return handlers;
}

struct XtWarningHandler {
  XtErrorHandler previous = nullptr;
  std::set<const QelDisplay*> users;
};
std::map<XtAppContext, XtWarningHandler>& xtWarningHandlers() {
  static std::map<XtAppContext, XtWarningHandler> handlers;
  return handlers;
}

// Puts `previous` back unless somebody replaced ours meanwhile: theirs then stays.
template <typename Handler, typename Set>
void restore(Handler ours, Handler previous, Set set) {
  Handler current = set(previous);
  if (current != ours) set(current);
}

void warningHandler(String message);

}  // namespace

void QelInstallXErrorHandlers(const QelDisplay* display) {
  XHandlers& handlers = xHandlers();
  if (handlers.users.empty()) {
    handlers.previousError = XSetErrorHandler(QelDisplayErrorHandlers::error);
    handlers.previousIOError = XSetIOErrorHandler(QelDisplayErrorHandlers::ioError);
  }
  handlers.users.insert(display);
}

void QelInstallXtWarningHandler(const QelDisplay* display, XtAppContext context) {
  if (!context) return;
  XtWarningHandler& handler = xtWarningHandlers()[context];
  if (handler.users.empty()) handler.previous = XtAppSetWarningHandler(context, warningHandler);
  handler.users.insert(display);
}

void QelReleaseHandlers(const QelDisplay* display) {
  XHandlers& handlers = xHandlers();
  if (handlers.users.erase(display) && handlers.users.empty()) {
    restore<XErrorHandler>(QelDisplayErrorHandlers::error, handlers.previousError,
                           XSetErrorHandler);
    restore<XIOErrorHandler>(QelDisplayErrorHandlers::ioError, handlers.previousIOError,
                             XSetIOErrorHandler);
  }
  auto& contexts = xtWarningHandlers();
  for (auto it = contexts.begin(); it != contexts.end();) {
    if (!it->second.users.erase(display) || !it->second.users.empty()) {
      ++it;
      continue;
    }
    XtAppContext context = it->first;
    restore<XtErrorHandler>(warningHandler, it->second.previous, [context](XtErrorHandler h) {
      return XtAppSetWarningHandler(context, h);
    });
    it = contexts.erase(it);
  }
}

int QelDisplay::GetXErrorCount() {
  return totalXErrors;
}

// The requests of a trap are told apart by their serial numbers, so that one round trip, at the
// end, is all a trap costs.
void QelDisplay::trapXErrors() {
  if (!_xDisplay) return;
  if (_trappingXErrors++ == 0) {
    _trapSerial = NextRequest(_xDisplay);
    _trappedXError = 0;
  }
}

int QelDisplay::untrapXErrors() {
  if (!_xDisplay || !_trappingXErrors) return 0;
  XSync(_xDisplay, False);
  int code = _trappedXError;
  if (--_trappingXErrors == 0) _trappedXError = 0;
  return code;
}

XtInputId QelAddInput(int fd, XtInputCallbackProc proc, XtPointer data) {
  XtAppContext context = QelDisplay::GetAppContext();
  if (!context || fd < 0 || !proc) return 0;
  XtInputId id =
      XtAppAddInput(context, fd, reinterpret_cast<XtPointer>(XtInputReadMask), proc, data);
  inputs().push_back({fd, id});
  return id;
}

int QelRemoveInput(XtInputId id) {
  auto& list = inputs();
  auto found = std::find_if(list.begin(), list.end(), [id](const auto& in) { return in.id == id; });
  if (found == list.end()) return 0;
  XtRemoveInput(id);
  list.erase(found);
  return 1;
}

namespace {

// Xt's warnings are noise to a host, except one: a closed input descriptor makes every select
// fail, so the inputs whose descriptor is gone are dropped.
void warningHandler(String message) {
  if (!message || !std::strstr(message, "Select failed")) return;
  auto& list = inputs();
  for (auto it = list.begin(); it != list.end();) {
    if (fcntl(it->fd, F_GETFD) == -1 && errno == EBADF) {
      XtRemoveInput(it->id);
      it = list.erase(it);
    } else {
      ++it;
    }
  }
}

}  // namespace
