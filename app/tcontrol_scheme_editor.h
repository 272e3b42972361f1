// The modal editor of a control scheme and the small form that captures one
// key. Both are built in code from the framework's controls and translate
// themselves through the package's localizer (sections
// "ControlSchemeEditorForm" and "KeyCaptureForm").
//
//   if (xum::EditControlScheme(&scheme)) scheme.SaveLoad(settings, xum::xfile_create);
//
// The editor shows one row per action (a frame "Frame<i>" with tag i: the
// action's caption and two buttons named after its keys). A key button
// opens the capture form: the first named key found down (lowest code
// first, so Shift+A gives A) becomes the key; cancelling the capture clears
// the key to -1. Save and Load use file dialogs that start in the
// executable's directory; Default restores the defaults. Cancelling the
// editor restores every key as it was when the editor opened.
//
// Key events reach the capture form through the form's key dispatch
// (TCustomForm::DispatchKeyDown; the form previews keys, so a focused
// Cancel button does not take them), which a windowing backend (or a
// test, through the modal loop's act) runs for each key press after
// updating the backend's keyboard state.
//
// Thread safety: the user-interface thread only.
#ifndef XUM_APP_TCONTROL_SCHEME_EDITOR_H
#define XUM_APP_TCONTROL_SCHEME_EDITOR_H

#include "app/tcontrol_scheme.h"
#include "core/xexport.h"
#include "framework/tforms.h"

namespace xum {

class TButton;
class TOpenDialog;
class TSaveDialog;

class XUM_API TKeyCaptureForm : public TForm {
 public:
  explicit TKeyCaptureForm(TComponent* AOwner);

  // A key went down: takes the lowest code that has a name and whose key
  // is down (GetKeyState negative), consumes the key and closes with mrOk;
  // with no named key down the form stays open.
  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;
  // The captured code; -1 before a capture.
  int Key = -1;
};

class XUM_API TControlSchemeEditorForm : public TForm {
 public:
  explicit TControlSchemeEditorForm(TComponent* AOwner);

  // Height of one action's row in the scrolling area.
  static constexpr int RowHeight = 28;

  // Edits `scheme` (not owned) from the next Fill on.
  void SetScheme(TControlScheme* scheme) noexcept { scheme_ = scheme; }
  // Removes all rows and makes one per action of the scheme.
  void Fill();
  // Removes all rows.
  void ClearRows();
  TScrollBox* RowsBox() const noexcept { return rows_; }

 private:
  void CaptureKey(int action, int which, TButton* button);
  void SaveClick();
  void LoadClick();

  TControlScheme* scheme_ = nullptr;
  TScrollBox* rows_;
  TOpenDialog* open_;
  TSaveDialog* save_;
};

// The key capture form the application owns, made on first use.
XUM_API TKeyCaptureForm* xkey_capture_form();

// Runs the editor modally on `scheme`; true when the user accepted with OK.
// Any other end restores the keys the scheme had before.
XUM_API bool EditControlScheme(TControlScheme* scheme);

}  // namespace xum

#endif  // XUM_APP_TCONTROL_SCHEME_EDITOR_H
