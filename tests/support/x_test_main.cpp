// The main of every test binary that needs X: one private server for the whole binary.
#include <gtest/gtest.h>

#include "tests/support/x_server.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::AddGlobalTestEnvironment(new kestrel::test::PrivateXEnvironment);
  return RUN_ALL_TESTS();
}
