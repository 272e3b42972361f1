// Start-up of the package: what happens when libXUMComps.so is loaded.
//
// On load the library installs its process-wide hooks: a new-handler that
// turns an allocation failure into XException with the (translated)
// "eOutOfMemory" text, the error hook `xerror_handler` (throwing XException
// with the given text), and the route from core's message boxes to the UI
// backend. The message catalogue records are built at the same time.
// `xpackage_localize` translates the catalogue through the package's own
// dictionary, XUMComps_<language>.loc beside the executable; a program calls
// it once at start-up (it is not run at load time, where a dictionary that
// cannot be read or written would stop the program before main).
//
// Thread safety: runs once, before `main`, on the loading thread.
#ifndef XUM_LOCALIZATION_XPACKAGE_H
#define XUM_LOCALIZATION_XPACKAGE_H

#include "core/xexport.h"

namespace xum {

// Runs the load-time steps. The shared library calls it when it is loaded;
// programs that link the objects statically call it once from `main`.
// Calling it again does nothing.
XUM_API void xpackage_attach();

class xlocalizer;

// The localizer of the library's own texts; made on first use and never
// destroyed (its run has ended by then, so there is nothing left to write).
XUM_API xlocalizer& package_localizer();

// Translates the message catalogue in place through package_localizer():
// opens "XUMComps.bpl" in the user's language (nothing happens for "ENU"),
// translates the catalogue (section "Strings"), keeps the recent-projects
// box ("LastProjectsBox") out of the component walk, and ends the run, which
// creates or rewrites the dictionary when a text was new or changed. May be
// called again (each call is a new run). A broken dictionary or one that
// cannot be written is reported through xerror, as xlocalizer reports it.
XUM_API void xpackage_localize();

}  // namespace xum

#endif  // XUM_LOCALIZATION_XPACKAGE_H
