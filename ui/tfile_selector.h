// TFileSelector: an edit for a file or directory name with a browse button
// that opens the UI backend's file dialog, and a check of the name.
//
//   auto* source = new xum::TFileSelector(form);
//   source->SetParent(form);
//   source->SetHint(u"Source file");
//   source->Dialog()->SetFilter(u"Notes (*.txt)|*.txt");
//   source->Browse();                    // what the button does
//   xum::ValidateControl(source);        // throws XEValidation when not valid
//
// The edit (`Edit`), the button (`BrowseBtn`, caption "...") and the dialog
// are sub-components, so the component localizer leaves them alone; the
// dialog's title and filter are the application's to set. Browsing starts
// in the directory of the current name and, when the user chooses, puts the
// choice into the edit and calls OnChange.
//
// IsValid(raise), for the trimmed name:
//   empty                      "FileNotSelected" ("DirectoryNotSelected" in
//                              directory mode);
//   MustExist and not there    "File not found !" / "Path not found !" with a
//                              line feed, "File: " and the name; a directory
//                              where a file is wanted counts as not there,
//                              and a file where a directory is wanted.
// MustExist is on at first.
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TFILE_SELECTOR_H
#define XUM_UI_TFILE_SELECTOR_H

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tcontrol.h"
#include "framework/tdialogs.h"
#include "framework/tstdctrls.h"

namespace xum {

class XUM_API TFileSelector : public TWinControl {
 public:
  explicit TFileSelector(TComponent* AOwner);

  TEdit* Edit() const noexcept { return FEdit; }
  TButton* BrowseBtn() const noexcept { return FBrowseBtn; }
  TOpenDialog* Dialog() const noexcept { return FDialog; }

  UnicodeString FileName() const { return FEdit->Text(); }
  void SetFileName(const UnicodeString& Value) { FEdit->SetText(Value); }
  // Chooses a directory rather than a file.
  bool SelectDirectory() const noexcept { return FSelectDirectory; }
  void SetSelectDirectory(bool Value) noexcept { FSelectDirectory = Value; }
  bool MustExist() const noexcept { return FMustExist; }
  void SetMustExist(bool Value) noexcept { FMustExist = Value; }

  // Runs the dialog; true when the user chose a name.
  bool Browse();
  // Called when a browse puts a new name into the edit.
  TNotifyEvent OnChange;

  bool IsValid(bool raise) const;

  void SetBounds(int ALeft, int ATop, int AWidth, int AHeight) override;

 private:
  TEdit* FEdit;
  TButton* FBrowseBtn;
  TOpenDialog* FDialog;
  bool FSelectDirectory = false;
  bool FMustExist = true;
};

}  // namespace xum

#endif  // XUM_UI_TFILE_SELECTOR_H
