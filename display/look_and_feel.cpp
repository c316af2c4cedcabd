// The display's look-and-feel handler: made on first use, replaced by a program, and counted so
// that laid-out gadgets can tell when the look changed under them.
#include "display/look_and_feel.h"

#include "display/display.h"

namespace {

QelLookAndFeelFactory defaultFactory = nullptr;

}  // namespace

QelLookAndFeelHandler::~QelLookAndFeelHandler() = default;

void QelDisplay::SetDefaultLookAndFeelFactory(QelLookAndFeelFactory factory) {
  defaultFactory = factory;
}

QelLookAndFeelHandler* QelDisplay::getLookAndFeelHandler() {
  if (!_lookAndFeel && defaultFactory && _xDisplay) {
    _lookAndFeel.reset(defaultFactory(this));
    if (_lookAndFeel) ++_lookChanges;
  }
  return _lookAndFeel.get();
}

void QelDisplay::setLookAndFeelHandler(QelLookAndFeelHandler* handler) {
  if (handler == _lookAndFeel.get()) return;
  _lookAndFeel.reset(handler);
  ++_lookChanges;
}
