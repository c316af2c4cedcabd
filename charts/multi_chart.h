// Charts of several data sets, one palette each: the multi chart, side-by-side and stacked
// arrangements, and their bar kinds.
#pragma once

#include <cstdint>
#include <memory>

#include "charts/chart.h"
#include "graphics/output_file.h"

class QelMultiChart : public QelAbstractChart, public QelPaletteUser {
 public:
  explicit QelMultiChart(QelDisplay* display, QelPalette* palette = nullptr);
  QelMultiChart(QelDisplay* display, const QelPoint& origin, float xScale, float yScale,
                QelPalette* palette = nullptr);
  // Shares the other chart's data sets and palettes.
  QelMultiChart(const QelMultiChart& other);
  // Reads the mapping only: a kind reads its own fields, then calls readDataSets.
  QelMultiChart(QelInputFile& file, QelPalette* palette);
  ~QelMultiChart() override;

  // The set and the palette are locked; a null palette draws the set with the chart's own. An
  // index past the end appends; a null set is ignored, and so is a set beyond 65535.
  void insertData(unsigned long index, QelChartData* data, QelPalette* palette = nullptr);
  void addData(QelChartData* data, QelPalette* palette = nullptr);
  // Replaces the set and palette at `index` (nothing happens for an index out of range or a
  // null set).
  void setData(unsigned long index, QelChartData* data, QelPalette* palette = nullptr);
  void removeData(unsigned long index);
  // The first index of `data`, or -1.
  int getIndex(const QelChartData* data) const;
  QelChartData* getData(unsigned long index) const;
  using QelSimpleGraphic::getPalette;
  // The palette set `index` is drawn with (the chart's own when it was given none), or null.
  QelPalette* getPalette(unsigned long index) const;
  uint16_t getDataCount() const { return _count; }

  // Includes the baseline for kinds that extend to it, and what they draw across the direction.
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void apply(QelApplyObject f, void* arg) override;
  void applyPalettes(QelApplyPalette f, void* arg) const override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();

  QelMultiChart& operator=(const QelMultiChart&) = delete;

 protected:
  unsigned long dataCount() const override { return _count; }
  const QelChartData* dataAt(unsigned long index) const override {
    return index < _count ? _entries[index].data : nullptr;
  }
  // The view box that contains() tests for that point.
  virtual void placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                               const QelTransformer* t) const;
  // Pixels drawn on each side of a point across the direction.
  virtual uint32_t crossMargin() const { return 0; }
  // The palette to draw set `set` with: a palette lent by drawPalette overrides them all.
  const QelPalette* paletteToDraw(unsigned long set) const;
  // The baseline's view y for kinds drawn from it.
  int32_t baseY(const QelTransformer* t) const { return basePoint(t).y; }
  // The count of sets, then each set's palette index, class name and values.
  void writeDataSets(QelOutputFile& file) const;
  void readDataSets(QelInputFile& file);

 private:
  struct Entry {
    QelChartData* data;
    QelPalette* palette;
  };
  bool grow();

  std::unique_ptr<Entry[]> _entries;
  uint16_t _count = 0;
  uint16_t _capacity = 0;
};

// The sets of a group stand next to each other across the direction, each in a slot of
// slotWidth() pixels, the group centred on the points' position.
class QelSideBySideChart : public QelMultiChart {
 public:
  using QelMultiChart::QelMultiChart;
  QelSideBySideChart(const QelSideBySideChart& other) = default;

  // Point `index` of set `set` moved to the centre of its slot (p is left alone when either
  // index is out of range).
  virtual void getDataRelativePoint(unsigned long set, unsigned long index, QelPoint& p,
                                    const QelTransformer* t) const;
  // The area to redraw when that point moves.
  virtual void dataPointRelativeBBox(unsigned long set, unsigned long index, QelRect& rect,
                                     const QelTransformer* t) const;
  // The index of the first point, set by set, whose relative point lies in the square of
  // half-side `size` around `tp`, with its set's index in `set`; -1 for both when none does.
  virtual unsigned long whichDataPoint(unsigned int size, const QelPoint& tp,
                                       const QelTransformer* t, int& set) const;
  const char* getDefaultInteractor() const override { return "SSChDragY"; }
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();

 protected:
  virtual uint32_t slotWidth() const = 0;
  // From the points' position to the centre of set `set`'s slot.
  int64_t slotOffset(unsigned long set) const;
  void getPlacedPoint(unsigned long set, unsigned long index, QelPoint& p,
                      const QelTransformer* t) const override {
    getDataRelativePoint(set, index, p, t);
  }
  void placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                       const QelTransformer* t) const override {
    dataPointRelativeBBox(set, index, rect, t);
  }
  uint32_t crossMargin() const override;
};

// Each set's values are drawn on the sum of the earlier sets' values of the same index:
// positive values stack upward on the positive ones before them, negative values downward on
// the negative ones, so that no two segments overlap. A missing (NaN) value stacks as zero.
class QelStackedChart : public QelMultiChart {
 public:
  using QelMultiChart::QelMultiChart;
  QelStackedChart(const QelStackedChart& other) = default;

  // The values where the segment of point `index` of set `set` starts and ends (both 0 when
  // either index is out of range).
  virtual void getStackedValues(unsigned long set, unsigned long index, float& from,
                                float& to) const;
  // The view position of that segment's end, at the point's x.
  virtual void getDataStackedPoint(unsigned long set, unsigned long index, QelPoint& p,
                                   const QelTransformer* t) const;
  // Covers the stacked sums, not the sets' own values.
  void chartBBox(QelFloatRect& range, const QelRect* rect = nullptr,
                 const QelTransformer* t = nullptr) const override;
  const char* getDefaultInteractor() const override { return "SChDragY"; }
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();

 protected:
  void getPlacedPoint(unsigned long set, unsigned long index, QelPoint& p,
                      const QelTransformer* t) const override {
    getDataStackedPoint(set, index, p, t);
  }
  void placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                       const QelTransformer* t) const override;
  // The indices from `first` up to `end` (excluded) that can show through `clip`, over all the
  // sets, for x ascending. Stacking pairs points by index, which a set's sliced points do not
  // carry: the window is found here instead.
  void visibleIndices(const QelRegion* clip, const QelTransformer* t, unsigned long& first,
                      unsigned long& end) const;
};

// Bars of `barWidth` pixels, the sets of a group side by side.
class QelSideBySideBarChart : public QelSideBySideChart {
 public:
  static constexpr uint16_t kDefaultBarWidth = 10;

  explicit QelSideBySideBarChart(QelDisplay* display, uint16_t barWidth = kDefaultBarWidth,
                                 QelPalette* palette = nullptr);
  QelSideBySideBarChart(QelDisplay* display, const QelPoint& origin, float xScale, float yScale,
                        uint16_t barWidth = kDefaultBarWidth, QelPalette* palette = nullptr);
  QelSideBySideBarChart(const QelSideBySideBarChart& other) = default;
  QelSideBySideBarChart(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  bool extendsToBase() const override { return true; }
  void write(QelOutputFile& file) const override;
  QelGraphic* copy() const override { return new QelSideBySideBarChart(*this); }
  QelClassInfo* getClassInfo() const override;

  uint16_t getBarWidth() const { return _barWidth; }
  void setBarWidth(uint16_t width) { _barWidth = width; }
  // The bar of point `index` of set `set` (empty when either is out of range).
  QelRect barRect(unsigned long set, unsigned long index, const QelTransformer* t) const;

  static QelClassInfo* ClassInfo();

 protected:
  uint32_t slotWidth() const override { return _barWidth; }
  void placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                       const QelTransformer* t) const override {
    rect = barRect(set, index, t);
  }

 private:
  uint16_t _barWidth;
};

// Bars of `barWidth` pixels centred on the points, one segment per set.
class QelStackedBarChart : public QelStackedChart {
 public:
  static constexpr uint16_t kDefaultBarWidth = 10;

  explicit QelStackedBarChart(QelDisplay* display, uint16_t barWidth = kDefaultBarWidth,
                              QelPalette* palette = nullptr);
  QelStackedBarChart(QelDisplay* display, const QelPoint& origin, float xScale, float yScale,
                     uint16_t barWidth = kDefaultBarWidth, QelPalette* palette = nullptr);
  QelStackedBarChart(const QelStackedBarChart& other) = default;
  QelStackedBarChart(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  bool extendsToBase() const override { return true; }
  void write(QelOutputFile& file) const override;
  QelGraphic* copy() const override { return new QelStackedBarChart(*this); }
  QelClassInfo* getClassInfo() const override;

  uint16_t getBarWidth() const { return _barWidth; }
  void setBarWidth(uint16_t width) { _barWidth = width; }
  // The segment of point `index` of set `set` (empty when either is out of range).
  QelRect barRect(unsigned long set, unsigned long index, const QelTransformer* t) const;

  static QelClassInfo* ClassInfo();

 protected:
  uint32_t crossMargin() const override { return (uint32_t(_barWidth) + 1) / 2; }
  void placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                       const QelTransformer* t) const override {
    rect = barRect(set, index, t);
  }

 private:
  uint16_t _barWidth;
};

// Registers the multi-chart classes (called by the chart module's initialiser).
void QelRegisterMultiCharts();
