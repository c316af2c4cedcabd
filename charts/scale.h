// Scales: graduated axes drawn beside charts. QelScale holds the graduation (step counts, tick
// lengths) and the labels with their measured sizes; QelRectangularScale lays it along a straight
// horizontal or vertical segment given by an origin and a length, and decides how many labels
// it can show without overlap.
//
// Data files. A scale's fields follow its palette and class on the object line:
//   QelScale:            X Y W H STEPS SUBSTEPS STEPSIZE SUBSTEPSIZE LABELS
//   QelRectangularScale: the above, then DIRECTION POSITION INTEGERSTEPS VERTICALLABELS
//                        LABELSBETWEENTICKS KEEPALLLABELS
// X Y W H is the rectangle, the counts and lengths are 16-bit, the four flags are 0 or 1, the
// direction is 1, 2, 4 or 8 and the position a side across it. LABELS is 0 for a scale without
// labels, or 1 followed by STEPS entries, each a quoted text or "-" for a missing label. Label
// sizes and the label skip are not written: a scale read back measures its labels with its
// palette's font and recomputes the skip when it is first drawn.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "graphics/simple_graphic.h"

class QelScale : public QelSimpleGraphic {
 public:
  // Labels come from `format` over min ... max (see setLabels) with `steps` ticks. A null palette
  // means the display's default.
  QelScale(QelDisplay* display, const QelRect& rect, const char* format, float min, float max,
           uint16_t steps, uint16_t subSteps, uint16_t stepSize, uint16_t subStepSize,
           QelPalette* palette = nullptr);
  QelScale(const QelScale& other);
  // Reads the fields named in the header comment.
  QelScale(QelInputFile& file, QelPalette* palette);
  QelScale& operator=(const QelScale&) = delete;

  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  void applyTransform(const QelTransformer* t) override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;
  // Both re-measure the labels. Neither marks the scale modified: the label skip stays what it
  // was until another change asks for it again.
  void setFont(QelFont* font) override;
  void setPalette(QelPalette* palette) override;

  // `count` ticks; with at least two and a format, label i is the format applied to v_i, where
  // v_0 = min and each next value adds (max - min) / (count - 1) in single precision. Labels are
  // at most 79 characters. Otherwise the scale has no labels.
  void setLabels(uint16_t count, float min, float max, const char* format);
  // `count` ticks labelled with copies of `labels` (null entries stay missing); no labels with
  // fewer than two ticks or a null array.
  void setLabels(uint16_t count, const char* const* labels);
  // Replaces one label of a labelled scale (index below the step count).
  void setLabel(uint16_t index, const char* label);
  // The label's text, or null when it or the scale's labels are missing.
  const char* getLabel(uint16_t index) const;
  bool hasLabels() const { return !_labels.empty(); }
  // The sizes measured for the label, or zeros.
  void getLabelSizes(uint16_t index, uint32_t& width, uint32_t& ascent, uint32_t& descent) const;

  uint16_t getSteps() const { return _steps; }
  uint16_t getSubSteps() const { return _subSteps; }
  // 0 or 1 draws no minor ticks.
  void setSubSteps(uint16_t subSteps) { _subSteps = subSteps; }
  uint16_t getStepSize() const { return _stepSize; }
  uint16_t getSubStepSize() const { return _subStepSize; }
  void setStepSize(uint16_t size) { _stepSize = size; }
  void setSubStepSize(uint16_t size) { _subStepSize = size; }
  // The larger of the two tick lengths: how far the graduation stands off its base line.
  uint16_t getThickness() const { return _stepSize > _subStepSize ? _stepSize : _subStepSize; }
  const QelRect& getRect() const { return _rect; }

  // Every change of labels, size, direction or position sets the mark; the next drawing
  // recomputes what depends on the labels' layout and clears it.
  int isModified() const { return _modified; }
  void setModified(int modified) { _modified = modified; }

  static QelClassInfo* ClassInfo();

 protected:
  // Measures every label with the palette's font.
  void computeLabelSizes();
  // The rectangle as such, for the subclass that keeps it in step with its geometry.
  void setRect(const QelRect& rect) { _rect = rect; }
  QelRect& rect() { return _rect; }
  // The largest width or height of any label's text, for culling what cannot reach the port.
  uint32_t largestLabelExtent() const;
  void markModified() const { _modified = 1; }
  void clearModified() const { _modified = 0; }

 private:
  void readLabels(QelInputFile& file);
  // Frees the labels and makes room for `count` of them (none for count 0).
  void resetLabels(uint16_t count);
  void measure(uint16_t index);
  bool sameLabel(uint16_t index, const char* text) const;

  QelRect _rect;
  uint16_t _steps = 0;
  uint16_t _subSteps = 0;
  uint16_t _stepSize = 0;
  uint16_t _subStepSize = 0;
  // Empty when the scale has no labels, else `_steps` entries; a missing label is nullopt.
  std::vector<std::optional<std::string>> _labels;
  std::vector<uint32_t> _widths;
  std::vector<uint32_t> _ascents;
  std::vector<uint32_t> _descents;
  mutable int _modified = 1;
  mutable int64_t _largestLabel = -1;  // -1: not known since the last measurement
};

class QelRectangularScale : public QelScale {
 public:
  // `direction` is the end where the graduation starts (left or right for a horizontal scale,
  // top or bottom for a vertical one; horizontal means left and vertical bottom); `position` is
  // the side of the base line the ticks and labels stand on.
  QelRectangularScale(QelDisplay* display, const QelPoint& origin, uint32_t size,
                      const char* format, float min, float max, QelPosition direction,
                      QelPosition position, uint16_t steps, uint16_t subSteps, uint16_t stepSize,
                      uint16_t subStepSize, QelPalette* palette = nullptr);
  QelRectangularScale(const QelRectangularScale& other);
  // Reads the fields named in the header comment.
  QelRectangularScale(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  // Everything draw paints: the ticks and base line, and the labels it shows.
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // Moves the origin and stretches the length along the axis; tick lengths stay in pixels.
  void applyTransform(const QelTransformer* t) override;
  QelGraphic* copy() const override { return new QelRectangularScale(*this); }
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  // The rectangle of a scale of length `size` (0 counts as 1) whose graduation starts at
  // `origin`, and back: computeSize returns the length and sets `origin`.
  void computeRect(const QelPoint& origin, uint32_t size);
  uint32_t computeSize(QelPoint& origin) const;
  void getOrigin(QelPoint& origin) const { computeSize(origin); }
  void setOrigin(const QelPoint& origin);
  uint32_t getSize() const;
  // Sets the rectangle's width (horizontal) or height directly.
  void setSize(uint32_t size);
  QelPosition getDirection() const { return _direction; }
  void setDirection(QelPosition direction);
  QelPosition getPosition() const { return _position; }
  void setPosition(QelPosition position);
  bool isHorizontal() const { return _direction & (QelLeft | QelRight); }

  int getIntegerSteps() const { return _integerSteps; }
  void setIntegerSteps(int on) { _integerSteps = on != 0; }
  int getVerticalLabels() const { return _verticalLabels; }
  void setVerticalLabels(int on) { _verticalLabels = on != 0; }
  int getLabelsBetweenTicks() const { return _labelsBetweenTicks; }
  void setLabelsBetweenTicks(int on) { _labelsBetweenTicks = on != 0; }
  // While set, every label is shown whatever the overlap.
  int getKeepAllLabels() const { return _keepAllLabels; }
  void setKeepAllLabels(int on) { _keepAllLabels = on != 0; }

  // Every k-th tick and label is drawn: k is recomputed when the scale is marked modified (and
  // the mark cleared), else the stored value is returned.
  uint16_t getNumberOfSkippedSteps() const;
  // Whether a point of `port` is worth drawing from: inside the port (and the clip's box) with
  // a 200-pixel margin; always for ports that record or print rather than show.
  bool liesIn(const QelPort* port, const QelPoint& point, const QelRegion* clip) const;

  // View boxes: where label `index` is placed (empty when it is missing or, between ticks, the
  // last), the labels draw shows together, and the base line with the ticks.
  void labelBBox(uint16_t index, QelRect& rect, const QelTransformer* t = nullptr) const;
  void labelsBBox(QelRect& rect, const QelTransformer* t = nullptr) const;
  void ticksBBox(QelRect& rect, const QelTransformer* t = nullptr) const;

  static QelClassInfo* ClassInfo();

 private:
  struct Graduation;
  struct Area;
  // The step and tick vectors of the current geometry, shared by drawing and the boxes.
  Graduation graduation(const QelTransformer* t) const;
  // Where tick `index` stands on the axis (object coordinate), from an origin moved by `shift`.
  int32_t tickAxis(const Graduation& g, uint32_t index, int32_t shift) const;
  QelPoint axisPoint(const Graduation& g, int32_t axis, const QelTransformer* t) const;
  // The text origin of label `index` (false when the label is missing).
  bool labelOrigin(const Graduation& g, uint16_t index, const QelTransformer* t,
                   QelPoint& origin) const;
  QelRect labelBox(const Graduation& g, uint16_t index, const QelTransformer* t) const;
  uint16_t lastLabelIndex() const;
  int32_t labelShift(const Graduation& g) const;
  uint16_t computeSkip() const;
  // The drawable area of liesIn; false when nothing can be drawn.
  bool drawableArea(const QelPort* port, const QelRegion* clip, Area& area) const;
  // The indices first ... last whose ticks (moved by `shift`) may reach `area` when a point
  // `margin` pixels from them has to lie in it; false when none can.
  bool indexRange(const Graduation& g, const QelTransformer* t, const Area& area, double margin,
                  int32_t shift, uint32_t& first, uint32_t& last) const;
  void drawTicks(QelPort* port, const QelPalette* palette, const Graduation& g,
                 const QelTransformer* t, const Area& area, uint16_t skip) const;
  void drawLabels(QelPort* port, const QelPalette* palette, const Graduation& g,
                  const QelTransformer* t, const Area& area, uint16_t skip) const;

  QelPosition _direction = QelLeft;
  QelPosition _position = QelBottom;
  mutable uint16_t _skip = 1;
  int _integerSteps = 0;
  int _verticalLabels = 0;
  int _labelsBetweenTicks = 0;
  int _keepAllLabels = 1;
};

// Registers QelScale and QelRectangularScale; safe to call many times.
int QelScaleModuleInit();
