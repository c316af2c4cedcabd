#include "base/messages.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// Run under AddressSanitizer in CI: a long expansion must be cut at 511 characters.
TEST(MessagesTest, DefaultHandlerAndPrintWriteOneFormattedLineEachCutAt511) {
  const std::string longText(5000, 'x');
  testing::internal::CaptureStderr();
  QelWarning("QelThing::op: %s and %s", longText.c_str(), longText.c_str());
  QelFatalError("QelThing::op: bad value %d in %s\n", 42, "rect");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: QelThing::op: " + std::string(497, 'x') +
                "\nFatal error: QelThing::op: bad value 42 in rect\n");
  testing::internal::CaptureStdout();
  QelPrint("%s", longText.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(511, 'x') + "\n");
}

}  // namespace
