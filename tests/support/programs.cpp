#include "tests/support/programs.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xutil.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "tests/support/waiting.h"

namespace kestrel::test {

namespace {

int waitFor(pid_t pid, int options) {
  int status = 0;
  pid_t got;
  while ((got = waitpid(pid, &status, options)) < 0 && errno == EINTR) {
  }
  if (got <= 0) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<char*> argvOf(const std::string& path, const std::vector<std::string>& args) {
  std::vector<char*> argv{const_cast<char*>(path.c_str())};
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  return argv;
}

}  // namespace

Program::Program(const std::string& path, const std::vector<std::string>& args,
                 const std::string& directory, const std::vector<std::string>& environment) {
  std::vector<char*> argv = argvOf(path, args);
  int fds[2];
  if (pipe(fds) != 0) return;
  _pid = fork();
  if (_pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(fds[1], 1);
    close(fds[0]);
    close(fds[1]);
    for (const std::string& variable : environment) putenv(const_cast<char*>(variable.c_str()));
    if (chdir(directory.c_str()) == 0) execv(path.c_str(), argv.data());
    _exit(127);
  }
  close(fds[1]);
  _out = fds[0];
  fcntl(_out, F_SETFL, O_NONBLOCK);
}

Program::~Program() {
  if (_pid > 0) {
    kill(_pid, SIGKILL);
    waitFor(_pid, 0);
  }
  if (_out >= 0) close(_out);
}

const std::string& Program::output() {
  char buffer[4096];
  ssize_t n;
  while (_out >= 0 && (n = read(_out, buffer, sizeof buffer)) > 0) _text.append(buffer, size_t(n));
  return _text;
}

int Program::waitForExit(int seconds) {
  int status = -1;
  // Read on while waiting: a program that fills the pipe would never end.
  if (!eventually([&] { return output(), (status = waitFor(_pid, WNOHANG)) >= 0; }, seconds))
    return -1;
  _pid = -1;
  output();
  return status;
}

bool xdotool(const std::vector<std::string>& args) {
  std::vector<char*> argv = argvOf("xdotool", args);
  pid_t pid = fork();
  if (pid == 0) {
    execvp("xdotool", argv.data());
    _exit(127);
  }
  return pid > 0 && waitFor(pid, 0) == 0;
}

bool xdotoolClick(const QelPoint& root) {
  return xdotool({"mousemove", std::to_string(root.x), std::to_string(root.y), "click", "1"});
}

bool xdotoolDrag(const std::vector<QelPoint>& path) {
  std::vector<std::string> args;
  for (size_t i = 0; i < path.size(); ++i) {
    args.insert(args.end(), {"mousemove", std::to_string(path[i].x), std::to_string(path[i].y)});
    if (i == 0) args.insert(args.end(), {"mousedown", "1"});
  }
  args.insert(args.end(), {"mouseup", "1"});
  return xdotool(args);
}

std::vector<Window> children(Display* x, Window window) {
  Window root, parent, *list = nullptr;
  unsigned count = 0;
  if (!XQueryTree(x, window, &root, &parent, &list, &count)) return {};
  std::vector<Window> result(list, list + count);
  if (list) XFree(list);
  return result;
}

bool isViewable(Display* x, Window window) {
  XWindowAttributes attributes;
  return XGetWindowAttributes(x, window, &attributes) && attributes.map_state == IsViewable;
}

QelRect rootGeometry(Display* x, Window window) {
  XWindowAttributes attributes;
  if (!XGetWindowAttributes(x, window, &attributes)) return QelRect();
  int rootX = 0, rootY = 0;
  Window child;
  XTranslateCoordinates(x, window, DefaultRootWindow(x), 0, 0, &rootX, &rootY, &child);
  return QelRect(rootX, rootY, uint32_t(attributes.width), uint32_t(attributes.height));
}

Window deepestAt(Display* x, Window top, int px, int py) {
  Window current = top;
  while (true) {
    int cx, cy;
    Window child = None;
    XTranslateCoordinates(x, top, current, px, py, &cx, &cy, &child);
    if (child == None) return current;
    current = child;
  }
}

Window viewableTopLevel(Display* x, const char* resClass) {
  for (Window window : children(x, DefaultRootWindow(x))) {
    XClassHint hint{};
    if (!XGetClassHint(x, window, &hint)) continue;
    const bool match = hint.res_class && std::string(hint.res_class) == resClass;
    XFree(hint.res_name);
    XFree(hint.res_class);
    if (match && isViewable(x, window)) return window;
  }
  return None;
}

std::vector<Window> postedMenuItems(Display* x, Window owner) {
  for (Window top : children(x, DefaultRootWindow(x))) {
    if (top == owner || !isViewable(x, top)) continue;
    for (Window menu : children(x, top)) {
      std::vector<Window> items;
      for (Window item : children(x, menu))
        if (isViewable(x, item) && rootGeometry(x, item).h > 6) items.push_back(item);
      std::sort(items.begin(), items.end(),
                [&](Window a, Window b) { return rootGeometry(x, a).y < rootGeometry(x, b).y; });
      if (!items.empty()) return items;
    }
  }
  return {};
}

}  // namespace kestrel::test
