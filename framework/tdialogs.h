// File dialogs. `Execute` asks the UI backend, which shows the dialog (or
// answers from a script or a rule) and fills FileName and Files.
//
//   xum::TOpenDialog d(form);
//   d.SetFilter(u"Projects (*.prj)|*.prj|All files|*");
//   if (d.Execute()) open(d.FileName());
//
// Thread safety: belongs to the main thread.
#ifndef XUM_FRAMEWORK_TDIALOGS_H
#define XUM_FRAMEWORK_TDIALOGS_H

#include "core/xexport.h"
#include "framework/tcomponent.h"
#include "framework/tstrings.h"

namespace xum {

// Options bits of the open dialog.
enum : unsigned {
  ofOverwritePrompt = 0x2,
  ofAllowMultiSelect = 0x200,
  ofPathMustExist = 0x800,
  ofFileMustExist = 0x1000,
};

class XUM_API TOpenDialog : public TComponent {
 public:
  using TComponent::TComponent;
  ~TOpenDialog() override;

  const UnicodeString& Title() const noexcept { return FTitle; }
  void SetTitle(const UnicodeString& Value) { FTitle = Value; }
  // Pairs "description|mask" joined with '|'.
  const UnicodeString& Filter() const noexcept { return FFilter; }
  void SetFilter(const UnicodeString& Value) { FFilter = Value; }
  int FilterIndex() const noexcept { return FFilterIndex; }
  void SetFilterIndex(int Value) noexcept { FFilterIndex = Value; }
  const UnicodeString& InitialDir() const noexcept { return FInitialDir; }
  void SetInitialDir(const UnicodeString& Value) { FInitialDir = Value; }
  const UnicodeString& FileName() const noexcept { return FFileName; }
  void SetFileName(const UnicodeString& Value) { FFileName = Value; }
  const UnicodeString& DefaultExt() const noexcept { return FDefaultExt; }
  void SetDefaultExt(const UnicodeString& Value) { FDefaultExt = Value; }
  unsigned Options() const noexcept { return FOptions; }
  void SetOptions(unsigned Value) noexcept { FOptions = Value; }
  // Every chosen file (one unless ofAllowMultiSelect); FileName is the first.
  TStrings& Files() noexcept { return FFiles; }
  const TStrings& Files() const noexcept { return FFiles; }

  // True when the user chose a file, false when the dialog was cancelled.
  virtual bool Execute();
  bool IsSaveDialog() const noexcept { return FSave; }

 protected:
  bool FSave = false;

 private:
  UnicodeString FTitle;
  UnicodeString FFilter;
  int FFilterIndex = 1;
  UnicodeString FInitialDir;
  UnicodeString FFileName;
  UnicodeString FDefaultExt;
  unsigned FOptions = 0;
  TStringList FFiles;
};

class XUM_API TSaveDialog : public TOpenDialog {
 public:
  explicit TSaveDialog(TComponent* AOwner) : TOpenDialog(AOwner) { FSave = true; }
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TDIALOGS_H
