// The chart container: a container that draws any number of charts in one chart area against
// common data ranges, with up to three rectangular scales (bottom, left, right) laid out around
// the area, zooming and scrolling through keyboard accelerators and a rubber band, and a legend.
//
// The charts form one contiguous run of the container's object list, in drawing order; the run
// is the chart list (its first and last links are kept here), so a chart's list position is its
// object index less the first chart's, and every list operation costs what the object list's
// costs: O(log n).
//
// chart_container.cpp holds construction, ranges, scales, charts and layout;
// chart_legend.cpp the legend graphic and the legend operations.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "charts/chart_index.h"
#include "display/container.h"
#include "graphics/region.h"
#include "graphics/simple_graphic.h"

class QelAbstractChart;
class QelRectangularScale;
class QelSymbol;

// Stands for the chart area in the object list: its box is the area. It draws nothing; it lets
// the area be found, moved and resized like any other object.
class QelChartsHandle : public QelSimpleGraphic {
 public:
  QelChartsHandle(QelDisplay* display, const QelRect& rect);
  QelChartsHandle(QelInputFile& file, QelPalette* palette);

  void draw(QelPort*, const QelTransformer*, const QelRegion*) const override {}
  bool contains(const QelPoint&, const QelPoint&, const QelTransformer*) const override {
    return false;
  }
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  void applyTransform(const QelTransformer* t) override;
  QelGraphic* copy() const override { return new QelChartsHandle(getDisplay(), _rect); }
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  const QelRect& getRect() const { return _rect; }
  void setRect(const QelRect& rect) { _rect = rect; }

  static QelClassInfo* ClassInfo();

 private:
  QelRect _rect;
};

// The legend: one row per chart, a swatch in the chart's palette and the chart's name, stacked
// top to bottom inside a framed box whose top-left corner is the legend's position.
class QelChartLegend : public QelSimpleGraphic {
 public:
  struct Item {
    const QelAbstractChart* chart;  // null for an item read from a data file
    std::string name;
    QelPalette* palette;  // locked
  };

  QelChartLegend(QelDisplay* display, const QelPoint& position, QelPalette* palette = nullptr);
  // Reads "X Y COUNT" and COUNT items "NAME" R G B (the swatch colour, 16-bit components).
  QelChartLegend(QelInputFile& file, QelPalette* palette);
  QelChartLegend(const QelChartLegend& other);
  ~QelChartLegend() override;

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  void applyTransform(const QelTransformer* t) override;
  QelGraphic* copy() const override { return new QelChartLegend(*this); }
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  // The item's index; a chart already there gets its name and palette replaced.
  size_t addItem(const QelAbstractChart* chart, const char* name, QelPalette* palette);
  bool removeItem(const QelAbstractChart* chart);
  // The item of the chart, or null.
  const Item* getItem(const QelAbstractChart* chart) const;
  size_t getCount() const { return _items.size(); }
  const Item& getItemAt(size_t index) const { return _items[index]; }
  // The view box of row `index`.
  QelRect itemBox(size_t index, const QelTransformer* t = nullptr) const;

  static QelClassInfo* ClassInfo();

 private:
  QelPoint _position;
  std::vector<Item> _items;
  std::unordered_map<const QelAbstractChart*, size_t> _index;
};

class QelChartContainer : public QelContainer {
 public:
  // A chart container in a new drawing area of `parentWidget`, placed at `point` and as large
  // as `area` reaches. The chart area and the scales named in `scalePositions` (bottom, left,
  // right) are laid out in `area`. `axisPosition` is the scale that carries the value axis; a
  // position without a scale index (vertical, for instance) gives the value axis a range of its
  // own. With `accelerators` set, the keyboard and rubber-band bindings are installed.
  QelChartContainer(QelDisplay* display, void* parentWidget, const QelRect& area,
                    const QelPoint& point, QelPosition axisPosition, QelPosition scalePositions,
                    int accelerators);
  // The same over an existing widget.
  QelChartContainer(QelDisplay* display, void* widget, int doubleBuffering, const QelRect& area,
                    QelPosition axisPosition, QelPosition scalePositions, int accelerators);
  ~QelChartContainer() override;

  static int positionToIndex(QelPosition position);
  static QelPosition indexToPosition(int index);

  // --- Overrides ---------------------------------------------------------------------------
  // Draws only the charts the region can show (found through their data extents), each
  // clipped to the chart area.
  void drawAll(QelPort* port, const QelRegion& region, const QelRegion* clip) override;
  // Every object in order, the charts clipped to the chart area.
  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) override;
  using QelContainer::draw;
  // Brings a managed chart's mapping up to the container's last fit (see adjustCharts).
  void prepareObject(QelGraphic* obj) const override;
  // A managed chart deleted by its owner leaves the chart list too.
  void objectDeleted(QelGraphic* obj) override;
  void handleResize(QelRect& size) override;
  // Scales every part of the layout by the ratios (the chart area and the legend's place).
  virtual void applyResize(float sx, float sy, int redraw);

  // --- Hooks and operations, in slot order -------------------------------------------------
  virtual void updateScaleLabels(QelPosition positions) const;
  virtual void updateScale(QelPosition positions);
  // Draws (or, drawn a second time, erases) the rubber band in XOR on the window.
  virtual void drawGhost();
  virtual void addChart(QelAbstractChart* chart, int redraw);
  virtual void insertChart(QelAbstractChart* chart, int redraw);
  virtual int removeChart(QelAbstractChart* chart, int redraw);
  // Refits one chart after its data changed, asking validate for the range.
  virtual void updateChart(QelAbstractChart* chart, int redraw);
  virtual void adjustChart(QelAbstractChart* chart);
  // Moves the chart area (and its scales) by dx, dy.
  virtual void moveCharts(int32_t dx, int32_t dy, int redraw);
  virtual void reshapeCharts(const QelRect& rect, int redraw);
  virtual void zoomCharts(QelPosition positions, float xMin, float xMax, float yMin, float yMax,
                          int redraw);
  virtual void translateCharts(QelPosition positions, float dx, float dy, int redraw);
  virtual QelGraphic* getLegendItem(const QelAbstractChart* chart) const;
  virtual void addToLegend(QelAbstractChart* chart, int redraw);
  virtual void addToLegend(QelAbstractChart* chart, const char* name, int redraw);
  virtual void removeFromLegend(QelAbstractChart* chart, int redraw);
  // The data ranges seen through a rectangle of the view; false when it is empty.
  virtual bool computePoints(const QelRect& rect, float& xMin, float& xMax, float& yMin,
                             float& yMax) const;
  // The chart list changed: redraws the chart area when asked.
  virtual void contentsChanged(int redraw);
  // The data range a chart is shown in; the ranges come in as the visible ones.
  virtual void validate(float& xMin, float& xMax, float& yMin, float& yMax);

  // --- Scales --------------------------------------------------------------------------------
  QelRectangularScale* getScale(QelPosition position) const;
  void setScale(QelPosition position, QelRectangularScale* scale);
  const char* getScaleFormat(QelPosition position) const;
  void setScaleFormat(QelPosition positions, const char* format);

  // --- Ranges ----------------------------------------------------------------------------------
  void fitChartsToContents(QelPosition positions, int redraw);
  // The x range is the bottom scale's; the y range is the value axis's.
  void getVisibleRange(QelPosition direction, float& min, float& max) const;
  void getLimits(QelPosition direction, float& min, float& max) const;
  // Sets the full data limits of a direction (horizontal or vertical); ignored when max <= min.
  void setLimits(QelPosition direction, float min, float max);
  QelPosition getAxisPosition() const { return axisPosition; }

  // --- Charts ----------------------------------------------------------------------------------
  void pushChart(QelAbstractChart* chart, int redraw);
  void popChart(QelAbstractChart* chart, int redraw);
  QelAbstractChart* getChart(int index) const;
  int getChartIndex(const QelAbstractChart* chart) const;
  // Valid until the next call; never freed by the caller.
  QelAbstractChart** getCharts(uint32_t& count) const;
  uint32_t getChartCount() const { return _chartCount; }
  void adjustCharts();
  // Refiles every chart after their data changed (one chart: updateChart).
  void updateCharts();
  // Repaints the chart area and the scales along it.
  void reDrawCharts();
  const QelRect& getChartArea() const { return chartArea; }
  QelRect chartsBBox(const QelTransformer* t = nullptr) const;
  QelChartsHandle* getChartsHandle() const { return _handle; }

  // --- Where the scales cross ----------------------------------------------------------------
  // A scale at a fixed pixel offset from its place beside the chart area.
  void fixOrigin(QelPosition position, const QelPoint& offset);
  // A scale that crosses the other axis at a data value (the bottom scale at a y value, a side
  // scale at an x value); it follows the value as the ranges change.
  void attachOrigin(QelPosition position, float value);
  void getOrigins(QelPoint origins[3]) const;
  // Per index: whether the scale is attached, and to what value.
  void getOriginAttachments(int attached[3], float values[3]) const;
  // Recomputes the pixel offsets of attached scales from the visible ranges.
  void computeAxisLimits();

  // --- Legend ----------------------------------------------------------------------------------
  // Takes the legend (a QelChartLegend, or null to have none); every managed chart gets an item.
  void setLegend(QelGraphic* legend);
  QelGraphic* getLegend() const { return legend; }

  // --- Accelerators ----------------------------------------------------------------------------
  void installAccelerators();
  static void ctTranslateRight(QelContainer*, QelEvent&, void*);
  static void ctTranslateLeft(QelContainer*, QelEvent&, void*);
  static void ctTranslateDown(QelContainer*, QelEvent&, void*);
  static void ctTranslateUp(QelContainer*, QelEvent&, void*);
  static void ctHorizontalZoom(QelContainer*, QelEvent&, void*);
  static void ctHorizontalUnZoom(QelContainer*, QelEvent&, void*);
  static void ctVerticalZoom(QelContainer*, QelEvent&, void*);
  static void ctVerticalUnZoom(QelContainer*, QelEvent&, void*);
  static void ctHorzontalFitToContents(QelContainer*, QelEvent&, void*);
  static void ctVerticalFitToContents(QelContainer*, QelEvent&, void*);
  // "B": back to the whole picture, both directions fitted to the data at once.
  static void ctFitAllToContents(QelContainer*, QelEvent&, void*);
  static void ctRubberBand(QelContainer*, QelEvent&, void*);

  // The property keys that mark a managed chart.
  static const QelSymbol* _chartProperty();
  static const QelSymbol* _axisProperty();

 protected:
  // Enters a chart in the list (-1 appends, 0 puts it first), marks and fits it.
  void manageChart(QelAbstractChart* chart, int listPosition);
  // The slot of the value axis's ranges.
  float& yVisibleMin() { return _yIndex >= 0 ? visibleMin[_yIndex] : _ownVisibleMin; }
  float& yVisibleMax() { return _yIndex >= 0 ? visibleMax[_yIndex] : _ownVisibleMax; }
  float& yLimitMin() { return _yIndex >= 0 ? limitMin[_yIndex] : _ownLimitMin; }
  float& yLimitMax() { return _yIndex >= 0 ? limitMax[_yIndex] : _ownLimitMax; }
  float yVisibleMin() const { return _yIndex >= 0 ? visibleMin[_yIndex] : _ownVisibleMin; }
  float yVisibleMax() const { return _yIndex >= 0 ? visibleMax[_yIndex] : _ownVisibleMax; }

  QelRect chartArea;
  QelPosition axisPosition;
  float limitMin[3];
  float limitMax[3];
  float visibleMin[3];
  float visibleMax[3];
  QelRectangularScale* scales[3];
  char* scaleFormats[3];
  QelAbstractChart* firstChart = nullptr;
  QelAbstractChart* lastChart = nullptr;
  QelGraphic* legend = nullptr;

 private:
  void addScaleBoxes(QelRegion& region) const;
  // The charts a redraw can reach, for drawAll: files a chart under its data's x extent.
  void indexChart(QelAbstractChart* chart);
  void ensureFitted(QelAbstractChart* chart) const;
  void unindexChart(const QelGraphic* chart);
  // The charts stay inside the chart area (and a pixel to its right and below): a job that
  // started before the window does not run across the axis and its labels.
  struct ChartClip {
    const QelRegion* outer;  // the drawing's own clip, or null
    QelRegion area;          // the chart area within it
    QelRect inside;          // a chart box within this draws with `outer`
    const QelRegion* forBox(const QelRect& box) const;
  };
  ChartClip chartClip(const QelRegion* clip, const QelTransformer* t) const;
  // Draws the chart when it is visible and meets `region`.
  void drawChart(QelAbstractChart* chart, QelPort* port, const QelRegion& region,
                 const ChartClip& clip);
  // Draws every chart of the run that meets `region`, in order.
  void drawRun(QelPort* port, const QelRegion& region, const ChartClip& clip);
  // Draws the charts that meet `region`; false when that needs every chart anyway.
  bool drawIndexedCharts(QelPort* port, const QelRegion& region, const ChartClip& clip);
  void init(QelPosition scalePositions, const QelRect& area, int accelerators);
  // Places each scale along the chart area, at its crossing.
  void placeScales();
  void fitChart(QelAbstractChart* chart, float xMin, float xMax, float yMin, float yMax) const;
  void growLimits(const QelAbstractChart* chart);
  void translateStep(QelPosition direction, int sign);
  void zoomStep(QelPosition direction, bool in);
  int objectIndexOfScaleInsert() const;
  QelRect ghostRect() const;

  int _yIndex = -1;
  float _ownLimitMin = 0, _ownLimitMax = 1, _ownVisibleMin = 0, _ownVisibleMax = 1;
  bool _limitsFromData = true;  // no chart has set the limits yet
  uint32_t _chartCount = 0;
  QelChartsHandle* _handle = nullptr;
  uint32_t _viewWidth = 0, _viewHeight = 0;  // the size the layout was last made for
  QelPoint _originOffset[3];
  int _originAttached[3] = {0, 0, 0};
  float _originValue[3] = {0, 0, 0};
  // The rubber band: anchor and pointer while button 1 is held.
  bool _banding = false;
  bool _ghostShown = false;
  QelPoint _anchor, _pointer;
  QelPalette* _ghostPalette = nullptr;
  // The charts by data extent. Charts fitted to the range of the last adjustCharts share one x
  // mapping (origin x, x scale), which turns a damaged strip into data; a chart fitted to
  // another range since is odd and always tested on its box.
  QelChartIndex _index;
  std::unordered_set<QelAbstractChart*> _oddCharts;
  bool _commonMapping = false;
  int32_t _commonOriginX = 0;
  float _commonXScale = 1;
  int32_t _indexMargin = 0;
  // The chart run in drawing order, while _runValid.
  std::vector<QelAbstractChart*> _run;
  bool _runValid = false;
  // The last adjustCharts: its stamp and the range it fits the charts to.
  uint32_t _fitStamp = 1;
  float _fitRange[4] = {0, 1, 0,
                        1};  // how far any chart's drawing reaches beyond its data, in pixels
};

// Registers QelChartsHandle and QelChartLegend and makes the "Chart", "Legend" and "Axis"
// symbols; safe to call many times.
int QelChartContainerModuleInit();
