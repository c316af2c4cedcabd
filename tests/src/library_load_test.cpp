// The shared library a host loads: it loads cleanly and shows nothing of the toolkit.
#include <dlfcn.h>

#include <gtest/gtest.h>

namespace {

TEST(LibraryLoadTest, LoadsAndHidesTheToolkit) {
  void* library = dlopen(KESTREL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(dlsym(library, "_Z13QelGetVersionv"), nullptr);
  EXPECT_EQ(dlsym(library, "_Z10QelWarningPKcz"), nullptr);
  dlclose(library);
}

}  // namespace
