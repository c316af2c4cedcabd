// Writing graphics to the toolkit's text data files: a header, the classes and palettes the
// objects use, then one block per object. Numbers are written in the C locale whatever the
// process locale is.
#pragma once

#include <cstdint>
#include <locale>
#include <ostream>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class QelClassInfo;
class QelGraphic;
class QelPalette;

using QelApplyPalette = void (*)(const QelPalette* palette, void* arg);

// Writes a float of a data file: finite values as the stream writes them, and "nan", "inf" and
// "-inf" for the others, which QelReadFloat reads back.
void QelWriteFloat(std::ostream& out, float value);

// Graphics that draw with palettes besides their own (a chart with one per data set) derive from
// this too, so that the palette table of a file lists those as well.
class QelPaletteUser {
 public:
  virtual void applyPalettes(QelApplyPalette f, void* arg) const = 0;

 protected:
  ~QelPaletteUser() = default;
};

class QelOutputFile {
 public:
  // The stream is switched to the C locale for as long as the file object lives.
  explicit QelOutputFile(std::ostream& stream);
  virtual ~QelOutputFile();
  virtual const char* typeOf() const { return "QelOutputFile"; }
  // Writes the header, then the "GraphicObjects" block of `count` graphics; `saved` is the
  // number of object blocks written.
  virtual void saveObjects(uint32_t count, QelGraphic* const* graphics, uint32_t& saved);
  // Hook for subclasses that write more blocks after the objects.
  virtual void saveMoreInfo(uint32_t count, QelGraphic* const* graphics);
  // One object block: "{ INDEX [P...] PALETTE CLASS FIELDS }".
  virtual void writeObject(const QelGraphic* graphic);

  // Header lines, then the "GraphicClasses" block (when class indexing is on) and the
  // "Palettes" block for every palette the graphics use.
  void writeHeader(uint32_t count, QelGraphic* const* graphics);
  void writeObjectBlock(const QelGraphic* graphic) { writeObject(graphic); }
  // A space and the file index of `graphic` (-1 for null or an object not in the file).
  void writeReference(const QelGraphic* graphic);
  // The palette's index in the "Palettes" block, or -1.
  int getPaletteIndex(const QelPalette* palette) const;
  // Writes the object line: palette index, class (index or name) and the class's fields.
  QelOutputFile& operator<<(const QelGraphic& graphic);

  // Quoted text with '"' and '\' escaped (null is written as an empty string).
  void writeString(const char* text);

  void setClassIndexing(bool on) { _classIndexing = on; }
  bool isClassIndexing() const { return _classIndexing; }
  std::ostream& getStream() const { return _stream; }

 private:
  void collect(QelGraphic* graphic);
  void searchPalettes(const QelGraphic* graphic);
  void addPalette(const QelPalette* palette);

  std::ostream& _stream;
  std::locale _previousLocale;
  std::ios_base::fmtflags _previousFlags;
  std::streamsize _previousPrecision;
  bool _classIndexing = false;
  std::vector<const QelPalette*> _palettes;
  std::unordered_map<const QelPalette*, int> _paletteIndex;
  std::vector<const QelClassInfo*> _classes;
  std::unordered_map<const QelClassInfo*, int> _classIndex;
  std::unordered_map<const QelGraphic*, int> _objectIndex;
  std::unordered_set<const QelGraphic*> _collected;
};

// Writes `count` graphics to `stream` as a data file (no container needed).
bool QelSaveGraphics(std::ostream& stream, uint32_t count, QelGraphic* const* graphics,
                     bool classIndexing = false);
