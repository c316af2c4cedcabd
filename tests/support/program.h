// Other processes: waiting for them to have done something, and running programs as children.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace kestrel::test {

// Polls until `done` holds; false when `seconds` pass first.
inline bool eventually(const std::function<bool()>& done, int seconds = 10) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    usleep(20000);
  }
  return true;
}

// A program as a child process in `directory`, with extra environment variables ("NAME=value");
// its standard output is kept. Killed when the object goes, and by the kernel should the test
// binary die first.
class Program {
 public:
  Program(const std::string& path, std::vector<std::string> args, const std::string& directory,
          const std::vector<std::string>& environment = {}) {
    std::vector<char*> argv{const_cast<char*>(path.c_str())};
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    int fds[2];
    if (pipe(fds) != 0) return;
    if ((_pid = fork()) == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      dup2(fds[1], 1);
      close(fds[0]);
      close(fds[1]);
      for (const std::string& variable : environment) putenv(const_cast<char*>(variable.c_str()));
      if (chdir(directory.c_str()) == 0) execvp(path.c_str(), argv.data());
      _exit(127);
    }
    close(fds[1]);
    fcntl(_out = fds[0], F_SETFL, O_NONBLOCK);
  }
  ~Program() {
    if (_pid > 0 && kill(_pid, SIGKILL) == 0) reap(0);
    if (_out >= 0) close(_out);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Everything the program wrote to its standard output so far.
  const std::string& output() {
    char buffer[4096];
    for (ssize_t n; _out >= 0 && (n = read(_out, buffer, sizeof buffer)) > 0;)
      _text.append(buffer, size_t(n));
    return _text;
  }
  // The exit status once the program ends by itself (128 + signal when killed); -1 when it is
  // still running after `seconds`. Reads on while waiting: a full pipe would stop the program.
  int waitForExit(int seconds = 10) {
    int status = -1;
    if (!eventually([&] { return output(), (status = reap(WNOHANG)) >= 0; }, seconds)) return -1;
    _pid = -1;
    return output(), status;
  }

 private:
  int reap(int options) {
    int status = 0;
    pid_t got;
    while ((got = waitpid(_pid, &status, options)) < 0 && errno == EINTR) {
    }
    if (got <= 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  pid_t _pid = -1;
  int _out = -1;
  std::string _text;
};

}  // namespace kestrel::test
