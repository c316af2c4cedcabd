// The Motif look: the display's default look-and-feel. Its handlers draw gadgets as the Motif
// widgets beside them look: raised faces, a sunken trough, arrow buttons that press in, and the
// keyboard focus as a highlight rectangle.
#pragma once

// The "mlfgadget" initialiser: registers the look's gadget handler and makes the Motif look the
// default of every display. Safe to call many times, as are the two below.
int QelMotifGadgetModuleInit();
// "mlfscrollb": the scroll bar's handler.
int QelMotifScrollBarModuleInit();
// "mlfmsglabel": the message label's handler.
int QelMotifMessageLabelModuleInit();
