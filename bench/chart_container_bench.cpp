// The chart container with very many charts, on a private Xvfb, double buffered as the job
// chart is, one XSync after each drawing.
// - BM_AddChartTo100k / BM_RemoveMiddleChartOf100k: addChart of the 100,001st chart and
//   removeChart of the chart in the middle of 100,000, drawing excluded; target under 5 us each.
// - BM_AddChartWithRedraw / BM_FullRedraw: addChart with redraw set among 10,000 visible charts
//   against a full redraw of them; the "ratio" of BM_AddVersusFullRedraw should stay under 0.05.
// - BM_Zoom100kShowing1k / BM_Zoom1k: zoomCharts with redraw over 100,000 charts of which 1,000
//   are visible, against the same with only those 1,000; BM_ZoomManyVersusFew reports the ratio.
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "tests/support/display_fixture.h"

#include <benchmark/benchmark.h>

#include <X11/Shell.h>
#include <X11/StringDefs.h>

#include <chrono>
#include <memory>
#include <vector>

#include "charts/chart.h"
#include "charts/chart_container.h"
#include "display/palette.h"

namespace {

constexpr uint32_t kWidth = 1000, kHeight = 600;

QelPolylineChart* segment(QelDisplay* display, float x, float y, QelPalette* palette) {
  auto* points = new QelFloatPoint[2]{{x, y}, {x + 1, y}};
  return new QelPolylineChart(display, new QelChartDataPoints(2, points, 1), palette);
}

struct Scene {
  kestrel::test::PrivateDisplay session{"kestrel-chart-container-bench"};
  QelDisplay* display = session.display();
  Widget shell = nullptr;
  QelPalette* palette = nullptr;

  Scene() {
    if (!display) return;
    QelChartContainerModuleInit();
    shell = XtVaAppCreateShell("bench", "Bench", applicationShellWidgetClass, session.xDisplay(),
                               XtNwidth, kWidth, XtNheight, kHeight, nullptr);
    palette = display->getPalette(display->getColor("white"), display->getColor("navy"));
    palette->lock();
  }
  ~Scene() {
    if (palette) palette->unLock();
    if (shell) XtDestroyWidget(shell);
  }

  // A double-buffered chart container with `count` one-unit segments, the i-th at x = i on row
  // i % 500, showing x 0 ... `shown`.
  std::unique_ptr<QelChartContainer> container(int count, float shown) {
    auto c = std::make_unique<QelChartContainer>(display, shell, QelRect(0, 0, kWidth, kHeight),
                                                 QelPoint(0, 0), QelLeft,
                                                 QelPosition(QelLeft | QelBottom), 0);
    XtRealizeWidget(shell);
    c->setDoubleBuffering(1);
    for (int i = 0; i < count; ++i)
      c->addChart(segment(display, float(i), float(i % 500), palette), 0);
    c->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, shown, 0, 500, 0);
    XSync(session.xDisplay(), False);
    return c;
  }
};

Scene& scene() {
  static Scene s;
  return s;
}

bool ready(benchmark::State& state) {
  if (scene().display) return true;
  state.SkipWithError(scene().session.error().c_str());
  return false;
}

void BM_AddChartTo100k(benchmark::State& state) {
  if (!ready(state)) return;
  auto c = scene().container(100000, 1000);
  for (auto _ : state) {
    QelPolylineChart* chart = segment(scene().display, 10, 10, scene().palette);
    auto start = std::chrono::steady_clock::now();
    c->addChart(chart, 0);
    auto end = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    c->removeChart(chart, 0);
    delete chart;
  }
}
BENCHMARK(BM_AddChartTo100k)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_RemoveMiddleChartOf100k(benchmark::State& state) {
  if (!ready(state)) return;
  auto c = scene().container(100000, 1000);
  for (auto _ : state) {
    QelAbstractChart* chart = c->getChart(50000);
    auto start = std::chrono::steady_clock::now();
    c->removeChart(chart, 0);
    auto end = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    c->addChart(chart, 0);
  }
}
BENCHMARK(BM_RemoveMiddleChartOf100k)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_AddChartWithRedraw(benchmark::State& state) {
  if (!ready(state)) return;
  auto c = scene().container(10000, 10000);
  Display* x = scene().session.xDisplay();
  for (auto _ : state) {
    QelPolylineChart* chart = segment(scene().display, 5000, 250, scene().palette);
    auto start = std::chrono::steady_clock::now();
    c->addChart(chart, 1);
    XSync(x, False);
    auto end = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    c->removeChart(chart, 0);
    delete chart;
  }
}
BENCHMARK(BM_AddChartWithRedraw)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_FullRedraw(benchmark::State& state) {
  if (!ready(state)) return;
  auto c = scene().container(10000, 10000);
  Display* x = scene().session.xDisplay();
  for (auto _ : state) {
    c->reDraw();
    XSync(x, False);
  }
}
BENCHMARK(BM_FullRedraw)->Unit(benchmark::kMicrosecond);

// Both in one run, so that the ratio compares like with like.
template <typename Op>
double secondsPer(int rounds, Op op) {
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < rounds; ++i) op(i);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / rounds;
}

void BM_AddVersusFullRedraw(benchmark::State& state) {
  if (!ready(state)) return;
  auto c = scene().container(10000, 10000);
  Display* x = scene().session.xDisplay();
  double add = 0, full = 0;
  for (auto _ : state) {
    add = secondsPer(50, [&](int) {
      QelPolylineChart* chart = segment(scene().display, 5000, 250, scene().palette);
      c->addChart(chart, 1);
      XSync(x, False);
      c->removeChart(chart, 0);
      delete chart;
    });
    full = secondsPer(5, [&](int) {
      c->reDraw();
      XSync(x, False);
    });
  }
  state.counters["add_us"] = add * 1e6;
  state.counters["full_us"] = full * 1e6;
  state.counters["ratio"] = add / full;
}
BENCHMARK(BM_AddVersusFullRedraw)->Iterations(3)->Unit(benchmark::kMillisecond);

void zoomRounds(benchmark::State& state, int count) {
  if (!ready(state)) return;
  auto c = scene().container(count, 1000);
  Display* x = scene().session.xDisplay();
  bool shifted = false;
  for (auto _ : state) {
    shifted = !shifted;
    float from = shifted ? 0.5f : 0.0f;
    c->zoomCharts(QelHorizontal, from, from + 1000, 0, 0, 1);
    XSync(x, False);
  }
}

void BM_Zoom100kShowing1k(benchmark::State& state) {
  zoomRounds(state, 100000);
}
BENCHMARK(BM_Zoom100kShowing1k)->Unit(benchmark::kMillisecond);

void BM_Zoom1k(benchmark::State& state) {
  zoomRounds(state, 1000);
}
BENCHMARK(BM_Zoom1k)->Unit(benchmark::kMillisecond);

}  // namespace
