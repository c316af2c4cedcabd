#include "graphics/class_info.h"

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

TEST(ClassRegistryTest, DuplicateNamesWarnKeepTheFirstAndConsumeANumber) {
  CapturedMessages messages;
  EXPECT_EQ(QelClassInfo::Get("KsBase"), nullptr);  // nothing registered yet: a warning
  static QelClassInfo base("KsBase", nullptr);
  static QelClassInfo derived("KsDerived", &base);
  static QelClassInfo duplicate("KsBase", nullptr);
  static QelClassInfo after("KsAfter", &derived);
  EXPECT_EQ(messages.warnings().at(1),
            "QelClassInfo::QelClassInfo: class KsBase is already registered");
  EXPECT_EQ(QelClassInfo::Get("KsBase"), &base);
  EXPECT_EQ(after.getRegistrationNumber(), base.getRegistrationNumber() + 3);
  EXPECT_TRUE(after.isSubtypeOf("KsBase") && after.isSubtypeOf(&after));
  EXPECT_FALSE(base.isSubtypeOf("KsDerived") || base.isSubtypeOf("KsNowhere"));
  EXPECT_EQ(messages.warnings().size(), 2u);  // an unknown target is simply not a supertype

  // A chain through a class that never made it into the registry cannot be walked.
  static QelClassInfo orphan("KsOrphan", &duplicate);
  EXPECT_FALSE(orphan.isSubtypeOf("KsBase"));
  EXPECT_EQ(messages.warnings().back(),
            "QelClassInfo::isSubtypeOf: KsBase not properly registered");
}

}  // namespace
}  // namespace kestrel::test
