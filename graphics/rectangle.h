// Outlined and filled rectangles: the model of a basic graphic, one rectangle in view
// coordinates drawn with the object's palette.
#pragma once

#include "graphics/simple_graphic.h"

class QelRectangle : public QelSimpleGraphic {
 public:
  QelRectangle(QelDisplay* display, const QelRect& rect, QelPalette* palette = nullptr);
  // Reads "x y w h"; a null palette means the display's default.
  QelRectangle(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Hit on the outline only.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // A side that would become 0 stays 1: a rectangle never degenerates.
  void applyTransform(const QelTransformer* t) override;
  QelGraphic* copy() const override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  const QelRect& getRect() const { return _rect; }
  void setRect(const QelRect& rect) { _rect = rect; }

  static QelClassInfo* ClassInfo();

 protected:
  QelRect _rect;
};

class QelFilledRectangle : public QelRectangle {
 public:
  QelFilledRectangle(QelDisplay* display, const QelRect& rect, QelPalette* palette = nullptr);
  QelFilledRectangle(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Hit anywhere inside, edges included.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  QelGraphic* copy() const override;
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();
};

// Registers QelRectangle and QelFilledRectangle.
int QelRectangleModuleInit();
