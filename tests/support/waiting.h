// Waiting for another process (a host, a server) to have done something.
#pragma once

#include <unistd.h>

#include <chrono>
#include <functional>

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

}  // namespace kestrel::test
