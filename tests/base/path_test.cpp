#include "base/path.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(PathNameTest, DirectoryBaseNameAndJoin) {
  QelPathName file("/opt/qel/data/qel/scene.qel");
  EXPECT_EQ(file.getDirectory(), "/opt/qel/data/qel/");
  EXPECT_EQ(file.getBaseName(), "scene.qel");
  EXPECT_EQ(QelPathName("scene.qel").getDirectory(), "");
  EXPECT_EQ(QelPathName("/opt/qel").join("data/qel/").getString(), "/opt/qel/data/qel/");
  EXPECT_EQ(QelPathName("/opt/qel/").join("/data").getString(), "/opt/qel/data");
}

TEST(SearchPathTest, EntriesSplitOnColonsAndFindTakesTheFirstReadableFile) {
  QelSearchPath path;
  path.set("/a::/b/:");  // empty entries are skipped
  path.append("/c");
  path.prepend("/z");
  path.append(QelPathName("/odd:name"));  // a path name is one entry
  EXPECT_EQ(path.getString(), "/z/:/a/:/b/:/c/:/odd:name/");

  namespace fs = std::filesystem;
  char templ[] = "/tmp/kestrel-path-XXXXXX";
  ASSERT_NE(mkdtemp(templ), nullptr);
  const std::string first = std::string(templ) + "/first", second = std::string(templ) + "/second";
  // scene.qel is a directory in the first entry, which does not count; other.qel is in both.
  fs::create_directories(first + "/scene.qel");
  fs::create_directories(second);
  for (const std::string& file :
       {second + "/scene.qel", first + "/other.qel", second + "/other.qel"})
    std::ofstream(file).put('x');
  path.set((first + ":" + second).c_str());
  QelPathName found;
  auto find = [&](const std::string& name) {
    return path.find(name.c_str(), found) ? found.getString() : "(none)";
  };
  EXPECT_EQ(find("scene.qel"), second + "/scene.qel");
  EXPECT_EQ(find(second + "/other.qel"), second + "/other.qel");  // an absolute name as it is
  EXPECT_EQ(find("other.qel"), first + "/other.qel");
  EXPECT_EQ(find("missing.qel") + find(""), "(none)(none)");
  EXPECT_EQ(found.getString(), first + "/other.qel");  // untouched by failures
  fs::remove_all(templ);
}

}  // namespace
