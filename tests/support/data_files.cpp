#include "tests/support/data_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "graphics/graphic.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"

namespace kestrel::test {

std::vector<std::unique_ptr<QelGraphic>> roundTrip(QelDisplay* display,
                                                   std::initializer_list<QelGraphic*> graphics,
                                                   std::string* text) {
  std::vector<QelGraphic*> list(graphics);
  std::stringstream file;
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  if (!QelSaveGraphics(file, uint32_t(list.size()), list.data())) return loaded;
  if (text) *text = file.str();
  for (QelGraphic* g : QelLoadGraphics(file, display)) loaded.emplace_back(g);
  return loaded;
}

::testing::AssertionResult readBackSavesTheSame(QelDisplay* display,
                                                std::initializer_list<QelGraphic*> graphics,
                                                std::vector<std::unique_ptr<QelGraphic>>& loaded,
                                                std::string& text) {
  loaded = roundTrip(display, graphics, &text);
  if (loaded.size() != graphics.size())
    return ::testing::AssertionFailure()
           << loaded.size() << " of " << graphics.size() << " graphics read back from:\n"
           << text;
  std::vector<QelGraphic*> list;
  for (const auto& graphic : loaded) list.push_back(graphic.get());
  std::stringstream again;
  QelSaveGraphics(again, uint32_t(list.size()), list.data());
  // The header's comments say when the file was written.
  auto body = [](const std::string& file) {
    size_t at = 0;
    while (at < file.size() && file.compare(at, 2, "//") == 0)
      at = std::min(file.find('\n', at), file.size() - 1) + 1;
    return file.substr(at);
  };
  if (body(again.str()) == body(text)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "saved:\n" << text << "\nsaved again:\n" << again.str();
}

std::vector<std::unique_ptr<QelGraphic>> loadEdited(QelDisplay* display, std::string text,
                                                    const std::string& from, const std::string& to,
                                                    bool last) {
  const size_t at = last ? text.rfind(from) : text.find(from);
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  if (at == std::string::npos) {
    ADD_FAILURE() << "\"" << from << "\" is not in:\n" << text;
    return loaded;
  }
  std::stringstream file(text.replace(at, from.size(), to));
  for (QelGraphic* g : QelLoadGraphics(file, display)) loaded.emplace_back(g);
  return loaded;
}

}  // namespace kestrel::test
