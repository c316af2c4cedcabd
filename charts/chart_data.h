// Chart data: the data sets charts draw. A data set maps an index 0 .. count-1 to a point of data
// space; it is reference counted so that charts can share it, and it may carry point infos,
// graphics attached to single data points.
#pragma once

#include <cstdint>
#include <vector>

#include "graphics/class_info.h"
#include "graphics/geometry.h"

class QelGraphic;
class QelInputFile;
class QelOutputFile;

// A graphic that decorates one data point, displaced by `offset` pixels from where the point is
// drawn. The info owns its graphic.
class QelChartPointInfo {
 public:
  QelChartPointInfo(QelGraphic* graphic, unsigned long index, const QelPoint& offset = QelPoint());
  virtual ~QelChartPointInfo();
  // A new info with a copy of the graphic, the same offset and index.
  virtual QelChartPointInfo* copy() const;

  QelGraphic* getGraphic() const { return _graphic; }
  // Deletes the graphic it replaces.
  void setGraphic(QelGraphic* graphic);
  const QelPoint& getOffset() const { return _offset; }
  void setOffset(const QelPoint& offset) { _offset = offset; }
  unsigned long getIndex() const { return _index; }
  void setIndex(unsigned long index) { _index = uint32_t(index); }

  QelChartPointInfo(const QelChartPointInfo&) = delete;
  QelChartPointInfo& operator=(const QelChartPointInfo&) = delete;

 private:
  QelGraphic* _graphic;
  QelPoint _offset;
  uint32_t _index;
};

class QelChartData;

// Data-set classes are read back through the registry with this reader.
class QelChartDataClassInfo : public QelClassInfo {
 public:
  using Reader = QelChartData* (*)(QelInputFile& file);
  QelChartDataClassInfo(const char* name, QelClassInfo* superClass, Reader reader)
      : QelClassInfo(name, superClass), _reader(reader) {}
  Reader getReader() const { return _reader; }

 private:
  Reader _reader;
};

class QelChartData {
 public:
  QelChartData(float from, float to, unsigned long count);
  // The empty set a reading constructor starts from.
  explicit QelChartData(QelInputFile& file);
  virtual ~QelChartData();

  virtual void getPoint(unsigned long index, QelFloatPoint& result) const = 0;
  // Read-only data ignores it.
  virtual void setPoint(unsigned long index, const QelFloatPoint& point);
  // Every point, in storage that stays valid until the next request (see point_buffers.h).
  virtual const QelFloatPoint* getPoints(unsigned long& count) const;
  // The points whose x lies in the rectangle's x range, with one neighbour on each side.
  virtual const QelFloatPoint* getPoints(const QelFloatRect& rect, unsigned long& count) const;
  virtual void boundingBox(QelFloatRect& rect) const;
  virtual int isReadOnly() const { return 1; }
  virtual void write(QelOutputFile& file) const = 0;
  virtual QelChartData* copy() const = 0;
  virtual QelClassInfo* getClassInfo() const;

  float getFrom() const { return _from; }
  float getTo() const { return _to; }
  float getStep() const { return _step; }
  unsigned long getCount() const { return _count; }

  uint32_t getLockCount() const { return _lockCount; }
  void lock() { ++_lockCount; }
  // Deletes the set when the count reaches zero.
  void unLock();

  // The set owns the infos it holds; two infos may share an index (lookups find the first).
  void addPointInfo(QelChartPointInfo* info);
  void removePointInfo(unsigned long index, int deleteIt);
  QelChartPointInfo* getPointInfo(unsigned long index) const;
  QelChartPointInfo* const* getAllPointInfo(unsigned long& count) const;

  static QelClassInfo* ClassInfo();

  QelChartData& operator=(const QelChartData&) = delete;

 protected:
  // Copies from, to and count and a copy of each point info; the lock count starts at zero.
  QelChartData(const QelChartData& other);
  void setRange(float from, float to, unsigned long count);
  // Writes the point infos, when there are any, after a kind's values.
  void writePointInfos(QelOutputFile& file) const;
  // Reads what writePointInfos wrote; false (the stream failed) on malformed input.
  bool readPointInfos(QelInputFile& file);

 private:
  float _from;
  float _to;
  uint32_t _count;
  float _step;
  uint32_t _lockCount = 0;
  std::vector<QelChartPointInfo*> _infos;
};

// An array of (x, y) points, x normally ascending. Arrays the set owns are new[] arrays.
class QelChartDataPoints : public QelChartData {
 public:
  // A null `points` gets a new array of `count` points (zeroed, and owned by the set).
  QelChartDataPoints(unsigned long count, QelFloatPoint* points, int owns);
  QelChartDataPoints(const QelChartDataPoints& other);
  explicit QelChartDataPoints(QelInputFile& file);
  ~QelChartDataPoints() override;

  void getPoint(unsigned long index, QelFloatPoint& result) const override {
    result = _points[index];
  }
  void setPoint(unsigned long index, const QelFloatPoint& point) override;
  const QelFloatPoint* getPoints(unsigned long& count) const override;
  const QelFloatPoint* getPoints(const QelFloatRect& rect, unsigned long& count) const override;
  void boundingBox(QelFloatRect& rect) const override { rect = _bbox; }
  int isReadOnly() const override { return 0; }
  void write(QelOutputFile& file) const override;
  QelChartData* copy() const override { return new QelChartDataPoints(*this); }
  QelClassInfo* getClassInfo() const override;

  // Replaces the array (freeing an owned one that differs) and recomputes the box.
  void setValues(unsigned long count, QelFloatPoint* points, int owns);
  QelFloatPoint* getValues() const { return _points; }
  int ownsValues() const { return _owns; }

  static QelClassInfo* ClassInfo();

 private:
  void computeBBox();

  QelFloatPoint* _points = nullptr;
  QelFloatRect _bbox;
  int _owns = 0;
};

// An array of y values; point i is (i, values[i]).
class QelChartDataYPoints : public QelChartData {
 public:
  QelChartDataYPoints(unsigned long count, float* values, int owns);
  QelChartDataYPoints(const QelChartDataYPoints& other);
  explicit QelChartDataYPoints(QelInputFile& file);
  ~QelChartDataYPoints() override;

  void getPoint(unsigned long index, QelFloatPoint& result) const override {
    result = QelFloatPoint(float(index), _values[index]);
  }
  void setPoint(unsigned long index, const QelFloatPoint& point) override;
  void boundingBox(QelFloatRect& rect) const override;
  int isReadOnly() const override { return 0; }
  void write(QelOutputFile& file) const override;
  QelChartData* copy() const override { return new QelChartDataYPoints(*this); }
  QelClassInfo* getClassInfo() const override;

  void setValues(unsigned long count, float* values, int owns);
  // Drops the first value, appends `value` and recomputes the y range: a time series moving on.
  void scroll(float value);
  float* getValues() const { return _values; }
  int ownsValues() const { return _owns; }

  static QelClassInfo* ClassInfo();

 private:
  void computeRange();

  float* _values = nullptr;
  float _ymin = 0, _ymax = 0;
  int _owns = 0;
};

// y = function(x) at `count` evenly spaced x from `from` to `to`. Read-only.
class QelChartDataFunction : public QelChartData {
 public:
  using Function = float (*)(float x);
  QelChartDataFunction(float from, float to, unsigned long count, Function function);
  QelChartDataFunction(const QelChartDataFunction& other);
  // A function cannot be written: a set read back keeps its range and the values that were
  // written, and draws them until setFunction gives it a function again.
  explicit QelChartDataFunction(QelInputFile& file);

  void getPoint(unsigned long index, QelFloatPoint& result) const override;
  void write(QelOutputFile& file) const override;
  QelChartData* copy() const override { return new QelChartDataFunction(*this); }
  QelClassInfo* getClassInfo() const override;

  Function getFunction() const { return _function; }
  void setFunction(Function function) { _function = function; }
  void setRange(float from, float to, unsigned long count) {
    QelChartData::setRange(from, to, count);
  }

  static QelClassInfo* ClassInfo();

 private:
  Function _function;
  std::vector<float> _savedValues;  // the values read from a file, used while there is no function
};

// Registers the data-set classes for reading; safe to call many times.
int QelChartDataModuleInit();
