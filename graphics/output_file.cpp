#include "graphics/output_file.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <sstream>
#include <string>

#include "base/symbol.h"
#include "base/version.h"
#include "display/palette.h"
#include "display/palette_io.h"
#include "graphics/class_info.h"
#include "graphics/graphic.h"
#include "graphics/simple_graphic.h"

namespace {

// The version as a short decimal ("2.3" for 230): a float would print as 2.29999995.
std::string versionText() {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  const int version = QelGetVersion();
  text << version / 100;
  if (int rest = version % 100) {
    text << '.' << rest / 10;
    if (rest % 10) text << rest % 10;
  }
  return text.str();
}

std::string dateText() {
  std::time_t now = std::time(nullptr);
  char buffer[64] = "";
  // ctime's text without its trailing line break; ctime_r keeps static state out of the way.
  if (ctime_r(&now, buffer)) buffer[std::strcspn(buffer, "\n")] = '\0';
  return buffer;
}

const char* classNameOf(const QelGraphic& graphic) {
  const QelClassInfo* info = graphic.getClassInfo();
  return info && info->getClassName() ? info->getClassName() : "QelGraphic";
}

// A property the reader can find again: its name must be one token.
bool isWritable(const QelNamedProperty* property) {
  if (!property || !property->isPersistent() || !property->getName()) return false;
  const QelClassInfo* info = property->getClassInfo();
  if (!info || !info->getClassName()) return false;
  const char* name = property->getName()->name();
  if (!*name) return false;
  for (const char* c = name; *c; ++c)
    if (std::isspace(static_cast<unsigned char>(*c))) return false;
  return true;
}

}  // namespace

void QelWriteFloat(std::ostream& out, float value) {
  if (std::isnan(value))
    out << "nan";
  else if (std::isinf(value))
    out << (value < 0 ? "-inf" : "inf");
  else
    out << value;
}

QelOutputFile::QelOutputFile(std::ostream& stream)
    : _stream(stream),
      _previousLocale(stream.imbue(std::locale::classic())),
      _previousFlags(stream.flags()),
      _previousPrecision(stream.precision()) {
  _stream.flags(std::ios_base::dec);
  // Enough digits for any double (and so any float) to read back to the same value.
  _stream.precision(std::numeric_limits<double>::max_digits10);
}

QelOutputFile::~QelOutputFile() {
  _stream.precision(_previousPrecision);
  _stream.flags(_previousFlags);
  _stream.imbue(_previousLocale);
}

void QelOutputFile::saveObjects(uint32_t count, QelGraphic* const* graphics, uint32_t& saved) {
  saved = 0;
  if (!graphics) count = 0;
  writeHeader(count, graphics);
  // Positions first, so that a reference written by any object names the right one.
  _objectIndex.clear();
  _objectIndex.reserve(count);
  int next = 0;
  for (uint32_t i = 0; i < count; ++i)
    if (graphics[i] && _objectIndex.try_emplace(graphics[i], next).second) ++next;
  _stream << "GraphicObjects " << next << '\n';
  for (uint32_t i = 0; i < count; ++i) {
    auto found = graphics[i] ? _objectIndex.find(graphics[i]) : _objectIndex.end();
    if (found == _objectIndex.end() || found->second != int(saved)) continue;  // null or repeat
    writeObjectBlock(graphics[i]);
    ++saved;
  }
  saveMoreInfo(count, graphics);
}

void QelOutputFile::saveMoreInfo(uint32_t, QelGraphic* const*) {}

void QelOutputFile::writeObject(const QelGraphic* graphic) {
  if (!graphic) return;
  auto found = _objectIndex.find(graphic);
  _stream << "{ " << (found == _objectIndex.end() ? -1 : found->second) << ' ';
  std::vector<const QelNamedProperty*> properties;
  for (const QelNamedProperty* property : graphic->getNamedProperties())
    if (isWritable(property)) properties.push_back(property);
  if (!properties.empty()) {
    _stream << 'P' << properties.size() << '\n';
    for (const QelNamedProperty* property : properties) {
      _stream << property->getClassInfo()->getClassName() << ' ' << property->getName()->name()
              << ' ';
      property->write(*this);
      _stream << '\n';
    }
  }
  *this << *graphic;
  _stream << " }\n";
}

void QelOutputFile::writeHeader(uint32_t count, QelGraphic* const* graphics) {
  _stream << "// Qel Version: " << versionText() << '\n'
          << "// File generated: " << dateText() << '\n'
          << "// Creator class: " << typeOf() << '\n';
  _palettes.clear();
  _paletteIndex.clear();
  _classes.clear();
  _classIndex.clear();
  _collected.clear();
  for (uint32_t i = 0; graphics && i < count; ++i)
    if (graphics[i]) collect(graphics[i]);
  _collected.clear();
  if (_classIndexing) {
    _stream << "GraphicClasses " << _classes.size() << '\n';
    for (const QelClassInfo* info : _classes)
      _stream << (info && info->getClassName() ? info->getClassName() : "QelGraphic") << '\n';
  }
  _stream << "Palettes " << _palettes.size() << '\n';
  for (size_t i = 0; i < _palettes.size(); ++i) {
    if (const char* name = _palettes[i]->getName()) {
      writeString(name);
      _stream << ' ';
    }
    _stream << i << ' ';
    QelWritePalette(_stream, *_palettes[i]);
  }
}

// The palettes and classes of a graphic and of the graphics it carries (a chart's point
// decorations): those are written inside their owner's record and refer to the same tables.
void QelOutputFile::collect(QelGraphic* graphic) {
  // Selections visit what they frame: graphics can refer to each other in a ring.
  if (!_collected.insert(graphic).second) return;
  searchPalettes(graphic);
  const QelClassInfo* info = graphic->getClassInfo();
  if (_classIndex.try_emplace(info, int(_classes.size())).second) _classes.push_back(info);
  graphic->apply(
      [](QelGraphic* inner, void* file) {
        if (inner) static_cast<QelOutputFile*>(file)->collect(inner);
      },
      this);
}

void QelOutputFile::searchPalettes(const QelGraphic* graphic) {
  auto* simple = dynamic_cast<const QelSimpleGraphic*>(graphic);
  addPalette(simple ? simple->getPalette() : nullptr);
  if (auto* user = dynamic_cast<const QelPaletteUser*>(graphic))
    user->applyPalettes([](const QelPalette* palette,
                           void* file) { static_cast<QelOutputFile*>(file)->addPalette(palette); },
                        this);
}

void QelOutputFile::addPalette(const QelPalette* palette) {
  if (palette && _paletteIndex.try_emplace(palette, int(_palettes.size())).second)
    _palettes.push_back(palette);
}

void QelOutputFile::writeReference(const QelGraphic* graphic) {
  auto found = graphic ? _objectIndex.find(graphic) : _objectIndex.end();
  _stream << ' ' << (found == _objectIndex.end() ? -1 : found->second);
}

int QelOutputFile::getPaletteIndex(const QelPalette* palette) const {
  auto found = palette ? _paletteIndex.find(palette) : _paletteIndex.end();
  return found == _paletteIndex.end() ? -1 : found->second;
}

QelOutputFile& QelOutputFile::operator<<(const QelGraphic& graphic) {
  auto* simple = dynamic_cast<const QelSimpleGraphic*>(&graphic);
  _stream << (simple ? getPaletteIndex(simple->getPalette()) : -1) << ' ';
  auto index = _classIndexing ? _classIndex.find(graphic.getClassInfo()) : _classIndex.end();
  if (index != _classIndex.end())
    _stream << index->second;
  else
    _stream << classNameOf(graphic);
  _stream << ' ';
  graphic.write(*this);
  return *this;
}

void QelOutputFile::writeString(const char* text) {
  _stream << '"';
  for (const char* c = text ? text : ""; *c; ++c) {
    if (*c == '"' || *c == '\\') _stream << '\\';
    _stream << *c;
  }
  _stream << '"';
}

bool QelSaveGraphics(std::ostream& stream, uint32_t count, QelGraphic* const* graphics,
                     bool classIndexing) {
  uint32_t saved = 0;
  {
    QelOutputFile file(stream);
    file.setClassIndexing(classIndexing);
    file.saveObjects(count, graphics, saved);
  }
  return bool(stream);
}
