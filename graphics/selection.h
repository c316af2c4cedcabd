// The selection frame: eight square handles around another graphic's bounding box, and which
// handle a point is on.
#pragma once

#include "graphics/simple_graphic.h"

class QelRegion;

class QelDrawSelection : public QelSimpleGraphic {
 public:
  // `object` is not owned: remove the selection before deleting the object. `size` is half a
  // handle's side. A null palette means the display's default.
  QelDrawSelection(QelDisplay* display, QelGraphic* object, uint32_t size = 4,
                   QelPalette* palette = nullptr);
  // Reads the size and a reference to an object written earlier in the file.
  QelDrawSelection(QelInputFile& file, QelPalette* palette);

  bool zoomable() const override;
  void apply(QelApplyObject f, void* arg) override;
  void applyReferences(QelApplyObject f, void* arg) override;
  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // The selection follows its object: nothing to do.
  void applyTransform(const QelTransformer*) override {}
  QelGraphic* copy() const override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  // The position code (QelPosition bits) of the first handle containing `p`, 0 for none, in
  // the order top-left 5, top-right 6, bottom-right 10, bottom-left 9, left 1, right 2, top 4,
  // bottom 8.
  virtual unsigned int direction(const QelPoint& p, const QelTransformer* t) const;
  // Empties `region` and adds the eight handle squares in that order.
  virtual void computeRegion(QelRegion& region, const QelTransformer* t) const;

  QelGraphic* getObject() const { return _object; }
  void setObject(QelGraphic* object) { _object = object; }
  uint32_t getSize() const { return _size; }
  void setSize(uint32_t size) { _size = size; }

  // Selections are made and dropped often: they come from a pool of their own.
  static void* operator new(size_t size);
  static void operator delete(void* p, size_t size);

  static QelClassInfo* ClassInfo();

 private:
  uint32_t _size;
  QelGraphic* _object;
};

// Registers QelDrawSelection.
int QelSelectionModuleInit();
