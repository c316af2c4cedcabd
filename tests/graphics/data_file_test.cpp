#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "base/symbol.h"
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

// Outlines, filled rectangles and selections of both, with two named palettes of dashed lines and
// the default one, properties of the base class and of a subclass, and numbers the C locale and
// others write differently.
TEST_F(DataFileTest, SceneReadsBackTheSameWithAndWithoutClassIndexingInAnyLocale) {
  QelPalette* named[2];
  for (int i : {0, 1}) {
    named[i] =
        display->getPalette(display->getColor("white"), display->getColor(i ? "blue" : "red"),
                            nullptr, nullptr, nullptr, display->getLineStyle("dash"), 3 * i);
    display->setPaletteName(named[i], i ? "dataFileBlue" : "dataFileRed");
  }
  QelPalette *red = named[0], *blue = named[1];
  Graphics original;
  original.emplace_back(new QelRectangle(display, QelRect(-5, 10, UINT32_MAX, 20000)));
  original.emplace_back(new QelFilledRectangle(display, QelRect(3, 4, 5, 6), red));
  original[1]->setNamedProperty(new NoteProperty("note", 0.1f, "a \"quoted\" \\ note"));
  original.emplace_back(new QelDrawSelection(display, original[1].get(), 7, blue));
  original.emplace_back(new QelFilledRectangle(display, QelRect(1234567, -7654321, 1, 2), blue));
  original.emplace_back(new QelDrawSelection(display, original[0].get(), 0));
  original[4]->setNamedProperty(new NoteProperty("third", 1.0f / 3, "x"));
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

// A file needs a creator and a version no later than this library's; a file that fails to read
// gives its one message and nothing read.
TEST_F(DataFileTest, HeadersAndEachFailureStopReadingWithTheirMessageAndKeepNothing) {
  const std::string one = "Palettes 0\nGraphicObjects 1\n{ 0 -1 QelRectangle 1 2 3 4 }\n",
                    h = kHeader, notData = "readHeader: Not an Tessellar data file",
                    noObject = "readObjectBlock: No Object.";
  const std::pair<std::string, std::string> cases[] = {
      {"// Qel Version: 2.3\n" + one, notData},
      {"// Creator class: T\n" + one, notData},
      {"// Qel Version: 2.31\n// Creator class: T\n" + one,
       "readHeader: Tessellar versions do not match"},
      {"// Qel Version: 2.2\n// Creator class: T\n" + one, ""},
      {"// Qel Version: 1\n//x Old writer\n" + one, ""},  // a fourth-column space names the creator
      {h + "GraphicObjects 2\n{ 0 -1 QelRectangle 1 2 3 4 }\n{ 1 -1 NoSuchShape 1 }\n",
       "readNext: Unregistered class: NoSuchShape"},
      // A second class table, shorter than the first: an index past its end is no class.
      {h + "GraphicClasses 2\nQelRectangle\nQelFilledRectangle\nGraphicClasses 1\nQelRectangle\n"
           "GraphicObjects 2\n{ 0 -1 0 1 2 3 4 }\n{ 1 -1 1 1 2 3 4 }\n",
       noObject},
      {h + "GraphicClasses 2\nQelRectangle\nNoSuchShape\n",
       "readGraphicClass: Unregistered class: NoSuchShape"},
      {h + "GraphicObjects 1\n{ 0 P1\nNoSuchNote n 1 \"\"\n-1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: Unregistered class: NoSuchNote"},
      // Numbers a rectangle cannot take: a negative width must not wrap to four billion pixels.
      {h + "GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 -3 4 }\n", noObject},
      {h + "GraphicObjects 1\n{ 0 -1 QelDrawSelection -2 0 }\n", noObject},
      {h + "GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 3 4\n", "readObjectBlock: unexpected EOF"},
      {h + "GraphicObjects 2\n{ 0 P1\nTestNoteProperty n 1 \"\"\n-1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: EOF unexpected"},
      {h + "GraphicObjects 4000000000\n{ 0 -1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: EOF unexpected"},
      {h + "Palettes -1\n", "parseBlock: Bad count for Palettes"},
  };
  for (auto [text, message] : cases) {
    SCOPED_TRACE(text);
    CapturedMessages messages;
    EXPECT_EQ(load(text).size(), message.empty() ? 1u : 0u);
    EXPECT_EQ(messages.fatals(), message.empty()
                                     ? std::vector<std::string>{}
                                     : std::vector<std::string>{"QelInputFile::" + message});
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
  auto objectOf = [&](int i) {
    return static_cast<QelDrawSelection*>(loaded[i].get())->getObject();
  };
  EXPECT_TRUE(paletteOf(loaded[0]) == display->defaultPalette() && !objectOf(1) && !objectOf(2) &&
              objectOf(3) == loaded[1].get());
}

}  // namespace
}  // namespace kestrel::test
