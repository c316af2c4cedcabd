// Message labels: a gadget showing a text of the display's message database ("&" names are keys
// looked up in the current language; other names are their own text), one or more lines, with
// an alignment and an optional opaque background and relief.
//
// Data-file form, after the gadget's fields ("x y w h thickness sensitive"): the alignment, the
// opaque flag, then the message name as a quoted string.
#pragma once

#include <cstdint>

#include "gadgets/gadget.h"

class QelMessageLabel;

class QelMessageString {
 public:
  QelMessageString(const char* name, unsigned int alignment, int copy);
  ~QelMessageString();
  QelMessageString(const QelMessageString&) = delete;
  QelMessageString& operator=(const QelMessageString&) = delete;

  // Frees the previous name. With `copy` 0 the given pointer itself is kept and freed later (a
  // heap string handed over, from malloc or strdup); with `copy` set a copy is kept, null
  // becoming the empty string.
  void setName(const char* name, int copy);
  const char* getName() const { return _name; }
  // The text shown: the name looked up in the display's message database.
  const char* getText(QelDisplay* display) const;
  unsigned int getAlignment() const { return _alignment; }
  void setAlignment(unsigned int alignment) { _alignment = alignment; }
  // The character after the text's first single '&', or 0.
  char getMnemonic(QelDisplay* display) const;

 private:
  char* _name = nullptr;
  unsigned int _alignment;
};

// How a look draws a label's text inside the rectangle left for it.
class QelMessageLabelLookHandler : public QelGadgetLookHandler {
 public:
  virtual void drawText(const QelMessageLabel& label, QelPort* port, const QelRect& rect,
                        const QelRegion* clip) const = 0;
};

class QelMessageLabel : public QelGadget {
 public:
  QelMessageLabel(QelDisplay* display, const char* label, const QelRect& rect,
                  unsigned int alignment = QelCenter, uint16_t thickness = 0,
                  QelPalette* palette = nullptr, int copy = 1);
  // Sized to its contents at `point`.
  QelMessageLabel(QelDisplay* display, const QelPoint& point, const char* label,
                  unsigned int alignment = QelCenter, uint16_t thickness = 0,
                  QelPalette* palette = nullptr, int copy = 1);
  QelMessageLabel(QelInputFile& file, QelPalette* palette);

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  QelGraphic* copy() const override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;

  QelMessageString& getMessage() { return _message; }
  const QelMessageString& getMessage() const { return _message; }
  const char* getText() const { return _message.getText(getDisplay()); }
  int isOpaque() const { return _opaque; }
  void setOpaque(int opaque) { _opaque = opaque != 0; }
  // Lines of the text times the font's height, plus 3; the widest line, mnemonic marks left out.
  void computeSize(const QelPalette* palette, uint32_t& width, uint32_t& height) const;
  char getMnemonic() const { return _message.getMnemonic(getDisplay()); }
  void fitToContents();
  // One space of the label's font across, two pixels up and down.
  uint32_t horizontalMargin() const;
  static constexpr uint32_t kVerticalMargin = 2;

  static QelClassInfo* ClassInfo();

 private:
  QelMessageString _message;
  int _opaque = 0;
  // The look the label was last laid out for (the display counts its changes of look).
  mutable unsigned int _laidOutFor = 0;
  bool _sizedToContents = false;
};

// Registers QelMessageLabel; safe to call many times.
int QelMessageLabelModuleInit();
