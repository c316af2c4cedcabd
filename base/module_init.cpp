#include "base/module_init.h"

#include <cstdlib>

#include "base/version.h"

void QelLoadModules(const QelModule* modules, size_t count, int* results, const char* defaultHome) {
  for (size_t i = 0; i < count; ++i) results[i] = modules[i].initialize();
  const char* home = std::getenv("QELHOME");
  if (!home || !*home) QelSetDefaultHome(defaultHome);
}
