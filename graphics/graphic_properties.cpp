// The graphic's property list: its life, the name, client data, holder, tags, marks and named
// properties that live in it.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/alist.h"
#include "base/symbol.h"
#include "graphics/graphic.h"

namespace {

using NamedPropertyList = std::vector<QelNamedProperty*>;
using TagList = std::vector<const QelSymbol*>;

// A mark property: its presence is what counts.
void* const kMark = reinterpret_cast<void*>(1);

const QelSymbol* highlightSymbol() {
  static auto* s = QelSymbol::Get("__QelHighlight");
  return s;
}
const QelSymbol* focusSymbol() {
  static auto* s = QelSymbol::Get("__QelFocus");
  return s;
}

}  // namespace

// What the object-property key holds: the graphic's holder.
struct QelGraphic::ObjectProperty {
  QelGraphicHolder* holder = nullptr;
};

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

