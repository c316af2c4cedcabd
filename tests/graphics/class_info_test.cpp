#include "graphics/class_info.h"

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

// Runs first in this binary: nothing has registered yet.
TEST(ClassRegistryTest, LookupsBeforeAnyRegistrationWarnAndFindNothing) {
  CapturedMessages messages;
  EXPECT_EQ(QelClassInfo::Get("QelGraphic"), nullptr);
  EXPECT_FALSE(QelClassInfo::IsKnown("QelGraphic"));
  EXPECT_TRUE(QelClassInfo::GetRegisteredClassInfos().empty());
  EXPECT_EQ(messages.warnings().size(), 3u);
  EXPECT_EQ(messages.warnings().at(0).rfind("QelClassInfo::Get: No classes registered.", 0), 0u);
}

TEST(ClassRegistryTest, DuplicateNamesWarnKeepTheFirstAndConsumeANumber) {
  CapturedMessages messages;
  static QelClassInfo base("KsBase", nullptr);
  static QelClassInfo derived("KsDerived", &base);
  static QelClassInfo duplicate("KsBase", nullptr);
  static QelClassInfo after("KsAfter", &derived);
  EXPECT_EQ(
      messages.warnings(),
      std::vector<std::string>{"QelClassInfo::QelClassInfo: class KsBase is already registered"});
  EXPECT_EQ(QelClassInfo::Get("KsBase"), &base);
  EXPECT_EQ(after.getRegistrationNumber(), base.getRegistrationNumber() + 3);
  EXPECT_TRUE(after.isSubtypeOf("KsBase") && after.isSubtypeOf(&after));
  EXPECT_FALSE(base.isSubtypeOf("KsDerived") || base.isSubtypeOf("KsNowhere"));
  EXPECT_EQ(messages.warnings().size(), 1u);  // an unknown target is simply not a supertype

  // A chain through a class that never made it into the registry cannot be walked.
  static QelClassInfo orphan("KsOrphan", &duplicate);
  EXPECT_FALSE(orphan.isSubtypeOf("KsBase"));
  EXPECT_EQ(messages.warnings().back(),
            "QelClassInfo::isSubtypeOf: KsBase not properly registered");
}

}  // namespace
}  // namespace kestrel::test
