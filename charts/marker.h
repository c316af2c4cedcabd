// Markers: a figure of the display's marker set (square, circle, cross...) at one point, of a
// fixed pixel size whatever the zoom. Charts hang them on data points as decorations.
#pragma once

#include <cstdint>

#include "graphics/simple_graphic.h"

class QelMarker : public QelSimpleGraphic {
 public:
  static constexpr uint16_t kDefaultSize = 4;

  // `type` is a set of QelMarkerType bits (1, the default, is the square); `size` is the
  // half-extent in pixels.
  QelMarker(QelDisplay* display, const QelPoint& point, unsigned int type = 1,
            uint16_t size = kDefaultSize, QelPalette* palette = nullptr);
  QelMarker(const QelMarker& other);
  // Reads "x y type size".
  QelMarker(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Anywhere in the bounding box.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  // (x - size, y - size, 2 size + 1, 2 size + 1) around the transformed point.
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // Moves the point; the size stays in pixels.
  void applyTransform(const QelTransformer* t) override;
  // Puts the box's corner at (x, y): the point lies `size` pixels in from it on both axes.
  void move(int32_t x, int32_t y) override;
  QelGraphic* copy() const override { return new QelMarker(*this); }
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  const QelPoint& getPoint() const { return _point; }
  void setPoint(const QelPoint& point) { _point = point; }
  unsigned int getType() const { return _type; }
  void setType(unsigned int type) { _type = type; }
  uint16_t getSize() const { return _size; }
  void setSize(uint16_t size) { _size = size; }

  static QelClassInfo* ClassInfo();

  QelMarker& operator=(const QelMarker&) = delete;

 private:
  QelPoint _point;
  unsigned int _type;
  uint16_t _size;
};

// Registers QelMarker (called while the chart module registers its kinds).
void QelRegisterMarker();
