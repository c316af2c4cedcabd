#include "charts/chart_data.h"

#include <algorithm>
#include <cmath>
#include <istream>
#include <limits>
#include <new>
#include <ostream>

#include "base/module_init.h"
#include "charts/point_buffers.h"
#include "graphics/graphic.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"

namespace {

// Counts are 32-bit: a larger request makes an empty set rather than a wrapped one.
uint32_t toCount(unsigned long count) {
  return count > std::numeric_limits<uint32_t>::max() ? 0 : uint32_t(count);
}

// An index computed in floating point, held to [low, high] before it becomes an integer (NaN
// gives `nanValue`): converting an out-of-range float to an integer is undefined.
long clampIndex(double value, long low, long high, long nanValue) {
  if (std::isnan(value)) return nanValue;
  return long(std::clamp(value, double(low), double(high)));
}

// The extent of the finite values along one axis: NaN and the infinities have no place on an
// axis, wherever they stand in the data. No finite value gives the range 0..0.
class FiniteRange {
 public:
  void add(float v) {
    if (!std::isfinite(v)) return;
    _min = _any ? std::min(_min, v) : v;
    _max = _any ? std::max(_max, v) : v;
    _any = true;
  }
  float min() const { return _min; }
  float max() const { return _max; }

 private:
  bool _any = false;
  float _min = 0, _max = 0;
};

QelFloatRect finiteBox(const QelFloatPoint* points, unsigned long count) {
  FiniteRange x, y;
  for (unsigned long i = 0; i < count; ++i) x.add(points[i].x), y.add(points[i].y);
  return QelFloatRect(x.min(), y.min(), x.max(), y.max());
}

// Reads a count of values to come, then the values one by one: a file cannot make the reader
// allocate more than it actually holds.
template <typename Value, typename ReadOne>
bool readValues(QelInputFile& file, std::vector<Value>& values, ReadOne readOne) {
  uint32_t count = 0;
  bool ok = file.readCount(count, "QelChartData");
  values.clear();
  for (uint32_t i = 0; ok && i < count; ++i) {
    Value value;
    ok = readOne(file.getStream(), value);
    if (ok) values.push_back(value);
  }
  // The readers tell a failed object by its stream.
  if (!ok) file.getStream().setstate(std::ios_base::failbit);
  return ok;
}

bool readPoint(std::istream& in, QelFloatPoint& p) {
  return QelReadFloat(in, p.x) && QelReadFloat(in, p.y);
}

void writePoints(std::ostream& out, const QelFloatPoint* points, unsigned long count) {
  out << count << '\n';
  for (unsigned long i = 0; i < count; ++i) {
    out << ' ';
    QelWriteFloat(out, points[i].x);
    out << ' ';
    QelWriteFloat(out, points[i].y);
  }
}

template <typename T>
QelChartData* readData(QelInputFile& file) {
  T* data = new T(file);
  if (!file.getStream().fail() && !file.hasFailed()) return data;
  delete data;
  return nullptr;
}

int chartDataModuleState = 0;

}  // namespace

// --- Point infos -------------------------------------------------------------------------------

QelChartPointInfo::QelChartPointInfo(QelGraphic* graphic, unsigned long index,
                                     const QelPoint& offset)
    : _graphic(graphic), _offset(offset), _index(uint32_t(index)) {}

QelChartPointInfo::~QelChartPointInfo() {
  delete _graphic;
}

QelChartPointInfo* QelChartPointInfo::copy() const {
  return new QelChartPointInfo(_graphic ? _graphic->copy() : nullptr, _index, _offset);
}

void QelChartPointInfo::setGraphic(QelGraphic* graphic) {
  if (graphic == _graphic) return;
  delete _graphic;
  _graphic = graphic;
}

// --- The base ----------------------------------------------------------------------------------

QelChartData::QelChartData(float from, float to, unsigned long count) {
  _infos.reserve(8);
  setRange(from, to, count);
}

QelChartData::QelChartData(QelInputFile&) : _from(0), _to(0), _count(0), _step(0) {
  _infos.reserve(8);
}

QelChartData::QelChartData(const QelChartData& other) {
  _infos.reserve(8);
  setRange(other._from, other._to, other._count);
  for (const QelChartPointInfo* info : other._infos)
    if (QelChartPointInfo* copy = info->copy()) _infos.push_back(copy);
}

QelChartData::~QelChartData() {
  for (QelChartPointInfo* info : _infos) delete info;
}

void QelChartData::setRange(float from, float to, unsigned long count) {
  _from = from;
  _to = to;
  _count = toCount(count);
  _step = (to - from) / float(_count < 2 ? 1 : _count - 1);
}

void QelChartData::unLock() {
  if (_lockCount == 0) return;
  if (--_lockCount == 0) delete this;
}

void QelChartData::setPoint(unsigned long, const QelFloatPoint&) {}

const QelFloatPoint* QelChartData::getPoints(unsigned long& count) const {
  QelFloatPoint* points = QelAllocFloatPoints(_count);
  count = points ? _count : 0;
  for (unsigned long i = 0; i < count; ++i) getPoint(i, points[i]);
  return points;
}

const QelFloatPoint* QelChartData::getPoints(const QelFloatRect& rect, unsigned long& count) const {
  count = 0;
  if (_count == 0) return QelAllocFloatPoints(1);
  double step = _step != 0 ? _step : 1;
  long lastIndex = long(_count) - 1;
  long first = clampIndex(std::trunc((double(rect.minx) - _from) / step) - 1, 0, lastIndex, 0);
  long last =
      clampIndex(std::trunc((double(rect.maxx) - _from) / step) + 1, -1, lastIndex, lastIndex);
  if (last < first) return QelAllocFloatPoints(1);
  QelFloatPoint* points = QelAllocFloatPoints(size_t(last - first + 1));
  if (!points) return nullptr;
  for (long i = first; i <= last; ++i) getPoint(i, points[i - first]);
  count = static_cast<unsigned long>(last - first + 1);
  return points;
}

void QelChartData::boundingBox(QelFloatRect& rect) const {
  unsigned long count = 0;
  const QelFloatPoint* points = getPoints(count);
  rect = finiteBox(points, count);
}

void QelChartData::addPointInfo(QelChartPointInfo* info) {
  if (info) _infos.push_back(info);
}

void QelChartData::removePointInfo(unsigned long index, int deleteIt) {
  auto found = std::find_if(_infos.begin(), _infos.end(), [&](const QelChartPointInfo* info) {
    return info->getIndex() == index;
  });
  if (found == _infos.end()) return;
  QelChartPointInfo* info = *found;
  _infos.erase(found);
  if (deleteIt) delete info;
}

QelChartPointInfo* QelChartData::getPointInfo(unsigned long index) const {
  for (QelChartPointInfo* info : _infos)
    if (info->getIndex() == index) return info;
  return nullptr;
}

QelChartPointInfo* const* QelChartData::getAllPointInfo(unsigned long& count) const {
  count = _infos.size();
  return _infos.data();
}

void QelChartData::writePointInfos(QelOutputFile& file) const {
  if (_infos.empty()) return;
  std::ostream& out = file.getStream();
  out << " I " << _infos.size();
  for (const QelChartPointInfo* info : _infos) {
    out << ' ';
    if (!info->getGraphic()) {
      out << "-1 ";
      continue;
    }
    out << info->getIndex() << ' ';
    file << *info->getGraphic();
    out << ' ' << info->getOffset().x << ' ' << info->getOffset().y << ' ';
  }
}

bool QelChartData::readPointInfos(QelInputFile& file) {
  std::istream& in = file.getStream();
  in >> std::ws;
  if (in.peek() != 'I') {
    in.clear(in.rdstate() & ~std::ios_base::failbit & ~std::ios_base::eofbit);
    return true;
  }
  in.get();
  uint32_t count = 0;
  if (!file.readCount(count, "QelChartData")) {
    in.setstate(std::ios_base::failbit);
    return false;
  }
  for (uint32_t i = 0; i < count; ++i) {
    int64_t index = 0;
    if (!(in >> index)) return false;
    if (index < 0) continue;
    if (index > std::numeric_limits<uint32_t>::max()) {
      in.setstate(std::ios_base::failbit);
      return false;
    }
    QelGraphic* graphic = file.readNext();
    QelPoint offset;
    if (!graphic || !(in >> offset.x >> offset.y)) {
      delete graphic;
      in.setstate(std::ios_base::failbit);
      return false;
    }
    addPointInfo(new QelChartPointInfo(graphic, static_cast<unsigned long>(index), offset));
  }
  return true;
}

QelClassInfo* QelChartData::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChartData::ClassInfo() {
  static QelChartDataClassInfo info("QelChartData", nullptr, nullptr);
  return &info;
}

// --- Points ------------------------------------------------------------------------------------

QelChartDataPoints::QelChartDataPoints(unsigned long count, QelFloatPoint* points, int owns)
    : QelChartData(0, 0, 0) {
  // An array made here is the set's own whatever `owns` says: nobody else knows of it.
  if (!points && toCount(count)) {
    points = new (std::nothrow) QelFloatPoint[toCount(count)];
    owns = 1;
    if (!points) count = 0;
  }
  setValues(count, points, owns);
}

QelChartDataPoints::QelChartDataPoints(const QelChartDataPoints& other) : QelChartData(other) {
  unsigned long count = other.getCount();
  QelFloatPoint* points = count ? new (std::nothrow) QelFloatPoint[count] : nullptr;
  if (points) std::copy(other._points, other._points + count, points);
  setValues(points ? count : 0, points, 1);
}

QelChartDataPoints::QelChartDataPoints(QelInputFile& file) : QelChartData(file) {
  std::vector<QelFloatPoint> values;
  if (!readValues(file, values, readPoint)) return;
  auto* points = values.empty() ? nullptr : new QelFloatPoint[values.size()];
  std::copy(values.begin(), values.end(), points);
  setValues(values.size(), points, 1);
  readPointInfos(file);
}

QelChartDataPoints::~QelChartDataPoints() {
  if (_owns) delete[] _points;
}

void QelChartDataPoints::setValues(unsigned long count, QelFloatPoint* points, int owns) {
  if (!points) count = 0;
  setRange(0, count ? float(count - 1) : 0, count);
  if (_owns && _points != points) delete[] _points;
  _points = points;
  _owns = owns;
  computeBBox();
}

void QelChartDataPoints::setPoint(unsigned long index, const QelFloatPoint& point) {
  if (index >= getCount()) return;
  _points[index] = point;
  computeBBox();
}

void QelChartDataPoints::computeBBox() {
  _bbox = finiteBox(_points, getCount());
}

const QelFloatPoint* QelChartDataPoints::getPoints(unsigned long& count) const {
  count = getCount();
  return _points;
}

// The slice is found by two scans that assume ascending x; with other data they still end, and
// the slice is whatever they leave between them.
const QelFloatPoint* QelChartDataPoints::getPoints(const QelFloatRect& rect,
                                                   unsigned long& count) const {
  unsigned long n = getCount();
  count = 0;
  if (!n) return _points;
  unsigned long first = 0;
  while (first < n && _points[first].x < rect.minx) ++first;
  if (first > 0) --first;
  unsigned long last = n - 1;
  while (last > 0 && _points[last].x > rect.maxx) --last;
  if (last != n - 1) ++last;
  if (last < first) return _points + first;
  count = last - first + 1;
  return _points + first;
}

void QelChartDataPoints::write(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  writePoints(out, _points, getCount());
  writePointInfos(file);
}

QelClassInfo* QelChartDataPoints::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChartDataPoints::ClassInfo() {
  static QelChartDataClassInfo info("QelChartDataPoints", QelChartData::ClassInfo(),
                                    readData<QelChartDataPoints>);
  return &info;
}

// --- Y points ----------------------------------------------------------------------------------

QelChartDataYPoints::QelChartDataYPoints(unsigned long count, float* values, int owns)
    : QelChartData(0, 0, 0) {
  if (!values && toCount(count)) {
    values = new (std::nothrow) float[toCount(count)]();
    owns = 1;
    if (!values) count = 0;
  }
  setValues(count, values, owns);
}

QelChartDataYPoints::QelChartDataYPoints(const QelChartDataYPoints& other) : QelChartData(other) {
  unsigned long count = other.getCount();
  float* values = count ? new (std::nothrow) float[count] : nullptr;
  if (values) std::copy(other._values, other._values + count, values);
  setValues(values ? count : 0, values, 1);
}

QelChartDataYPoints::QelChartDataYPoints(QelInputFile& file) : QelChartData(file) {
  std::vector<float> read;
  if (!readValues(file, read, QelReadFloat)) return;
  float* values = read.empty() ? nullptr : new float[read.size()];
  std::copy(read.begin(), read.end(), values);
  setValues(read.size(), values, 1);
  readPointInfos(file);
}

QelChartDataYPoints::~QelChartDataYPoints() {
  if (_owns) delete[] _values;
}

void QelChartDataYPoints::setValues(unsigned long count, float* values, int owns) {
  if (!values) count = 0;
  setRange(0, count ? float(count - 1) : 0, count);
  if (_owns && _values != values) delete[] _values;
  _values = values;
  _owns = owns;
  computeRange();
}

void QelChartDataYPoints::setPoint(unsigned long index, const QelFloatPoint& point) {
  if (index >= getCount()) return;
  _values[index] = point.y;
  computeRange();
}

void QelChartDataYPoints::scroll(float value) {
  unsigned long count = getCount();
  if (!count) return;
  std::copy(_values + 1, _values + count, _values);
  _values[count - 1] = value;
  computeRange();
}

void QelChartDataYPoints::computeRange() {
  FiniteRange range;
  for (unsigned long i = 0; i < getCount(); ++i) range.add(_values[i]);
  _ymin = range.min();
  _ymax = range.max();
}

void QelChartDataYPoints::boundingBox(QelFloatRect& rect) const {
  rect = QelFloatRect(getFrom(), _ymin, getTo(), _ymax);
}

void QelChartDataYPoints::write(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  out << getCount() << '\n';
  for (unsigned long i = 0; i < getCount(); ++i) {
    out << ' ';
    QelWriteFloat(out, _values[i]);
  }
  writePointInfos(file);
}

QelClassInfo* QelChartDataYPoints::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChartDataYPoints::ClassInfo() {
  static QelChartDataClassInfo info("QelChartDataYPoints", QelChartData::ClassInfo(),
                                    readData<QelChartDataYPoints>);
  return &info;
}

// --- Function ----------------------------------------------------------------------------------

QelChartDataFunction::QelChartDataFunction(float from, float to, unsigned long count,
                                           Function function)
    : QelChartData(from, to, count), _function(function) {}

QelChartDataFunction::QelChartDataFunction(const QelChartDataFunction& other)
    : QelChartData(other), _function(other._function), _savedValues(other._savedValues) {}

QelChartDataFunction::QelChartDataFunction(QelInputFile& file)
    : QelChartData(file), _function(nullptr) {
  std::vector<QelFloatPoint> points;
  if (!readValues(file, points, readPoint)) return;
  if (!points.empty()) QelChartData::setRange(points.front().x, points.back().x, points.size());
  for (const QelFloatPoint& p : points) _savedValues.push_back(p.y);
  readPointInfos(file);
}

void QelChartDataFunction::getPoint(unsigned long index, QelFloatPoint& result) const {
  result.x = float(index) * getStep() + getFrom();
  if (_function)
    result.y = _function(result.x);
  else
    result.y = index < _savedValues.size() ? _savedValues[index] : 0;
}

void QelChartDataFunction::write(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  unsigned long count = 0;
  const QelFloatPoint* points = getPoints(count);
  writePoints(out, points, count);
  writePointInfos(file);
}

QelClassInfo* QelChartDataFunction::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChartDataFunction::ClassInfo() {
  static QelChartDataClassInfo info("QelChartDataFunction", QelChartData::ClassInfo(),
                                    readData<QelChartDataFunction>);
  return &info;
}

int QelChartDataModuleInit() {
  return QelInitializeOnce(chartDataModuleState, [] {
    QelChartDataPoints::ClassInfo();
    QelChartDataYPoints::ClassInfo();
    QelChartDataFunction::ClassInfo();
  });
}
