// A palette's attributes as text, for data files. One palette is one line of twelve tokens:
//
//   BACKGROUND FOREGROUND FONT LINESTYLE WIDTH FILL ARC RULE MODE OVERWRITE PLANEMASK PATTERN
//   "gray" "#0000FFFF8888" "%helvetica-12-B-" "dash" 2 0 0 0 3 0 4294967295 -
//
// Colours, the font and the pattern are quoted names ('"' and '\' escaped with '\'); "-" stands
// for the display's default. LINESTYLE is a quoted name, or [OFFSET D1 D2 ...] for an unnamed
// dash list. WIDTH, FILL (0 pattern, 1 mask pattern, 2 colour pattern), ARC (0 pie, 1 chord),
// RULE (0 even-odd, 1 winding), MODE (0-8), OVERWRITE (0 or 1) and PLANEMASK are decimal.
// Numbers never depend on the process locale.
#pragma once

#include <istream>
#include <ostream>

class QelDisplay;
class QelPalette;

void QelWritePalette(std::ostream& out, const QelPalette& palette);

// The shared palette the next line describes (not locked: the caller locks what it keeps), or
// null when the text is malformed. Names the display does not know fall back to its defaults.
QelPalette* QelReadPalette(QelDisplay& display, std::istream& in);
