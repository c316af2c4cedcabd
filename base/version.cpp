#include "base/version.h"

#include <optional>
#include <string>

namespace {

// Reached through a function: the library's load-time initialisation sets it before other
// statics of this file would be constructed.
std::optional<std::string>& defaultHome() {
  static std::optional<std::string> home;
  return home;
}

}  // namespace

int QelGetVersion() {
  return 230;
}

void QelSetDefaultHome(const char* home) {
  if (home)
    defaultHome() = home;
  else
    defaultHome().reset();
}

const char* QelGetDefaultHome() {
  return defaultHome() ? defaultHome()->c_str() : nullptr;
}
