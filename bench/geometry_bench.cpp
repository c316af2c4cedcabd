// The geometry under redraw: regions collecting damage, thin-line clipping and point mapping.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "graphics/line_geometry.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

// Damage regions grow one slot at a time; this shows what n disjoint damaged rectangles cost.
void BM_RegionAddDisjoint(benchmark::State& state) {
  const int n = int(state.range(0));
  for (auto _ : state) {
    QelRegion region;
    for (int i = 0; i < n; ++i) region.add(QelRect(i * 20, (i % 7) * 20, 10, 10));
    benchmark::DoNotOptimize(region.getCount());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_RegionAddDisjoint)->Arg(8)->Arg(64)->Arg(512);

void BM_ClipLine(benchmark::State& state) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int32_t> any(-2000000000, 2000000000);
  std::vector<QelPoint> ends(2048);
  for (QelPoint& p : ends) p = QelPoint(any(random), any(random));
  size_t i = 0;
  for (auto _ : state) {
    QelPoint a = ends[i % ends.size()], b = ends[(i + 1) % ends.size()];
    benchmark::DoNotOptimize(QelClipLine(a, b, -1, -1, 1281, 1025));
    ++i;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ClipLine);

void BM_TransformerApply(benchmark::State& state) {
  std::vector<QelPoint> points(1000);
  QelTransformer t(1.5, 0.75);
  t.translate(10, 20);
  for (auto _ : state) {
    for (size_t i = 0; i < points.size(); ++i) points[i] = QelPoint(int32_t(i), int32_t(i * 3));
    t.apply(uint32_t(points.size()), points.data());
    benchmark::DoNotOptimize(points.data());
  }
  state.SetItemsProcessed(state.iterations() * int64_t(points.size()));
}
BENCHMARK(BM_TransformerApply);

}  // namespace
