// A private X server for tests: Xvfb on a free display number, reachable only through its
// local socket, stopped when the object goes.
#pragma once

#include <sys/types.h>

#include <string>

#include <gtest/gtest.h>

namespace kestrel::test {

class XServer {
 public:
  struct Options {
    int width = 1280;
    int height = 1024;
    int depth = 24;  // 8 gives PseudoColor, 16 and 24 TrueColor
  };

  XServer() = default;
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;
  ~XServer() { stop(); }

  // Starts Xvfb and waits until it accepts connections. On failure returns false and says why.
  bool start(const Options& options, std::string* error);
  bool start(std::string* error) { return start(Options(), error); }
  void stop();

  bool isRunning() const { return _pid > 0; }
  // The display name to connect to (":N").
  const std::string& displayName() const { return _displayName; }

 private:
  pid_t _pid = -1;
  pid_t _owner = -1;  // the process that started it: a forked child never stops it
  std::string _displayName;
};

// The server every X test of a binary shares: started before the first test, with DISPLAY
// pointing at it, and stopped after the last.
class PrivateXEnvironment : public ::testing::Environment {
 public:
  void SetUp() override;
  void TearDown() override;
  static const char* displayName();

 private:
  XServer _server;
};

}  // namespace kestrel::test
