#include "base/path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(PathNameTest, DirectoryBaseNameAndJoin) {
  QelPathName file("/opt/qel/data/qel/scene.qel");
  EXPECT_TRUE(file.isAbsolute());
  EXPECT_EQ(file.getDirectory(), "/opt/qel/data/qel/");
  EXPECT_EQ(file.getBaseName(), "scene.qel");
  EXPECT_EQ(QelPathName("scene.qel").getDirectory(), "");
  EXPECT_EQ(QelPathName("/opt/qel").join("data/qel/").getString(), "/opt/qel/data/qel/");
  EXPECT_EQ(QelPathName("/opt/qel/").join("/data").getString(), "/opt/qel/data");
  EXPECT_EQ(QelPathName("").join("data").getString(), "data");
  EXPECT_EQ(QelPathName(nullptr).getString(), "");
}

TEST(SearchPathTest, TextIsSplitOnColonsSkippingEmptyEntries) {
  QelSearchPath path;
  path.set("/a::/b/:");
  ASSERT_EQ(path.length(), 2u);
  EXPECT_EQ(path.getString(), "/a/:/b/");
  path.append("/c");
  path.prepend("/z");
  path.append(QelPathName("/odd:name"));  // a path name is one entry
  EXPECT_EQ(path.getString(), "/z/:/a/:/b/:/c/:/odd:name/");
  path.set(nullptr);
  EXPECT_EQ(path.length(), 0u);
}

TEST(SearchPathTest, FindTakesTheFirstReadableFileInOrder) {
  char templ[] = "/tmp/kestrel-path-XXXXXX";
  ASSERT_NE(mkdtemp(templ), nullptr);
  std::string root = templ;
  std::string first = root + "/first", second = root + "/second";
  mkdir(first.c_str(), 0755);
  mkdir(second.c_str(), 0755);
  for (const std::string& file : {second + "/scene.qel", first + "/other.qel"})
    std::fclose(std::fopen(file.c_str(), "w"));
  mkdir((first + "/scene.qel").c_str(), 0755);  // a directory of that name does not count

  QelSearchPath path;
  path.set((first + ":" + second).c_str());
  QelPathName found;
  ASSERT_TRUE(path.find("scene.qel", found));
  EXPECT_EQ(found.getString(), second + "/scene.qel");
  ASSERT_TRUE(path.find("other.qel", found));
  EXPECT_EQ(found.getString(), first + "/other.qel");
  ASSERT_TRUE(path.find((second + "/scene.qel").c_str(), found));
  EXPECT_FALSE(path.find("missing.qel", found));
  EXPECT_FALSE(path.find("", found));
  EXPECT_FALSE(path.find(nullptr, found));
  EXPECT_EQ(found.getString(), second + "/scene.qel");  // untouched by failures

  std::system(("rm -rf " + root).c_str());
}

}  // namespace
