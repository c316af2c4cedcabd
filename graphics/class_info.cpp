#include "graphics/class_info.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "base/messages.h"

namespace {

// Class names in registration order are what GetRegisteredClassInfos lists.
struct Registry {
  std::map<std::string, QelClassInfo*> byName;
  std::vector<QelClassInfo*> inOrder;
  uint32_t nextNumber = 0;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

bool reportIfEmpty(const char* operation) {
  if (!registry().inOrder.empty()) return false;
  QelWarning(
      "QelClassInfo::%s: No classes registered. Check that the module initialisers of the "
      "classes you use were called.",
      operation);
  return true;
}

}  // namespace

QelClassInfo::QelClassInfo(const char* name, QelClassInfo* superClass)
    : _name(name), _superClass(superClass), _number(registry().nextNumber++) {
  Registry& r = registry();
  if (!name) return;
  if (r.byName.count(name)) {
    QelWarning("QelClassInfo::QelClassInfo: class %s is already registered", name);
    return;
  }
  r.byName[name] = this;
  r.inOrder.push_back(this);
}

QelClassInfo::~QelClassInfo() {
  Registry& r = registry();
  if (!isRegistered()) return;
  r.byName.erase(_name);
  r.inOrder.erase(std::find(r.inOrder.begin(), r.inOrder.end(), this));
}

bool QelClassInfo::isRegistered() const {
  if (!_name) return false;
  auto found = registry().byName.find(_name);
  return found != registry().byName.end() && found->second == this;
}

bool QelClassInfo::isSubtypeOf(const QelClassInfo* other) const {
  if (reportIfEmpty("isSubtypeOf")) return false;
  if (!other) return false;
  for (const QelClassInfo* info = this; info; info = info->_superClass) {
    if (!info->isRegistered()) {
      QelWarning("QelClassInfo::isSubtypeOf: %s not properly registered",
                 info->_name ? info->_name : "(unnamed class)");
      return false;
    }
    if (info == other) return true;
  }
  return false;
}

bool QelClassInfo::isSubtypeOf(const char* name) const {
  if (reportIfEmpty("isSubtypeOf")) return false;
  // An unknown name is no supertype of anything; only a chain that cannot be walked is reported.
  QelClassInfo* other = name ? Get(name) : nullptr;
  return other && isSubtypeOf(other);
}

QelClassInfo* QelClassInfo::Get(const char* name) {
  if (reportIfEmpty("Get") || !name) return nullptr;
  auto found = registry().byName.find(name);
  return found == registry().byName.end() ? nullptr : found->second;
}

bool QelClassInfo::IsKnown(const char* name) {
  if (reportIfEmpty("IsKnown") || !name) return false;
  return registry().byName.count(name) != 0;
}

std::vector<const char*> QelClassInfo::GetRegisteredClassNames() {
  std::vector<const char*> names;
  if (reportIfEmpty("GetRegisteredClassNames")) return names;
  for (QelClassInfo* info : registry().inOrder) names.push_back(info->_name);
  return names;
}

std::vector<QelClassInfo*> QelClassInfo::GetRegisteredClassInfos() {
  if (reportIfEmpty("GetRegisteredClassInfos")) return {};
  return registry().inOrder;
}

QelPropClassInfo::~QelPropClassInfo() {
  for (size_t i = 0; i < _properties.length(); ++i)
    for (DeleteCallback callback : _deleteCallbacks)
      callback(this, _properties.getKey(i), _properties.getValue(i));
}

bool QelPropClassInfo::addProperty(const QelSymbol* key, void* value) {
  if (_properties.contains(key)) return false;
  _properties.set(key, value);
  return true;
}

bool QelPropClassInfo::replaceProperty(const QelSymbol* key, void* value) {
  if (!_properties.contains(key)) return false;
  _properties.set(key, value);
  return true;
}

bool QelPropClassInfo::removeProperty(const QelSymbol* key) {
  if (!_properties.contains(key)) return false;
  _properties.remove(key);
  return true;
}
