// A graphic drawn with one shared palette. Changing an attribute swaps the palette for the
// display's shared palette that differs only in that attribute.
#pragma once

#include "graphics/graphic.h"

class QelDisplay;
struct QelPaletteAttributes;

class QelSimpleGraphic : public QelGraphic {
 public:
  // A null palette means the display's default palette (none without a display either).
  QelSimpleGraphic(QelDisplay* display, QelPalette* palette);
  ~QelSimpleGraphic() override;

  void setBackground(QelColor* color) override;
  void setForeground(QelColor* color) override;
  void setFont(QelFont* font) override;
  void setColorPattern(QelColorPattern* pattern) override;
  void setPattern(QelPattern* pattern) override;
  void setOverwrite(int overwrite) override;
  void setMode(int mode) override;
  void setFillStyle(int style) override;
  void setLineStyle(QelLineStyle* style) override;
  void setLineWidth(uint16_t width) override;
  void setPlaneMask(uint32_t mask) override;
  void setArcMode(int mode) override;
  void setFillRule(int rule) override;
  void setPalette(QelPalette* palette) override;
  // Swaps foreground and background (on is non-zero) or puts them back.
  void invert(int on) override;
  void drawPalette(const QelPalette* palette, QelPort* port, const QelTransformer* t,
                   const QelRegion* clip) const override;
  // Reads "foreground", "background", "font" and "lineWidth".
  void applyResources(QelDisplay* display, const char* objectName,
                      const char* objectClass) override;
  bool queryValue(QelValue& value) const override;
  bool applyValue(const QelValue& value) override;
  void getAccessors(const QelSymbol* const** names, const QelValueType** types,
                    uint32_t& count) const override;
  void initialize(QelPalette* palette) override;
  QelClassInfo* getClassInfo() const override;

  QelPalette* getPalette() const { return _palette; }
  QelDisplay* getDisplay() const;

  static QelClassInfo* ClassInfo();

 protected:
  // The palette to draw with: the one drawPalette lends for the moment, else the object's.
  const QelPalette* drawingPalette() const { return _lent ? _lent : _palette; }
  // Whether a palette can draw at all: there is one, and it belongs to a display.
  static bool canDrawWith(const QelPalette* palette);

 private:
  // Asks the display for the shared palette with `change` applied to the current attributes.
  template <typename Change>
  void changePalette(Change change);

  QelPalette* _palette = nullptr;
  mutable const QelPalette* _lent = nullptr;
  bool _inverted = false;
};
