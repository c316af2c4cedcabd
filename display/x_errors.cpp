// The toolkit's X error, X I/O error and Xt warning handlers, and the inputs the Xt loop
// watches for the toolkit.
#include <X11/Intrinsic.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "display/display.h"

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
    if (display && display->_trappingXErrors) {
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

void QelInstallXErrorHandlers() {
  XSetErrorHandler(QelDisplayErrorHandlers::error);
  XSetIOErrorHandler(QelDisplayErrorHandlers::ioError);
}

int QelDisplay::GetXErrorCount() { return totalXErrors; }

void QelDisplay::trapXErrors() {
  if (!_xDisplay) return;
  if (_trappingXErrors++ == 0) {
    XSync(_xDisplay, False);  // earlier requests' errors are not this caller's
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

// Registers `fd` with the Xt loop on behalf of the toolkit.
XtInputId QelAddInput(int fd, XtInputCallbackProc proc, XtPointer data) {
  XtAppContext context = QelDisplay::GetAppContext();
  if (!context) return 0;
  XtInputId id = XtAppAddInput(context, fd, reinterpret_cast<XtPointer>(XtInputReadMask), proc,
                               data);
  inputs().push_back({fd, id});
  return id;
}

void QelRemoveInput(XtInputId id) {
  auto& list = inputs();
  auto found = std::find_if(list.begin(), list.end(), [id](const auto& in) { return in.id == id; });
  if (found == list.end()) return;
  XtRemoveInput(id);
  list.erase(found);
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

void QelInstallXtWarningHandler(XtAppContext context) {
  if (context) XtAppSetWarningHandler(context, warningHandler);
}
