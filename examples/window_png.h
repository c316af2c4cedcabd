// Screenshots for the demo hosts: what a window shows, written as a PNG file.
#pragma once

#include <X11/Xlib.h>

// Reads the window (with the windows inside it) through its visual and colormap and writes it
// as 8-bit RGB. False when the window cannot be read or the file cannot be written.
bool writeWindowPng(Display* display, Window window, const char* path);
