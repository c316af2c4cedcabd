// The single-data chart kinds besides the polyline: filled polygon, stairs, bars, scatter markers
// and 3-D bars.
#pragma once

#include <cstdint>

#include "charts/chart.h"

// The area between the points and the baseline, filled.
class QelPolygonChart : public QelChart {
 public:
  using QelChart::QelChart;
  QelPolygonChart(const QelPolygonChart& other) = default;

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Inside the filled polygon (even-odd).
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  bool extendsToBase() const override { return true; }
  void dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                     const QelTransformer* t) const override;
  // The data points, then (last x, base y) and (first x, base y) closing the polygon.
  const QelPoint* getPoints(unsigned long& count, const QelRegion* clip,
                            const QelTransformer* t) const override;
  QelGraphic* copy() const override { return new QelPolygonChart(*this); }
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();
};

// Steps: each value holds until the next point's x.
class QelStairChart : public QelPolygonChart {
 public:
  using QelPolygonChart::QelPolygonChart;
  QelStairChart(const QelStairChart& other) = default;

  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  // In the internal point buffer: each point and the corner under the next one, then the two
  // closing points of the polygon.
  const QelPoint* getPoints(unsigned long& count, const QelRegion* clip,
                            const QelTransformer* t) const override;
  QelGraphic* copy() const override { return new QelStairChart(*this); }
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();
};

// One filled bar per point, from the baseline to the value.
class QelBarChart : public QelChart {
 public:
  static constexpr uint32_t kDefaultHalfWidth = 4;

  // `direction` is QelVertical (bars rise along y) or QelHorizontal; anything else is vertical.
  QelBarChart(QelDisplay* display, QelChartData* data, uint32_t halfWidth = kDefaultHalfWidth,
              QelPosition direction = QelVertical, QelPalette* palette = nullptr);
  QelBarChart(QelDisplay* display, QelChartData* data, const QelPoint& origin, float xScale,
              float yScale, uint32_t halfWidth = kDefaultHalfWidth,
              QelPosition direction = QelVertical, QelPalette* palette = nullptr);
  QelBarChart(const QelBarChart& other) = default;
  // Reads the half-width and the direction, then the chart.
  QelBarChart(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Inside one of the bars.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // Scales the half-width like the bars' position across them, then maps the chart.
  void applyTransform(const QelTransformer* t) override;
  bool extendsToBase() const override { return true; }
  QelPosition getDirection() const override { return _direction; }
  // The bar of that point.
  void dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                     const QelTransformer* t) const override;
  void write(QelOutputFile& file) const override;
  QelGraphic* copy() const override { return new QelBarChart(*this); }
  QelClassInfo* getClassInfo() const override;

  uint32_t getHalfWidth() const { return _halfWidth; }
  void setHalfWidth(uint32_t halfWidth) { _halfWidth = halfWidth; }
  void setDirection(QelPosition direction);
  // The bar of a point drawn at `p` over the baseline `base`.
  QelRect barRect(const QelPoint& p, const QelPoint& base) const;

  static QelClassInfo* ClassInfo();

 private:
  struct Fields {
    uint32_t halfWidth;
    QelPosition direction;
  };
  static Fields ReadFields(QelInputFile& file);
  QelBarChart(QelInputFile& file, QelPalette* palette, const Fields& fields);

  uint32_t _halfWidth;
  QelPosition _direction;
};

// A marker at each point.
class QelScatterChart : public QelChart {
 public:
  static constexpr uint16_t kDefaultMarkerSize = 4;

  // `type` is a set of QelMarkerType bits (1 is the square).
  QelScatterChart(QelDisplay* display, QelChartData* data, uint16_t size = kDefaultMarkerSize,
                  unsigned int type = 1, QelPalette* palette = nullptr);
  QelScatterChart(QelDisplay* display, QelChartData* data, const QelPoint& origin, float xScale,
                  float yScale, uint16_t size = kDefaultMarkerSize, unsigned int type = 1,
                  QelPalette* palette = nullptr);
  QelScatterChart(const QelScatterChart& other) = default;
  // Reads the marker size and type, then the chart.
  QelScatterChart(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Inside one of the markers' boxes.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // The marker's box: (x - size, y - size, 2 size + 1, 2 size + 1).
  void dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                     const QelTransformer* t) const override;
  void write(QelOutputFile& file) const override;
  QelGraphic* copy() const override { return new QelScatterChart(*this); }
  QelClassInfo* getClassInfo() const override;

  uint16_t getMarkerSize() const { return _markerSize; }
  void setMarkerSize(uint16_t size) { _markerSize = size; }
  unsigned int getMarkerType() const { return _markerType; }
  void setMarkerType(unsigned int type) { _markerType = type; }

  static QelClassInfo* ClassInfo();

 private:
  struct Fields {
    uint16_t size;
    unsigned int type;
  };
  static Fields ReadFields(QelInputFile& file);
  QelScatterChart(QelInputFile& file, QelPalette* palette, const Fields& fields);

  uint16_t _markerSize;
  unsigned int _markerType;
};

// Bars seen from the front, above and to the right: a front face in the chart's palette, a
// lighter top and a darker right side, both receding `depth` pixels up and to the right.
class Qel3dBarChart : public QelChart {
 public:
  static constexpr uint32_t kDefaultBarWidth = 10;
  static constexpr uint32_t kDefaultDepth = 5;

  Qel3dBarChart(QelDisplay* display, QelChartData* data, uint32_t barWidth = kDefaultBarWidth,
                uint32_t depth = kDefaultDepth, QelPalette* palette = nullptr);
  Qel3dBarChart(QelDisplay* display, QelChartData* data, const QelPoint& origin, float xScale,
                float yScale, uint32_t barWidth = kDefaultBarWidth, uint32_t depth = kDefaultDepth,
                QelPalette* palette = nullptr);
  Qel3dBarChart(const Qel3dBarChart& other);
  // Reads the bar width and the depth, then the chart.
  Qel3dBarChart(QelInputFile& file, QelPalette* palette);
  ~Qel3dBarChart() override;

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // On one of the bars' faces.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // Scales the width across the bars and the depth by the mean scale, then maps the chart.
  void applyTransform(const QelTransformer* t) override;
  bool extendsToBase() const override { return true; }
  // The bar of that point with its top and side.
  void dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                     const QelTransformer* t) const override;
  void setBackground(QelColor* color) override;
  void setForeground(QelColor* color) override;
  void setOverwrite(int overwrite) override;
  void setMode(int mode) override;
  void setPalette(QelPalette* palette) override;
  void write(QelOutputFile& file) const override;
  QelGraphic* copy() const override { return new Qel3dBarChart(*this); }
  QelClassInfo* getClassInfo() const override;

  uint32_t getBarWidth() const { return _barWidth; }
  void setBarWidth(uint32_t width) { _barWidth = width; }
  uint32_t getDepth() const { return _depth; }
  void setDepth(uint32_t depth) { _depth = depth; }
  // The face palettes, derived from the chart palette's foreground (locked while held).
  QelPalette* getTopPalette() const { return _topPalette; }
  QelPalette* getSidePalette() const { return _sidePalette; }
  // Derives the top and side palettes again from the chart's palette.
  virtual void computePalettes();

  static QelClassInfo* ClassInfo();

  Qel3dBarChart& operator=(const Qel3dBarChart&) = delete;

 private:
  struct Fields {
    uint32_t barWidth;
    uint32_t depth;
  };
  static Fields ReadFields(QelInputFile& file);
  Qel3dBarChart(QelInputFile& file, QelPalette* palette, const Fields& fields);
  // The front face of a point drawn at `p` over the baseline `base`.
  QelRect frontRect(const QelPoint& p, const QelPoint& base) const;
  // Recomputes when the chart's palette is no longer the one the faces came from.
  void refreshPalettes();
  void releasePalettes();

  uint32_t _barWidth;
  uint32_t _depth;
  QelPalette* _topPalette = nullptr;
  QelPalette* _sidePalette = nullptr;
  const QelPalette* _facesOf = nullptr;  // the chart palette the faces were derived from
};

// Registers the kinds' classes (called by the chart module's initialiser).
void QelRegisterChartKinds();
