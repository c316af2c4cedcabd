// What the X server holds for a client, counted by the server itself (XRes): leak tests compare
// the count before and after.
#pragma once

#include <X11/Xlib.h>

namespace kestrel::test {

// The server resources (windows, pixmaps, GCs, fonts, cursors, ...) of the client owning `probe`;
// -1 when the server cannot say. Colormap entries are left out: on read-only visuals the server
// keeps a record of every colour ever allocated, freed or not.
long serverResources(Display* x, XID probe);

}  // namespace kestrel::test
