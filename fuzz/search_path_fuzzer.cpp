// Search-path texts come from "QELPATH" and X resources: any bytes must parse into directory
// entries that print back to an equivalent text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/path.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);  // may hold NUL bytes: cut there
  QelSearchPath parsed;
  parsed.set(text.c_str());
  for (size_t i = 0; i < parsed.length(); ++i) {
    const QelPathName& directory = parsed.getDirectory(i);
    if (!directory.isDirectoryName() || directory.getString().find(':') != std::string::npos)
      std::abort();
  }
  QelSearchPath reparsed;
  reparsed.set(parsed.getString().c_str());
  if (reparsed.getString() != parsed.getString()) std::abort();

  // A path name is one entry whatever its text holds.
  size_t before = parsed.length();
  parsed.prepend(text.c_str());
  parsed.append(QelPathName(text.c_str()));
  if (parsed.length() != 2 * before + (text.c_str()[0] ? 1 : 0)) std::abort();

  QelPathName found;
  parsed.find("kestrel-fuzz-no-such-file", found);
  parsed.find(text.c_str(), found);
  return 0;
}
