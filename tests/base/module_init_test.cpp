#include "base/module_init.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/version.h"

namespace {

std::vector<int> calls;
int states[2];
int first() {
  return QelInitializeOnce(states[0], [] { calls.push_back(1); });
}
int second() {
  // A module reaching itself while it initialises does not recurse.
  return QelInitializeOnce(states[1], [] { calls.push_back(2), second(); });
}

TEST(ModuleInitTest, EachInitialiserWorksOnceInTableOrderAndQelHomeOverridesTheDefaultHome) {
  const QelModule table[] = {{"second", second}, {"first", first}};
  int results[2] = {0, 0};
  // QELHOME, and the default home after loading; an empty QELHOME counts as unset.
  for (auto [env, home] :
       {std::pair<const char*, std::string>{"/srv/qel", "(none)"}, {"", "xxx"}, {nullptr, "xxx"}}) {
    QelSetDefaultHome(nullptr);
    env ? setenv("QELHOME", env, 1) : unsetenv("QELHOME");
    QelLoadModules(table, 2, results, "xxx");
    EXPECT_EQ(QelGetDefaultHome() ? QelGetDefaultHome() : "(none)", home) << (env ? env : "unset");
  }
  EXPECT_EQ(calls, (std::vector<int>{2, 1}));
  QelSetDefaultHome(nullptr);
}

}  // namespace
