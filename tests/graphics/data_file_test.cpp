#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <locale>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
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

#if defined(__SANITIZE_ADDRESS__)
#define KESTREL_LEAK_CHECKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTREL_LEAK_CHECKS 1
#endif
#endif
#ifdef KESTREL_LEAK_CHECKS
#include <sanitizer/lsan_interface.h>
#endif

namespace kestrel::test {
namespace {

// A named property with a decimal and a quoted text, so that numbers and escapes cross the file.
class NoteProperty : public QelNamedProperty {
 public:
  NoteProperty(const char* name, float weight, std::string text, bool persistent = true)
      : QelNamedProperty(QelSymbol::Get(name)),
        weight(weight),
        text(std::move(text)),
        persistent(persistent) {}
  bool isPersistent() const override { return persistent; }
  QelClassInfo* getClassInfo() const override { return ClassInfo(); }
  void write(QelOutputFile& file) const override {
    file.getStream() << weight << ' ';
    file.writeString(text.c_str());
  }
  static QelClassInfo* ClassInfo() {
    static QelNamedPropertyClassInfo info("TestNoteProperty", QelNamedProperty::ClassInfo(), read);
    return &info;
  }

  const float weight;
  const std::string text;
  const bool persistent;

 private:
  static QelNamedProperty* read(QelInputFile& file, const QelSymbol* name) {
    float weight = 0;
    std::string text;
    if (!(file.getStream() >> weight) || !file.readString(text)) return nullptr;
    return new NoteProperty(name->name(), weight, text);
  }
};

using Graphics = std::vector<std::unique_ptr<QelGraphic>>;

std::vector<QelGraphic*> pointers(const Graphics& graphics) {
  std::vector<QelGraphic*> list;
  for (const auto& g : graphics) list.push_back(g.get());
  return list;
}

std::string save(const std::vector<QelGraphic*>& graphics, bool classIndexing = false) {
  std::ostringstream out;
  EXPECT_TRUE(QelSaveGraphics(out, uint32_t(graphics.size()), graphics.data(), classIndexing));
  return out.str();
}

// The date line changes from one second to the next.
std::string withoutDate(const std::string& text) {
  size_t start = text.find("// File generated: ");
  return start == std::string::npos ? text
                                    : text.substr(0, start) + text.substr(text.find('\n', start));
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
  void TearDown() override {
    for (QelPalette* palette : _held) palette->unLock();
    DisplayTest::TearDown();
  }

  Graphics load(const std::string& text) {
    std::istringstream in(text);
    Graphics owned;
    for (QelGraphic* g : QelLoadGraphics(in, display)) owned.emplace_back(g);
    return owned;
  }

  QelPalette* palette(const char* name, const char* foreground, uint16_t width) {
    QelPalette* p =
        display->getPalette(display->getColor("white"), display->getColor(foreground), nullptr,
                            nullptr, nullptr, display->getLineStyle("dash"), width);
    p->lock();
    _held.push_back(p);
    if (name) display->setPaletteName(p, name);
    return p;
  }

  // Outlines, filled rectangles and selections of both, with two named palettes and the default
  // one, properties persistent and not, and numbers the C locale and others write differently.
  Graphics scene() {
    red = palette("dataFileRed", "red", 3);
    blue = palette("dataFileBlue", "blue", 0);
    Graphics g;
    g.emplace_back(new QelRectangle(display, QelRect(-5, 10, 1500, 20000)));
    g.emplace_back(new QelFilledRectangle(display, QelRect(3, 4, 5, 6), red));
    g[1]->setNamedProperty(new NoteProperty("note", 0.1f, "a \"quoted\" \\ note"));
    g.emplace_back(new QelDrawSelection(display, g[1].get(), 7, blue));
    g.emplace_back(new QelFilledRectangle(display, QelRect(1234567, -7654321, 1, 2), blue));
    g[3]->setNamedProperty(new NoteProperty("scratch", 2.5f, "", false));
    g.emplace_back(new QelDrawSelection(display, g[0].get(), 0));
    g[4]->setNamedProperty(new NoteProperty("third", 1.0f / 3, "x"));
    return g;
  }

  static void expectSame(const std::vector<QelGraphic*>& original, const Graphics& loaded) {
    ASSERT_EQ(loaded.size(), original.size());
    auto position = [](const auto& list, const QelGraphic* g) {
      for (size_t i = 0; i < list.size(); ++i)
        if (&*list[i] == g) return int(i);
      return -1;
    };
    for (size_t i = 0; i < original.size(); ++i) {
      SCOPED_TRACE(i);
      const QelGraphic* a = original[i];
      const QelGraphic* b = loaded[i].get();
      ASSERT_EQ(b->getClassInfo(), a->getClassInfo());
      // Shared palettes: the same attributes and name give the same palette.
      EXPECT_EQ(static_cast<const QelSimpleGraphic*>(b)->getPalette(),
                static_cast<const QelSimpleGraphic*>(a)->getPalette());
      if (auto* ra = dynamic_cast<const QelRectangle*>(a)) {
        EXPECT_EQ(static_cast<const QelRectangle*>(b)->getRect(), ra->getRect());
      }
      if (auto* sa = dynamic_cast<const QelDrawSelection*>(a)) {
        auto* sb = static_cast<const QelDrawSelection*>(b);
        EXPECT_EQ(sb->getSize(), sa->getSize());
        EXPECT_EQ(position(loaded, sb->getObject()), position(original, sa->getObject()));
      }
      auto* na = static_cast<NoteProperty*>(
          a->getNamedProperties().empty() ? nullptr : a->getNamedProperties().front());
      auto properties = b->getNamedProperties();
      if (!na || !na->persistent) {
        EXPECT_TRUE(properties.empty());
        continue;
      }
      ASSERT_EQ(properties.size(), 1u);
      auto* nb = static_cast<NoteProperty*>(properties.front());
      EXPECT_EQ(nb->getName(), na->getName());
      EXPECT_EQ(nb->weight, na->weight);  // exactly: floats must survive the text
      EXPECT_EQ(nb->text, na->text);
    }
  }

  QelPalette* red = nullptr;
  QelPalette* blue = nullptr;

 private:
  std::vector<QelPalette*> _held;
};

TEST_F(DataFileTest, FormatIsHeaderClassesPalettesThenObjectBlocks) {
  QelRectangle rect(display, QelRect(1, 2, 3, 4));
  QelDrawSelection selection(display, &rect, 2);
  selection.setNamedProperty(new NoteProperty("n", 0.5f, "t"));
  std::vector<QelGraphic*> list = {&rect, &selection};
  std::ostringstream palette;
  QelWritePalette(palette, *display->defaultPalette());

  std::string text = save(list);
  EXPECT_EQ(text.rfind("// Qel Version: 2.3\n// File generated: ", 0), 0u) << text;
  const std::string blocks = "\n// Creator class: QelOutputFile\nPalettes 1\n\"default\" 0 " +
                             palette.str() + "GraphicObjects 2\n";
  const std::string objects = "{ 1 P1\nTestNoteProperty n 0.5 \"t\"\n0 QelDrawSelection 2 0 }\n";
  EXPECT_NE(text.find(blocks + "{ 0 0 QelRectangle 1 2 3 4 }\n" + objects), std::string::npos)
      << text;

  text = save(list, true);
  EXPECT_NE(text.find("GraphicClasses 2\nQelRectangle\nQelDrawSelection\nPalettes 1\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("{ 0 0 0 1 2 3 4 }\n{ 1 P1\nTestNoteProperty n 0.5 \"t\"\n0 1 2 0 }\n"),
            std::string::npos)
      << text;
}

TEST_F(DataFileTest, SceneReadsBackEqualWithAndWithoutClassIndexing) {
  Graphics original = scene();
  for (bool indexing : {false, true}) {
    SCOPED_TRACE(indexing);
    CapturedMessages messages;
    std::string text = save(pointers(original), indexing);
    EXPECT_EQ(text.find("GraphicClasses 3\n") != std::string::npos, indexing) << text;
    EXPECT_EQ(text.find("scratch"), std::string::npos) << "a transient property was written";
    const uint32_t redLocks = red->getLockCount();
    {
      Graphics loaded = load(text);
      expectSame(pointers(original), loaded);
      EXPECT_EQ(red->getLockCount(), redLocks + 1);  // the loaded object's lock, not the file's
    }
    EXPECT_EQ(red->getLockCount(), redLocks);
    EXPECT_TRUE(messages.fatals().empty() && messages.warnings().empty());
  }
}

TEST_F(DataFileTest, NamedPalettesResolveAgainstTheDisplay) {
  Graphics original = scene();
  const std::string text = save(pointers(original));

  // A name the display no longer knows is given to the palette read.
  display->setPaletteName(red, nullptr);
  expectSame(pointers(original), load(text));
  EXPECT_EQ(display->getPalette("dataFileRed"), red);

  // A name the display knows wins over the attributes in the file.
  QelPalette* green = palette(nullptr, "green", 9);
  display->setPaletteName(blue, nullptr);
  display->setPaletteName(green, "dataFileBlue");
  Graphics loaded = load(text);
  ASSERT_EQ(loaded.size(), original.size());
  EXPECT_EQ(static_cast<QelSimpleGraphic*>(loaded[3].get())->getPalette(), green);
  EXPECT_EQ(blue->getName(), nullptr);

  // A palette that already has a name keeps it: "default" must stay findable.
  std::string alias = text;
  alias.replace(alias.find("\"default\""), 9, "\"dataFileAlias\"");
  loaded = load(alias);
  ASSERT_EQ(loaded.size(), original.size());
  EXPECT_EQ(static_cast<QelSimpleGraphic*>(loaded[0].get())->getPalette(),
            display->defaultPalette());
  EXPECT_EQ(display->getPalette("default"), display->defaultPalette());

  // A palette only the file knows lives as long as the objects that use it, no longer.
  QelPalette* gold = display->getPalette(display->getColor("navy"), display->getColor("gold"),
                                         nullptr, nullptr, nullptr, nullptr, 11);
  auto* goldRect = new QelRectangle(display, QelRect(0, 0, 8, 8), gold);
  display->setPaletteName(gold, "dataFileGold");
  const std::string goldText = save({goldRect});
  delete goldRect;
  ASSERT_EQ(display->getPalette("dataFileGold"), nullptr);
  loaded = load(goldText);
  ASSERT_EQ(loaded.size(), 1u);
  gold = display->getPalette("dataFileGold");
  ASSERT_NE(gold, nullptr);
  EXPECT_EQ(gold->getLockCount(), 1u);
  loaded.clear();
  EXPECT_EQ(display->getPalette("dataFileGold"), nullptr);
}

TEST_F(DataFileTest, HeaderNeedsACreatorAndAVersionNoLaterThanThisLibrary) {
  const char* notData = "QelInputFile::readHeader: Not an Tessellar data file";
  const char* tooNew = "QelInputFile::readHeader: Tessellar versions do not match";
  const struct {
    const char* header;
    const char* message;
  } cases[] = {
      {"// Qel Version: 2.3\n", notData},
      {"// Qel Version: 0\n// Creator class: T\n", notData},
      {"// Qel Version: 999.99\n// Creator class: T\n", notData},
      {"// Creator class: T\n", notData},
      {"", notData},
      {"// Qel Version: 2.31\n// Creator class: T\n", tooNew},
      {"// Qel Version: 3\n// Creator class: T\n", tooNew},
      {"// Qel Version: 2.3\n// Creator class: T\n", nullptr},
      {"// Qel Version: 2.2\n// Creator class: T\n", nullptr},
      {"// Qel Version: 1\n//x Old writer\n", nullptr},  // a fourth-column space names it too
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.header);
    CapturedMessages messages;
    Graphics loaded = load(std::string(c.header) +
                           "Palettes 0\nGraphicObjects 1\n{ 0 -1 QelRectangle 1 2 3 4 }\n");
    EXPECT_EQ(loaded.size(), c.message ? 0u : 1u);
    EXPECT_EQ(messages.fatals(),
              c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{});
  }
}

TEST_F(DataFileTest, EachFailureStopsReadingWithItsMessageAndKeepsNothing) {
  const struct {
    const char* body;
    const char* message;
  } cases[] = {
      {"GraphicObjects 2\n{ 0 -1 QelRectangle 1 2 3 4 }\n{ 1 -1 NoSuchShape 1 }\n",
       "readNext: Unregistered class: NoSuchShape"},
      {"GraphicClasses 1\nQelRectangle\nGraphicObjects 2\n{ 0 -1 0 1 2 3 4 }\n"
       "{ 1 -1 1 1 2 3 4 }\n",
       "readObjectBlock: No Object."},
      {"GraphicClasses 2\nQelRectangle\nNoSuchShape\n",
       "readGraphicClass: Unregistered class: NoSuchShape"},
      {"GraphicObjects 1\n{ 0 P1\nNoSuchNote n 1 \"\"\n-1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: Unregistered class: NoSuchNote"},
      {"GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 x 4 }\n", "readObjectBlock: No Object."},
      {"GraphicObjects 1\n{ 0 -1 QelRectangle 1 2 3 4\n", "readObjectBlock: unexpected EOF"},
      {"GraphicObjects 2\n{ 0 P1\nTestNoteProperty n 1 \"\"\n-1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: EOF unexpected"},
      {"GraphicObjects 4000000000\n{ 0 -1 QelRectangle 1 2 3 4 }\n",
       "readObjectBlock: EOF unexpected"},
      {"Palettes -1\n", "parseBlock: Bad count for Palettes"},
      {"Palettes 4000000000\n0 - - - \"solid\" 0 0 0 0 0 0 4294967295 -\n",
       "readPalette: Malformed palette"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.body);
    CapturedMessages messages;
    EXPECT_TRUE(load(std::string(kHeader) + c.body).empty());
    EXPECT_EQ(messages.fatals(),
              std::vector<std::string>{std::string("QelInputFile::") + c.message});
    EXPECT_TRUE(messages.warnings().empty());
  }
}

TEST_F(DataFileTest, UnknownBlocksOnlyWarnAndMissingReferencesAreNull) {
  CapturedMessages messages;
  Graphics loaded = load(std::string(kHeader) +
                         "Size Views Layers Background GeometryHandlers Palettes 0\n"
                         "QelObjects 4\n{ -1 9 QelRectangle 1 2 3 4 }\n"
                         "{ 1 -1 QelDrawSelection 2 0 }\n{ 2 -1 QelDrawSelection 2 3 }\n"
                         "{ 3 -1 QelDrawSelection 2 1 }\nMystery 3\n");
  ASSERT_EQ(loaded.size(), 4u);
  EXPECT_TRUE(messages.fatals().empty());
  EXPECT_EQ(
      messages.warnings(),
      std::vector<std::string>{"QelInputFile::parseBlock: Unknown block descriptor: 'Mystery'"});
  // An unknown palette index means the default palette.
  EXPECT_EQ(static_cast<QelSimpleGraphic*>(loaded[0].get())->getPalette(),
            display->defaultPalette());
  // Only objects read earlier, with an index of their own, can be referred to.
  EXPECT_EQ(static_cast<QelDrawSelection*>(loaded[1].get())->getObject(), nullptr);
  EXPECT_EQ(static_cast<QelDrawSelection*>(loaded[2].get())->getObject(), nullptr);
  EXPECT_EQ(static_cast<QelDrawSelection*>(loaded[3].get())->getObject(), loaded[1].get());
}

TEST_F(DataFileTest, EveryPersistentPropertyTheWriterEmitsReadsBack) {
  // The base property, which carries only its name, as well as a subclass.
  Graphics original;
  original.emplace_back(new QelRectangle(display, QelRect(1, 2, 3, 4)));
  original[0]->setNamedProperty(new QelNamedProperty(QelSymbol::Get("plain")));
  std::string text = save(pointers(original), false);
  CapturedMessages messages;
  Graphics loaded = load(text);
  ASSERT_EQ(loaded.size(), 1u) << text;
  EXPECT_TRUE(messages.fatals().empty()) << text;
  QelNamedProperty* plain = loaded[0]->getNamedProperty(QelSymbol::Get("plain"));
  ASSERT_NE(plain, nullptr) << text;
  EXPECT_EQ(plain->getClassInfo(), QelNamedProperty::ClassInfo());
}

// Records what a reader subclass is told, and names itself in messages.
class RecordingFile : public QelInputFile {
 public:
  using QelInputFile::QelInputFile;
  const char* typeOf() const override { return "RecordingFile"; }
  void headerRead(float version, const char* date, const char* creator) override {
    events.push_back("header " + std::to_string(int(version * 10 + 0.5f)) + " " + creator +
                     (*date ? " dated" : " undated"));
  }
  void palettesRead(uint32_t n) override { events.push_back("palettes " + std::to_string(n)); }
  void graphicClassesRead(uint32_t n) override { events.push_back("classes " + std::to_string(n)); }
  void graphicObjectsRead(uint32_t n) override { events.push_back("objects " + std::to_string(n)); }
  void commentRead(const char* text) override { events.push_back(std::string("comment") + text); }
  std::vector<std::string> events;
};

TEST_F(DataFileTest, SubclassesHearOfEachPartAndNameThemselvesInMessages) {
  Graphics original = scene();
  std::string text = save(pointers(original), true);
  text.insert(text.find("GraphicClasses"), "//remark\n");
  std::istringstream in(text);
  RecordingFile file(in);
  Graphics loaded;
  for (QelGraphic* g : file.readObjects(display)) loaded.emplace_back(g);
  EXPECT_EQ(loaded.size(), original.size());
  EXPECT_EQ(file.events, (std::vector<std::string>{"commentremark", "header 23 QelOutputFile dated",
                                                   "classes 3", "palettes 3", "objects 5"}));

  CapturedMessages messages;
  std::istringstream bad(std::string(kHeader) + "GraphicObjects 1\n{ 0 -1 Nope }\n");
  RecordingFile badFile(bad);
  EXPECT_TRUE(badFile.readObjects(display).empty());
  EXPECT_EQ(messages.fatals(),
            std::vector<std::string>{"RecordingFile::readNext: Unregistered class: Nope"});
}

std::locale namedLocale(const char* name) {
#ifdef KESTREL_LEAK_CHECKS
  // glibc keeps the search list it builds from LOCPATH for good: not ours to free.
  __lsan::ScopedDisabler glibcKeepsItsLocalePath;
#endif
  return std::locale(name);
}

// A locale whose decimal point is a comma, made from the system's sources when not installed.
std::optional<std::locale> commaLocale(std::string& why) {
  const char* name = "de_DE.UTF-8";
  try {
    return namedLocale(name);
  } catch (const std::runtime_error&) {
  }
  if (std::system("command -v localedef >/dev/null 2>&1") != 0) {
    why = "localedef is not installed";
    return std::nullopt;
  }
  namespace fs = std::filesystem;
  const fs::path dir = fs::read_symlink("/proc/self/exe").parent_path() / "test-locales";
  fs::create_directories(dir);
  // localedef exits with 1 on mere warnings: the locale's presence is what counts.
  const std::string command =
      "localedef -i de_DE -f UTF-8 '" + (dir / name).string() + "' >/dev/null 2>&1";
  (void)std::system(command.c_str());
  setenv("LOCPATH", dir.c_str(), 1);  // kept for the process: setlocale reloads by name
  try {
    return namedLocale(name);
  } catch (const std::runtime_error& error) {
    ADD_FAILURE() << "no " << name << " after localedef into " << dir << ": " << error.what();
    return std::nullopt;
  }
}

TEST_F(DataFileTest, SameBytesAndValuesUnderACommaDecimalLocale) {
  std::string why;
  std::optional<std::locale> german = commaLocale(why);
  if (!german) GTEST_SKIP() << why;
  std::ostringstream probe;
  probe.imbue(*german);
  probe << 0.5 << ' ' << 1234567;
  ASSERT_EQ(probe.str(), "0,5 1.234.567");

  Graphics original = scene();
  const std::string plain = save(pointers(original));
  std::locale previous = std::locale::global(*german);
  std::ostringstream out;  // takes the global locale
  ASSERT_TRUE(QelSaveGraphics(out, uint32_t(original.size()), pointers(original).data()));
  std::istringstream in(out.str());
  Graphics loaded;
  for (QelGraphic* g : QelLoadGraphics(in, display)) loaded.emplace_back(g);
  std::locale::global(previous);

  EXPECT_EQ(withoutDate(out.str()), withoutDate(plain));
  expectSame(pointers(original), loaded);
  // The streams have their own locale back.
  EXPECT_EQ(std::use_facet<std::numpunct<char>>(out.getloc()).decimal_point(), ',');
  EXPECT_EQ(std::use_facet<std::numpunct<char>>(in.getloc()).decimal_point(), ',');
}

}  // namespace
}  // namespace kestrel::test
