// Reading graphics back from the toolkit's text data files. The reader is a security boundary:
// any input, however malformed, ends in a message and a null or false, never in a crash, a hang
// or a leak. Numbers are read in the C locale whatever the process locale is.
#pragma once

#include <cstdint>
#include <istream>
#include <locale>
#include <string>
#include <unordered_map>
#include <vector>

class QelDisplay;
class QelGraphic;
class QelGraphicClassInfo;
class QelPalette;

class QelInputFile {
 public:
  // The stream is switched to the C locale for as long as the file object lives.
  explicit QelInputFile(std::istream& stream);
  virtual ~QelInputFile();
  // Reads the header and every block; returns the objects of the "GraphicObjects" block, which
  // the caller owns. On failure the objects already built are deleted and the result is empty;
  // an unknown block only ends the reading (with a warning) and keeps what was read before it.
  virtual std::vector<QelGraphic*> readObjects(QelDisplay* display);
  virtual QelGraphic* readObject();
  virtual bool parseBlock(const char* descriptor);
  virtual QelGraphicClassInfo* readGraphicClass();
  virtual QelPalette* readPalette(QelDisplay* display);
  // Notification hooks; they do nothing here.
  virtual void headerRead(float version, const char* date, const char* creator);
  virtual void palettesRead(uint32_t count);
  virtual void graphicClassesRead(uint32_t count);
  virtual void graphicObjectsRead(uint32_t count);
  virtual void commentRead(const char* text);
  virtual void unknownLineRead(const char* text);
  virtual const char* typeOf() const { return "QelInputFile"; }

  bool readHeader(QelDisplay* display);
  // The object line: palette index, class, and the class's reading constructor.
  QelGraphic* readNext();
  QelGraphic* readObjectBlock(int& index);
  // Reads the next block descriptor and parses the block; false at the end or on failure.
  bool readBlock();
  // The object of the current objects block whose file index is read next, or null: only
  // objects whose blocks are complete, that is, ones written earlier, can be found.
  QelGraphic* readReference(QelDisplay* display);

  // Quoted text as QelOutputFile::writeString writes it; false when malformed.
  bool readString(std::string& text);

  QelDisplay* getDisplay() const { return _display; }
  std::istream& getStream() const { return _stream; }
  // The palette of that index in the "Palettes" block, or null.
  QelPalette* getPalette(int index) const;
  float getVersion() const { return _version; }
  const std::string& getCreator() const { return _creator; }
  // Whether reading has failed (a message was given and nothing more is read).
  bool hasFailed() const { return _failed; }

  // The next whitespace-separated token, cut to kMaxToken bytes (the rest of a longer one is
  // skipped); false at the end of the stream.
  bool readToken(std::string& token);
  // A count of a block or of named properties: a non-negative decimal that fits 32 bits.
  // `what` names the block in the message when the count is missing or negative.
  bool readCount(uint32_t& count, const char* what);

  // No token, name or quoted text is kept longer than this.
  static constexpr size_t kMaxToken = 1024;
  static constexpr size_t kMaxString = 4096;

 protected:
  // Reports a failure through the fatal-error channel with typeOf() first and stops reading.
  // `format` is the text after "Class::".
  void fail(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Unlocks the palettes of the "Palettes" block (objects hold their own locks).
  void releasePalettes();

 private:
  // Appends the rest of the line (cut to kMaxString bytes) and consumes its line break.
  void readHeaderLine(std::string& line);
  bool readObjectsBlock(const char* descriptor);
  void forgetFileIndices();
  // Deletes the objects read so far, the later ones first (they may refer to earlier ones).
  void deleteObjects();

  std::istream& _stream;
  std::locale _previousLocale;
  std::ios_base::fmtflags _previousFlags;
  QelDisplay* _display = nullptr;
  float _version = 0;
  std::string _creator;
  std::string _descriptor;
  bool _failed = false;
  std::vector<QelPalette*> _palettes;  // locked while the file reads
  std::vector<QelGraphicClassInfo*> _classes;
  std::vector<QelGraphic*> _objects;                      // every object block read so far
  size_t _blockStart = 0;                                 // where the current objects block begins
  std::unordered_map<int32_t, QelGraphic*> _byFileIndex;  // the current block's indexed objects
};

// The reader a graphic class registers: builds the object from the file and hands the file reader
// nothing for a malformed one (a failed stream or file), since nobody would own it.
template <typename T>
QelGraphic* QelReadGraphic(QelInputFile& file, QelPalette* palette) {
  T* object = new T(file, palette);
  if (!file.getStream().fail() && !file.hasFailed()) return object;
  delete object;
  return nullptr;
}

// Reads an integer of [min, max] through 64 bits; anything else fails the stream (and a failed
// stream reads nothing).
bool QelReadInteger(std::istream& in, int64_t min, int64_t max, int64_t& value);

// Reads a float as QelWriteFloat writes it (a decimal number, "nan", "inf" or "-inf"); anything
// else fails the stream.
bool QelReadFloat(std::istream& in, float& value);

// Reads the graphics of a data file (no container needed); empty on failure.
std::vector<QelGraphic*> QelLoadGraphics(std::istream& stream, QelDisplay* display);
