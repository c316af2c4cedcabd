#include "graphics/class_info.h"

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

// A second class of a registered name warns and stays out of the registry: the first keeps the
// name, and a chain through the second cannot be walked.
TEST(ClassRegistryTest, DuplicateNamesWarnAndKeepTheFirst) {
  CapturedMessages messages;
  static QelClassInfo base("KsBase", nullptr), duplicate("KsBase", nullptr);
  static QelClassInfo derived("KsDerived", &base), orphan("KsOrphan", &duplicate);
  EXPECT_TRUE(QelClassInfo::Get("KsBase") == &base && derived.isSubtypeOf("KsBase"));
  EXPECT_FALSE(base.isSubtypeOf("KsDerived") || orphan.isSubtypeOf("KsBase"));
  EXPECT_EQ(
      messages.warnings(),
      (std::vector<std::string>{"QelClassInfo::QelClassInfo: class KsBase is already registered",
                                "QelClassInfo::isSubtypeOf: KsBase not properly registered"}));
}

}  // namespace
}  // namespace kestrel::test
