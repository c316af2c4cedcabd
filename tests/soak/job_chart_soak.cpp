// A long run of the job chart through its entry points, on a shown chart on a private X server:
// a real grid's trace replayed at full speed, a million synthetic jobs at thirty frames a
// simulated second, and charts made and destroyed again and again on one host widget. It checks
// that the heap grows only by what the jobs themselves hold, that the X server keeps no more
// for the client than it did, and that nothing crashes. The duration is a budget shared by the
// three parts: each stops early when its share is spent.
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
#include <cstdlib>
#include <cstring>
#include <memory>
#include <queue>
#include <string>
#include <unordered_map>
#include <vector>

#include "examples/swf_trace.h"
#include "gadgets/motif_look.h"
#include "kestrel.h"

namespace {

using Clock = std::chrono::steady_clock;

// The heap a finished job may hold, with the allocator's slack: what the performance
// benchmark measures per job, rounded up.
constexpr double kBytesPerJob = 1200;

struct Options {
  double seconds = 60;
  std::string trace = KESTREL_SOAK_TRACE;
  long jobs = 1000000;
  long cycles = 10000;
};

size_t heapInUse() {
  return mallinfo2().uordblks;
}

class Deadline {
 public:
  explicit Deadline(double seconds)
      : _end(Clock::now() +
             std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))) {}
  bool passed() const { return Clock::now() >= _end; }

 private:
  Clock::time_point _end;
};

struct Host {
  Display* x;
  Pixmap probe;
  kestrel::test::MotifHost widget;
  Host(Display* display)
      : x(display),
        probe(XCreatePixmap(x, DefaultRootWindow(x), 1, 1, DefaultDepth(x, DefaultScreen(x)))),
        widget(x, 0, 0, 1000, 700) {
    widget.realize();
  }
  long resources() {
    XSync(x, False);
    return kestrel::test::serverResources(x, probe);
  }
  // What a host's event loop does between its calls: handles whatever the server sent.
  void dispatch() {
    XtAppContext app = XtWidgetToApplicationContext(widget.shell());
    while (XtAppPending(app)) XtAppProcessEvent(app, XtIMAll);
  }
};

int failures = 0;
void check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "FAILED: %s\n", what);
    ++failures;
  }
}

// The trace: the busiest sites, four slots each, every job at its start and end time.
void replayTrace(Host& host, const Options& options, double seconds) {
  SwfTrace trace{};
  char error[256] = "";
  if (swfRead(options.trace.c_str(), &trace, error, sizeof error) != 0) {
    std::printf("trace: skipped (%s)\n", error);
    return;
  }
  std::unordered_map<long, long> perSite;
  for (size_t i = 0; i < trace.jobCount; ++i) ++perSite[trace.jobs[i].partition];
  std::vector<std::pair<long, long>> busiest(perSite.begin(), perSite.end());
  std::sort(busiest.begin(), busiest.end(), [](auto& a, auto& b) { return a.second > b.second; });
  busiest.resize(std::min<size_t>(busiest.size(), 20));
  std::vector<std::string> names;
  std::unordered_map<long, std::string> siteName;
  for (auto& [site, count] : busiest) {
    const char* name = swfPartitionName(&trace, site);
    siteName[site] = name ? name : "site " + std::to_string(site);
    for (int slot = 0; slot < 4; ++slot) names.push_back(siteName[site]);
  }
  std::vector<char*> pointers;
  for (std::string& n : names) pointers.push_back(n.data());
  void* chart = chartConstructor(host.widget.board(), pointers.data(), int(pointers.size()));
  check(chart != nullptr, "the trace's chart was made");
  if (!chart) return swfFree(&trace);
  setViewableTime(chart, 3600);

  std::vector<const SwfJob*> jobs;
  for (size_t i = 0; i < trace.jobCount; ++i)
    if (trace.jobs[i].run >= 0 && siteName.count(trace.jobs[i].partition))
      jobs.push_back(&trace.jobs[i]);
  std::sort(jobs.begin(), jobs.end(),
            [](const SwfJob* a, const SwfJob* b) { return swfStart(a) < swfStart(b); });
  using End = std::pair<long, std::pair<int, int>>;  // end time, (job ID, failed)
  std::priority_queue<End, std::vector<End>, std::greater<End>> ends;
  const long origin = jobs.empty() ? 0 : swfStart(jobs.front());
  const Deadline deadline(seconds);
  long shown = 0, hidden = 0, frames = 0, now = origin;
  const auto begin = Clock::now();
  size_t next = 0;
  for (; next < jobs.size() && !deadline.passed(); now += 60, ++frames) {
    for (; !ends.empty() && ends.top().first <= now; ends.pop())
      stopJobTracking(chart, ends.top().second.first, ends.top().second.second);
    for (; next < jobs.size() && swfStart(jobs[next]) <= now; ++next) {
      const SwfJob* job = jobs[next];
      int id = startJobTracking(chart, siteName[job->partition].c_str(),
                                float(swfStart(job) - origin), nullptr);
      if (id < 0) {
        ++hidden;
        continue;
      }
      ++shown;
      ends.push({swfStart(job) + job->run, {id, swfKilledAtLimit(job)}});
    }
    setElapsedTime(chart, float(now - origin));
    updateActiveJobs(chart, float(now - origin));
    host.dispatch();
  }
  const double took = std::chrono::duration<double>(Clock::now() - begin).count();
  std::printf(
      "trace: %zu of %zu jobs' starts replayed (%ld shown, %ld without a free slot), "
      "%ld frames, %.1f simulated days in %.1f s\n",
      next, jobs.size(), shown, hidden, frames, double(now - origin) / 86400, took);
  chartDestructor(chart);
  swfFree(&trace);
}

// A thousand rows, each running one job after another; a frame every thirtieth of a second.
void synthetic(Host& host, const Options& options, double seconds) {
  constexpr int kRows = 1000;
  std::vector<std::string> names;
  for (int r = 0; r < kRows; ++r) names.push_back("node" + std::to_string(r / 8));
  std::vector<char*> pointers;
  for (std::string& n : names) pointers.push_back(n.data());
  void* chart = chartConstructor(host.widget.board(), pointers.data(), kRows);
  check(chart != nullptr, "the synthetic chart was made");
  if (!chart) return;
  setViewableTime(chart, 60);
  // The first jobs make what every later one shares (the jobs' palettes): counted from there.
  stopJobTracking(chart, startJobTracking(chart, names[0].c_str(), 0, nullptr), 1);
  setElapsedTime(chart, 0);
  host.widget.settle();
  const long resourcesBefore = host.resources();
  const size_t heapBefore = heapInUse();
  std::vector<int> ids(kRows, -1);
  std::vector<float> ends(kRows, 0);
  const Deadline deadline(seconds);
  long jobs = 0, frames = 0;
  float now = 0;
  unsigned seed = 1;
  for (; jobs < options.jobs && !deadline.passed(); ++frames, now += 1.0f / 30) {
    for (int r = 0; r < kRows && jobs < options.jobs; ++r) {
      if (ids[size_t(r)] >= 0 && ends[size_t(r)] <= now) {
        seed = seed * 1103515245u + 12345u;
        stopJobTracking(chart, ids[size_t(r)], (seed >> 16) % 5 == 0);
        ids[size_t(r)] = -1;
      }
      if (ids[size_t(r)] < 0) {
        ids[size_t(r)] = startJobTracking(chart, names[size_t(r)].c_str(), now, nullptr);
        seed = seed * 1103515245u + 12345u;
        ends[size_t(r)] = now + 0.5f + float((seed >> 16) % 100) / 20;
        ++jobs;
      }
    }
    setElapsedTime(chart, now);
    updateActiveJobs(chart, now);
    host.dispatch();
  }
  const double perJob = double(heapInUse() - heapBefore) / double(std::max(jobs, 1L));
  const long resourcesAfter = host.resources();
  std::printf(
      "synthetic: %ld jobs, %ld frames (%.0f simulated s): %.0f heap bytes per job, "
      "X resources %ld -> %ld\n",
      jobs, frames, double(now), perJob, resourcesBefore, resourcesAfter);
  check(jobs < 1000 || perJob <= kBytesPerJob, "the heap grew only by the jobs' own bytes");
  check(resourcesAfter == resourcesBefore, "the X server holds nothing more for the jobs");
  chartDestructor(chart);
}

// Charts made and destroyed on one host widget, with a few jobs each.
void cycles(Host& host, const Options& options, double seconds) {
  char name[] = "row";
  char* names[] = {name, name, name};
  auto cycle = [&] {
    void* chart = chartConstructor(host.widget.board(), names, 3);
    if (!chart) return false;
    startJobTracking(chart, "row", 0, nullptr);
    stopJobTracking(chart, startJobTracking(chart, "row", 1, nullptr), 1);
    setElapsedTime(chart, 2);
    updateActiveJobs(chart, 2);
    host.dispatch();
    chartDestructor(chart);
    host.dispatch();
    return true;
  };
  // The first charts make what every later one shares (fonts, colours, class tables).
  for (int i = 0; i < 20; ++i) cycle();
  host.widget.settle();
  const long resourcesBefore = host.resources();
  const size_t heapBefore = heapInUse();
  const Deadline deadline(seconds);
  long done = 0;
  for (; done < options.cycles && !deadline.passed(); ++done) check(cycle(), "a chart was made");
  host.widget.settle();
  const long resourcesAfter = host.resources();
  const long grown = long(heapInUse()) - long(heapBefore);
  std::printf("cycles: %ld charts made and destroyed: heap %+ld bytes, X resources %ld -> %ld\n",
              done, grown, resourcesBefore, resourcesAfter);
  check(grown < 64 * 1024, "the heap is back where it started");
  check(resourcesAfter == resourcesBefore, "the X server holds nothing more");
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i + 1 < argc; i += 2) {
    if (!std::strcmp(argv[i], "--seconds"))
      options.seconds = std::atof(argv[i + 1]);
    else if (!std::strcmp(argv[i], "--trace"))
      options.trace = argv[i + 1];
    else if (!std::strcmp(argv[i], "--jobs"))
      options.jobs = std::atol(argv[i + 1]);
    else if (!std::strcmp(argv[i], "--cycles"))
      options.cycles = std::atol(argv[i + 1]);
    else
      return false;
  }
  return argc % 2 == 1 && options.seconds > 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
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
  Host host(session.xDisplay());
  // Each part may use a third of what is left; the synthetic jobs, last, take the rest.
  const auto begin = Clock::now();
  auto left = [&] {
    return options.seconds - std::chrono::duration<double>(Clock::now() - begin).count();
  };
  replayTrace(host, options, options.seconds / 3);
  cycles(host, options, left() / 3);
  synthetic(host, options, left());
  std::printf("%s\n", failures ? "soak: FAILED" : "soak: passed");
  return failures ? 1 : 0;
}
