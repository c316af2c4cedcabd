// Ports are what the toolkit draws into: a view's window or an off-screen bitmap.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <string>

class QelDisplay;

class QelPort {
 public:
  QelPort(QelDisplay* display, Drawable drawable, uint32_t width, uint32_t height);
  virtual ~QelPort();
  virtual uint16_t depth() const;
  virtual int isABitmap() const { return 0; }

  QelDisplay* getDisplay() const { return _display; }
  Drawable getDrawable() const { return _drawable; }
  uint32_t width() const { return _width; }
  uint32_t height() const { return _height; }

  QelPort(const QelPort&) = delete;
  QelPort& operator=(const QelPort&) = delete;

 protected:
  void setDrawable(Drawable drawable) { _drawable = drawable; }
  void setSize(uint32_t width, uint32_t height) { _width = width, _height = height; }

 private:
  QelDisplay* _display;
  Drawable _drawable;
  uint32_t _width, _height;
};

// An off-screen port over an X pixmap. Pixmaps are 16-bit in X: a bitmap of zero or more than
// 32767 pixels in either direction, or one the server refuses, has no pixmap (isValid false).
class QelBitmap : public QelPort {
 public:
  QelBitmap(QelDisplay* display, uint32_t width, uint32_t height, uint16_t depth,
            const char* name = nullptr);
  // A depth-1 bitmap from XBM data (rows padded to bytes, least significant bit first).
  QelBitmap(QelDisplay* display, uint32_t width, uint32_t height, const unsigned char* bits,
            const char* name = nullptr);
  // Stands for an existing drawable it does not own (the display's screen port).
  QelBitmap(QelDisplay* display, Drawable drawable, uint32_t width, uint32_t height, uint16_t depth,
            const char* name);
  ~QelBitmap() override;

  uint16_t depth() const override { return _depth; }
  int isABitmap() const override { return 1; }

  bool isValid() const { return getDrawable() != 0; }
  Pixmap getPixmap() const { return _owned ? getDrawable() : 0; }
  const char* getName() const { return _named ? _name.c_str() : nullptr; }
  void setName(const char* name);
  QelBitmap* getMask() const { return _mask; }
  // Takes the mask over.
  void setMask(QelBitmap* mask);

  uint32_t getLockCount() const { return _lockCount; }
  void lock() { ++_lockCount; }
  // Destroys the bitmap when the count reaches zero.
  void unLock();

 private:
  friend class QelDisplay;  // freeBitmap releases the pixmap
  uint16_t _depth;
  bool _named = false;
  std::string _name;
  uint32_t _lockCount = 0;
  bool _owned = true;
  QelBitmap* _mask = nullptr;
};
