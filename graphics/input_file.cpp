#include "graphics/input_file.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <memory>
#include <string>

#include "base/messages.h"
#include "base/symbol.h"
#include "base/version.h"
#include "display/display.h"
#include "display/palette.h"
#include "display/palette_io.h"
#include "graphics/class_info.h"
#include "graphics/graphic.h"

namespace {

constexpr float kNoVersion = 999.99f;
// Blocks announce their counts before their entries: trust them only this far in advance.
constexpr uint32_t kMaxReserve = 1024;

const char kVersionLine[] = "// Qel Version: ";
const char kDateLine[] = "// File generated: ";
const char kCreatorLine[] = "// Creator class: ";

// Where an object read in an objects block keeps its file index (plus one, so that index 0 is not
// a null property) until the block ends.
const QelSymbol* fileIndexSymbol() {
  static const QelSymbol* symbol = QelSymbol::Get("__QelFileIndex");
  return symbol;
}

bool isSpace(int c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool startsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// The decimal at the start of `text` (spaces first), or 0 when there is none.
double parseVersion(const std::string& text) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  while (begin < end && (*begin == ' ' || *begin == '\t')) ++begin;
  double value = 0;
  auto result = std::from_chars(begin, end, value, std::chars_format::fixed);
  return result.ec == std::errc() ? value : 0;
}

// Drops a resource nobody else holds (the display keeps unlocked shared ones cached).
void release(QelPalette* palette) {
  palette->lock();
  palette->unLock();
}

}  // namespace

QelInputFile::QelInputFile(std::istream& stream)
    : _stream(stream),
      _previousLocale(stream.imbue(std::locale::classic())),
      _previousFlags(stream.flags()) {
  _stream.flags(std::ios_base::dec | std::ios_base::skipws);
}

QelInputFile::~QelInputFile() {
  deleteObjects();
  releasePalettes();
  _stream.flags(_previousFlags);
  _stream.imbue(_previousLocale);
}

void QelInputFile::fail(const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  QelFatalError("%s::%s", typeOf(), text);
  _failed = true;
}

void QelInputFile::releasePalettes() {
  for (QelPalette* palette : _palettes) palette->unLock();
  _palettes.clear();
}

void QelInputFile::deleteObjects() {
  _byFileIndex.clear();
  for (auto it = _objects.rbegin(); it != _objects.rend(); ++it) delete *it;
  _objects.clear();
  _blockStart = 0;
}

// --- Tokens ----------------------------------------------------------------------------------

bool QelInputFile::readToken(std::string& token) {
  token.clear();
  std::istream::sentry ready(_stream);  // skips white space; fails at the end
  if (!ready) return false;
  std::streambuf* buffer = _stream.rdbuf();
  for (int c = buffer->sgetc();; c = buffer->snextc()) {
    if (c == EOF) {
      _stream.setstate(std::ios_base::eofbit);
      break;
    }
    if (isSpace(c)) break;
    if (token.size() < kMaxToken) token += char(c);
  }
  return true;
}

bool QelInputFile::readCount(uint32_t& count, const char* what) {
  long long value = -1;
  if (!(_stream >> value) || value < 0 || value > UINT32_MAX) {
    fail("parseBlock: Bad count for %s", what);
    return false;
  }
  count = uint32_t(value);
  return true;
}

bool QelInputFile::readString(std::string& text) {
  text.clear();
  if (!(_stream >> std::ws) || _stream.peek() != '"') return false;
  _stream.get();
  for (int c = _stream.get(); c != '"'; c = _stream.get()) {
    if (c == '\\') c = _stream.get();
    if (c == EOF || text.size() >= kMaxString) return false;
    text += char(c);
  }
  return true;
}

// --- Header ----------------------------------------------------------------------------------

void QelInputFile::readHeaderLine(std::string& line) {
  std::streambuf* buffer = _stream.rdbuf();
  for (int c = buffer->sgetc();; c = buffer->snextc()) {
    if (c == EOF) {
      _stream.setstate(std::ios_base::eofbit);
      break;
    }
    if (c == '\n') {
      buffer->sbumpc();
      break;
    }
    if (line.size() < kMaxString) line += char(c);
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
}

bool QelInputFile::readHeader(QelDisplay* display) {
  _display = display;
  _version = kNoVersion;
  double version = kNoVersion;
  bool hasCreator = false;
  _creator.clear();
  std::string date, line;
  while (readToken(line) && startsWith(line, "//")) {
    readHeaderLine(line);
    if (startsWith(line, kVersionLine)) {
      version = parseVersion(line.substr(sizeof kVersionLine - 1));
      _version = float(version);
    } else if (startsWith(line, kDateLine)) {
      date = line.substr(sizeof kDateLine - 1);
    } else if (!hasCreator && startsWith(line, kCreatorLine)) {
      _creator = line.substr(sizeof kCreatorLine - 1);
      hasCreator = true;
    } else if (!hasCreator && line.size() > 3 && line[3] == ' ') {
      _creator = line.substr(4);
      hasCreator = true;
    } else {
      commentRead(line.c_str() + 2);
    }
  }
  _descriptor = line;
  if (_stream.fail() || !hasCreator || !(_version > 0 && _version < kNoVersion)) {
    fail("readHeader: Not an Tessellar data file");
    return false;
  }
  headerRead(_version, date.c_str(), _creator.c_str());
  // Decimal versions are not exact in binary: 2.3 must count as 230, not 229.
  if (int(version * 100 + 1e-6) > QelGetVersion()) {
    fail("readHeader: Tessellar versions do not match");
    return false;
  }
  return true;
}

// --- Blocks ----------------------------------------------------------------------------------

std::vector<QelGraphic*> QelInputFile::readObjects(QelDisplay* display) {
  std::vector<QelGraphic*> objects;
  if (readHeader(display) && parseBlock(_descriptor.c_str()))
    while (readBlock()) {
    }
  if (_failed) {
    deleteObjects();
  } else {
    objects.swap(_objects);
    _byFileIndex.clear();
    _blockStart = 0;
  }
  releasePalettes();
  return objects;
}

bool QelInputFile::readBlock() {
  if (_failed || !readToken(_descriptor)) return false;
  return parseBlock(_descriptor.c_str());
}

bool QelInputFile::parseBlock(const char* descriptor) {
  if (_failed || !descriptor) return false;
  const std::string block = descriptor;
  uint32_t count = 0;
  if (block == "GraphicClasses") {
    if (!readCount(count, descriptor)) return false;
    _classes.clear();
    _classes.reserve(std::min(count, kMaxReserve));
    for (uint32_t i = 0; i < count; ++i) {
      QelGraphicClassInfo* info = readGraphicClass();
      if (!info) return false;
      _classes.push_back(info);
    }
    graphicClassesRead(count);
    return true;
  }
  if (block == "Palettes") {
    if (!readCount(count, descriptor)) return false;
    releasePalettes();
    _palettes.reserve(std::min(count, kMaxReserve));
    for (uint32_t i = 0; i < count; ++i) {
      QelPalette* palette = readPalette(_display);
      if (!palette) return false;
      palette->lock();
      _palettes.push_back(palette);
    }
    palettesRead(count);
    return true;
  }
  if (block == "GraphicObjects" || block == "QelObjects") return readObjectsBlock(descriptor);
  // What these blocks hold is for the subclass that wrote them.
  if (block == "Views" || block == "Layers" || block == "Size" || block == "Background" ||
      block == "GeometryHandlers")
    return true;
  QelWarning("%s::parseBlock: Unknown block descriptor: '%s'", typeOf(), descriptor);
  return false;
}

bool QelInputFile::readObjectsBlock(const char* descriptor) {
  uint32_t count = 0;
  if (!readCount(count, descriptor)) return false;
  _blockStart = _objects.size();
  _byFileIndex.clear();
  uint32_t read = 0;
  for (; read < count && _stream; ++read) {
    QelGraphic* object = readObject();
    if (!object) {
      if (!_failed) fail("readObjectBlock: No Object.");
      break;
    }
    _objects.push_back(object);
  }
  forgetFileIndices();
  if (_failed) return false;
  graphicObjectsRead(read);
  return true;
}

void QelInputFile::forgetFileIndices() {
  for (size_t i = _blockStart; i < _objects.size(); ++i)
    _objects[i]->removeProperty(fileIndexSymbol());
  _byFileIndex.clear();
}

QelGraphicClassInfo* QelInputFile::readGraphicClass() {
  std::string name;
  if (!readToken(name)) {
    fail("readGraphicClass: unexpected EOF");
    return nullptr;
  }
  auto* info = dynamic_cast<QelGraphicClassInfo*>(QelClassInfo::Get(name.c_str()));
  if (!info) fail("readGraphicClass: Unregistered class: %s", name.c_str());
  return info;
}

QelPalette* QelInputFile::readPalette(QelDisplay* display) {
  std::string name;
  bool named = false;
  long long index = 0;
  QelPalette* palette = nullptr;
  if (display && _stream >> std::ws) {
    named = _stream.peek() == '"';
    if ((!named || readString(name)) && _stream >> index)
      palette = QelReadPalette(*display, _stream);
  }
  if (!palette) {
    fail("readPalette: Malformed palette");
    return nullptr;
  }
  if (!named) return palette;
  QelPalette* known = display->getPalette(name.c_str());
  if (known && known != palette) {
    release(palette);
    return known;
  }
  // A palette that already answers to another name keeps it: renaming it would take that name
  // (perhaps "default") away from everyone who looks it up.
  if (!known && !palette->getName()) display->setPaletteName(palette, name.c_str());
  return palette;
}

QelPalette* QelInputFile::getPalette(int index) const {
  return index >= 0 && size_t(index) < _palettes.size() ? _palettes[size_t(index)] : nullptr;
}

// --- Objects ---------------------------------------------------------------------------------

QelGraphic* QelInputFile::readObject() {
  int index = -1;
  return readObjectBlock(index);
}

QelGraphic* QelInputFile::readObjectBlock(int& index) {
  index = -1;
  if (_failed) return nullptr;
  int c;
  while ((c = _stream.get()) != '{')
    if (c == EOF) {
      fail("readObjectBlock: EOF unexpected");
      return nullptr;
    }
  if (!(_stream >> index)) {
    fail("readObjectBlock: No Object.");
    return nullptr;
  }

  std::vector<std::unique_ptr<QelNamedProperty>> properties;
  _stream >> std::ws;
  if (_stream.peek() == 'P') {
    _stream.get();
    uint32_t count = 0;
    if (!readCount(count, "P")) return nullptr;
    for (uint32_t i = 0; i < count; ++i) {
      std::string className, name;
      if (!readToken(className) || !readToken(name)) {
        fail("readObjectBlock: EOF unexpected");
        return nullptr;
      }
      auto* info = dynamic_cast<QelNamedPropertyClassInfo*>(QelClassInfo::Get(className.c_str()));
      if (!info || !info->getReader()) {
        fail("readObjectBlock: Unregistered class: %s", className.c_str());
        return nullptr;
      }
      if (QelNamedProperty* property = info->getReader()(*this, QelSymbol::Get(name.c_str())))
        properties.emplace_back(property);
    }
  }

  std::unique_ptr<QelGraphic> object(readNext());
  if (!object) {
    if (!_failed) fail("readObjectBlock: No Object.");
    return nullptr;
  }
  for (auto& owned : properties) {
    QelNamedProperty* property = owned.release();
    // A graphic takes one named property (and replacements of it by name): whatever it does not
    // keep is ours to delete.
    if (QelNamedProperty* old = object->setNamedProperty(property))
      delete old;
    else if (object->getNamedProperty(property->getName()) != property)
      delete property;
  }
  while ((c = _stream.get()) != '}')
    if (c == EOF) {
      fail("readObjectBlock: unexpected EOF");
      return nullptr;
    }
  if (index >= 0) {
    object->setProperty(fileIndexSymbol(), reinterpret_cast<void*>(intptr_t(index) + 1));
    _byFileIndex.emplace(index, object.get());
  }
  return object.release();
}

QelGraphic* QelInputFile::readNext() {
  int paletteIndex = -1;
  std::string name;
  if (!(_stream >> paletteIndex) || !readToken(name)) return nullptr;
  QelGraphicClassInfo* info = nullptr;
  if (name[0] >= '0' && name[0] <= '9') {
    uint32_t classIndex = 0;
    const char* end = name.data() + name.size();
    auto result = std::from_chars(name.data(), end, classIndex);
    if (result.ec == std::errc() && result.ptr == end && classIndex < _classes.size())
      info = _classes[classIndex];
  } else {
    info = dynamic_cast<QelGraphicClassInfo*>(QelClassInfo::Get(name.c_str()));
    if (!info) {
      fail("readNext: Unregistered class: %s", name.c_str());
      return nullptr;
    }
  }
  if (!info || !info->getReader()) return nullptr;
  return info->getReader()(*this, getPalette(paletteIndex));
}

QelGraphic* QelInputFile::readReference(QelDisplay*) {
  int index = -1;
  if (!(_stream >> index) || index < 0) return nullptr;
  auto found = _byFileIndex.find(index);
  return found == _byFileIndex.end() ? nullptr : found->second;
}

// --- Notifications ---------------------------------------------------------------------------

void QelInputFile::headerRead(float, const char*, const char*) {}
void QelInputFile::palettesRead(uint32_t) {}
void QelInputFile::graphicClassesRead(uint32_t) {}
void QelInputFile::graphicObjectsRead(uint32_t) {}
void QelInputFile::commentRead(const char*) {}
void QelInputFile::unknownLineRead(const char*) {}

bool QelReadInteger(std::istream& in, int64_t min, int64_t max, int64_t& value) {
  if (in.fail() || !(in >> value)) return false;
  if (value >= min && value <= max) return true;
  in.setstate(std::ios_base::failbit);
  return false;
}

bool QelReadFloat(std::istream& in, float& value) {
  // Numbers are short: a token longer than this is no number, and is not kept whole.
  constexpr int kLongestNumber = 64;
  std::string token;
  if (!(in >> std::setw(kLongestNumber) >> token)) return false;
  const char* end = token.data() + token.size();
  auto [stop, error] = std::from_chars(token.data(), end, value);
  if (error == std::errc() && stop == end) return true;
  in.setstate(std::ios_base::failbit);
  return false;
}

std::vector<QelGraphic*> QelLoadGraphics(std::istream& stream, QelDisplay* display) {
  QelInputFile file(stream);
  return file.readObjects(display);
}
