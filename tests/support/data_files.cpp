#include "tests/support/data_files.h"

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

}  // namespace kestrel::test
