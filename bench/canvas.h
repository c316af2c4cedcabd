// An off-screen canvas for benchmarks that draw: a private X server with a display on it, a
// bitmap of the given size and a locked palette (navy on white), given back in the right order.
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#pragma once

#include "tests/support/display_fixture.h"

#include <benchmark/benchmark.h>

#include <memory>

#include "display/display.h"
#include "display/palette.h"
#include "display/port.h"

struct BenchCanvas {
  kestrel::test::PrivateDisplay session{"kestrel-bench"};
  QelDisplay* display = session.display();
  Display* x = session.xDisplay();
  QelBitmap* pixmap = nullptr;
  QelPalette* palette = nullptr;

  // `font` null: the display's default font.
  BenchCanvas(uint32_t width, uint32_t height, const char* font = nullptr) {
    if (!display) return;
    pixmap = new QelBitmap(display, width, height, display->depth());
    palette = display->getPalette(display->getColor("white"), display->getColor("navy"), nullptr,
                                  nullptr, font ? display->getFont(font) : nullptr);
    palette->lock();
  }
  ~BenchCanvas() {
    if (palette) palette->unLock();
    delete pixmap;
  }
  BenchCanvas(const BenchCanvas&) = delete;
  BenchCanvas& operator=(const BenchCanvas&) = delete;
  bool ready() const { return display && pixmap && pixmap->isValid(); }
};

// The program's one scene, made on first use; null, with the benchmark skipped, when there is
// no usable display.
template <typename Scene>
Scene* sharedScene(benchmark::State& state) {
  static std::unique_ptr<Scene> shared(new Scene);
  if (!shared->ready()) {
    state.SkipWithError(shared->session.error().empty() ? "no usable display"
                                                        : shared->session.error().c_str());
    return nullptr;
  }
  return shared.get();
}
