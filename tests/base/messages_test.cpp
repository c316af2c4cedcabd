#include "base/messages.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

// Run under AddressSanitizer in CI: a long expansion must be cut at 511 characters.
TEST(MessagesTest, WarningsAndFatalErrorsReachTheirOperationFormattedAndCutAt511) {
  CapturedMessages messages;
  const std::string longText(5000, 'x');
  QelWarning("QelThing::op: bad value %d in %s", 42, "rect");
  QelWarning("QelThing::op: %s and %s", longText.c_str(), longText.c_str());
  QelFatalError("%s", longText.c_str());
  EXPECT_EQ(messages.warnings(),
            (std::vector<std::string>{"QelThing::op: bad value 42 in rect",
                                      "QelThing::op: " + std::string(497, 'x')}));
  EXPECT_EQ(messages.fatals(), std::vector<std::string>{std::string(511, 'x')});
}

TEST(MessagesTest, DefaultHandlerAndPrintWriteOneLineEach) {
  QelSetErrorHandler(new QelError);
  testing::internal::CaptureStderr();
  QelWarning("QelThing::op: first");
  QelFatalError("QelThing::op: second\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: QelThing::op: first\nFatal error: QelThing::op: second\n");
  testing::internal::CaptureStdout();
  QelPrint("value %d", 7);
  QelPrint("%s", std::string(600, 'y').c_str());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "value 7\n" + std::string(511, 'y') + "\n");
}

}  // namespace
}  // namespace kestrel::test
