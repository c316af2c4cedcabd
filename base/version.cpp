#include "base/version.h"

#include <string>

namespace {
std::string* defaultHome = nullptr;
}

int QelGetVersion() { return 230; }

void QelSetDefaultHome(const char* home) {
  delete defaultHome;
  defaultHome = home ? new std::string(home) : nullptr;
}

const char* QelGetDefaultHome() { return defaultHome ? defaultHome->c_str() : nullptr; }
