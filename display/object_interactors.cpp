#include "display/object_interactors.h"

#include <map>
#include <memory>
#include <string>

#include "base/module_init.h"
#include "display/event.h"
#include "graphics/region.h"

namespace {

std::map<std::string, std::unique_ptr<QelViewObjectInteractor>>& registry() {
  static std::map<std::string, std::unique_ptr<QelViewObjectInteractor>> interactors;
  return interactors;
}

}  // namespace

void QelRegisterObjectInteractor(const char* name, QelViewObjectInteractor* interactor) {
  std::unique_ptr<QelViewObjectInteractor> owned(interactor);
  if (!name || !*name) return;
  if (owned)
    registry()[name] = std::move(owned);
  else
    registry().erase(name);
}

QelViewObjectInteractor* QelGetObjectInteractor(const char* name) {
  if (!name) return nullptr;
  auto it = registry().find(name);
  return it == registry().end() ? nullptr : it->second.get();
}

bool QelSetDefaultInteractor(QelContainer* container, QelGraphic* obj) {
  if (!container || !obj) return false;
  QelViewObjectInteractor* interactor = QelGetObjectInteractor(obj->getDefaultInteractor());
  if (!interactor) return false;
  container->setObjectInteractor(obj, interactor);
  return true;
}

int QelViewMoveInteractor::handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                                       QelTransformer* t) {
  const QelPoint p(event.x, event.y);
  switch (event.type) {
    case QelButtonDown:
      if (event.button != QelLeftButton) return 0;
      _moved = obj, _last = p;
      return 1;
    case QelButtonDragged: {
      if (!_moved || _moved != obj || !(event.modifiers & QelLeftButtonModifier)) return 0;
      // The motion is measured in the objects' own space, where translate works.
      QelPoint from = _last, to = p;
      if (t && !(t->inverse(from) && t->inverse(to))) return 1;
      QelRect before, after;
      obj->boundingBox(before, t);
      obj->translate(QelClampToInt32(int64_t(to.x) - from.x),
                     QelClampToInt32(int64_t(to.y) - from.y));
      obj->boundingBox(after, t);
      _last = p;
      QelRegion damaged(before);
      damaged.add(after);
      container->reDraw(&damaged);
      return 1;
    }
    case QelButtonUp:
      if (event.button != QelLeftButton || !_moved) return 0;
      _moved = nullptr;
      return 1;
    default:
      return 0;
  }
}

int QelContainerInteractorModuleInit() {
  static int state = 0;
  QelContainerModuleInit();
  return QelInitializeOnce(state,
                           [] { QelRegisterObjectInteractor("Move", new QelViewMoveInteractor); });
}
