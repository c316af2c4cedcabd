// Module initialisers. A module that registers classes or creates symbols has one initialiser;
// it does its work the first time and returns the same value on every later call, because the
// library's start-up and later initialisation blocks call it again.
#pragma once

#include <cstddef>

using QelModuleInitializer = int (*)();

struct QelModule {
  const char* name;
  QelModuleInitializer initialize;
};

// Runs `work` on the first call for `state` only. The state is marked before the work runs, so
// an initialiser that (indirectly) calls itself sees it done instead of recursing.
inline int QelInitializeOnce(int& state, void (*work)()) {
  if (!state) {
    state = 1;
    work();
  }
  return state;
}

// What the library does when it is loaded: calls every module initialiser of `modules` in order,
// keeping each result in `results` (which holds `count` ints), then sets the default home to
// `defaultHome` unless "QELHOME" is set to a non-empty value.
void QelLoadModules(const QelModule* modules, size_t count, int* results, const char* defaultHome);
