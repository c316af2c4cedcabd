// The shared library a host loads: it loads with every symbol bound at once, exports exactly the
// twelve entry points, and needs nothing beyond the C and C++ runtimes and X, Xt and Motif.
#include <dlfcn.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

std::string output(const std::string& command) {
  std::string text;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  char buffer[512];
  while (pipe && fgets(buffer, sizeof buffer, pipe.get())) text += buffer;
  return text;
}

TEST(LibraryLoadTest, ExportsTheTwelveEntryPointsAndNeedsOnlyRuntimesAndX) {
  void* library = dlopen(KESTREL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(dlsym(library, "_Z13QelGetVersionv"), nullptr);
  dlclose(library);

  std::set<std::string> exported, needed;
  std::string text = output(std::string("nm -D --defined-only ") + KESTREL_LIBRARY);
  for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    std::string line = text.substr(at, end - at);
    exported.insert(line.substr(line.rfind(' ') + 1));
  }
  EXPECT_EQ(exported,
            (std::set<std::string>{"callUserCallback", "chartConstructor", "chartDestructor",
                                   "getElapsedTime", "scrollToTime", "setElapsedTime",
                                   "setTimeUnits", "setUserCallback", "setViewableTime",
                                   "startJobTracking", "stopJobTracking", "updateActiveJobs"}));
  text = output(std::string("readelf -d ") + KESTREL_LIBRARY);
  for (size_t at = 0; (at = text.find("Shared library: [", at)) != std::string::npos;) {
    at += 17;
    needed.insert(text.substr(at, text.find(']', at) - at));
  }
  std::set<std::string> allowed{"libXm.so.4", "libXt.so.6",    "libX11.so.6", "libstdc++.so.6",
                                "libm.so.6",  "libgcc_s.so.1", "libc.so.6"};
#ifdef __SANITIZE_ADDRESS__
  // The sanitizer build's runtimes, and Xt's own session libraries, which its link keeps.
  allowed.insert({"libasan.so.8", "libubsan.so.1", "libSM.so.6", "libICE.so.6"});
#endif
  for (const std::string& library : needed) EXPECT_TRUE(allowed.count(library)) << library;
  // Everything binds at load: no symbol is left for later.
  EXPECT_EQ(
      output(std::string("LD_BIND_NOW=1 ldd -r ") + KESTREL_LIBRARY + " 2>&1 | grep -c undefined"),
      "0\n");
}

}  // namespace
