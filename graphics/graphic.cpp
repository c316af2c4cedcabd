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

using NamedPropertyList = std::vector<QelNamedProperty*>;
using TagList = std::vector<const QelSymbol*>;

// A mark property: its presence is what counts.
void* const kMark = reinterpret_cast<void*>(1);

const QelSymbol* symbol(const char* name) {
  return QelSymbol::Get(name);
}

}  // namespace

// What the object-property key holds: the graphic's holder.
struct QelGraphic::ObjectProperty {
  QelGraphicHolder* holder = nullptr;
};

QelGraphicHolder::~QelGraphicHolder() = default;

QelNamedProperty::~QelNamedProperty() = default;
QelClassInfo* QelNamedProperty::getClassInfo() const {
  return ClassInfo();
}
void QelNamedProperty::write(QelOutputFile&) const {}

// --- Symbols and class infos ---------------------------------------------------------------

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

const QelSymbol* highlightSymbol() {
  static auto* s = symbol("__QelHighlight");
  return s;
}
const QelSymbol* focusSymbol() {
  static auto* s = symbol("__QelFocus");
  return s;
}

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

// --- Life ------------------------------------------------------------------------------------

QelGraphic::~QelGraphic() {
  if (QelGraphicHolder* holder = QelGraphic::getHolder()) holder->objectDeleted(this);
  removeProperties();
}

QelAList* QelGraphic::properties(bool create) {
  if (!_properties && create) _properties = new QelAList;
  return _properties;
}

void* QelGraphic::getProperty(const QelSymbol* key) const {
  return _properties ? _properties->get(key) : nullptr;
}

bool QelGraphic::hasProperty(const QelSymbol* key) const {
  return _properties && _properties->contains(key);
}

void QelGraphic::setProperty(const QelSymbol* key, void* value) {
  properties(true)->set(key, value);
}

void* QelGraphic::removeProperty(const QelSymbol* key) {
  if (!_properties) return nullptr;
  void* value = _properties->remove(key);
  if (_properties->isEmpty()) {  // a graphic without properties costs one null pointer
    delete _properties;
    _properties = nullptr;
  }
  return value;
}

void QelGraphic::removeProperties() {
  if (!_properties) return;
  std::free(removeProperty(NameSymbol()));
  if (auto* callbacks = static_cast<QelAList*>(removeProperty(CallbackListSymbol()))) {
    for (size_t i = 0; i < callbacks->length(); ++i)
      delete static_cast<CallbackList*>(callbacks->getValue(i));
    delete callbacks;
  }
  delete static_cast<ObjectProperty*>(removeProperty(ObjectPropertySymbol()));
  if (auto* named = static_cast<NamedPropertyList*>(removeProperty(NamedPropSymbol()))) {
    for (QelNamedProperty* property : *named) delete property;
    delete named;
  }
  delete static_cast<TagList*>(removeProperty(TagsSymbol()));
  delete _properties;
  _properties = nullptr;
}

void QelGraphic::copyProperties(const QelGraphic& other) {
  if (other.getName()) setName(other.getName());
  if (other.hasProperty(ClientDataSymbol())) setClientData(other.getClientData());
  if (auto* callbacks = static_cast<QelAList*>(other.getProperty(CallbackListSymbol())))
    for (size_t i = 0; i < callbacks->length(); ++i)
      for (const auto& record : *static_cast<CallbackList*>(callbacks->getValue(i)))
        addRecord(static_cast<const QelSymbol*>(callbacks->getKey(i)),
                  std::make_shared<CallbackRecord>(*record));
  if (auto* tags = static_cast<TagList*>(other.getProperty(TagsSymbol())))
    for (const QelSymbol* tag : *tags) addTag(tag);
  for (const QelSymbol* mark : {SensitiveSymbol(), FocusableSymbol()})
    if (other.hasProperty(mark)) setProperty(mark, kMark);
}

// --- Name, client data, holder, tags, marks ----------------------------------------------------

const char* QelGraphic::getName() const {
  return static_cast<const char*>(getProperty(NameSymbol()));
}

void QelGraphic::setName(const char* name) {
  const char* current = getName();
  if (name && name == current) return;
  char* copy = name ? strdup(name) : nullptr;
  std::free(removeProperty(NameSymbol()));
  if (copy) setProperty(NameSymbol(), copy);
}

void QelGraphic::setClientData(void* data) {
  setProperty(ClientDataSymbol(), data);
}
void* QelGraphic::getClientData() const {
  return getProperty(ClientDataSymbol());
}

QelGraphicHolder* QelGraphic::getHolder() const {
  auto* record = static_cast<ObjectProperty*>(getProperty(ObjectPropertySymbol()));
  return record ? record->holder : nullptr;
}

void QelGraphic::setHolder(QelGraphicHolder* holder) {
  auto* record = static_cast<ObjectProperty*>(getProperty(ObjectPropertySymbol()));
  if (!record) {
    if (!holder) return;
    record = new ObjectProperty;
    setProperty(ObjectPropertySymbol(), record);
  }
  record->holder = holder;
}

void QelGraphic::addTag(const QelSymbol* tag) {
  auto* tags = static_cast<TagList*>(getProperty(TagsSymbol()));
  if (!tags) setProperty(TagsSymbol(), tags = new TagList);
  if (std::find(tags->begin(), tags->end(), tag) == tags->end()) tags->push_back(tag);
}

void QelGraphic::removeTag(const QelSymbol* tag) {
  auto* tags = static_cast<TagList*>(getProperty(TagsSymbol()));
  if (!tags) return;
  tags->erase(std::remove(tags->begin(), tags->end(), tag), tags->end());
  if (tags->empty()) delete static_cast<TagList*>(removeProperty(TagsSymbol()));
}

bool QelGraphic::hasTag(const QelSymbol* tag) const {
  auto* tags = static_cast<TagList*>(getProperty(TagsSymbol()));
  return tags && std::find(tags->begin(), tags->end(), tag) != tags->end();
}

namespace {

void setMark(QelGraphic& graphic, const QelSymbol* mark, bool on) {
  if (on)
    graphic.setProperty(mark, kMark);
  else
    graphic.removeProperty(mark);
}

}  // namespace

void QelGraphic::setFocusable(bool focusable) {
  setMark(*this, FocusableSymbol(), focusable);
}
bool QelGraphic::isFocusable() const {
  return hasProperty(FocusableSymbol());
}
void QelGraphic::setSensitive(bool sensitive) {
  setMark(*this, SensitiveSymbol(), !sensitive);
}
bool QelGraphic::isSensitive() const {
  return !hasProperty(SensitiveSymbol());
}
void QelGraphic::setHighlight(bool highlight) {
  setMark(*this, highlightSymbol(), highlight);
}
bool QelGraphic::isHighlighted() const {
  return hasProperty(highlightSymbol());
}
void QelGraphic::setFocus(bool focus) {
  setMark(*this, focusSymbol(), focus);
}
bool QelGraphic::hasFocus() const {
  return hasProperty(focusSymbol());
}

// --- Named properties ----------------------------------------------------------------------

QelNamedProperty* QelGraphic::setNamedProperty(QelNamedProperty* property) {
  if (!property) return nullptr;
  auto* list = static_cast<NamedPropertyList*>(getProperty(NamedPropSymbol()));
  if (!list) {
    setProperty(NamedPropSymbol(), new NamedPropertyList{property});
    return nullptr;
  }
  for (QelNamedProperty*& slot : *list)
    if (slot->getName() == property->getName()) {
      QelNamedProperty* old = slot;
      slot = property;
      return old;
    }
  // A graphic that already has named properties takes no new name through this call: only the
  // first property, and replacements of it by name, ever attach here.
  return nullptr;
}

QelNamedProperty* QelGraphic::getNamedProperty(const QelSymbol* name) const {
  auto* list = static_cast<NamedPropertyList*>(getProperty(NamedPropSymbol()));
  if (!list) return nullptr;
  for (QelNamedProperty* property : *list)
    if (property->getName() == name) return property;
  return nullptr;
}

QelNamedProperty* QelGraphic::removeNamedProperty(const QelSymbol* name) {
  auto* list = static_cast<NamedPropertyList*>(getProperty(NamedPropSymbol()));
  if (!list) return nullptr;
  for (auto it = list->begin(); it != list->end(); ++it)
    if ((*it)->getName() == name) {
      QelNamedProperty* property = *it;
      list->erase(it);
      if (list->empty()) delete static_cast<NamedPropertyList*>(removeProperty(NamedPropSymbol()));
      return property;
    }
  return nullptr;
}

std::vector<QelNamedProperty*> QelGraphic::getNamedProperties() const {
  auto* list = static_cast<NamedPropertyList*>(getProperty(NamedPropSymbol()));
  return list ? *list : std::vector<QelNamedProperty*>();
}

bool QelGraphic::isSubtypeOf(const char* className) const {
  QelClassInfo* info = getClassInfo();
  if (!info || !info->isRegistered()) {
    QelWarning("QelClassInfo::isSubtypeOf: class of object is not registered");
    return false;
  }
  return info->isSubtypeOf(className);
}

// --- Callbacks -----------------------------------------------------------------------------

QelGraphic::CallbackList* QelGraphic::callbackList(const QelSymbol* type, bool create) {
  auto* lists = static_cast<QelAList*>(getProperty(CallbackListSymbol()));
  if (!lists) {
    if (!create) return nullptr;
    setProperty(CallbackListSymbol(), lists = new QelAList);
  }
  auto* list = static_cast<CallbackList*>(lists->get(type));
  if (!list && create) lists->set(type, list = new CallbackList);
  return list;
}

const QelGraphic::CallbackList* QelGraphic::getCallbacks(const QelSymbol* type) const {
  return const_cast<QelGraphic*>(this)->callbackList(type, false);
}

void QelGraphic::clearCallbacks(const QelSymbol* type, bool dropList) {
  CallbackList* list = callbackList(type, false);
  if (!list) return;
  list->clear();
  if (!dropList) return;
  auto* lists = static_cast<QelAList*>(getProperty(CallbackListSymbol()));
  delete static_cast<CallbackList*>(lists->remove(type));
  if (lists->isEmpty()) delete static_cast<QelAList*>(removeProperty(CallbackListSymbol()));
}

void QelGraphic::addRecord(const QelSymbol* type, std::shared_ptr<CallbackRecord> record) {
  callbackList(type, true)->push_back(std::move(record));
}

void QelGraphic::setCallback(const QelSymbol* type, QelGraphicCallback callback, void* data) {
  clearCallbacks(type, !callback);
  if (callback) addCallback(type, callback, data);
}

void QelGraphic::setCallback(const QelSymbol* type, const QelSymbol* name, void* data) {
  clearCallbacks(type, !name);
  if (name) addCallback(type, name, data);
}

void QelGraphic::addCallback(const QelSymbol* type, QelGraphicCallback callback, void* data) {
  if (!callback) return;
  if (const CallbackList* list = getCallbacks(type))
    for (const auto& record : *list)
      if (record->function == callback) return;
  addRecord(type, std::make_shared<CallbackRecord>(CallbackRecord{callback, nullptr, data, true}));
}

void QelGraphic::addCallback(const QelSymbol* type, const QelSymbol* name, void* data) {
  if (!name) return;
  if (const CallbackList* list = getCallbacks(type))
    for (const auto& record : *list)
      if (record->name == name) return;
  addRecord(type,
            std::make_shared<CallbackRecord>(CallbackRecord{nullptr, name, data, data != nullptr}));
}

void QelGraphic::removeCallback(const QelSymbol* type, QelGraphicCallback callback) {
  if (CallbackList* list = callbackList(type, false))
    list->erase(std::remove_if(list->begin(), list->end(),
                               [callback](const auto& r) { return r->function == callback; }),
                list->end());
}

void QelGraphic::removeCallback(const QelSymbol* type, const QelSymbol* name) {
  if (CallbackList* list = callbackList(type, false))
    list->erase(std::remove_if(list->begin(), list->end(),
                               [name](const auto& r) { return r->name == name; }),
                list->end());
}

bool QelGraphic::hasCallback(const QelSymbol* type) const {
  const CallbackList* list = getCallbacks(type);
  return list && !list->empty();
}

QelGraphicCallback QelGraphic::getCallback(const QelSymbol* type) const {
  const CallbackList* list = getCallbacks(type);
  return list && !list->empty() ? list->front()->function : nullptr;
}

const QelSymbol* QelGraphic::getCallbackName(const QelSymbol* type) const {
  const CallbackList* list = getCallbacks(type);
  return list && !list->empty() ? list->front()->name : nullptr;
}

void* QelGraphic::getCallbackData(const QelSymbol* type) const {
  const CallbackList* list = getCallbacks(type);
  return list && !list->empty() ? list->front()->data : nullptr;
}

void QelGraphic::setCallbackData(const QelSymbol* type, void* data) {
  if (CallbackList* list = callbackList(type, false))
    if (!list->empty()) list->front()->data = data, list->front()->hasData = true;
}

bool QelGraphic::hasCallbackData(const QelSymbol* type) const {
  const CallbackList* list = getCallbacks(type);
  return list && !list->empty() && list->front()->hasData;
}

void QelGraphic::callCallbacks(const QelSymbol* type) {
  const CallbackList* list = getCallbacks(type);
  if (!list) return;
  // Walk a snapshot: a callback may remove itself or others; removed ones are not called.
  CallbackList snapshot = *list;
  for (const auto& record : snapshot) {
    const CallbackList* current = getCallbacks(type);
    if (!current || std::find(current->begin(), current->end(), record) == current->end()) continue;
    if (record->function) {
      record->function(this, record->data);
    } else if (QelGraphicHolder* holder = getHolder()) {
      if (QelGraphicCallback resolved = holder->resolveCallback(record->name))
        resolved(this, record->hasData ? record->data : getClientData());
    }
  }
}

uint32_t QelGraphic::getCallbackTypes(const char* const** names,
                                      const QelSymbol* const** types) const {
  static const char* const typeNames[] = {"Generic"};
  static const QelSymbol* typeSymbols[] = {symbol("__QelCallback")};
  if (names) *names = typeNames;
  if (types) *types = typeSymbols;
  return 1;
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
