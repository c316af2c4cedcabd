// The toolkit's version number and its default home directory (where its data files live).
#pragma once

int QelGetVersion();

// Copies `home`; null forgets it. The display prefers a home set here over "QELHOME".
void QelSetDefaultHome(const char* home);
// The home set by QelSetDefaultHome, or null.
const char* QelGetDefaultHome();
