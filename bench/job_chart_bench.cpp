// The job chart as a host drives it, through the entry points, on a 1200x800 chart in a Motif
// shell on a private Xvfb, beside the raw-Xlib reference drawing the same jobs.
// - tick/<scene>/xlib_direct, /xlib_batched, /chart: one frame of the reference in each mode and
//   one host tick of the chart (setElapsedTime(t), updateActiveJobs(t), XSync), with the
//   window moving by one second at every tick (t alternates between two whole seconds, so the
//   visible jobs stay the same). The chart's counters x_direct and x_batched are its ratios to
//   the references; "requests" counts the X requests of one frame.
//   Scenes: 1000x101 (1,000 rows of 100 finished and one running job), 100x101, 10x11, empty.
// - tick/history1M/chart against tick/visible1k/chart: 1,000,000 finished jobs of which 1,000
//   are visible, against a chart holding only those 1,000 (x_visible_only).
// - startStop/1000x101: startJobTracking and stopJobTracking of one job among 100,000 visible,
//   each with its XSync; start_x_frame and stop_x_frame are their shares of the chart's tick.
// - memory/history1M: heap bytes per finished job still in use (malloc's own count, overhead
//   included), the bytes operator new handed out while the jobs were made (freed ones too), and
//   X server resources of the client before and after the jobs were made.
// - phases/<scene>: the parts of a tick timed one by one (fitting the charts to the window, the
//   test of every object's box that a full redraw makes, a full redraw's client side and the
//   server's backlog after it), and the sizes of the objects one job is made of.
// - setup/<jobs>: building jobs through the entry points on a shown, double-buffered chart.
// Scenes are built with the chart not yet shown and without its off-screen buffer (every start
// and stop of a shown chart redraws, which makes building a million jobs take hours); they are
// shown before anything is timed.
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"
#include "tests/support/pixels.h"
#include "tests/support/server_resources.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/alist.h"
#include "bench/heap_counter.h"
#include "bench/xlib_reference.h"
#include "charts/chart_data.h"
#include "charts/marker.h"
#include "gadgets/motif_look.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"
#include "src/ko_chart/timeline.h"
#include "src/ko_chart/timeline_segment.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kWidth = 1200, kHeight = 800;

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// What a scene holds. Every row runs the same timetable of jobs of `length` seconds every
// `period` seconds, the first at `firstWave` periods: `history` jobs that lie before the window,
// then `finished` jobs inside it, then, when `running`, one job started at `runningFrom` and still
// going. Ticks alternate between `tick` and `tick` + 1.
struct Layout {
  const char* name;
  int rows;
  int firstWave;
  int history;
  int finished;
  bool running;
  float period, length, runningFrom, viewable, tick;
};

const Layout kLayouts[] = {
    {"1000x101", 1000, 0, 0, 100, true, 10, 8, 1000, 1010, 1010},
    {"100x101", 100, 0, 0, 100, true, 10, 8, 1000, 1010, 1010},
    {"10x11", 10, 0, 0, 10, true, 100, 80, 1000, 1010, 1010},
    {"empty", 10, 0, 0, 0, false, 10, 8, 0, 1010, 1010},
    // The same last job on every row, [9990, 9998], in a window of ten seconds.
    {"visible1k", 1000, 999, 0, 1, false, 10, 8, 0, 10, 10000},
    {"history1M", 1000, 0, 999, 1, false, 10, 8, 0, 10, 10000},
};

const Layout* layoutNamed(const std::string& name) {
  for (const Layout& l : kLayouts)
    if (name == l.name) return &l;
  return nullptr;
}

// Failed now and then, succeeded otherwise: all three looks in every frame.
bool failsAt(int row, int wave) {
  return (row * 7 + wave) % 5 == 0;
}

// The private server and the connection that every scene shares.
struct Server {
  kestrel::test::PrivateDisplay session{"kestrel-job-chart-bench"};
  Display* x = session.xDisplay();
  Pixmap probe = 0;  // names this client to the server's resource count
  Server() {
    if (!x) return;
    probe = XCreatePixmap(x, DefaultRootWindow(x), 1, 1, DefaultDepth(x, DefaultScreen(x)));
    // What loading libKestrel.so.1 does for a host: the gadgets' look among the rest.
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
  }
};

Server& server() {
  static Server s;
  return s;
}

struct Scene {
  const Layout& layout;
  Display* x;
  std::unique_ptr<kestrel::test::MotifHost> host;
  std::vector<std::string> names;
  void* chart = nullptr;
  std::vector<BenchJob> jobs;  // what the reference draws, the chart's running jobs ending at
                               // the first tick
  double setupMs = 0;
  size_t heapNew = 0, heapMalloc = 0;              // heap grown while the jobs were made
  long resourcesBefore = -1, resourcesAfter = -1;  // around the making of the jobs
  int tickCount = 0;

  Ko_chart* ko() const { return static_cast<Ko_chart*>(chart); }
  float nextTick() { return layout.tick + float(tickCount++ % 2); }

  explicit Scene(const Layout& l) : layout(l), x(server().x) {
    if (!x) return;
    host = std::make_unique<kestrel::test::MotifHost>(x, 0, 0, kWidth, kHeight);
    for (int r = 0; r < l.rows; ++r) names.push_back("slot" + std::to_string(r));
    std::vector<char*> pointers;
    for (std::string& n : names) pointers.push_back(n.data());
    chart = chartConstructor(host->board(), pointers.data(), l.rows);
    if (!chart) return;
    ko()->setDoubleBuffering(0);  // not shown yet: starts and stops draw nothing
    setViewableTime(chart, l.viewable);
    XSync(x, False);
    resourcesBefore = kestrel::test::serverResources(x, server().probe);

    const size_t newBefore = KestrelBenchAllocatedBytes();
    const size_t mallocBefore = mallinfo2().uordblks;
    const auto start = Clock::now();
    const int waves = l.history + l.finished;
    std::vector<int> ids(size_t(l.rows));
    for (int w = 0; w < waves; ++w) {
      const float from = float(l.firstWave + w) * l.period, to = from + l.length;
      for (int r = 0; r < l.rows; ++r)
        ids[size_t(r)] = startJobTracking(chart, names[size_t(r)].c_str(), from, nullptr);
      updateActiveJobs(chart, to);
      for (int r = 0; r < l.rows; ++r)
        stopJobTracking(chart, ids[size_t(r)], failsAt(r, l.firstWave + w));
      if (w < l.history) continue;
      for (int r = 0; r < l.rows; ++r)
        jobs.push_back(
            {r + 1, from, to,
             failsAt(r, l.firstWave + w) ? BenchJobState::Failed : BenchJobState::Succeeded});
    }
    if (l.running) {
      for (int r = 0; r < l.rows; ++r) {
        startJobTracking(chart, names[size_t(r)].c_str(), l.runningFrom, nullptr);
        jobs.push_back({r + 1, l.runningFrom, l.tick, BenchJobState::Running});
      }
    }
    setupMs = msSince(start);
    heapNew = KestrelBenchAllocatedBytes() - newBefore;
    heapMalloc = mallinfo2().uordblks - mallocBefore;
    XSync(x, False);
    resourcesAfter = kestrel::test::serverResources(x, server().probe);

    // Shown, double buffered, at the first tick's time.
    host->realize();
    ko()->setDoubleBuffering(1);
    setElapsedTime(chart, l.tick);
    updateActiveJobs(chart, l.tick);
    host->settle();
  }
  ~Scene() {
    if (chart) chartDestructor(chart);
    host.reset();
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  void tick() {
    const float t = nextTick();
    setElapsedTime(chart, t);
    updateActiveJobs(chart, t);
    XSync(x, False);
  }

  // The chart's own mapping, read from a fitted segment, and its axes' places, for the
  // reference.
  void fillReference(XlibJobReference& reference) const {
    BenchJobMapping mapping;
    if (QelAbstractChart* any = ko()->getChart(0)) {
      mapping.originX = any->getOrigin().x;
      mapping.originY = any->getOrigin().y;
      mapping.xScale = any->getXScale();
      mapping.yScale = any->getYScale();
    }
    BenchAxes axes;
    const QelRect& area = ko()->getChartArea();
    axes.x = area.x, axes.y = area.y, axes.width = area.w, axes.height = area.h;
    // A label every hundred pixels of time, and as many row names as fit one above the other.
    const float start = ko()->getStartTime(), span = ko()->getViewableTime();
    for (int px = 0; px <= int(area.w); px += 100) {
      char text[32];
      std::snprintf(text, sizeof text, "%.0f", std::trunc(start + span * float(px) / area.w));
      axes.timeLabels.push_back({area.x + px, text});
    }
    const float rowPixels = float(area.h) / float(layout.rows + 2);
    const int every = std::max(1, int(std::ceil(14.0f / std::max(rowPixels, 0.01f))));
    for (int r = every; r <= layout.rows; r += every)
      axes.rowLabels.push_back(
          {int(float(mapping.originY) - mapping.yScale * float(r)), names[size_t(r - 1)]});
    reference.setScene(jobs, mapping, axes);
  }
};

// One scene at a time: a million jobs take gigabytes, and the next scene's build would need as
// much again.
Scene* sceneFor(benchmark::State& state, const std::string& name) {
  // The server first, so that it outlives the scene at exit.
  static Server& keep = server();
  static std::unique_ptr<Scene> current;
  (void)keep;
  if (!current || current->layout.name != name) {
    current.reset();
    const Layout* layout = layoutNamed(name);
    if (layout) current = std::make_unique<Scene>(*layout);
  }
  if (!current || !current->chart) {
    state.SkipWithError(server().session.error().empty() ? "no usable display or chart"
                                                         : server().session.error().c_str());
    return nullptr;
  }
  return current.get();
}

struct Figures {
  double direct = 0, batched = 0, chart = 0;
};
std::map<std::string, Figures>& figures() {
  static std::map<std::string, Figures> all;
  return all;
}

// With KESTREL_BENCH_SNAPSHOTS set to a directory, each scene's frames are written there as
// PNG, to compare the reference's picture with the chart's by eye.
void snapshot(Display* x, Drawable drawable, const std::string& name) {
  const char* directory = std::getenv("KESTREL_BENCH_SNAPSHOTS");
  if (!directory || !*directory) return;
  const int screen = DefaultScreen(x);
  kestrel::test::writePng(
      kestrel::test::readDrawable(x, drawable, DefaultVisual(x, screen), DefaultColormap(x, screen),
                                  0, 0, kWidth, kHeight),
      std::string(directory) + "/" + name + ".png");
}

unsigned long requestsOf(Display* x, const std::function<void()>& frame) {
  const unsigned long before = NextRequest(x);
  frame();
  return NextRequest(x) - before - 1;  // less the XSync's own request
}

// Times `frame` over the benchmark's iterations; returns milliseconds per frame.
double timeFrames(benchmark::State& state, const std::function<void()>& frame) {
  double total = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    frame();
    const double ms = msSince(start);
    total += ms;
    state.SetIterationTime(ms / 1000);
  }
  return state.iterations() ? total / double(state.iterations()) : 0;
}

void referenceFrame(benchmark::State& state, const std::string& sceneName,
                    XlibJobReference::Mode mode) {
  Scene* scene = sceneFor(state, sceneName);
  if (!scene) return;
  XlibJobReference reference(scene->x, kWidth, kHeight);
  if (!reference.ready()) {
    state.SkipWithError("no reference window");
    return;
  }
  scene->fillReference(reference);
  reference.drawFrame(mode);  // warm the server's caches as the chart's first tick did
  const double ms = timeFrames(state, [&] { reference.drawFrame(mode); });
  (mode == XlibJobReference::Direct ? figures()[sceneName].direct : figures()[sceneName].batched) =
      ms;
  state.counters["jobs"] = double(scene->jobs.size());
  state.counters["requests"] = double(requestsOf(scene->x, [&] { reference.drawFrame(mode); }));
  snapshot(scene->x, reference.pixmap(),
           sceneName + (mode == XlibJobReference::Direct ? "-direct" : "-batched"));
}

void chartTick(benchmark::State& state, const std::string& sceneName) {
  Scene* scene = sceneFor(state, sceneName);
  if (!scene) return;
  const double ms = timeFrames(state, [&] { scene->tick(); });
  Figures& f = figures()[sceneName];
  f.chart = ms;
  if (f.direct > 0) state.counters["x_direct"] = ms / f.direct;
  if (f.batched > 0) state.counters["x_batched"] = ms / f.batched;
  if (sceneName == "history1M" && figures()["visible1k"].chart > 0)
    state.counters["x_visible_only"] = ms / figures()["visible1k"].chart;
  state.counters["jobs"] = double(scene->jobs.size());
  state.counters["setup_s"] = scene->setupMs / 1000;
  state.counters["requests"] = double(requestsOf(scene->x, [&] { scene->tick(); }));
  snapshot(scene->x, XtWindow(scene->ko()->getWidget()), sceneName + "-chart");
}

void startStop(benchmark::State& state, const std::string& sceneName) {
  Scene* scene = sceneFor(state, sceneName);
  if (!scene) return;
  const float now = scene->layout.tick;
  double startTotal = 0, stopTotal = 0;
  int row = 0;
  for (auto _ : state) {
    // The row's running job ends, and the next starts at once on the same row.
    auto begin = Clock::now();
    stopJobTracking(scene->chart, row, 0);
    XSync(scene->x, False);
    const double stopMs = msSince(begin);
    begin = Clock::now();
    startJobTracking(scene->chart, scene->names[size_t(row)].c_str(), now, nullptr);
    XSync(scene->x, False);
    const double startMs = msSince(begin);
    stopTotal += stopMs, startTotal += startMs;
    state.SetIterationTime((stopMs + startMs) / 1000);
    row = (row + 1) % scene->layout.rows;
  }
  const double n = double(std::max<int64_t>(1, state.iterations()));
  state.counters["start_ms"] = startTotal / n;
  state.counters["stop_ms"] = stopTotal / n;
  if (double frame = figures()[sceneName].chart; frame > 0) {
    state.counters["start_x_frame"] = startTotal / n / frame;
    state.counters["stop_x_frame"] = stopTotal / n / frame;
  }
  if (double direct = figures()[sceneName].direct; direct > 0)
    state.counters["start_x_direct"] = startTotal / n / direct;
}

void memory(benchmark::State& state, const std::string& sceneName) {
  Scene* scene = sceneFor(state, sceneName);
  if (!scene) return;
  for (auto _ : state) benchmark::DoNotOptimize(scene->heapNew);
  const double jobs = double(scene->layout.rows) * (scene->layout.history + scene->layout.finished);
  state.counters["jobs"] = jobs;
  state.counters["setup_s"] = scene->setupMs / 1000;
  state.counters["new_allocated_per_job"] = double(scene->heapNew) / jobs;
  state.counters["malloc_bytes_per_job"] = double(scene->heapMalloc) / jobs;
  state.counters["x_resources_before"] = double(scene->resourcesBefore);
  state.counters["x_resources_after"] = double(scene->resourcesAfter);
}

// The tick taken apart. Each part is timed on its own over the iterations, in the order a tick
// runs them.
void phases(benchmark::State& state, const std::string& sceneName) {
  Scene* scene = sceneFor(state, sceneName);
  if (!scene) return;
  Ko_chart* chart = scene->ko();
  double fit = 0, scan = 0, redraw = 0, server = 0, progress = 0;
  unsigned long redrawRequests = 0;
  std::vector<QelGraphic*> objects = chart->getObjects();
  size_t hits = 0;
  for (auto _ : state) {
    auto begin = Clock::now();
    chart->adjustCharts();
    fit += msSince(begin);

    begin = Clock::now();
    const QelRect whole(0, 0, kWidth, kHeight);
    for (QelGraphic* obj : objects) {
      QelRect box;
      obj->boundingBox(box, chart->getTransformer());
      hits += whole.intersects(box);
    }
    scan += msSince(begin);

    begin = Clock::now();
    for (int32_t r = 0; r < chart->getNumTimeLines(); ++r)
      chart->getTimeLine(r)->updateActiveJobProgress(scene->layout.tick);
    progress += msSince(begin);

    const unsigned long before = NextRequest(scene->x);
    begin = Clock::now();
    chart->reDraw();
    redraw += msSince(begin);
    redrawRequests = NextRequest(scene->x) - before;
    begin = Clock::now();
    XSync(scene->x, False);
    server += msSince(begin);
  }
  benchmark::DoNotOptimize(hits);
  const double n = double(std::max<int64_t>(1, state.iterations()));
  state.counters["fit_ms"] = fit / n;
  state.counters["box_scan_ms"] = scan / n;
  state.counters["progress_ms"] = progress / n;
  state.counters["redraw_client_ms"] = redraw / n;
  state.counters["redraw_server_wait_ms"] = server / n;
  state.counters["redraw_requests"] = double(redrawRequests);
  state.counters["objects"] = double(objects.size());
  state.counters["sizeof_segment"] = sizeof(Ko_timeline_segment);
  state.counters["sizeof_points"] = sizeof(QelChartDataPoints);
  state.counters["sizeof_point_info"] = sizeof(QelChartPointInfo);
  state.counters["sizeof_marker"] = sizeof(QelMarker);
  state.counters["sizeof_property_list"] = sizeof(QelAList);
}

// Building jobs the way a host does, on a shown, double-buffered chart: 100 rows, as many waves
// as it takes.
void setup(benchmark::State& state, int jobs) {
  Display* x = server().x;
  if (!x) {
    state.SkipWithError("no usable display");
    return;
  }
  constexpr int kRows = 100;
  std::vector<std::string> names;
  std::vector<char*> pointers;
  for (int r = 0; r < kRows; ++r) names.push_back("slot" + std::to_string(r));
  for (std::string& n : names) pointers.push_back(n.data());
  for (auto _ : state) {
    kestrel::test::MotifHost host(x, 0, 0, kWidth, kHeight);
    void* chart = chartConstructor(host.board(), pointers.data(), kRows);
    host.realize();
    setViewableTime(chart, float(jobs / kRows) * 10);
    const size_t newBefore = KestrelBenchAllocatedBytes();
    const auto begin = Clock::now();
    for (int w = 0; w < jobs / kRows; ++w) {
      for (int r = 0; r < kRows; ++r)
        startJobTracking(chart, pointers[size_t(r)], w * 10.0f, nullptr);
      updateActiveJobs(chart, w * 10.0f + 8);
      for (int r = 0; r < kRows; ++r) stopJobTracking(chart, r, failsAt(r, w));
    }
    XSync(x, False);
    const double ms = msSince(begin);
    state.SetIterationTime(ms / 1000);
    state.counters["us_per_job"] = ms * 1000 / jobs;
    state.counters["new_allocated_per_job"] = double(KestrelBenchAllocatedBytes() - newBefore) / jobs;
    chartDestructor(chart);
  }
}

// Registered in this order: each chart figure is divided by the references measured just
// before it, on the same jobs.
const bool registered = [] {
  auto unit = [](benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(1.0);
  };
  for (const char* name : {"1000x101", "100x101", "10x11", "empty", "visible1k", "history1M"}) {
    const std::string scene = name;
    unit(benchmark::RegisterBenchmark(
        ("tick/" + scene + "/xlib_direct").c_str(),
        [scene](benchmark::State& s) { referenceFrame(s, scene, XlibJobReference::Direct); }));
    unit(benchmark::RegisterBenchmark(
        ("tick/" + scene + "/xlib_batched").c_str(),
        [scene](benchmark::State& s) { referenceFrame(s, scene, XlibJobReference::Batched); }));
    unit(benchmark::RegisterBenchmark(("tick/" + scene + "/chart").c_str(),
                                      [scene](benchmark::State& s) { chartTick(s, scene); }));
    if (scene == "1000x101" || scene == "history1M")
      benchmark::RegisterBenchmark(("phases/" + scene).c_str(),
                                   [scene](benchmark::State& s) { phases(s, scene); })
          ->Unit(benchmark::kMillisecond)
          ->Iterations(5);
    if (scene == "1000x101")
      unit(benchmark::RegisterBenchmark(("startStop/" + scene).c_str(),
                                        [scene](benchmark::State& s) { startStop(s, scene); }));
    if (scene == "history1M")
      benchmark::RegisterBenchmark(("memory/" + scene).c_str(), [scene](benchmark::State& s) {
        memory(s, scene);
      })->Iterations(1);
  }
  for (int jobs : {2500, 5000, 10000})
    benchmark::RegisterBenchmark(("setup/" + std::to_string(jobs)).c_str(),
                                 [jobs](benchmark::State& s) { setup(s, jobs); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1);
  return true;
}();

}  // namespace
