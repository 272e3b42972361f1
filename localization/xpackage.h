// Start-up of the package: what happens when libXUMComps.so is loaded and
// unloaded.
//
// Attach (first): a new-handler that turns an allocation failure into
// XException with the (translated) "eOutOfMemory" text, the error hook
// `xerror_handler` (throwing XException with the given text), and the route
// from core's message boxes to the UI backend.
//
// Initialisation (then, also at load time): the message catalogue records
// (core/xcatalogue.h) already exist; the package localizer opens the
// package's dictionary, XUMComps_<language>.loc beside the executable
// (nothing at all for "ENU"), translates the catalogue (section "Strings"),
// keeps the recent-projects box "LastProjectsBox" out of every form, creates
// and at once destroys the package's forms in their order (key capture,
// control scheme editor, project selector: each translates itself, so its
// texts join the dictionary in the same run), and ends the run, which
// writes the dictionary when a text was new or changed. Later form
// creations translate from it without writing.
//
// Finalisation (at unload, in reverse): the package localizer is destroyed.
//
// A dictionary that is broken or cannot be written never stops a program
// before `main`: the load-time run catches the failure, leaves the texts it
// could not translate in English and keeps the message for
// xpackage_load_error(); a program that wants to report it shows that text,
// and may call xpackage_initialize() again (which reports through xerror).
//
//   if (!xum::xpackage_load_error().empty()) warn(xum::xpackage_load_error());
//
// The package's forms live in app/, above this folder: each registers its
// maker with xpackage_add_form before the load-time run (see there).
//
// A program that links the library's objects statically calls
// xpackage_start() once at the top of `main` instead.
//
// Thread safety: runs on the loading thread, before `main`; the package
// localizer then belongs to the user-interface thread.
#ifndef XUM_LOCALIZATION_XPACKAGE_H
#define XUM_LOCALIZATION_XPACKAGE_H

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class xlocalizer;

// Runs the attach steps. Calling it again does nothing.
XUM_API void xpackage_attach();

// The localizer of the library's own texts: made on first use (also after
// finalisation, for forms made that late).
XUM_API xlocalizer& package_localizer();

// Makes and at once destroys one of the package's forms (its constructor
// translates it through package_localizer()).
using xpackage_form_maker = void (*)();

// The places of the package's forms in the creation order.
inline constexpr int xpackage_key_capture_form = 1;
inline constexpr int xpackage_control_scheme_editor_form = 2;
// The project selector, TPrjSelectorFrm, translated under the section name
// "\"PrjSelectorFrm\"" (the two double quotes belong to the name). Each
// form's source file in app/ registers it at its place.
inline constexpr int xpackage_project_selector_form = 3;

// Registers `make` at `place` (1-8; a later registration at the same place
// replaces the earlier one). For the package's own forms, from load-time
// registration objects that must run before the load-time initialisation
// (see XUM_PACKAGE_FORM below). Out-of-range places are ignored.
XUM_API void xpackage_add_form(int place, xpackage_form_maker make) noexcept;

// The initialisation steps above; each call is a new run of the package
// localizer. Failures go through xerror.
XUM_API void xpackage_initialize();
// Destroys the package localizer.
XUM_API void xpackage_finalize();

// xpackage_attach() and xpackage_initialize(), for static builds. Calling
// it again does nothing.
XUM_API void xpackage_start();

// Why the load-time initialisation failed; empty when it did not.
XUM_API const xstr& xpackage_load_error() noexcept;

}  // namespace xum

// Declares a registration object that puts a form maker at its place before
// any ordinary load-time initialisation of the library runs (so before the
// package start-up), whatever the order of the object files.
#if defined(__GNUC__)
#define XUM_PACKAGE_FORM(var, place, maker)                                            \
  namespace {                                                                          \
  struct var##_type {                                                                  \
    var##_type() noexcept { ::xum::xpackage_add_form(place, maker); }                  \
  };                                                                                   \
  __attribute__((init_priority(1000))) const var##_type var;                           \
  }
#else
#error "the package start-up needs an ordered load-time registration for this compiler"
#endif

#endif  // XUM_LOCALIZATION_XPACKAGE_H
