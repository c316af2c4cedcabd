// The handlers a display puts in place of the host's: the X error and X I/O error handlers
// (process-wide) and the Xt warning handler (per application context). They are taken back,
// and the host's put back, when the last display that installed them goes.
#pragma once

#include <X11/Intrinsic.h>

class QelDisplay;

void QelInstallXErrorHandlers(const QelDisplay* display);
void QelInstallXtWarningHandler(const QelDisplay* display, XtAppContext context);
// Everything `display` installed; nothing when it installed nothing.
void QelReleaseHandlers(const QelDisplay* display);
