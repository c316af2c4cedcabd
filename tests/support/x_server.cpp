#include "tests/support/x_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kestrel::test {

namespace {

std::string sharedDisplayName;

// Reads the display number Xvfb writes to -displayfd once it is ready, waiting at most
// `timeoutMs` for each character.
bool readDisplayNumber(int fd, int timeoutMs, std::string& number) {
  for (char c;;) {
    pollfd ready{fd, POLLIN, 0};
    errno = 0;
    const ssize_t got = poll(&ready, 1, timeoutMs) > 0 ? read(fd, &c, 1) : -1;
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    if (c == '\n') return !number.empty();
    number += c;
  }
}

}  // namespace

bool XServer::start(const Options& options, std::string* error) {
  stop();
  const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) +
                             "x" + std::to_string(options.depth);
  int pipeFds[2];
  const pid_t pid = pipe2(pipeFds, O_CLOEXEC) == 0 ? fork() : -2;
  if (pid < 0) {
    if (error) *error = std::string(pid == -1 ? "fork: " : "pipe: ") + std::strerror(errno);
    if (pid == -1) close(pipeFds[0]), close(pipeFds[1]);
    return false;
  }
  const std::string fd = std::to_string(pipeFds[1]);
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);  // never outlive the test binary
    fcntl(pipeFds[1], F_SETFD, 0);
    if (!std::getenv("KESTREL_XVFB_VERBOSE")) {
      int null = open("/dev/null", O_WRONLY);
      dup2(null, STDOUT_FILENO);
      dup2(null, STDERR_FILENO);
    }
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-screen", "0",
           screen.c_str(), "-noreset", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(pipeFds[1]);
  std::string number;
  bool ready = readDisplayNumber(pipeFds[0], 20000, number);
  close(pipeFds[0]);
  _pid = pid;
  _owner = getpid();
  if (!ready) {
    stop();
    if (error) *error = "Xvfb did not start (is the xvfb package installed?)";
    return false;
  }
  _displayName = ":" + number;
  return true;
}

void XServer::stop() {
  if (_pid <= 0) return;
  if (getpid() != _owner) {  // a test's child ending: the server is its parent's
    _pid = -1;
    return;
  }
  kill(_pid, SIGTERM);
  while (waitpid(_pid, nullptr, 0) < 0 && errno == EINTR) {
  }
  _pid = -1;
  _displayName.clear();
}

void PrivateXEnvironment::SetUp() {
  std::string error;
  if (!_server.start(&error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    std::exit(1);  // every test of this binary needs the server
  }
  sharedDisplayName = _server.displayName();
  setenv("DISPLAY", sharedDisplayName.c_str(), 1);
}

void PrivateXEnvironment::TearDown() {
  _server.stop();
  sharedDisplayName.clear();
}

const char* PrivateXEnvironment::displayName() {
  return sharedDisplayName.c_str();
}

}  // namespace kestrel::test
