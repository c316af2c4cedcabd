// Charts: graphics that draw chart data in a rectangle of a view through a linear mapping from
// data space (an integer origin and two float scales). QelAbstractChart holds the mapping,
// QelChart adds one shared data set, and QelPolylineChart is the model kind that the others
// (chart_kinds.h, multi_chart.h) follow.
#pragma once

#include <cstdint>

#include "charts/chart_data.h"
#include "graphics/geometry.h"
#include "graphics/simple_graphic.h"

class QelRegion;

class QelAbstractChart : public QelSimpleGraphic {
 public:
  // A null palette means the display's default; origin (0, 0) and both scales 1.
  QelAbstractChart(QelDisplay* display, QelPalette* palette);
  QelAbstractChart(QelDisplay* display, const QelPoint& origin, float xScale, float yScale,
                   QelPalette* palette);
  QelAbstractChart(const QelAbstractChart& other);
  // Reads the origin and the scales.
  QelAbstractChart(QelInputFile& file, QelPalette* palette);

  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // Moves and scales the mapping so that the data lands on the transformed box.
  void applyTransform(const QelTransformer* t) override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  // Whether the drawing reaches the zero baseline (bars, filled areas).
  virtual bool extendsToBase() const { return false; }
  // QelVertical: values rise along y; QelHorizontal: along x.
  virtual QelPosition getDirection() const { return QelVertical; }
  // Each point info's graphic, moved to its point displaced by the info's offset.
  virtual void drawPointInfo(QelPort* port, const QelTransformer* t, const QelRegion* clip) const;
  // The data range seen through the view rectangle `rect`, within `dataBox`; 0 (and the box's
  // minimum corner) when they do not meet.
  virtual int intersection(const QelRect& rect, const QelFloatRect& dataBox, QelFloatRect& result,
                           const QelTransformer* t) const;
  // The data's bounding box, or the part of it seen through `rect`.
  virtual void chartBBox(QelFloatRect& range, const QelRect* rect = nullptr,
                         const QelTransformer* t = nullptr) const;
  // The area to redraw when point `index` of `data` moves: it and its two neighbours.
  virtual void dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                             const QelTransformer* t) const;
  virtual void bboxPoint(unsigned long index, QelRect& rect, const QelTransformer* t) const;
  // Fits the data range into `rect`.
  virtual void adjust(const QelRect& rect);

  // Data point `index` of `data` in view coordinates (truncated toward zero), and back.
  void getDataPoint(const QelChartData* data, unsigned long index, QelPoint& p,
                    const QelTransformer* t) const;
  void setDataPoint(QelChartData* data, unsigned long index, const QelPoint& p,
                    const QelTransformer* t) const;
  // The view position of a data-space point, and the data-space point seen at a view
  // position (false when the mapping cannot be undone: a zero scale or a singular transformer).
  QelPoint mapToView(const QelFloatPoint& point, const QelTransformer* t) const;
  bool mapFromView(const QelPoint& p, const QelTransformer* t, QelFloatPoint& point) const;

  const QelPoint& getOrigin() const { return _origin; }
  void setOrigin(const QelPoint& origin) { _origin = origin; }
  float getXScale() const { return _xScale; }
  float getYScale() const { return _yScale; }
  void setScales(float xScale, float yScale) { _xScale = xScale, _yScale = yScale; }

  static QelClassInfo* ClassInfo();

 protected:
  // The chart's data sets, for the operations written once for one or many sets.
  virtual unsigned long dataCount() const { return 0; }
  virtual const QelChartData* dataAt(unsigned long) const { return nullptr; }
  // Where point `index` of set `set` is drawn (its point infos hang there): the mapped point,
  // unless a kind places its sets apart.
  virtual void getPlacedPoint(unsigned long set, unsigned long index, QelPoint& p,
                              const QelTransformer* t) const;
  // The baseline (data value 0) in view coordinates.
  QelPoint basePoint(const QelTransformer* t) const;

 private:
  // A chart container refits its charts when it next uses them: the stamp says which of its
  // fits the mapping follows.
  friend class QelChartContainer;
  QelPoint _origin;
  float _xScale = 1;
  float _yScale = 1;
  uint32_t _fitStamp = 0;
};

class QelChart : public QelAbstractChart {
 public:
  // The data set is shared: the chart locks it (a null set is allowed).
  QelChart(QelDisplay* display, QelChartData* data, QelPalette* palette = nullptr);
  QelChart(QelDisplay* display, QelChartData* data, const QelPoint& origin, float xScale,
           float yScale, QelPalette* palette = nullptr);
  QelChart(const QelChart& other);
  // Reads the mapping, then the data set through the class registry.
  QelChart(QelInputFile& file, QelPalette* palette);
  ~QelChart() override;

  void apply(QelApplyObject f, void* arg) override;
  void write(QelOutputFile& file) const override;
  const char* getDefaultInteractor() const override { return "ChDragY"; }
  QelClassInfo* getClassInfo() const override;
  void bboxPoint(unsigned long index, QelRect& rect, const QelTransformer* t) const override;

  virtual void getPoint(unsigned long index, QelPoint& p, const QelTransformer* t) const;
  // Ignored for read-only data.
  virtual void setPoint(unsigned long index, const QelPoint& p, const QelTransformer* t);
  // The lowest index whose square of half-side `size` around it holds `tp`, or -1.
  virtual unsigned long whichPoint(unsigned int size, const QelPoint& p, const QelPoint& tp,
                                   const QelTransformer* t) const;
  // Y-points data only: drops the first value, appends `value`, and returns in `area` the view
  // rectangle to redraw. Nothing is drawn here.
  virtual void scroll(float value, QelRect& area, QelPort* port, const QelTransformer* t);
  // The data points in view coordinates, only the slice seen through `clip` when given, in
  // the shared point buffer with room for four more points.
  virtual const QelPoint* getPoints(unsigned long& count, const QelRegion* clip,
                                    const QelTransformer* t) const;

  QelChartData* getData() const { return _data; }
  void setData(QelChartData* data);

  static QelClassInfo* ClassInfo();

 protected:
  unsigned long dataCount() const override { return _data ? 1 : 0; }
  const QelChartData* dataAt(unsigned long) const override { return _data; }
  // Converts `count` data points into the shared buffer, with `extra` free places after them.
  const QelPoint* mapPoints(const QelFloatPoint* points, unsigned long count, unsigned long extra,
                            const QelTransformer* t) const;

 private:
  void readData(QelInputFile& file);

  QelChartData* _data = nullptr;
};

class QelPolylineChart : public QelChart {
 public:
  using QelChart::QelChart;
  QelPolylineChart(const QelPolylineChart& other) = default;

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  QelGraphic* copy() const override { return new QelPolylineChart(*this); }
  QelClassInfo* getClassInfo() const override;

  static QelClassInfo* ClassInfo();
};

// Registers the data sets and every chart class; safe to call many times.
int QelChartModuleInit();

// A float of view space as a pixel coordinate: truncated toward zero and held to 32 bits (NaN
// gives 0), so that no data value can make the conversion undefined. Inline: every point of
// every chart drawn passes here.
inline int32_t QelTruncToPixel(double value) {
  if (!(value > -2147483648.0)) return value < 0 ? INT32_MIN : 0;  // below the range, or NaN
  return value < 2147483647.0 ? int32_t(value) : INT32_MAX;
}
