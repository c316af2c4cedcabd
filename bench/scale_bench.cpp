// Scales on a private Xvfb, into an off-screen bitmap, one XSync per frame.
// - BM_LongVersusShortScale: a scale of 65,535 steps on a 1,000-pixel axis against one of 100
//   steps on the same axis, both skipping the labels that would overlap. Only the drawn ticks and
//   labels may cost anything: the "ratio" should stay within 2.
// - BM_RelabelTimeAxis: setLabels on a 20-step time axis with the same count and a range moved
//   on by one unit, as a host relabels its time axis several times a second; target under 20 us.
// - BM_RelabelAndDraw: the same followed by drawing the axis (the label skip is recomputed).
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "bench/canvas.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

#include "charts/scale.h"
#include "display/palette.h"

namespace {

constexpr uint32_t kWidth = 1100, kHeight = 200, kAxis = 1000;

struct Scene : BenchCanvas {
  std::unique_ptr<QelRectangularScale> longScale, shortScale, timeAxis;

  Scene() : BenchCanvas(kWidth, kHeight, "fixed") {
    if (!display) return;
    QelScaleModuleInit();
    longScale = axis(65535, 65534);
    shortScale = axis(100, 99);
    timeAxis = axis(20, 19);
  }
  std::unique_ptr<QelRectangularScale> axis(uint16_t steps, float max) const {
    auto scale =
        std::make_unique<QelRectangularScale>(display, QelPoint(50, 100), kAxis, "%.0f", 0.0f, max,
                                              QelLeft, QelBottom, steps, 2, 6, 3, palette);
    scale->setKeepAllLabels(0);
    return scale;
  }

  void draw(const QelRectangularScale& scale) const {
    scale.draw(pixmap, nullptr, nullptr);
    XSync(x, False);
  }
};

Scene* scene(benchmark::State& state) {
  return sharedScene<Scene>(state);
}

void BM_LongVersusShortScale(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  using Clock = std::chrono::steady_clock;
  double a = 0, b = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    s->draw(*s->longScale);
    auto t1 = Clock::now();
    s->draw(*s->shortScale);
    auto t2 = Clock::now();
    a += std::chrono::duration<double, std::micro>(t1 - t0).count();
    b += std::chrono::duration<double, std::micro>(t2 - t1).count();
  }
  double n = double(state.iterations());
  state.counters["long_us"] = a / n;
  state.counters["short_us"] = b / n;
  state.counters["ratio"] = b > 0 ? a / b : 0;
  state.counters["long_skip"] = s->longScale->getNumberOfSkippedSteps();
  state.counters["short_skip"] = s->shortScale->getNumberOfSkippedSteps();
}
BENCHMARK(BM_LongVersusShortScale)->Unit(benchmark::kMicrosecond)->MinTime(2.0);

void BM_RelabelTimeAxis(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  float start = 1000;
  for (auto _ : state) {
    s->timeAxis->setLabels(20, start, start + 19, "%.0f");
    start += 1;
  }
}
BENCHMARK(BM_RelabelTimeAxis)->Unit(benchmark::kMicrosecond);

void BM_RelabelAndDraw(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  float start = 1000;
  for (auto _ : state) {
    s->timeAxis->setLabels(20, start, start + 19, "%.0f");
    s->draw(*s->timeAxis);
    start += 1;
  }
}
BENCHMARK(BM_RelabelAndDraw)->Unit(benchmark::kMicrosecond);

}  // namespace
