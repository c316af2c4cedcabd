// Colour and palette rules that must hold on every visual: each test binary runs them on the
// shared 24-bit server and on 8-bit PseudoColor and 16-bit TrueColor servers of its own.
#pragma once

class QelDisplay;

namespace kestrel::test {

void checkColorRules(QelDisplay* display);
void checkPaletteRules(QelDisplay* display);

}  // namespace kestrel::test
