// The look of gadgets, chosen per display: the display owns one look-and-feel handler, made on
// first use by the factory that the gadget module installs (the Motif look), or set by a
// program. The display knows only this base; the gadgets' handlers derive from it.
#pragma once

class QelDisplay;

class QelLookAndFeelHandler {
 public:
  virtual ~QelLookAndFeelHandler();
  // The look's name ("motif", ...).
  virtual const char* getLookName() const = 0;
};

using QelLookAndFeelFactory = QelLookAndFeelHandler* (*)(QelDisplay* display);
