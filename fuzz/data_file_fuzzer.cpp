// Data files come from disk and from other programs: any bytes must end in objects or a message,
// never in a crash, a hang or a leak. What was read must also write out and read back again as
// the same number of objects.
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "tests/support/display_fixture.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "base/messages.h"
#include "base/symbol.h"
#include "charts/chart.h"
#include "charts/scale.h"
#include "display/display.h"
#include "gadgets/motif_look.h"
#include "graphics/class_info.h"
#include "graphics/graphic.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "graphics/selection.h"

namespace {

// A named property with a quoted text, so that inputs reach the property code.
class TextProperty : public QelNamedProperty {
 public:
  TextProperty(const QelSymbol* name, std::string text)
      : QelNamedProperty(name), _text(std::move(text)) {}
  QelClassInfo* getClassInfo() const override { return ClassInfo(); }
  void write(QelOutputFile& file) const override { file.writeString(_text.c_str()); }
  static QelClassInfo* ClassInfo() {
    static QelNamedPropertyClassInfo info("FuzzTextProperty", QelNamedProperty::ClassInfo(), read);
    return &info;
  }

 private:
  static QelNamedProperty* read(QelInputFile& file, const QelSymbol* name) {
    std::string text;
    return file.readString(text) ? new TextProperty(name, text) : nullptr;
  }
  std::string _text;
};

// Messages are the reader's expected answer to most inputs: format them, show none.
class SilentError : public QelError {
 public:
  void fatal(const char*) const override {}
  void warning(const char*) const override {}
};

// The classes a file may name, and one private server, connection and display for the whole
// run, torn down at exit.
bool prepare() {
  QelSetErrorHandler(new SilentError);
  QelGraphicModuleInit();
  QelRectangleModuleInit();
  QelSelectionModuleInit();
  QelChartModuleInit();
  QelScaleModuleInit();
  QelMotifScrollBarModuleInit();
  QelMotifMessageLabelModuleInit();
  TextProperty::ClassInfo();
  return true;
}

QelDisplay* theDisplay() {
  static const bool prepared = prepare();
  static kestrel::test::PrivateDisplay session("kestrel-fuzz");
  if (!prepared || !session.display()) std::abort();
  return session.display();
}

std::vector<QelGraphic*> load(const std::string& text) {
  std::istringstream in(text);
  return QelLoadGraphics(in, theDisplay());
}

// Later objects may refer to earlier ones: they go first.
void destroy(std::vector<QelGraphic*>& graphics) {
  for (auto it = graphics.rbegin(); it != graphics.rend(); ++it) delete *it;
  graphics.clear();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  theDisplay();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<QelGraphic*> graphics = load(std::string(reinterpret_cast<const char*>(data), size));
  if (graphics.empty()) return 0;
  for (QelGraphic* g : graphics) {
    QelRect box;
    g->boundingBox(box);
  }
  std::ostringstream out;
  if (!QelSaveGraphics(out, uint32_t(graphics.size()), graphics.data())) std::abort();
  std::vector<QelGraphic*> again = load(out.str());
  if (again.size() != graphics.size()) std::abort();
  destroy(again);
  destroy(graphics);
  return 0;
}
