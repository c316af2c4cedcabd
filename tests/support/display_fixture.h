// Tests of the display and everything drawn through it: an Xt connection to a private server,
// a QelDisplay adopting it, and mapped windows to draw into and read back.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/pixels.h"
#include "tests/support/x_server.h"

#include <X11/Intrinsic.h>

#include "display/display.h"
#include "display/port.h"

namespace kestrel::test {

// Opens a connection through Xt, as a Motif host's is (null name: $DISPLAY).
Display* openXtDisplay(const char* displayName = nullptr);
void closeXtDisplay(Display* display);

// Puts "RESOURCE: VALUE" lines into the connection's resource database (what a user's
// resource files would hold), before a QelDisplay reads them.
void putResources(Display* display, const std::vector<std::string>& lines);

// Maps a window with a white background and waits until it is exposed.
Window mapWindow(Display* display, int width, int height);

// A private X server of its own, an Xt connection to it and a QelDisplay adopting that, for
// programs that are not test binaries (fuzzers, benchmarks). On failure display() is null and
// error() says why.
class PrivateDisplay {
 public:
  explicit PrivateDisplay(const char* name, const XServer::Options& options = XServer::Options());
  ~PrivateDisplay();
  PrivateDisplay(const PrivateDisplay&) = delete;
  PrivateDisplay& operator=(const PrivateDisplay&) = delete;

  QelDisplay* display() const { return _display; }
  Display* xDisplay() const { return _x; }
  const std::string& error() const { return _error; }

 private:
  XServer _server;
  Display* _x = nullptr;
  QelDisplay* _display = nullptr;
  std::string _error;
};

// One display per test suite on the shared private server; windows made by a test are
// destroyed after it.
class DisplayTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void TearDown() override;

  // A port over a new mapped white window of the given size.
  QelPort* windowPort(int width, int height);
  Image read(QelPort* port) const;

  static Display* xDisplay;
  static QelDisplay* display;

 private:
  std::vector<std::unique_ptr<QelPort>> _ports;
};

}  // namespace kestrel::test
