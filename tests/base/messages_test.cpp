#include "base/messages.h"

#include <string>

#include <gtest/gtest.h>

#include "base/version.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

class CountingError : public QelError {
 public:
  explicit CountingError(int* destroyed) : _destroyed(destroyed) {}
  ~CountingError() override { ++*_destroyed; }

 private:
  int* _destroyed;
};

TEST(MessagesTest, WarningsAndFatalErrorsReachTheirOwnOperationFormatted) {
  CapturedMessages messages;
  QelWarning("QelThing::op: bad value %d in %s", 42, "rect");
  QelFatalError("QelThing::op: cannot go on");
  ASSERT_EQ(messages.warnings().size(), 1u);
  EXPECT_EQ(messages.warnings()[0], "QelThing::op: bad value 42 in rect");
  ASSERT_EQ(messages.fatals().size(), 1u);
  EXPECT_EQ(messages.fatals()[0], "QelThing::op: cannot go on");
}

// Run under AddressSanitizer in CI: a long expansion must be cut at 511 characters.
TEST(MessagesTest, ExpansionPastTheBufferIsTruncatedNotOverflowed) {
  CapturedMessages messages;
  std::string longText(5000, 'x');
  QelWarning("QelThing::op: %s and %s", longText.c_str(), longText.c_str());
  QelFatalError("%s", longText.c_str());
  ASSERT_EQ(messages.warnings().size(), 1u);
  EXPECT_EQ(messages.warnings()[0].size(), 511u);
  EXPECT_EQ(messages.warnings()[0].rfind("QelThing::op: xxx", 0), 0u);
  EXPECT_EQ(messages.fatals()[0].size(), 511u);
}

TEST(MessagesTest, SettingAHandlerDestroysThePreviousOneAndNullDropsMessages) {
  int destroyed = 0;
  QelSetErrorHandler(new CountingError(&destroyed));
  EXPECT_EQ(destroyed, 0);
  QelSetErrorHandler(nullptr);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(QelGetErrorHandler(), nullptr);
  QelWarning("dropped %d", 1);  // no handler: nothing happens
  QelFatalError("dropped");
  QelSetErrorHandler(new QelError);
}

TEST(MessagesTest, PrintWritesOneLineToStandardOutput) {
  testing::internal::CaptureStdout();
  QelPrint("value %d", 7);
  QelPrint("%s", std::string(600, 'y').c_str());
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "value 7\n" + std::string(511, 'y') + "\n");
}

TEST(MessagesTest, DefaultHandlerWritesToStandardErrorWithoutEndingTheProgram) {
  QelSetErrorHandler(new QelError);
  testing::internal::CaptureStderr();
  QelWarning("QelThing::op: first");
  QelFatalError("QelThing::op: second\n");
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "Warning: QelThing::op: first\nFatal error: QelThing::op: second\n");
}

TEST(VersionTest, VersionAndDefaultHome) {
  EXPECT_EQ(QelGetVersion(), 230);
  QelSetDefaultHome("/opt/kestrel");
  EXPECT_STREQ(QelGetDefaultHome(), "/opt/kestrel");
  QelSetDefaultHome(nullptr);
  EXPECT_EQ(QelGetDefaultHome(), nullptr);
}

}  // namespace
}  // namespace kestrel::test
