#include "base/path.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

namespace {

TEST(PathNameTest, DirectoryBaseNameAndJoin) {
  QelPathName file("/opt/qel/data/qel/scene.qel");
  EXPECT_EQ(file.getDirectory(), "/opt/qel/data/qel/");
  EXPECT_EQ(file.getBaseName(), "scene.qel");
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

  char root[] = "/tmp/kestrel-path-XXXXXX";
  ASSERT_NE(mkdtemp(root), nullptr);
  const std::string first = root + std::string("/first/"), second = root + std::string("/second/");
  // scene.qel is a directory in the first entry, which does not count; other.qel is in both.
  std::filesystem::create_directories(first + "scene.qel");
  std::filesystem::create_directories(second);
  for (const std::string& file : {second + "scene.qel", first + "other.qel", second + "other.qel"})
    std::ofstream(file).put('x');
  path.set((first + ":" + second).c_str());
  QelPathName found;
  // An absolute name is taken as it is; a failed search leaves `found` alone.
  using Row = std::tuple<std::string, bool, std::string>;  // name, found, the path after
  for (auto [name, ok, expected] :
       {Row{"scene.qel", true, second + "scene.qel"},
        Row{second + "other.qel", true, second + "other.qel"},
        Row{"other.qel", true, first + "other.qel"}, Row{"missing.qel", false, first + "other.qel"},
        Row{"", false, first + "other.qel"}}) {
    EXPECT_EQ(path.find(name.c_str(), found), ok) << name;
    EXPECT_EQ(found.getString(), expected) << name;
  }
  std::filesystem::remove_all(root);
}

}  // namespace
