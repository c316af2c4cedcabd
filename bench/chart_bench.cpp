// Charts of long time series on a private Xvfb, into an off-screen bitmap, one XSync per frame.
// - BM_ClippedLongSeries: a polyline chart of 1,000,000 y-points drawn through a clip that shows
//   1,000 of them, against BM_ShortSeries, a 1,000-point chart drawn whole. The clip slice is what
//   keeps long series cheap: the "ratio" of BM_ClippedVersusShort should stay within 2.
// - BM_ChartVersusXlib: a 100,000-point polyline chart against Xlib drawing the same view points
//   (XDrawLines on the same GC); target "ratio" within 1.2.
// - BM_DataSetMemory: the heap bytes of one points data set of two points with two point infos
//   (every byte operator new hands out for it), reported as "bytes".
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "bench/canvas.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "bench/heap_counter.h"
#include "charts/chart.h"
#include "charts/point_buffers.h"
#include "display/palette.h"
#include "graphics/region.h"

namespace {

constexpr uint32_t kWidth = 1000, kHeight = 600;

float wave(size_t i) {
  return float((i * 7919) % 500);
}

QelChartDataYPoints* series(size_t count) {
  auto* data = new QelChartDataYPoints(count, nullptr, 1);
  float* values = data->getValues();
  for (size_t i = 0; i < count; ++i) values[i] = wave(i);
  data->setValues(count, values, 1);  // recomputes the range once
  return data;
}

struct Scene : BenchCanvas {
  std::unique_ptr<QelPolylineChart> longChart, shortChart, fullChart;

  Scene() : BenchCanvas(kWidth, kHeight) {
    if (!display) return;
    QelChartModuleInit();
    // One data unit per pixel: the clip of the long series shows 1,000 points, like the short.
    longChart.reset(
        new QelPolylineChart(display, series(1000000), QelPoint(0, 550), 1, 1, palette));
    shortChart.reset(new QelPolylineChart(display, series(1000), QelPoint(0, 550), 1, 1, palette));
    fullChart.reset(
        new QelPolylineChart(display, series(100000), QelPoint(0, 550), 0.01f, 1, palette));
  }

  void draw(const QelChart& chart, const QelRegion* clip) const {
    chart.draw(pixmap, nullptr, clip);
    XSync(x, False);
  }

  // The same view points, converted once, drawn straight with Xlib.
  void xlibPolyline(const std::vector<XPoint>& points) const {
    XDrawLines(x, pixmap->getDrawable(), palette->getGC(), const_cast<XPoint*>(points.data()),
               int(points.size()), CoordModeOrigin);
    XSync(x, False);
  }
};

Scene* scene(benchmark::State& state) {
  return sharedScene<Scene>(state);
}

// The window onto the middle of the long series.
const QelRegion& visibleSlice() {
  static const QelRegion clip(QelRect(0, 0, kWidth, kHeight));
  return clip;
}

void BM_ClippedLongSeries(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  // Scrolled to the middle: the chart's origin moves left by half a million pixels.
  s->longChart->setOrigin(QelPoint(-500000, 550));
  for (auto _ : state) s->draw(*s->longChart, &visibleSlice());
}
BENCHMARK(BM_ClippedLongSeries)->Unit(benchmark::kMicrosecond);

void BM_ShortSeries(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  for (auto _ : state) s->draw(*s->shortChart, nullptr);
}
BENCHMARK(BM_ShortSeries)->Unit(benchmark::kMicrosecond);

template <typename A, typename B>
void interleave(benchmark::State& state, A first, B second) {
  using Clock = std::chrono::steady_clock;
  double a = 0, b = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    first();
    auto t1 = Clock::now();
    second();
    auto t2 = Clock::now();
    a += std::chrono::duration<double, std::micro>(t1 - t0).count();
    b += std::chrono::duration<double, std::micro>(t2 - t1).count();
  }
  double n = double(state.iterations());
  state.counters["first_us"] = a / n;
  state.counters["second_us"] = b / n;
  state.counters["ratio"] = b > 0 ? a / b : 0;
}

void BM_ClippedVersusShort(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  s->longChart->setOrigin(QelPoint(-500000, 550));
  interleave(
      state, [&] { s->draw(*s->longChart, &visibleSlice()); },
      [&] { s->draw(*s->shortChart, nullptr); });
}
BENCHMARK(BM_ClippedVersusShort)->Unit(benchmark::kMicrosecond)->MinTime(2.0);

void BM_ChartVersusXlib(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  unsigned long count = 0;
  const QelPoint* mapped = s->fullChart->getPoints(count, nullptr, nullptr);
  std::vector<XPoint> points;
  for (unsigned long i = 0; i < count; ++i)
    points.push_back(XPoint{short(mapped[i].x), short(mapped[i].y)});
  interleave(
      state, [&] { s->draw(*s->fullChart, nullptr); }, [&] { s->xlibPolyline(points); });
}
BENCHMARK(BM_ChartVersusXlib)->Unit(benchmark::kMillisecond)->MinTime(3.0);

void BM_DataSetMemory(benchmark::State& state) {
  size_t bytes = 0;
  for (auto _ : state) {
    size_t before = KestrelBenchAllocatedBytes();
    auto* data = new QelChartDataPoints(2, nullptr, 1);
    data->addPointInfo(new QelChartPointInfo(nullptr, 0));
    data->addPointInfo(new QelChartPointInfo(nullptr, 1));
    bytes = KestrelBenchAllocatedBytes() - before;
    benchmark::DoNotOptimize(data);
    delete data;
  }
  state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_DataSetMemory);

}  // namespace
