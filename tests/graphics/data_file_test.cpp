#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "base/symbol.h"
#include "display/color.h"
#include "display/palette.h"
#include "display/palette_io.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "graphics/selection.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

// A named property with a decimal and a quoted text, so that numbers and escapes cross the file.
class NoteProperty : public QelNamedProperty {
 public:
  NoteProperty(const char* name, float weight, std::string text)
      : QelNamedProperty(QelSymbol::Get(name)), weight(weight), text(std::move(text)) {}
  QelClassInfo* getClassInfo() const override { return ClassInfo(); }
  void write(QelOutputFile& file) const override {
    file.getStream() << weight << ' ';
    file.writeString(text.c_str());
  }
  static QelNamedProperty* read(QelInputFile& file, const QelSymbol* name) {
    float weight = 0;
    std::string text;
    if (!(file.getStream() >> weight) || !file.readString(text)) return nullptr;
    return new NoteProperty(name->name(), weight, text);
  }
  static QelClassInfo* ClassInfo() {
    static QelNamedPropertyClassInfo info("TestNoteProperty", QelNamedProperty::ClassInfo(), read);
    return &info;
  }
  const float weight;
  const std::string text;
};

// Numbers as a German locale writes them: "0,5" and "1.234.567".
struct CommaDecimals : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

using Graphics = std::vector<std::unique_ptr<QelGraphic>>;

// The header's comments say when the file was written.
std::string body(const std::string& text) {
  return text.substr(text.find("\n// Creator class"));
}

const char kHeader[] = "// Qel Version: 2.3\n// Creator class: Test\n";

class DataFileTest : public DisplayTest {
 protected:
  void SetUp() override {
    QelGraphicModuleInit();
    QelRectangleModuleInit();
    QelSelectionModuleInit();
    NoteProperty::ClassInfo();
  }
  static std::string save(const Graphics& graphics, bool classIndexing = false) {
    std::vector<QelGraphic*> list;
    for (const auto& g : graphics) list.push_back(g.get());
    std::ostringstream out;
    EXPECT_TRUE(QelSaveGraphics(out, uint32_t(list.size()), list.data(), classIndexing));
    return out.str();
  }
  static Graphics load(const std::string& text) {
    std::istringstream in(text);
    Graphics owned;
    for (QelGraphic* g : QelLoadGraphics(in, display)) owned.emplace_back(g);
    return owned;
  }
  static QelPalette* paletteOf(const std::unique_ptr<QelGraphic>& g) {
    return static_cast<QelSimpleGraphic*>(g.get())->getPalette();
  }
  // Dashed lines on white; the objects using it hold it.
  QelPalette* palette(const char* name, const char* foreground, uint16_t width) {
    QelPalette* p =
        display->getPalette(display->getColor("white"), display->getColor(foreground), nullptr,
                            nullptr, nullptr, display->getLineStyle("dash"), width);
    if (name) display->setPaletteName(p, name);
    return p;
  }

  // Outlines, filled rectangles and selections of both, with two named palettes and the default
  // one, properties of the base class and of a subclass, and numbers the C locale and others write
  // differently.
  Graphics scene() {
    red = palette("dataFileRed", "red", 3);
    blue = palette("dataFileBlue", "blue", 0);
    Graphics g;
    g.emplace_back(new QelRectangle(display, QelRect(-5, 10, UINT32_MAX, 20000)));
    g[0]->setNamedProperty(new QelNamedProperty(QelSymbol::Get("plain")));  // its name only
    g.emplace_back(new QelFilledRectangle(display, QelRect(3, 4, 5, 6), red));
    g[1]->setNamedProperty(new NoteProperty("note", 0.1f, "a \"quoted\" \\ note"));
    g.emplace_back(new QelDrawSelection(display, g[1].get(), 7, blue));
    g.emplace_back(new QelFilledRectangle(display, QelRect(1234567, -7654321, 1, 2), blue));
    g.emplace_back(new QelDrawSelection(display, g[0].get(), 0));
    g[4]->setNamedProperty(new NoteProperty("third", 1.0f / 3, "x"));
    return g;
  }

  QelPalette* red = nullptr;
  QelPalette* blue = nullptr;
};

TEST_F(DataFileTest, FormatIsHeaderClassesPalettesThenObjectBlocks) {
  Graphics list;
  list.emplace_back(new QelRectangle(display, QelRect(1, 2, 3, 4)));
  list.emplace_back(new QelDrawSelection(display, list[0].get(), 2));
  list[1]->setNamedProperty(new NoteProperty("n", 0.5f, "t"));
  std::ostringstream palette;
  QelWritePalette(palette, *display->defaultPalette());
  // With class indexing the classes come first and objects name them by their place there.
  using Row = std::tuple<bool, std::string, std::string, std::string>;
  for (auto [indexing, classes, rectangle, selection] :
       {Row{false, "", "QelRectangle", "QelDrawSelection"},
        Row{true, "GraphicClasses 2\nQelRectangle\nQelDrawSelection\n", "0", "1"}}) {
    const std::string text = save(list, indexing);
    EXPECT_EQ(text.rfind("// Qel Version: 2.3\n// File generated: ", 0), 0u) << text;
    EXPECT_EQ(body(text), "\n// Creator class: QelOutputFile\n" + classes +
                              "Palettes 1\n\"default\" 0 " + palette.str() +
                              "GraphicObjects 2\n{ 0 0 " + rectangle +
                              " 1 2 3 4 }\n"
                              "{ 1 P1\nTestNoteProperty n 0.5 \"t\"\n0 " +
                              selection + " 2 0 }\n");
  }
}

TEST_F(DataFileTest, SceneReadsBackTheSameWithAndWithoutClassIndexingInAnyLocale) {
  const Graphics original = scene();
  const std::locale german(std::locale::classic(), new CommaDecimals);
  for (bool indexing : {false, true}) {
    SCOPED_TRACE(indexing);
    CapturedMessages messages;
    const std::string text = save(original, indexing);
    EXPECT_EQ(text.find("GraphicClasses 3\n") != std::string::npos, indexing) << text;
    const uint32_t redLocks = red->getLockCount();
    const std::locale previous = std::locale::global(indexing ? german : std::locale::classic());
    Graphics loaded = load(text);
    const std::string again = save(loaded, indexing);
    std::locale::global(previous);
    ASSERT_EQ(loaded.size(), original.size()) << text;
    EXPECT_EQ(body(again), body(text));
    // Shared palettes: the same attributes and name give the same palette, locked by the
    // object read (not by the file). Floats survive the text exactly.
    EXPECT_EQ(paletteOf(loaded[1]), red);
    EXPECT_EQ(red->getLockCount(), redLocks + 1);
    EXPECT_EQ(static_cast<NoteProperty*>(loaded[4]->getNamedProperties().front())->weight,
              1.0f / 3);
    loaded.clear();
    EXPECT_EQ(red->getLockCount(), redLocks);
    EXPECT_TRUE(messages.fatals().empty() && messages.warnings().empty());
  }
}

TEST_F(DataFileTest, HeaderNeedsACreatorAndAVersionNoLaterThanThisLibrary) {
  const std::string notData = "QelInputFile::readHeader: Not an Tessellar data file";
  const std::string tooNew = "QelInputFile::readHeader: Tessellar versions do not match";
  for (auto [header, message] :
       {std::pair<const char*, std::string>{"// Qel Version: 2.3\n", notData},
        {"// Creator class: T\n", notData},
        {"", notData},
        {"// Qel Version: 2.31\n// Creator class: T\n", tooNew},
        {"// Qel Version: 2.3\n// Creator class: T\n", ""},
        {"// Qel Version: 2.2\n// Creator class: T\n", ""},
        // a fourth-column space names the creator too
        {"// Qel Version: 1\n//x Old writer\n", ""}}) {
    SCOPED_TRACE(header);
    CapturedMessages messages;
    Graphics loaded =
        load(std::string(header) + "Palettes 0\nGraphicObjects 1\n{ 0 -1 QelRectangle 1 2 3 4 }\n");
    EXPECT_EQ(loaded.size(), message.empty() ? 1u : 0u);
    EXPECT_EQ(messages.fatals(),
              message.empty() ? std::vector<std::string>{} : std::vector<std::string>{message});
  }
}

TEST_F(DataFileTest, EachFailureStopsReadingWithItsMessageAndKeepsNothing) {
  const std::pair<const char*, const char*> cases[] = {
      {"GraphicObjects 2\n{ 0 -1 QelRectangle 1 2 3 4 }\n{ 1 -1 NoSuchShape 1 }\n",
       "readNext: Unregistered class: NoSuchShape"},
      // A second class table, shorter than the first: an index past its end is no class.
      {"GraphicClasses 2\nQelRectangle\nQelFilledRectangle\nGraphicClasses 1\nQelRectangle\n"
       "GraphicObjects 2\n{ 0 -1 0 1 2 3 4 }\n{ 1 -1 1 1 2 3 4 }\n",
       "readObjectBlock: No Object."},
      {"GraphicClasses 2\nQelRectangle\nNoSuchShape\n",
       "readGraphicClass: Unregistered class: NoSuchShape"},
      {"GraphicObjects 1\n{ 0 P1\nNoSuchNote n 1 \"\"\n-1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: Unregistered class: NoSuchNote"},
      // Numbers a rectangle cannot take: a negative width must not wrap to four billion pixels.
      {"GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 -3 4 }\n", "readObjectBlock: No Object."},
      {"GraphicObjects 1\n{ 0 -1 QelRectangle 2147483648 2 3 4 }\n", "readObjectBlock: No Object."},
      {"GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 x 4 }\n", "readObjectBlock: No Object."},
      {"GraphicObjects 1\n{ 0 -1 QelDrawSelection -2 0 }\n", "readObjectBlock: No Object."},
      {"GraphicObjects 1\n{ 0 -1 QelDrawSelection 4294967296 0 }\n", "readObjectBlock: No Object."},
      {"GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 3 4\n", "readObjectBlock: unexpected EOF"},
      {"GraphicObjects 2\n{ 0 P1\nTestNoteProperty n 1 \"\"\n-1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: EOF unexpected"},
      {"GraphicObjects 4000000000\n{ 0 -1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: EOF unexpected"},
      {"Palettes -1\n", "parseBlock: Bad count for Palettes"},
      {"Palettes 4000000000\n0 - - - \"solid\" 0 0 0 0 0 0 4294967295 -\n",
       "readPalette: Malformed palette"},
  };
  for (auto [body, message] : cases) {
    SCOPED_TRACE(body);
    CapturedMessages messages;
    EXPECT_TRUE(load(std::string(kHeader) + body).empty());
    EXPECT_EQ(messages.fatals(), std::vector<std::string>{std::string("QelInputFile::") + message});
    EXPECT_TRUE(messages.warnings().empty());
  }
}

// Blocks of other writers are skipped with a warning; an unknown palette index is the default
// palette, and only objects read earlier, with an index of their own, can be referred to.
TEST_F(DataFileTest, UnknownBlocksOnlyWarnAndMissingReferencesAreNull) {
  CapturedMessages messages;
  Graphics loaded = load(std::string(kHeader) +
                         "Size Views Layers Background GeometryHandlers Palettes 0\n"
                         "QelObjects 4\n{ -1 9 QelRectangle 1 2 3 4 }\n"
                         "{ 1 -1 QelDrawSelection 2 0 }\n{ 2 -1 QelDrawSelection 2 3 }\n"
                         "{ 3 -1 QelDrawSelection 2 1 }\nMystery 3\n");
  ASSERT_EQ(loaded.size(), 4u);
  EXPECT_EQ(
      messages.warnings(),
      std::vector<std::string>{"QelInputFile::parseBlock: Unknown block descriptor: 'Mystery'"});
  EXPECT_EQ(paletteOf(loaded[0]), display->defaultPalette());
  std::vector<QelGraphic*> objects;
  for (int i : {1, 2, 3})
    objects.push_back(static_cast<QelDrawSelection*>(loaded[i].get())->getObject());
  EXPECT_EQ(objects, (std::vector<QelGraphic*>{nullptr, nullptr, loaded[1].get()}));
  // A selection of nothing draws nothing.
  QelPort* port = windowPort(20, 20);
  loaded[1]->draw(port, nullptr, nullptr);
  EXPECT_EQ(read(port).count(0xffffff), 400u);
}

}  // namespace
}  // namespace kestrel::test
