/* Screenshots for the demo hosts: what a window shows, written as a PNG file. Plain C and Xlib,
 * so that hosts in C and C++ share it. */
#ifndef KESTREL_WINDOW_PNG_H
#define KESTREL_WINDOW_PNG_H

#include <X11/Xlib.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the window (with the windows inside it) through its visual and colormap and writes it
 * as 8-bit RGB. Zero when the window cannot be read or the file cannot be written. */
int writeWindowPng(Display* display, Window window, const char* path);

#ifdef __cplusplus
}
#endif

#endif /* KESTREL_WINDOW_PNG_H */
