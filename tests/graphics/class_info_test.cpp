#include "graphics/class_info.h"

#include <gtest/gtest.h>

#include "base/symbol.h"
#include "graphics/graphic.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

// Runs first in this binary: nothing has registered yet.
TEST(ClassRegistryTest, LookupsBeforeAnyRegistrationWarnAndFindNothing) {
  CapturedMessages messages;
  EXPECT_EQ(QelClassInfo::Get("QelGraphic"), nullptr);
  EXPECT_FALSE(QelClassInfo::IsKnown("QelGraphic"));
  EXPECT_TRUE(QelClassInfo::GetRegisteredClassInfos().empty());
  EXPECT_TRUE(QelClassInfo::GetRegisteredClassNames().empty());
  ASSERT_EQ(messages.warnings().size(), 4u);
  for (const char* operation : {"Get", "IsKnown", "GetRegisteredClassInfos"})
    EXPECT_NE(std::find_if(messages.warnings().begin(), messages.warnings().end(),
                           [operation](const std::string& w) {
                             return w.rfind(std::string("QelClassInfo::") + operation +
                                                ": No classes registered.",
                                            0) == 0;
                           }),
              messages.warnings().end())
        << operation;
}

TEST(ClassRegistryTest, DuplicateNamesWarnKeepTheFirstAndConsumeANumber) {
  CapturedMessages messages;
  static QelClassInfo base("KsBase", nullptr);
  static QelClassInfo derived("KsDerived", &base);
  static QelClassInfo duplicate("KsBase", nullptr);
  static QelClassInfo after("KsAfter", &derived);
  ASSERT_EQ(messages.warnings().size(), 1u);
  EXPECT_EQ(messages.warnings()[0],
            "QelClassInfo::QelClassInfo: class KsBase is already registered");
  EXPECT_EQ(QelClassInfo::Get("KsBase"), &base);
  EXPECT_FALSE(duplicate.isRegistered());
  EXPECT_EQ(derived.getRegistrationNumber(), base.getRegistrationNumber() + 1);
  EXPECT_EQ(after.getRegistrationNumber(), base.getRegistrationNumber() + 3);

  EXPECT_TRUE(after.isSubtypeOf("KsBase"));
  EXPECT_TRUE(after.isSubtypeOf(&after));
  EXPECT_FALSE(base.isSubtypeOf("KsDerived"));
  EXPECT_TRUE(messages.warnings().size() == 1u);

  // A chain through a class that never made it into the registry cannot be walked.
  static QelClassInfo orphan("KsOrphan", &duplicate);
  EXPECT_FALSE(orphan.isSubtypeOf("KsBase"));
  EXPECT_EQ(messages.warnings().back(),
            "QelClassInfo::isSubtypeOf: KsBase not properly registered");
  // An unknown target is simply not a supertype: nothing is reported.
  size_t reported = messages.warnings().size();
  EXPECT_FALSE(base.isSubtypeOf("KsNowhere"));
  EXPECT_EQ(messages.warnings().size(), reported);
}

class UnregisteredGraphic : public QelGraphic {
 public:
  void draw(QelPort*, const QelTransformer*, const QelRegion*) const override {}
  void boundingBox(QelRect& rect, const QelTransformer*) const override { rect = QelRect(); }
  void applyTransform(const QelTransformer*) override {}
  QelGraphic* copy() const override { return new UnregisteredGraphic; }
  void write(QelOutputFile&) const override {}
  QelClassInfo* getClassInfo() const override { return &info; }
  static QelClassInfo info;
};
QelClassInfo UnregisteredGraphic::info(nullptr, nullptr);

TEST(ClassRegistryTest, GraphicModuleRegistersItsClassesOnceAndObjectsKnowTheirClass) {
  EXPECT_EQ(QelGraphicModuleInit(), QelGraphicModuleInit());
  ASSERT_NE(QelClassInfo::Get("QelGraphic"), nullptr);
  ASSERT_NE(QelClassInfo::Get("QelSimpleGraphic"), nullptr);
  ASSERT_NE(QelClassInfo::Get("QelNamedProperty"), nullptr);
  EXPECT_TRUE(QelClassInfo::Get("QelSimpleGraphic")->isSubtypeOf("QelGraphic"));
  for (const char* name : {"width", "height", "sensitive", "lineWidth", "arcMode"})
    EXPECT_NE(QelSymbol::Find(name), nullptr) << name;

  CapturedMessages messages;
  UnregisteredGraphic graphic;
  EXPECT_FALSE(graphic.isSubtypeOf("QelGraphic"));
  ASSERT_EQ(messages.warnings().size(), 1u);
  EXPECT_EQ(messages.warnings()[0], "QelClassInfo::isSubtypeOf: class of object is not registered");
}

TEST(ClassRegistryTest, ClassPropertiesAndTheirDeleteCallbacks) {
  static int deleted;
  deleted = 0;
  const QelSymbol* key = QelSymbol::Get("icon");
  int first = 1, second = 2;
  {
    QelPropClassInfo info("KsWithProperties", nullptr);
    info.addDeleteCallback([](QelPropClassInfo*, const QelSymbol*, void*) { ++deleted; });
    EXPECT_TRUE(info.addProperty(key, &first));
    EXPECT_FALSE(info.addProperty(key, &second));
    EXPECT_EQ(info.getProperty(key), &first);
    EXPECT_TRUE(info.replaceProperty(key, &second));
    EXPECT_EQ(info.getProperty(key), &second);
    EXPECT_FALSE(info.replaceProperty(QelSymbol::Get("other"), &first));
    EXPECT_TRUE(info.hasProperty(key));
  }
  EXPECT_EQ(deleted, 1);
  EXPECT_EQ(QelClassInfo::Get("KsWithProperties"), nullptr);  // gone with its info
}

}  // namespace
}  // namespace kestrel::test
