#include "base/module_init.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/version.h"

namespace {

std::vector<std::string> calls;

int firstState = 0, secondState = 0;
void firstWork() {
  calls.push_back("first");
}
void secondWork() {
  calls.push_back("second");
  QelInitializeOnce(secondState, secondWork);  // a module reaching itself does not recurse
}
int firstModule() {
  return QelInitializeOnce(firstState, firstWork);
}
int secondModule() {
  return QelInitializeOnce(secondState, secondWork);
}

TEST(ModuleInitTest, EachInitialiserWorksOnceInTableOrderAndKeepsItsResult) {
  calls.clear();
  const QelModule table[] = {{"second", secondModule}, {"first", firstModule}};
  int results[2] = {0, 0};
  unsetenv("QELHOME");
  QelLoadModules(table, 2, results, "xxx");
  QelLoadModules(table, 2, results, "xxx");
  EXPECT_EQ(calls, (std::vector<std::string>{"second", "first"}));
  EXPECT_EQ(results[0], 1);
  EXPECT_EQ(results[1], 1);
  EXPECT_STREQ(QelGetDefaultHome(), "xxx");
  QelSetDefaultHome(nullptr);
}

TEST(ModuleInitTest, DefaultHomeIsLeftAloneWhenQelHomeIsSet) {
  QelSetDefaultHome(nullptr);
  setenv("QELHOME", "/srv/qel", 1);
  QelLoadModules(nullptr, 0, nullptr, "xxx");
  EXPECT_EQ(QelGetDefaultHome(), nullptr);
  setenv("QELHOME", "", 1);  // empty counts as unset
  QelLoadModules(nullptr, 0, nullptr, "xxx");
  EXPECT_STREQ(QelGetDefaultHome(), "xxx");
  unsetenv("QELHOME");
  QelSetDefaultHome(nullptr);
}

}  // namespace
