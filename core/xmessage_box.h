// Message boxes as the library's lower layers ask for them.
//
// Core code (exceptions) shows boxes through `xmessage_box`, which forwards to
// the handler the UI backend installs when the library is loaded (see
// framework/xui_backend.h). The flags and results keep the host platform's
// values, so code written against them reads the same here.
//
//   if (xum::xmessage_box(text, caption, xum::MB_YESNO | xum::MB_ICONQUESTION) == xum::IDYES) ...
//
// Thread safety: the handler pointer is set once at load time; showing a box
// belongs to the user-interface thread.
#ifndef XUM_CORE_XMESSAGE_BOX_H
#define XUM_CORE_XMESSAGE_BOX_H

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

// Button sets (low four bits of the flags).
inline constexpr unsigned MB_OK = 0x0;
inline constexpr unsigned MB_OKCANCEL = 0x1;
inline constexpr unsigned MB_ABORTRETRYIGNORE = 0x2;
inline constexpr unsigned MB_YESNOCANCEL = 0x3;
inline constexpr unsigned MB_YESNO = 0x4;
inline constexpr unsigned MB_RETRYCANCEL = 0x5;
inline constexpr unsigned MB_TYPEMASK = 0xF;
// Icons.
inline constexpr unsigned MB_ICONHAND = 0x10;
inline constexpr unsigned MB_ICONERROR = MB_ICONHAND;
inline constexpr unsigned MB_ICONQUESTION = 0x20;
inline constexpr unsigned MB_ICONEXCLAMATION = 0x30;
inline constexpr unsigned MB_ICONWARNING = MB_ICONEXCLAMATION;
inline constexpr unsigned MB_ICONASTERISK = 0x40;
inline constexpr unsigned MB_ICONINFORMATION = MB_ICONASTERISK;
inline constexpr unsigned MB_ICONMASK = 0xF0;
// Which button is the default (the first unless one of these is given).
inline constexpr unsigned MB_DEFBUTTON1 = 0x000;
inline constexpr unsigned MB_DEFBUTTON2 = 0x100;
inline constexpr unsigned MB_DEFBUTTON3 = 0x200;
inline constexpr unsigned MB_DEFMASK = 0xF00;

// Results: the button pressed.
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

// The buttons of the set named by `flags`, in display order; returns how many
// (1 to 3) and fills `ids`.
XUM_API int xmessage_box_buttons(unsigned flags, int ids[3]) noexcept;

// The button a box with these flags selects by default.
XUM_API int xmessage_box_default(unsigned flags) noexcept;

// The caption of a button ("OK", "Cancel", "Abort", "Retry", "Ignore", "Yes",
// "No"); "?" for an unknown id.
XUM_API const char* xmessage_box_button_name(int id) noexcept;

using xmessage_box_fn = int (*)(const xstr& text, const xstr& caption, unsigned flags);

// Installed by the UI backend. When null, boxes are written to standard error
// and answered with their default button.
XUM_API extern xmessage_box_fn xmessage_box_handler;

// Shows a box and returns the button pressed (IDOK ...).
XUM_API int xmessage_box(const xstr& text, const xstr& caption, unsigned flags);

}  // namespace xum

#endif  // XUM_CORE_XMESSAGE_BOX_H
