// The workload trace reader: header partitions and start time, unknown fields, the jobs killed
// at their limit, and lines that are no jobs, in plain and gzip files alike.
#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "examples/swf_trace.h"

namespace kestrel::test {
namespace {

// Eighteen fields: number, submit, wait, run, processors, CPU time, memory, requested
// processors, requested time, requested memory, status, user, group, executable, queue,
// partition, preceding job, think time.
const char* kTrace =
    "; Version: 2.2\n"
    "; UnixStartTime: 1132444805\n"
    "; Partition:  1 grid.ici.ro                \n"
    "; Partition: 170 lcg-lrz-ce.lrz-muenchen.de\n"
    "; Partition: x not-a-number.example\n"
    ";\n"
    "     1   0  -1    83 1 -1 -1 -1  1200 -1 -1 1 1 -1 -1   1 -1 -1\n"
    "     2   3  25  3611 1 -1 -1 -1  3611 -1 -1 2 2 -1 -1 170 -1 -1\r\n"
    "\n"
    "     3  12  -1  9000 1 -1 -1 -1  1200 -1 -1 1 1 -1 -1   7 -1 -1\n"
    "     4  14  -1    -1 1 -1 -1 -1    -1 -1 -1 2 2 -1 -1  -1 -1 -1\n"
    "     5  20  -1   969 1 -1 -1 -1  1200 -1 -1 3 3 -1 -1\n"            // too few fields
    "     6  21  -1   abc 1 -1 -1 -1  1200 -1 -1 3 3 -1 -1   1 -1 -1\n"  // not a number
    "     7  22  -5    10 1 -1 -1 -1  1200 -1 -1 3 3 -1 -1   1 -1 -1\n"  // negative, not -1
    "     8  99999999999999999999 -1 10 1 -1 -1 -1 1200 -1 -1 3 3 -1 -1 1 -1 -1\n"
    "     9  30  -1    40 1 -1 -1 -1    50 -1 -1 1 1 -1 -1   1 -1 -1";  // no final newline

class SwfTraceTest : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(directory); }
  void TearDown() override { std::filesystem::remove_all(directory); }
  std::string file(const std::string& name, const std::string& text) {
    const std::string path = directory / name;
    if (name.size() < 3 || name.compare(name.size() - 3, 3, ".gz") != 0) {
      std::ofstream(path, std::ios::binary) << text;
    } else {
      gzFile gz = gzopen(path.c_str(), "wb");
      gzwrite(gz, text.data(), unsigned(text.size()));
      gzclose(gz);
    }
    return path;
  }
  const std::filesystem::path directory =
      std::filesystem::temp_directory_path() / ("kestrel-swf-" + std::to_string(getpid()));
};

TEST_F(SwfTraceTest, ReadsJobsAndHeaderFromPlainAndGzipFiles) {
  // Number, submit, wait, run, requested time, partition, killed at its limit.
  using Job = std::tuple<long, long, long, long, long, long, bool>;
  const Job expected[] = {
      {1, 0, 0, 83, 1200, 1, false},      // an unknown wait is no wait
      {2, 3, 25, 3611, 3611, 170, true},  // ran up to its limit; a CR before the newline
      {3, 12, 0, 9000, 1200, 7, true},    // ran past its limit; a partition the header lacks
      {4, 14, 0, -1, -1, -1, false},      // unknown run and requested time
      {9, 30, 0, 40, 50, 1, false},       // the last line, without a newline
  };
  for (const char* name : {"trace.swf", "trace.swf.gz"}) {
    SCOPED_TRACE(name);
    SwfTrace trace;
    char error[256] = "";
    ASSERT_EQ(swfRead(file(name, kTrace).c_str(), &trace, error, sizeof error), 0) << error;
    EXPECT_EQ(std::make_pair(trace.unixStartTime, trace.skippedLines),
              std::make_pair(1132444805L, size_t(4)));
    ASSERT_EQ(trace.jobCount, std::size(expected));
    for (size_t i = 0; i < trace.jobCount; ++i) {
      const SwfJob& job = trace.jobs[i];
      EXPECT_EQ(Job(job.number, job.submit, job.wait, job.run, job.requested, job.partition,
                    swfKilledAtLimit(&job) != 0),
                expected[i]);
      EXPECT_EQ(swfStart(&job), job.submit + job.wait) << job.number;
    }
    EXPECT_STREQ(swfPartitionName(&trace, 1), "grid.ici.ro");
    EXPECT_STREQ(swfPartitionName(&trace, 170), "lcg-lrz-ce.lrz-muenchen.de");
    EXPECT_EQ(swfPartitionName(&trace, 7), nullptr);
    EXPECT_EQ(trace.partitionCount, 2u);
    swfFree(&trace);
  }
}

TEST_F(SwfTraceTest, FilesThatCannotBeReadGiveAnEmptyTraceAndAReason) {
  const std::string truncated = file("truncated.swf.gz", std::string(kTrace) + "\n");
  std::filesystem::resize_file(truncated, std::filesystem::file_size(truncated) / 2);
  // A missing file, a truncated gzip file, a line longer than any job line, an empty file: the
  // result, the jobs and the lines skipped.
  using Case = std::tuple<std::string, int, size_t, size_t>;
  for (const auto& [path, result, jobs, skipped] :
       {Case{(directory / "none.swf").string(), -1, 0, 0}, Case{truncated, -1, 0, 0},
        Case{file("long.swf",
                  std::string(10000, '7') + "\n1 0 -1 5 1 -1 -1 -1 10 -1 -1 1 1 -1 -1 1 -1 -1\n"),
             0, 1, 1},
        Case{file("empty.swf", ""), 0, 0, 0}}) {
    SCOPED_TRACE(path);
    SwfTrace trace;
    char error[256] = "";
    EXPECT_EQ(swfRead(path.c_str(), &trace, error, sizeof error), result);
    EXPECT_EQ(std::make_pair(trace.jobCount, trace.skippedLines), std::make_pair(jobs, skipped));
    if (result != 0) {
      EXPECT_NE(std::string(error).find(path), std::string::npos) << error;
      EXPECT_EQ(trace.jobs, nullptr);
    }
    swfFree(&trace);
  }
  SwfTrace trace;
  char error[64];
  EXPECT_EQ(swfRead(nullptr, &trace, error, sizeof error), -1);
}

}  // namespace
}  // namespace kestrel::test
