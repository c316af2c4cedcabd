#include "base/module_init.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/version.h"

namespace {

std::vector<int> calls;
int state, results[2];
// A module reaching itself while it initialises does not recurse, and it works once only.
int once() {
  return QelInitializeOnce(state, [] { calls.push_back(2), once(); });
}

TEST(ModuleInitTest, InitialisersRunInTableOrderAndQelHomeOverridesTheDefaultHome) {
  const QelModule table[] = {{"once", once}, {"every time", [] { return calls.push_back(1), 1; }}};
  // QELHOME, and the default home after loading; an empty QELHOME counts as unset.
  for (auto [env, home] :
       {std::pair<const char*, std::string>{"/srv/qel", "(none)"}, {"", "xxx"}, {nullptr, "xxx"}}) {
    QelSetDefaultHome(nullptr);
    env ? setenv("QELHOME", env, 1) : unsetenv("QELHOME");
    QelLoadModules(table, 2, results, "xxx");
    EXPECT_EQ(QelGetDefaultHome() ? QelGetDefaultHome() : "(none)", home) << (env ? env : "unset");
  }
  EXPECT_EQ(calls, (std::vector<int>{2, 1, 1, 1}));
  QelSetDefaultHome(nullptr);
}

}  // namespace
