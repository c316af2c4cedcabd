#include "charts/chart_index.h"

#include "charts/chart.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The float nearest to `value` from below, so that a bound rounded to float loses nothing.
float floatAtOrBelow(double value) {
  if (!(value > -double(std::numeric_limits<float>::max())))
    return -std::numeric_limits<float>::infinity();
  if (value >= double(std::numeric_limits<float>::max())) return std::numeric_limits<float>::max();
  float f = float(value);
  return double(f) > value ? std::nextafter(f, -std::numeric_limits<float>::infinity()) : f;
}

}  // namespace

int QelChartIndex::lengthClassOf(float lo, float hi) {
  if (!std::isfinite(lo) || !std::isfinite(hi) || !(hi >= lo)) return kEverywhere;
  const double length = double(hi) - lo;
  if (length == 0) return std::numeric_limits<int>::min();
  return std::ilogb(length) + 1;  // 2^(k-1) <= length < 2^k
}

void QelChartIndex::insert(QelAbstractChart* chart, float lo, float hi) {
  if (!chart) return;
  remove(chart);
  const int k = lengthClassOf(lo, hi);
  if (k != kEverywhere)
    _lowest = std::min<double>(_lowest, lo), _highest = std::max<double>(_highest, hi);
  _entries.emplace(static_cast<const QelGraphic*>(chart), Entry{lo, hi, k});
  _classes[k].emplace(k == kEverywhere ? 0.0f : lo, Item{hi, chart});
}

void QelChartIndex::remove(const QelGraphic* chart) {
  auto entry = _entries.find(chart);
  if (entry == _entries.end()) return;
  const Entry& e = entry->second;
  auto lengthClass = _classes.find(e.lengthClass);
  Starts& starts = lengthClass->second;
  auto [first, end] = starts.equal_range(e.lengthClass == kEverywhere ? 0.0f : e.lo);
  for (auto it = first; it != end; ++it)
    if (static_cast<const QelGraphic*>(it->second.chart) == chart) {
      starts.erase(it);
      break;
    }
  if (starts.empty()) _classes.erase(lengthClass);
  _entries.erase(entry);
  if (_entries.empty()) clear();
}

void QelChartIndex::clear() {
  _entries.clear();
  _classes.clear();
  _lowest = HUGE_VAL, _highest = -HUGE_VAL;
}

bool QelChartIndex::query(double lo, double hi, std::vector<QelAbstractChart*>& out,
                          size_t limit) const {
  if (std::isnan(lo) || std::isnan(hi) || hi < lo) return true;
  for (const auto& [k, starts] : _classes) {
    if (k == kEverywhere) {
      for (const auto& [start, item] : starts) out.push_back(item.chart);
      if (out.size() > limit) return false;
      continue;
    }
    // An extent shorter than 2^k that reaches lo starts after lo - 2^k.
    const double reach = k == std::numeric_limits<int>::min() ? 0 : std::ldexp(1.0, k);
    for (auto it = starts.lower_bound(floatAtOrBelow(lo - reach));
         it != starts.end() && double(it->first) <= hi; ++it)
      if (double(it->second.hi) >= lo) {
        out.push_back(it->second.chart);
        if (out.size() > limit) return false;
      }
  }
  return true;
}
