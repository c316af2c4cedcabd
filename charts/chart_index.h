// Which charts a strip of the x axis can show. A container with a hundred thousand charts
// redraws one of them, or a window of a long history, without looking at every chart: each
// chart is kept under the x extent of its data, grouped by the extent's length (within a
// factor of two), so that a query looks only at the charts that start near the strip.
#pragma once

#include <cmath>
#include <cstddef>
#include <map>
#include <unordered_map>
#include <vector>

class QelAbstractChart;
class QelGraphic;

class QelChartIndex {
 public:
  // Files `chart` under [lo, hi] (data x), replacing where it was; an extent that is not finite
  // files it as meeting every strip.
  void insert(QelAbstractChart* chart, float lo, float hi);
  // Takes the object out; any graphic may be asked about (a chart being destroyed is one).
  void remove(const QelGraphic* chart);
  bool contains(const QelGraphic* chart) const { return _entries.count(chart) != 0; }
  void clear();
  // Appends the charts whose extent meets [lo, hi], in no particular order. Stops, and answers
  // false, as soon as `out` holds more than `limit` charts: a caller that would walk every
  // chart past that many learns it without paying for the whole query.
  bool query(double lo, double hi, std::vector<QelAbstractChart*>& out,
             size_t limit = size_t(-1)) const;
  size_t size() const { return _entries.size(); }
  // Whether [lo, hi] meets every extent filed since the index was last empty. Removals do not
  // shrink what this covers, so it may answer false where a query would reach every chart.
  bool reachesAll(double lo, double hi) const { return lo <= _lowest && hi >= _highest; }

 private:
  static constexpr int kEverywhere = 1 << 20;  // the class of extents that are not finite
  struct Entry {
    float lo, hi;
    int lengthClass;
  };
  // Length class k holds extents shorter than 2^k (the class of zero lengths is the lowest).
  static int lengthClassOf(float lo, float hi);
  struct Item {
    float hi;
    QelAbstractChart* chart;
  };
  using Starts = std::multimap<float, Item>;  // by the extent's start

  std::unordered_map<const QelGraphic*, Entry> _entries;
  std::map<int, Starts> _classes;
  // The span of the finite extents filed (those that are not finite meet every strip anyway).
  double _lowest = HUGE_VAL, _highest = -HUGE_VAL;
};
