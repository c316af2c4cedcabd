// The graphic base: its symbols and class infos, geometry built on the bounding box, and value
// accessors. The property list with names, holders, tags and marks is in graphic_properties.cpp;
// callbacks are in graphic_callbacks.cpp.
#include "graphics/graphic.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ostream>

#include "base/alist.h"
#include "base/messages.h"
#include "base/module_init.h"
#include "base/symbol.h"
#include "graphics/class_info.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

const QelSymbol* symbol(const char* name) {
  return QelSymbol::Get(name);
}

}  // namespace

QelGraphicHolder::~QelGraphicHolder() = default;
QelGraphicObserver::~QelGraphicObserver() = default;

QelNamedProperty::~QelNamedProperty() = default;
QelClassInfo* QelNamedProperty::getClassInfo() const {
  return ClassInfo();
}
void QelNamedProperty::write(QelOutputFile&) const {}

// --- Symbols and class infos ---------------------------------------------------------------

const QelSymbol* QelGraphic::CallbackSymbol() {
  static auto* s = symbol("__QelCallback");
  return s;
}

const QelSymbol* QelGraphic::NameSymbol() {
  static auto* s = symbol("__QelName");
  return s;
}
const QelSymbol* QelGraphic::CallbackListSymbol() {
  static auto* s = symbol("__QelCallbackList");
  return s;
}
const QelSymbol* QelGraphic::ClientDataSymbol() {
  static auto* s = symbol("__QelClientData");
  return s;
}
const QelSymbol* QelGraphic::ObjectPropertySymbol() {
  static auto* s = symbol("__QelObjectProp");
  return s;
}
const QelSymbol* QelGraphic::NamedPropSymbol() {
  static auto* s = symbol("__QelNamedProperties");
  return s;
}
const QelSymbol* QelGraphic::TagsSymbol() {
  static auto* s = symbol("__QelTags");
  return s;
}
const QelSymbol* QelGraphic::SensitiveSymbol() {
  static auto* s = symbol("sensitive");
  return s;
}
const QelSymbol* QelGraphic::FocusableSymbol() {
  static auto* s = symbol("__QelFocusableSymbol");
  return s;
}

namespace {

QelGraphicClassInfo* graphicClass = nullptr;
QelGraphicClassInfo* simpleGraphicClass = nullptr;
QelNamedPropertyClassInfo* namedPropertyClass = nullptr;

// The graphic module's symbols: property keys, accessor and callback-type names.
const char* const moduleSymbols[] = {
    "width",
    "height",
    "sensitive",
    "foreground",
    "background",
    "font",
    "pattern",
    "colorPattern",
    "lineStyle",
    "fillStyle",
    "fillRule",
    "lineWidth",
    "arcMode",
    "x",
    "y",
    "name",
    "mode",
    "planeMask",
    "overwrite",
    "palette",
    "__QelName",
    "__QelCallbackList",
    "__QelClientData",
    "__QelObjectProp",
    "__QelNamedProperties",
    "__QelTags",
    "__QelSmartSet",
    "__QelFocusableSymbol",
    "__QelCallback",
    "__QelFocusIn",
    "__QelFocusOut",
};

int graphicModuleState = 0;

void initializeGraphicModule() {
  for (const char* name : moduleSymbols) QelSymbol::Get(name);
  // Static class infos go with the library, after the registry they unregister from.
  static QelGraphicClassInfo graphic("QelGraphic", nullptr, nullptr);
  static QelGraphicClassInfo simple("QelSimpleGraphic", &graphic, nullptr);
  // The base property carries only its name, and reads back as such.
  static QelNamedPropertyClassInfo named(
      "QelNamedProperty", nullptr,
      [](QelInputFile&, const QelSymbol* name) { return new QelNamedProperty(name); });
  graphicClass = &graphic;
  simpleGraphicClass = &simple;
  namedPropertyClass = &named;
}

}  // namespace

int QelGraphicModuleInit() {
  return QelInitializeOnce(graphicModuleState, initializeGraphicModule);
}

QelClassInfo* QelGraphic::ClassInfo() {
  QelGraphicModuleInit();
  return graphicClass;
}

QelClassInfo* QelNamedProperty::ClassInfo() {
  QelGraphicModuleInit();
  return namedPropertyClass;
}

QelClassInfo* QelSimpleGraphicClassInfo() {
  QelGraphicModuleInit();
  return simpleGraphicClass;
}

bool QelGraphic::isSubtypeOf(const char* className) const {
  QelClassInfo* info = getClassInfo();
  if (!info || !info->isRegistered()) {
    QelWarning("QelClassInfo::isSubtypeOf: class of object is not registered");
    return false;
  }
  return info->isSubtypeOf(className);
}

// --- Geometry ---------------------------------------------------------------------------------

void QelGraphic::apply(QelApplyObject, void*) {}
void QelGraphic::applyReferences(QelApplyObject, void*) {}

void QelGraphic::drawPalette(const QelPalette*, QelPort* port, const QelTransformer* t,
                             const QelRegion* clip) const {
  draw(port, t, clip);
}

bool QelGraphic::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return box.containsClosed(tp);
}

bool QelGraphic::intersects(const QelRegion& region, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return region.intersects(box);
}

bool QelGraphic::inside(const QelRegion& region, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return region.contains(box);
}

bool QelGraphic::intersects(const QelRect&, const QelRect& trect, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return box.intersects(trect);
}

bool QelGraphic::inside(const QelRect&, const QelRect& trect, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return trect.contains(box);
}

void QelGraphic::move(int32_t x, int32_t y) {
  QelRect box;
  boundingBox(box, nullptr);
  translate(int32_t(int64_t(x) - box.x), int32_t(int64_t(y) - box.y));
}

void QelGraphic::translate(int32_t dx, int32_t dy) {
  QelTransformer t(1, 0, 0, 1, float(dx), float(dy));
  applyTransform(&t);
}

void QelGraphic::rotate(const QelPoint& center, float angle) {
  QelTransformer t(center, angle);
  applyTransform(&t);
}

void QelGraphic::scale(float sx, float sy) {
  QelRect box;
  boundingBox(box, nullptr);
  QelTransformer t(sx, 0, 0, sy, (1 - sx) * float(box.x), (1 - sy) * float(box.y));
  applyTransform(&t);
}

void QelGraphic::resize(uint32_t w, uint32_t h) {
  QelRect box;
  boundingBox(box, nullptr);
  float bw = box.w ? float(box.w) : 1.0f, bh = box.h ? float(box.h) : 1.0f;
  scale(float(w) / bw, float(h) / bh);
}

void QelGraphic::moveResize(const QelRect& rect) {
  QelRect box;
  boundingBox(box, nullptr);
  double sx = double(rect.w) / (box.w ? box.w : 1), sy = double(rect.h) / (box.h ? box.h : 1);
  QelTransformer t(float(sx), 0, 0, float(sy), float(rect.x - sx * box.x),
                   float(rect.y - sy * box.y));
  applyTransform(&t);
}

void QelGraphic::symmetry(unsigned int axis) {
  QelRect box;
  boundingBox(box, nullptr);
  QelTransformer t = axis & QelVertical
                         ? QelTransformer(-1, 0, 0, 1, float(int64_t(box.x) + box.right64()), 0)
                         : QelTransformer(1, 0, 0, -1, 0, float(int64_t(box.y) + box.bottom64()));
  applyTransform(&t);
}

void QelGraphic::applyResources(QelDisplay*, const char*, const char*) {}

void QelGraphic::print(std::ostream& out, int level) const {
  QelRect box;
  boundingBox(box, nullptr);
  QelClassInfo* info = getClassInfo();
  out << std::string(size_t(std::max(level, 0)) * 2, ' ')
      << (info && info->getClassName() ? info->getClassName() : "QelGraphic");
  if (getName()) out << " \"" << getName() << '"';
  out << " (" << box.x << ", " << box.y << ", " << box.w << ", " << box.h << ")\n";
}

// --- Values ----------------------------------------------------------------------------------

bool QelGraphic::queryValue(QelValue& value) const {
  QelRect box;
  if (value.getName() == symbol("width") || value.getName() == symbol("height")) {
    boundingBox(box, nullptr);
    value.set(value.getName() == symbol("width") ? box.w : box.h);
    return true;
  }
  if (value.getName() == SensitiveSymbol()) {
    value.set(int32_t(isSensitive()));
    return true;
  }
  return false;
}

void QelGraphic::queryValues(QelValue* values, uint16_t count) const {
  for (uint16_t i = 0; values && i < count; ++i) queryValue(values[i]);
}

bool QelGraphic::changeValue(const QelValue& value) {
  return applyValue(value);
}

void QelGraphic::changeValues(const QelValue* values, uint16_t count) {
  for (uint16_t i = 0; values && i < count; ++i) changeValue(values[i]);
}

bool QelGraphic::applyValue(const QelValue& value) {
  QelRect box;
  boundingBox(box, nullptr);
  if (value.getName() == symbol("width")) {
    resize(value.asUInt(), box.h);
    return true;
  }
  if (value.getName() == symbol("height")) {
    resize(box.w, value.asUInt());
    return true;
  }
  if (value.getName() == SensitiveSymbol()) {
    setSensitive(value.asInt() != 0);
    return true;
  }
  return false;
}

void QelGraphic::getAccessors(const QelSymbol* const** names, const QelValueType** types,
                              uint32_t& count) const {
  static const QelSymbol* accessorNames[] = {symbol("width"), symbol("height"),
                                             symbol("sensitive")};
  static const QelValueType accessorTypes[] = {QelValueUInt, QelValueUInt, QelValueInt};
  if (names) *names = accessorNames;
  if (types) *types = accessorTypes;
  count = 3;
}

bool QelGraphic::handleAccelerator(QelEvent&) {
  return false;
}

void QelGraphic::drawFocus(QelPort*, const QelPalette*, const QelTransformer*,
                           const QelRegion*) const {}

void QelGraphic::computeFocusRegion(QelRegion& region, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  region.clear();
  region.add(box);
}

void QelGraphic::computeHighlightRegion(QelRegion& region, const QelTransformer* t) const {
  computeFocusRegion(region, t);
}

QelClassInfo* QelGraphic::getClassInfo() const {
  return ClassInfo();
}
