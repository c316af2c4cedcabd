// The chart legend and the chart container's legend operations.
#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>

#include "base/module_init.h"
#include "charts/chart.h"
#include "charts/chart_container.h"
#include "display/color.h"
#include "display/display.h"
#include "display/font.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

int legendModuleState = 0;
QelGraphicClassInfo* legendClass = nullptr;

// Row geometry: a square swatch, then the name, with a little air around both.
constexpr int32_t kPadding = 4, kSwatch = 12, kGap = 6;
constexpr size_t kMaxItems = 1 << 20;

}  // namespace

// --- QelChartLegend ----------------------------------------------------------------------------

QelChartLegend::QelChartLegend(QelDisplay* display, const QelPoint& position, QelPalette* palette)
    : QelSimpleGraphic(display, palette), _position(position) {}

QelChartLegend::QelChartLegend(const QelChartLegend& other)
    : QelSimpleGraphic(other.getDisplay(), other.getPalette()), _position(other._position) {
  for (const Item& item : other._items) addItem(nullptr, item.name.c_str(), item.palette);
}

QelChartLegend::QelChartLegend(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette) {
  std::istream& in = file.getStream();
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  int64_t x, y, count;
  if (!QelReadInteger(in, kMin, kMax, x) || !QelReadInteger(in, kMin, kMax, y) ||
      !QelReadInteger(in, 0, int64_t(kMaxItems), count))
    return;
  _position = QelPoint(int32_t(x), int32_t(y));
  QelDisplay* display = file.getDisplay();
  for (int64_t i = 0; i < count; ++i) {
    std::string name;
    int64_t r, g, b;
    if (!file.readString(name) || !QelReadInteger(in, 0, 65535, r) ||
        !QelReadInteger(in, 0, 65535, g) || !QelReadInteger(in, 0, 65535, b)) {
      in.setstate(std::ios_base::failbit);
      return;
    }
    QelPalette* swatch = nullptr;
    if (display && display->getXDisplay())
      if (QelColor* color = display->getColor(uint16_t(r), uint16_t(g), uint16_t(b)))
        swatch = display->getPalette(nullptr, color);
    _items.push_back({nullptr, name, swatch});
    if (swatch) swatch->lock();
  }
}

QelChartLegend::~QelChartLegend() {
  for (Item& item : _items)
    if (item.palette) item.palette->unLock();
}

size_t QelChartLegend::addItem(const QelAbstractChart* chart, const char* name,
                               QelPalette* palette) {
  if (palette) palette->lock();
  if (chart) {
    if (auto found = _index.find(chart); found != _index.end()) {
      Item& item = _items[found->second];
      if (item.palette) item.palette->unLock();
      item.palette = palette;
      item.name = name ? name : "";
      return found->second;
    }
    _index[chart] = _items.size();
  }
  _items.push_back({chart, name ? name : "", palette});
  return _items.size() - 1;
}

bool QelChartLegend::removeItem(const QelAbstractChart* chart) {
  auto found = chart ? _index.find(chart) : _index.end();
  if (found == _index.end()) return false;
  size_t index = found->second;
  _index.erase(found);
  if (_items[index].palette) _items[index].palette->unLock();
  _items.erase(_items.begin() + long(index));
  // Rows below move up one; a legend is read by a person, so its length stays small.
  for (size_t i = index; i < _items.size(); ++i)
    if (_items[i].chart) _index[_items[i].chart] = i;
  return true;
}

const QelChartLegend::Item* QelChartLegend::getItem(const QelAbstractChart* chart) const {
  auto found = chart ? _index.find(chart) : _index.end();
  return found == _index.end() ? nullptr : &_items[found->second];
}

namespace {
int32_t rowHeight(const QelFont* font) {
  return std::max<int32_t>(kSwatch, font ? font->height() : 0) + kPadding;
}
}  // namespace

QelRect QelChartLegend::itemBox(size_t index, const QelTransformer* t) const {
  const QelPalette* palette = drawingPalette();
  const QelFont* font = palette ? palette->getFont() : nullptr;
  const int32_t row = rowHeight(font);
  int32_t width = 0;
  if (index < _items.size() && font) width = font->textWidth(_items[index].name.c_str(), -1);
  QelPoint p = _position;
  if (t) t->apply(p);
  return QelRect(QelClampToInt32(int64_t(p.x) + kPadding),
                 QelClampToInt32(int64_t(p.y) + kPadding + int64_t(row) * int64_t(index)),
                 uint32_t(kSwatch + kGap + std::max(width, 0)), uint32_t(row));
}

void QelChartLegend::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelPoint p = _position;
  if (t) t->apply(p);
  const QelPalette* palette = drawingPalette();
  const QelFont* font = palette ? palette->getFont() : nullptr;
  int64_t width = 0;
  for (const Item& item : _items)
    width = std::max<int64_t>(width, font ? font->textWidth(item.name.c_str(), -1) : 0);
  int64_t w = 2 * kPadding + kSwatch + kGap + width;
  int64_t h = 2 * kPadding + int64_t(rowHeight(font)) * int64_t(_items.size());
  rect = QelRect(p.x, p.y, uint32_t(std::min<int64_t>(w, 0x7fffffff)),
                 uint32_t(std::min<int64_t>(h, 0x7fffffff)));
}

void QelChartLegend::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  QelDisplay* display = palette->getDisplay();
  QelRect box;
  boundingBox(box, t);
  {
    QelPaletteClip scope(palette, clip);
    display->drawRectangle(port, palette, box);
  }
  const QelFont* font = palette->getFont();
  for (size_t i = 0; i < _items.size(); ++i) {
    QelRect row = itemBox(i, t);
    if (clip && !clip->getBBox().intersects(row)) continue;
    QelRect swatch(row.x, row.y + (int32_t(row.h) - kSwatch - kPadding) / 2, kSwatch, kSwatch);
    if (const QelPalette* own = _items[i].palette; canDrawWith(own)) {
      QelPaletteClip scope(own, clip);
      display->fillRectangle(port, own, swatch);
    }
    QelPaletteClip scope(palette, clip);
    display->drawRectangle(port, palette, swatch);
    if (font && !_items[i].name.empty()) {
      int32_t baseline = row.y + (int32_t(row.h) - kPadding + font->ascent() - font->descent()) / 2;
      display->drawString(port, palette, QelPoint(row.x + kSwatch + kGap, baseline),
                          _items[i].name.c_str(), -1);
    }
  }
}

void QelChartLegend::applyTransform(const QelTransformer* t) {
  if (t) t->apply(_position);
}

void QelChartLegend::write(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  out << _position.x << ' ' << _position.y << ' ' << _items.size();
  for (const Item& item : _items) {
    out << ' ';
    file.writeString(item.name.c_str());
    unsigned short r = 0, g = 0, b = 0;
    if (item.palette && item.palette->getForeground())
      item.palette->getForeground()->getRGB(r, g, b);
    out << ' ' << r << ' ' << g << ' ' << b;
  }
}

QelClassInfo* QelChartLegend::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChartLegend::ClassInfo() {
  QelInitializeOnce(legendModuleState, [] {
    static QelGraphicClassInfo legend("QelChartLegend", QelSimpleGraphic::ClassInfo(),
                                      QelReadGraphic<QelChartLegend>);
    legendClass = &legend;
  });
  return legendClass;
}

// --- The container's legend operations ---------------------------------------------------------

void QelChartContainer::setLegend(QelGraphic* newLegend) {
  if (newLegend == legend) return;
  if (legend) {
    reDrawObj(legend);
    removeObject(legend, 0);
    delete legend;
  }
  legend = newLegend;
  if (!legend) return;
  // Drawn last, over the charts, so that no chart hides it.
  addObject(legend, 0);
  if (auto* box = dynamic_cast<QelChartLegend*>(legend)) {
    uint32_t count = 0;
    QelAbstractChart** charts = getCharts(count);
    for (uint32_t i = 0; i < count; ++i)
      box->addItem(charts[i], charts[i]->getName(), charts[i]->getPalette());
  }
  reDrawObj(legend);
}

QelGraphic* QelChartContainer::getLegendItem(const QelAbstractChart* chart) const {
  auto* box = dynamic_cast<QelChartLegend*>(legend);
  return box && box->getItem(chart) ? legend : nullptr;
}

void QelChartContainer::addToLegend(QelAbstractChart* chart, int redraw) {
  addToLegend(chart, chart ? chart->getName() : nullptr, redraw);
}

void QelChartContainer::addToLegend(QelAbstractChart* chart, const char* name, int redraw) {
  auto* box = dynamic_cast<QelChartLegend*>(legend);
  if (!box || !chart) return;
  box->addItem(chart, name, chart->getPalette());
  if (redraw) reDrawObj(legend);
}

void QelChartContainer::removeFromLegend(QelAbstractChart* chart, int redraw) {
  auto* box = dynamic_cast<QelChartLegend*>(legend);
  if (!box) return;
  QelRect before;
  box->boundingBox(before, getTransformer());
  if (!box->removeItem(chart) || !redraw) return;
  QelRegion region(before);
  reDraw(&region);
}
