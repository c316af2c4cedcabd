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

// Reads the display number Xvfb writes to -displayfd once it is ready, within `timeoutMs`.
bool readDisplayNumber(int fd, int timeoutMs, std::string& number) {
  char c;
  while (true) {
    pollfd ready{fd, POLLIN, 0};
    int polled = poll(&ready, 1, timeoutMs);
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) return false;
    ssize_t got = read(fd, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    if (c == '\n') return !number.empty();
    number += c;
  }
}

}  // namespace

bool XServer::start(const Options& options, std::string* error) {
  stop();
  int pipeFds[2];
  if (pipe2(pipeFds, O_CLOEXEC) != 0) {
    if (error) *error = std::string("pipe: ") + std::strerror(errno);
    return false;
  }
  std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x" +
                       std::to_string(options.depth);
  std::string fd = std::to_string(pipeFds[1]);
  pid_t pid = fork();
  if (pid < 0) {
    if (error) *error = std::string("fork: ") + std::strerror(errno);
    close(pipeFds[0]);
    close(pipeFds[1]);
    return false;
  }
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
