// Looks: a look is a name ("motif") and one handler per gadget class, registered by the look's
// module initialisers. A display's look-and-feel handler is a QelLookAndFeel of one look; a
// second look is one more set of handler classes registered under its own name, and gadgets
// never change for it.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "display/look_and_feel.h"

class QelClassInfo;
class QelDisplay;
class QelGadgetLookHandler;

using QelGadgetLookFactory = QelGadgetLookHandler* (*)(QelDisplay* display);

class QelLookAndFeel : public QelLookAndFeelHandler {
 public:
  QelLookAndFeel(QelDisplay* display, const char* lookName);
  ~QelLookAndFeel() override;

  const char* getLookName() const override { return _lookName.c_str(); }
  QelDisplay* getDisplay() const { return _display; }
  // The handler of the class, else of its nearest superclass that has one (made on first use);
  // null when the look has none.
  QelGadgetLookHandler* getHandler(const QelClassInfo* info);

  // Makes `className`'s handler for the look `lookName`. Registering again replaces.
  static void RegisterHandler(const char* lookName, const char* className,
                              QelGadgetLookFactory factory);
  // The handler a display's gadgets of `info`'s class use (null without a look).
  static QelGadgetLookHandler* HandlerFor(QelDisplay* display, const QelClassInfo* info);

 private:
  QelDisplay* _display;
  std::string _lookName;
  std::map<const QelClassInfo*, std::unique_ptr<QelGadgetLookHandler>> _handlers;
};
