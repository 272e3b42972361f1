// Application-level presentation of an exception that reaches the main loop:
// the handler an application installs for failures nobody caught.
//
//   ordinary  -> a box with the message (caption "Error", or the validation
//                caption), and the application goes on;
//   critical  -> Abort / Retry / Ignore (caption "Critical error"): Abort ends
//                the process with exit code 1, Ignore hides every later
//                critical error, Retry goes on;
//   fatal     -> a box (caption "Fatal error"), then exit code 1.
// Integer overflow counts as critical; running out of memory or system
// resources as fatal. Anything outside the XException family is shown as the
// "Unknown internal error !" text.
//
//   try { run(); } catch (...) { xum::xpresent_exception(std::current_exception()); }
//
// Thread safety: call on the user-interface thread.
#ifndef XUM_FRAMEWORK_XEXCEPTION_PRESENTER_H
#define XUM_FRAMEWORK_XEXCEPTION_PRESENTER_H

#include <exception>

#include "core/xexport.h"

namespace xum {

// Presents `e` through the current UI backend. Returns only when the
// application is to go on. A null pointer is presented as an unknown error.
XUM_API void xpresent_exception(std::exception_ptr e);

// Whether the user chose Ignore on a critical error; from then on critical
// errors are not shown. The flag is never cleared.
XUM_API bool xcritical_errors_ignored() noexcept;

}  // namespace xum

#endif  // XUM_FRAMEWORK_XEXCEPTION_PRESENTER_H
