// Replays a fuzz target's corpus directory through the target, so that every seed and every
// crash once found stays a regression test in ordinary builds.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CORPUS_DIRECTORY\n", argv[0]);
    return 2;
  }
  size_t inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    std::vector<uint8_t> data((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(data.data(), data.size());
    ++inputs;
  }
  std::printf("%zu inputs replayed from %s\n", inputs, argv[1]);
  return inputs ? 0 : 1;
}
