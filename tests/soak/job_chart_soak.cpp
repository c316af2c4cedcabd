// A long run of the job chart through its entry points, on a shown chart on a private X server:
// a real grid's trace replayed at full speed, a million synthetic jobs at thirty frames a
// simulated second, and charts made and destroyed again and again on one host widget. Each part
// checks that the heap grows only by what the jobs themselves hold, and that the X server keeps
// no more for the client than it did; and nothing may crash. The duration is a budget shared by
// the three parts: each stops early when its share is spent.
//
//   job_chart_soak [--seconds N] [--trace FILE.swf[.gz]] [--jobs N] [--cycles N]
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"
#include "tests/support/server_resources.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <queue>

#include "examples/swf_trace.h"
#include "gadgets/motif_look.h"
#include "kestrel.h"

namespace {

using Clock = std::chrono::steady_clock;
int failures = 0;

void check(bool ok, const char* what) {
  if (!ok) std::fprintf(stderr, "FAILED: %s\n", what), ++failures;
}

// A job to replay: its row name (an index into the chart's names), start, end and outcome.
struct Job {
  size_t name;
  double start, end;
  bool failed;
};

struct Host {
  Display* x;
  kestrel::test::MotifHost widget{x, 0, 0, 1000, 700};
  Pixmap probe = XCreatePixmap(x, DefaultRootWindow(x), 1, 1, DefaultDepth(x, DefaultScreen(x)));
  bool realized = widget.realize();
  // What a host's event loop does between its calls: handles whatever the server sent.
  void dispatch() {
    XtAppContext app = XtWidgetToApplicationContext(widget.shell());
    while (XtAppPending(app)) XtAppProcessEvent(app, XtIMAll);
  }
  // The heap in use and the X resources the server holds for the client, once all is handled.
  std::pair<long, long> usage() {
    widget.settle();
    XSync(x, False);
    return {long(mallinfo2().uordblks), kestrel::test::serverResources(x, probe)};
  }
  // The heap grown since `before`; the server must hold what it held then.
  long grown(const char* part, std::pair<long, long> before) {
    const auto [heap, resources] = usage();
    std::printf("%s: X resources %ld -> %ld, ", part, before.second, resources);
    check(resources == before.second, "the X server holds nothing more");
    return heap - before.first;
  }
};

// Replays the jobs in the order of their starts on a chart of those rows, a frame every `step`
// seconds.
void replay(Host& host, const char* part, std::vector<std::string> names, std::vector<Job> jobs,
            double step, double viewable, double seconds) {
  std::stable_sort(jobs.begin(), jobs.end(), [](auto& a, auto& b) { return a.start < b.start; });
  std::vector<char*> pointers;
  for (std::string& n : names) pointers.push_back(n.data());
  void* chart = chartConstructor(host.widget.board(), pointers.data(), int(pointers.size()));
  if (!chart) return check(false, "the chart was made");
  setViewableTime(chart, float(viewable));
  using End = std::pair<double, std::pair<int, bool>>;  // end time, (job ID, failed)
  std::priority_queue<End, std::vector<End>, std::greater<End>> ends;
  const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
  long shown = 0, frames = 0;
  std::pair<long, long> before{-1, 0};
  size_t next = 0;
  double now = jobs.empty() ? 0 : jobs.front().start;
  for (; next < jobs.size() && Clock::now() < deadline; now += step, ++frames) {
    for (; !ends.empty() && ends.top().first <= now; ends.pop())
      stopJobTracking(chart, ends.top().second.first, ends.top().second.second);
    for (; next < jobs.size() && jobs[next].start <= now; ++next) {
      const Job& job = jobs[next];
      const int id = startJobTracking(chart, names[job.name].c_str(), float(job.start), nullptr);
      if (id >= 0) ends.push({job.end, {id, job.failed}}), ++shown;
    }
    setElapsedTime(chart, float(now));
    updateActiveJobs(chart, float(now));
    host.dispatch();
    // Counted from the first jobs: what they make (the jobs' palettes) every later one shares.
    if (shown > 0 && before.first < 0) before = host.usage();
  }
  const double perJob = double(host.grown(part, before)) / double(std::max(shown, 1L));
  std::printf("%zu of %zu jobs started, %ld shown, %ld frames: %.0f heap bytes a job\n", next,
              jobs.size(), shown, frames, perJob);
  // What the performance benchmark measures per job, rounded up, with the allocator's slack.
  check(shown < 1000 || perJob <= 1200, "the heap grew only by the jobs' own bytes");
  chartDestructor(chart);
}

// The trace: four slots for each of the first twenty sites, every job at its start and end time.
void trace(Host& host, const char* path, double seconds) {
  SwfTrace trace{};
  char error[256] = "";
  if (swfRead(path, &trace, error, sizeof error) != 0)
    return (void)std::printf("trace: %s\n", error);
  std::vector<std::string> names;
  std::map<long, size_t> row;  // a site's first row
  for (size_t i = 0; i < trace.jobCount; ++i)
    if (const long site = trace.jobs[i].partition; !row.count(site) && names.size() < 80) {
      const char* name = swfPartitionName(&trace, site);
      row[site] = names.size();
      names.insert(names.end(), 4, name ? name : "site " + std::to_string(site));
    }
  std::vector<Job> jobs;
  for (size_t i = 0; i < trace.jobCount; ++i)
    if (const SwfJob& j = trace.jobs[i]; j.run >= 0 && row.count(j.partition))
      jobs.push_back({row[j.partition], double(swfStart(&j)), double(swfStart(&j) + j.run),
                      swfKilledAtLimit(&j) != 0});
  swfFree(&trace);
  replay(host, "trace", names, jobs, 60, 3600, seconds);
}

// A thousand rows, each running one job after another.
void synthetic(Host& host, long count, double seconds) {
  std::vector<std::string> names;
  for (int r = 0; r < 1000; ++r) names.push_back("node" + std::to_string(r / 8));
  std::vector<Job> jobs;
  std::vector<double> free(names.size(), 0);
  for (unsigned seed = 1; long(jobs.size()) < count;)
    for (size_t r = 0; r < names.size() && long(jobs.size()) < count; ++r) {
      seed = seed * 1103515245u + 12345u;
      const double end = free[r] + 0.5 + (seed >> 16) % 100 / 20.0;
      jobs.push_back({r, free[r], end, (seed >> 20) % 5 == 0});
      free[r] = end;
    }
  replay(host, "synthetic", names, jobs, 1.0 / 30, 60, seconds);
}

// Charts made and destroyed on one host widget, with a few jobs each.
void cycles(Host& host, long count, double seconds) {
  char name[] = "row";
  char* names[] = {name, name, name};
  std::pair<long, long> before;
  const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
  // The first twenty make what every later one shares (fonts, colours, class tables).
  long done = -20;
  for (; done < count && (done <= 0 || Clock::now() < deadline); ++done) {
    if (done == 0) before = host.usage();
    void* chart = chartConstructor(host.widget.board(), names, 3);
    check(chart != nullptr, "a chart was made");
    startJobTracking(chart, "row", 0, nullptr);
    stopJobTracking(chart, startJobTracking(chart, "row", 1, nullptr), 1);
    setElapsedTime(chart, 2);
    updateActiveJobs(chart, 2);
    host.dispatch();
    chartDestructor(chart);
    host.dispatch();
  }
  const long grown = host.grown("cycles", before);
  std::printf("%ld charts made and destroyed: heap %+ld bytes\n", done, grown);
  check(grown < 64 * 1024, "the heap is back where it started");
}

}  // namespace

int main(int argc, char** argv) {
  std::map<std::string, std::string> flags{{"--seconds", "60"},
                                           {"--trace", KESTREL_SOAK_TRACE},
                                           {"--jobs", "1000000"},
                                           {"--cycles", "10000"}};
  bool usage = false;
  for (int i = 1; i < argc; i += 2)
    if (i + 1 < argc && flags.count(argv[i]))
      flags[argv[i]] = argv[i + 1];
    else
      usage = true;
  const double seconds = std::atof(flags["--seconds"].c_str());
  if (usage || seconds <= 0) {
    std::fprintf(stderr, "usage: %s [--seconds N] [--trace FILE] [--jobs N] [--cycles N]\n",
                 argv[0]);
    return 2;
  }
  // The library says once per chart where its home is when none is set: set one.
  setenv("QELHOME", "/usr/share/kestrel", 0);
  kestrel::test::PrivateDisplay session("kestrel-soak");
  if (!session.xDisplay()) {
    std::fprintf(stderr, "no private X server: %s\n", session.error().c_str());
    return 1;
  }
  QelMotifScrollBarModuleInit();
  QelMotifMessageLabelModuleInit();
  Host host{session.xDisplay()};
  // Each part may use a third of the time (less when it is done sooner).
  trace(host, flags["--trace"].c_str(), seconds / 3);
  cycles(host, std::atol(flags["--cycles"].c_str()), seconds / 3);
  synthetic(host, std::atol(flags["--jobs"].c_str()), seconds / 3);
  std::printf("%s\n", failures ? "soak: FAILED" : "soak: passed");
  return failures ? 1 : 0;
}
