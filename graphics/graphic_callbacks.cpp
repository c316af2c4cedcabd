// Callbacks of a graphic: per callback type, an ordered list of function and named records,
// kept in the graphic's property list.
#include <algorithm>
#include <memory>

#include "base/alist.h"
#include "base/symbol.h"
#include "graphics/graphic.h"

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
  static const QelSymbol* typeSymbols[] = {QelSymbol::Get("__QelCallback")};
  if (names) *names = typeNames;
  if (types) *types = typeSymbols;
  return 1;
}

