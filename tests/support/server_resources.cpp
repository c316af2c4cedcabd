#include "tests/support/server_resources.h"

#include <X11/extensions/XRes.h>

namespace kestrel::test {

long serverResources(Display* x, XID probe) {
  int types = 0;
  XResType* counts = nullptr;
  if (!XResQueryClientResources(x, probe, &types, &counts)) return -1;
  Atom entries = XInternAtom(x, "COLORMAP ENTRY", False);
  long total = 0;
  for (int i = 0; i < types; ++i)
    if (counts[i].resource_type != entries) total += counts[i].count;
  XFree(counts);
  return total;
}

}  // namespace kestrel::test
