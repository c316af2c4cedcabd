// Object interactors by name. A graphic names the interactor that edits it
// (QelGraphic::getDefaultInteractor); each module registers one shared instance per name, and a
// container attaches the instance to the objects that should use it.
#pragma once

#include "display/container.h"

// Makes `interactor` the one registered under `name`, replacing (and deleting) an earlier one;
// the registry owns it. A null or empty name is refused and the interactor deleted.
void QelRegisterObjectInteractor(const char* name, QelViewObjectInteractor* interactor);
// The interactor registered under `name`, or null.
QelViewObjectInteractor* QelGetObjectInteractor(const char* name);
// Attaches the interactor that `obj` names as its default; false, with nothing changed, when it
// names none or one that is not registered.
bool QelSetDefaultInteractor(QelContainer* container, QelGraphic* obj);

// Moves the object pressed with the left button by the pointer's motion; only where the
// object was and where it is are redrawn.
class QelViewMoveInteractor : public QelViewObjectInteractor {
 public:
  int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                  QelTransformer* t) override;

 private:
  QelGraphic* _moved = nullptr;
  QelPoint _last;
};

// Registers "Move"; safe to call many times.
int QelContainerInteractorModuleInit();
