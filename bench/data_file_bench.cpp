// Saving and loading a data file of 100,000 rectangles through a string stream, on a private
// Xvfb: objects per second both ways (items_per_second), and the heap each loaded rectangle
// costs (the "heap_bytes_per_object" counter: heap growth from before the load to after it,
// while the objects are held, over the number of objects).
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/support/display_fixture.h"

#include "display/color.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"

namespace {

constexpr int kObjects = 100000;
constexpr int kPalettes = 8;

struct Scene {
  kestrel::test::PrivateDisplay session{"kestrel-bench"};
  QelDisplay* display = session.display();
  const std::string& error = session.error();
  std::vector<QelGraphic*> rectangles;
  std::string text;

  Scene() {
    QelGraphicModuleInit();
    QelRectangleModuleInit();
    if (!display) return;
    const char* inks[kPalettes] = {"black", "red", "green", "blue", "gold", "navy", "gray", "cyan"};
    std::vector<QelPalette*> palettes;
    for (const char* ink : inks)
      palettes.push_back(display->getPalette(display->getColor("white"), display->getColor(ink)));
    for (int i = 0; i < kObjects; ++i) {
      QelRect rect(i % 1000, i / 1000, 10 + i % 37, 5 + i % 23);
      rectangles.push_back(new QelRectangle(display, rect, palettes[i % kPalettes]));
    }
    std::ostringstream out;
    QelSaveGraphics(out, uint32_t(rectangles.size()), rectangles.data());
    text = out.str();
  }
  ~Scene() {
    for (QelGraphic* g : rectangles) delete g;
  }
  bool ready() const { return display != nullptr; }
};

Scene& scene() {
  static Scene instance;
  return instance;
}

void BM_SaveRectangles(benchmark::State& state) {
  Scene& s = scene();
  if (!s.ready()) return state.SkipWithError(s.error.c_str());
  size_t bytes = 0;
  for (auto _ : state) {
    std::stringstream out;
    QelSaveGraphics(out, uint32_t(s.rectangles.size()), s.rectangles.data());
    bytes = size_t(out.tellp());
    benchmark::DoNotOptimize(bytes);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kObjects);
  state.counters["file_bytes"] = double(bytes);
}

void BM_LoadRectangles(benchmark::State& state) {
  Scene& s = scene();
  if (!s.ready()) return state.SkipWithError(s.error.c_str());
  double growth = 0;
  for (auto _ : state) {
    std::stringstream in(s.text);
    const size_t before = mallinfo2().uordblks;
    std::vector<QelGraphic*> loaded = QelLoadGraphics(in, s.display);
    const size_t after = mallinfo2().uordblks;
    state.PauseTiming();
    if (loaded.size() != size_t(kObjects)) {
      state.SkipWithError("the file did not read back whole");
      break;
    }
    growth = double(after - before) / kObjects;
    for (QelGraphic* g : loaded) delete g;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kObjects);
  state.counters["heap_bytes_per_object"] = growth;
}

BENCHMARK(BM_SaveRectangles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRectangles)->Unit(benchmark::kMillisecond);

}  // namespace
