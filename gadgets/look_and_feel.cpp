#include "gadgets/look_and_feel.h"

#include <utility>

#include "display/display.h"
#include "gadgets/gadget.h"
#include "graphics/class_info.h"

namespace {

// (look, class name) → the factory of the class's handler in that look.
std::map<std::pair<std::string, std::string>, QelGadgetLookFactory>& factories() {
  static std::map<std::pair<std::string, std::string>, QelGadgetLookFactory> table;
  return table;
}

}  // namespace

QelLookAndFeel::QelLookAndFeel(QelDisplay* display, const char* lookName)
    : _display(display), _lookName(lookName ? lookName : "") {}

QelLookAndFeel::~QelLookAndFeel() = default;

QelGadgetLookHandler* QelLookAndFeel::getHandler(const QelClassInfo* info) {
  for (const QelClassInfo* c = info; c; c = c->getSuperClass()) {
    auto made = _handlers.find(c);
    if (made != _handlers.end()) return made->second.get();
    auto factory = factories().find({_lookName, c->getClassName()});
    if (factory == factories().end()) continue;
    QelGadgetLookHandler* handler = factory->second(_display);
    _handlers[c].reset(handler);
    return handler;
  }
  return nullptr;
}

void QelLookAndFeel::RegisterHandler(const char* lookName, const char* className,
                                     QelGadgetLookFactory factory) {
  if (!lookName || !className) return;
  factories()[{lookName, className}] = factory;
}

QelGadgetLookHandler* QelLookAndFeel::HandlerFor(QelDisplay* display, const QelClassInfo* info) {
  auto* look = display ? dynamic_cast<QelLookAndFeel*>(display->getLookAndFeelHandler()) : nullptr;
  return look && info ? look->getHandler(info) : nullptr;
}
