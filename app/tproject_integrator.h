// TProjectIntegrator: the lifecycle of an application's one open document,
// the project: new, open, save, save as, the modified flag and the question
// before changes are lost, the untitled name, the recent-projects list kept
// in the settings store and shown as a menu, and the start-up selector.
// The application loads and saves through events; the project actions
// (app/tproject_action.h) call ProcessCommand.
//
//   auto* prj = new xum::TProjectIntegrator(main_form);
//   prj->OnLoad = [&](xum::TObject*, const xum::UnicodeString& name, bool& ok) { ok = load(name);
//   }; prj->OnSave = [&](xum::TObject*, bool& ok) { ok = save(prj->FileName()); };
//   prj->SetRegistryKey(u"Software\\Acme\\Notes");
//   prj->SetRecentPopup(recent_menu);
//   prj->LoadRecentsList();
//   prj->Start();                       // the selector, until a project is open
//
// States: no project (FileName empty), untitled (FileName equals Untitled),
// named; each modified or not. The recent list (full paths, newest first)
// is read by LoadRecentsList and written back by the destructor as the text
// values "0", "1", ... of the key RegistryKey\RegistrySection, which the
// destructor empties first. A StorageSize of 0, or an empty key or section,
// turns that persistence off. Store failures in the destructor are dropped
// (a destructor never throws); LoadRecentsList reads what it can.
//
// Start clears the selector's choice before each showing, so a selector
// closed without a choice means exit (the choice stays 0) rather than the
// previous choice again. The chosen file's directory is not made the
// process's current directory: the integrator names files by full path.
//
// Rebuilding the recent menu takes the old items out of RecentPopup at once
// and destroys them at the next rebuild that does not come from a click on
// one of them, so a click that reopens a project never destroys the item
// it runs in.
//
// The component raises nothing of its own; exceptions of the events pass.
//
// Thread safety: the main thread only.
#ifndef XUM_APP_TPROJECT_INTEGRATOR_H
#define XUM_APP_TPROJECT_INTEGRATOR_H

#include <functional>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tcomponent.h"
#include "framework/tdialogs.h"
#include "framework/tmenus.h"

namespace xum {

class TPrjSelector;

enum TProjectActionKind { pakNew, pakOpen, pakSave, pakSaveAs };

using TProjectEvent = std::function<void(TObject* Sender, bool& Success)>;
using TProjectLoadEvent =
    std::function<void(TObject* Sender, const UnicodeString& FileName, bool& Success)>;

class XUM_API TProjectIntegrator : public TComponent {
 public:
  explicit TProjectIntegrator(TComponent* AOwner);
  // Writes the recent list back (see above).
  ~TProjectIntegrator() override;

  TPrjSelector* ProjectSelector() const noexcept { return FProjectSelector; }
  void SetProjectSelector(TPrjSelector* Value);
  TNotifyEvent OnSelectorSetup;
  // Shows the selector modally and returns when the user has chosen.
  TNotifyEvent OnShowSelector;
  const UnicodeString& SaveQuest() const noexcept { return FSaveQuest; }
  void SetSaveQuest(const UnicodeString& Value) { FSaveQuest = Value; }
  TProjectEvent OnNew;
  TProjectLoadEvent OnLoad;
  // Saves under FileName().
  TProjectEvent OnSave;
  TOpenDialog* OpenDialog() const noexcept { return FOpenDialog; }
  void SetOpenDialog(TOpenDialog* Value);
  TSaveDialog* SaveDialog() const noexcept { return FSaveDialog; }
  void SetSaveDialog(TSaveDialog* Value);
  const UnicodeString& Untitled() const noexcept { return FUntitled; }
  // An untitled project takes the new name at once.
  void SetUntitled(const UnicodeString& name);
  TNotifyEvent OnNameChange;
  TNotifyEvent OnClear;
  const UnicodeString& RegistryKey() const noexcept { return FRegistryKey; }
  void SetRegistryKey(const UnicodeString& Value) { FRegistryKey = Value; }
  const UnicodeString& RegistrySection() const noexcept { return FRegistrySection; }
  void SetRegistrySection(const UnicodeString& Value) { FRegistrySection = Value; }
  int StorageSize() const noexcept { return FStorageSize; }
  // Negative sizes are ignored; a smaller size trims the list at the next
  // AddRecentFile.
  void SetStorageSize(int size);
  TMenuItem* RecentPopup() const noexcept { return FRecentPopup; }
  void SetRecentPopup(TMenuItem* Value);
  int ImageIndex() const noexcept { return FImageIndex; }
  void SetImageIndex(int Value) noexcept { FImageIndex = Value; }
  // Called by CloseQuery first, so the application can call Modify().
  TNotifyEvent OnTestChanges;
  // Close the application when a new or open command fails.
  bool CloseNonconstructed() const noexcept { return FCloseNonconstructed; }
  void SetCloseNonconstructed(bool Value) noexcept { FCloseNonconstructed = Value; }

  const UnicodeString& FileName() const noexcept { return FFileName; }
  // Calls OnNameChange unless the component is being loaded.
  void SetFileName(const UnicodeString& name);
  bool Modified() const noexcept { return FModified; }
  // Whether the last new or open produced a project.
  bool LastResult() const noexcept { return FLastResult; }
  // Full paths, newest first.
  const std::vector<xstr>& RecentList() const noexcept { return FRecent; }

  void ProcessCommand(TProjectActionKind kind);
  // Deals with unsaved changes (Yes saves, No drops them, Cancel keeps the
  // project); true when the project may be dropped, and then it is.
  bool CloseQuery();
  bool OpenProject(const UnicodeString& name);
  void AddRecentFile();
  void UpdateMenu();
  // Click handler of a recent-project item: opens the path in its hint.
  void Reaction(TObject* Sender);
  void LoadRecentsList();
  void Start();
  // Drops the modified flag and closes the application's main form.
  void CloseApplication();
  void DoClear();
  void Modify() noexcept { FModified = true; }

  void Notification(TComponent* AComponent, TOperation Operation) override;

 private:
  void save_recents() const;
  void destroy_retired();
  template <class T>
  void link(T*& field, T* Value);

  TPrjSelector* FProjectSelector = nullptr;
  UnicodeString FSaveQuest = u"Save changes in project before exit?";
  TOpenDialog* FOpenDialog = nullptr;
  TSaveDialog* FSaveDialog = nullptr;
  UnicodeString FUntitled = u"Untitled";
  UnicodeString FRegistryKey;
  UnicodeString FRegistrySection = u"RecentProjects";
  int FStorageSize = 10;
  TMenuItem* FRecentPopup = nullptr;
  int FImageIndex = -1;
  bool FCloseNonconstructed = true;

  UnicodeString FFileName;
  bool FModified = false;
  bool FLastResult = false;
  std::vector<xstr> FRecent;
  std::vector<TMenuItem*> FRetired;  // old recent items, out of the popup
  int FReacting = 0;                 // Reaction calls under way
};

}  // namespace xum

#endif  // XUM_APP_TPROJECT_INTEGRATOR_H
