// Stipple patterns (depth-1), colour patterns (tiles of the display's depth) and cursors.
// The job chart and the containers need only the solid pattern; the others exist for palettes
// and data files that name them.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>

#include "display/resource.h"

class QelBitmap;

// A stipple over a depth-1 bitmap. The display's solid pattern (all bits set) means "no stipple".
class QelPattern : public QelResource {
 public:
  // `bits` in XBM order (rows padded to bytes, least significant bit first).
  QelPattern(QelDisplay* display, uint16_t width, uint16_t height, const unsigned char* bits,
             const char* name = nullptr);
  ~QelPattern() override;
  QelBitmap* getBitmap() const { return _bitmap; }

 private:
  QelBitmap* _bitmap;
};

// A tile: a bitmap of the display's depth.
class QelColorPattern : public QelResource {
 public:
  // Takes the bitmap over.
  QelColorPattern(QelDisplay* display, QelBitmap* bitmap, const char* name = nullptr);
  ~QelColorPattern() override;
  QelBitmap* getBitmap() const { return _bitmap; }

 private:
  QelBitmap* _bitmap;
};

// A pointer shape from the X cursor font.
class QelCursor : public QelResource {
 public:
  QelCursor(QelDisplay* display, unsigned int shape, const char* name = nullptr);
  ~QelCursor() override;
  Cursor getXCursor() const { return _cursor; }

 private:
  friend class QelDisplay;  // freeCursor releases the X cursor
  Cursor _cursor;
};
