// Control schemes: named keyboard actions of an application, each bound to
// up to two virtual-key codes (0-255, -1 for none), tested cheaply against
// one snapshot of the keyboard, and kept in a structured property file that
// lists only the keys the user changed.
//
//   xum::TControlScheme scheme;
//   xum::TKeyboardAction left(&scheme, "Left", "Move left", 37, 65);   // Left, A
//   scheme.SaveLoad("keys.tsf", xum::xfile_read);     // the user's changes, if any
//   ...
//   xum::TControlScheme::GetCurrentState();           // once per frame
//   if (left) move(-1);
//
// The scheme does not own its actions: they register themselves when
// constructed and must live as long as the scheme. The snapshot `keybState`
// is shared by every scheme: bit 7 of a byte set means the key is down.
//
// Thread safety: the user-interface thread only (the snapshot is shared,
// unlocked state).
#ifndef XUM_APP_TCONTROL_SCHEME_H
#define XUM_APP_TCONTROL_SCHEME_H

#include <cstdint>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "streams/xfile_stream.h"

namespace xum {

class xstruct_format;
class TKeyboardAction;

class XUM_API TControlScheme {
 public:
  TControlScheme() = default;
  TControlScheme(const TControlScheme&) = delete;
  TControlScheme& operator=(const TControlScheme&) = delete;

  // The keyboard snapshot that every action tests, one byte per code.
  static std::uint8_t keybState[256];
  // Fills keybState from the UI backend's keyboard state.
  static void GetCurrentState();

  // Reads or writes every binding through `f` in its current direction:
  // "<name>1" and "<name>2" as decimal integers in the current section,
  // written only when they differ from the defaults; a missing or
  // malformed value reads as the default.
  void ReadWrite(xstruct_format& f);
  // Opens `fileName` with `mode` (xfile_read, or xfile_create to write),
  // ReadWrite through it and closes it (which saves a written file). A
  // written scheme replaces the old file only when complete: the structured
  // format writes it beside the target, syncs it and renames it over.
  void SaveLoad(const xstr& fileName, xfile_mode mode);
  // Puts every action's keys back to its defaults.
  void Default();

  // The actions in the order they were constructed.
  const std::vector<TKeyboardAction*>& Actions() const noexcept { return actions_; }

 private:
  friend class TKeyboardAction;
  std::vector<TKeyboardAction*> actions_;
};

class XUM_API TKeyboardAction {
 public:
  // Sets the current and default keys and appends itself to `scheme`.
  TKeyboardAction(TControlScheme* scheme, const xstr& name, const xstr& caption, int key1,
                  int key2);
  TKeyboardAction(const TKeyboardAction&) = delete;
  TKeyboardAction& operator=(const TKeyboardAction&) = delete;

  // True when key 1 or key 2 (when >= 0) is down in the snapshot; never
  // asks the keyboard itself.
  explicit operator bool() const noexcept;

  int key1;
  int key2;
  int defKey1;
  int defKey2;
  xstr name;
  xstr caption;
};

// The editor's name of a virtual-key code: letters, digits, "Num. 0"...,
// "F1"-"F12" and the named keys; empty for other codes and outside 0-255.
// Code 14 is "Pause" and 188/190 are "<"/">", as stored schemes expect.
XUM_API const xstr& xkey_name(int code);

}  // namespace xum

#endif  // XUM_APP_TCONTROL_SCHEME_H
