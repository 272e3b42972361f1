#include "app/tproject_integrator.h"

#include <algorithm>
#include <string>

#include "app/tprj_selector.h"
#include "core/xfile_utils.h"
#include "core/xmessage_box.h"
#include "core/xreg_key.h"
#include "framework/tapplication.h"
#include "framework/xui_backend.h"
#include "localization/xcomponent_localizer.h"

namespace xum {

namespace {

// The pixels a shortened path leaves free in the selector's box (its
// drop-down button and border).
constexpr int box_reserve = 25;
// Recent items up to this index get an accelerator digit.
constexpr std::size_t accelerated_items = 10;

bool file_exists(const xstr& name) { return name.length() > 0 && xfile_exists(name, false); }

// The recent list's key: the section below the integrator's key.
xstr section_path(const UnicodeString& key, const UnicodeString& section) {
  return FromUnicode(key) + "\\" + FromUnicode(section);
}

// The component localizer translates the integrator's two texts; the row
// is bound when the first integrator is made, before any walk can meet one.
void bind_localizer_row() {
  static const bool bound = [] {
    xbind_localizer_class(
        xlocalizer_class::project_integrator,
        [](const TComponent* c) { return dynamic_cast<const TProjectIntegrator*>(c) != nullptr; },
        {{"@SaveQuest",
          [](TComponent* c) { return static_cast<TProjectIntegrator*>(c)->SaveQuest(); },
          [](TComponent* c, const UnicodeString& v) {
            static_cast<TProjectIntegrator*>(c)->SetSaveQuest(v);
          }},
         {"@Untitled",
          [](TComponent* c) { return static_cast<TProjectIntegrator*>(c)->Untitled(); },
          [](TComponent* c, const UnicodeString& v) {
            static_cast<TProjectIntegrator*>(c)->SetUntitled(v);
          }}});
    return true;
  }();
  (void)bound;
}

}  // namespace

TProjectIntegrator::TProjectIntegrator(TComponent* AOwner) : TComponent(AOwner) {
  bind_localizer_row();
}

TProjectIntegrator::~TProjectIntegrator() {
  if (FStorageSize != 0 && !(ComponentState() & csDesigning) && !FRegistryKey.empty() &&
      !FRegistrySection.empty()) {
    try {
      save_recents();
    } catch (...) {
      // The list is a convenience; losing it must not end the program.
    }
  }
  destroy_retired();
}

void TProjectIntegrator::save_recents() const {
  xreg_key key(section_path(FRegistryKey, FRegistrySection), false);
  for (const xstr& name : key.value_names()) key.erase(name);
  for (std::size_t i = 0; i < FRecent.size(); ++i) {
    xstr value = FRecent[i];
    key.str(xstr(std::to_string(i)), value, value);
  }
}

template <class T>
void TProjectIntegrator::link(T*& field, T* Value) {
  if (field == Value) return;
  if (field != nullptr) field->RemoveFreeNotification(this);
  field = Value;
  if (field != nullptr) field->FreeNotification(this);
}

void TProjectIntegrator::SetProjectSelector(TPrjSelector* Value) { link(FProjectSelector, Value); }
void TProjectIntegrator::SetOpenDialog(TOpenDialog* Value) { link(FOpenDialog, Value); }
void TProjectIntegrator::SetSaveDialog(TSaveDialog* Value) { link(FSaveDialog, Value); }

void TProjectIntegrator::SetRecentPopup(TMenuItem* Value) {
  if (Value == FRecentPopup) return;
  destroy_retired();
  link(FRecentPopup, Value);
}

void TProjectIntegrator::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (Operation != opRemove) return;
  if (AComponent == FRecentPopup) {
    FRecentPopup = nullptr;
    FRetired.clear();  // owned by the popup: gone with it
  }
  if (AComponent == FOpenDialog) FOpenDialog = nullptr;
  if (AComponent == FSaveDialog) FSaveDialog = nullptr;
  if (AComponent == FProjectSelector) FProjectSelector = nullptr;
}

void TProjectIntegrator::SetFileName(const UnicodeString& name) {
  FFileName = name;
  if (!(ComponentState() & csLoading) && OnNameChange) OnNameChange(this);
}

void TProjectIntegrator::SetUntitled(const UnicodeString& name) {
  if (FFileName == FUntitled) SetFileName(name);
  FUntitled = name;
}

void TProjectIntegrator::SetStorageSize(int size) {
  if (size >= 0) FStorageSize = size;
}

void TProjectIntegrator::DoClear() {
  if (OnClear) OnClear(this);
  SetFileName(UnicodeString());
  FLastResult = false;
  FModified = false;
}

void TProjectIntegrator::CloseApplication() {
  FModified = false;
  if (TCustomForm* main = Application()->MainForm()) main->Close();
}

bool TProjectIntegrator::CloseQuery() {
  bool result = true;
  if (OnTestChanges) OnTestChanges(this);
  if (FModified) {
    switch (Application()->MessageBox(FromUnicode(FSaveQuest), xstr(),
                                      MB_YESNOCANCEL | MB_ICONQUESTION)) {
      case IDCANCEL:
        result = false;
        break;
      case IDYES:
        ProcessCommand(pakSave);
        result = !FModified;
        break;
      default:
        break;
    }
  }
  if (result) DoClear();
  return result;
}

void TProjectIntegrator::ProcessCommand(TProjectActionKind kind) {
  switch (kind) {
    case pakNew: {
      if (!CloseQuery()) return;
      SetFileName(FUntitled);
      bool success = true;
      if (OnNew) OnNew(this, success);
      if (!success) SetFileName(UnicodeString());
      FModified = false;
      FLastResult = success;
      if (!success && FCloseNonconstructed) CloseApplication();
      return;
    }
    case pakOpen:
      if (FOpenDialog != nullptr && FOpenDialog->Execute()) OpenProject(FOpenDialog->FileName());
      return;
    case pakSave: {
      if (FFileName == FUntitled) {
        ProcessCommand(pakSaveAs);
        return;
      }
      bool success = false;
      if (OnSave) OnSave(this, success);
      if (success) {
        FModified = false;
        AddRecentFile();
      }
      return;
    }
    case pakSaveAs: {
      // The chosen directory is not made the process's current directory:
      // the library names every file by its full path, and the current
      // directory belongs to the whole program.
      if (FSaveDialog == nullptr || !FSaveDialog->Execute()) return;
      const UnicodeString previous = FFileName;
      SetFileName(FSaveDialog->FileName());
      ProcessCommand(pakSave);
      if (FModified) SetFileName(previous);
      return;
    }
  }
}

bool TProjectIntegrator::OpenProject(const UnicodeString& name) {
  if (!CloseQuery()) return false;
  bool success = false;
  if (file_exists(FromUnicode(name)) && OnLoad) OnLoad(this, name, success);
  FLastResult = success;
  if (success) {
    SetFileName(name);
    AddRecentFile();
    return true;
  }
  SetFileName(UnicodeString());
  if (FCloseNonconstructed) CloseApplication();
  return false;
}

void TProjectIntegrator::AddRecentFile() {
  FRecent.erase(
      std::remove_if(FRecent.begin(), FRecent.end(),
                     [&](const xstr& entry) { return SameText(ToUnicode(entry), FFileName); }),
      FRecent.end());
  FRecent.insert(FRecent.begin(), FromUnicode(FFileName));
  while (FRecent.size() > static_cast<std::size_t>(FStorageSize)) FRecent.pop_back();
  UpdateMenu();
}

void TProjectIntegrator::destroy_retired() {
  for (TMenuItem* item : FRetired) delete item;
  FRetired.clear();
}

void TProjectIntegrator::UpdateMenu() {
  if (FRecentPopup == nullptr) return;
  if (FReacting == 0) destroy_retired();
  while (FRecentPopup->Count() > 0) {
    TMenuItem* item = FRecentPopup->Items(FRecentPopup->Count() - 1);
    FRecentPopup->Delete(FRecentPopup->Count() - 1);
    item->SetVisible(false);
    FRetired.push_back(item);
  }
  if (!FRecent.empty()) FRecentPopup->SetEnabled(true);
  for (std::size_t i = 0; i < FRecent.size(); ++i) {
    const xstr& path = FRecent[i];
    if (!file_exists(path)) continue;
    const xstr file = xextract_file_name(path);
    const xstr ext = xextract_file_ext(file);
    const xstr bare(file.view().substr(0, file.view().size() - ext.view().size()));
    auto* item = new TMenuItem(FRecentPopup);
    item->SetCaption(
        ToUnicode(i < accelerated_items ? xstr("&" + std::to_string(i) + ": ") + bare : bare));
    item->SetHint(ToUnicode(path));
    item->OnClick = [this](TObject* Sender) { Reaction(Sender); };
    item->SetImageIndex(FImageIndex);
    FRecentPopup->Add(item);
  }
}

void TProjectIntegrator::Reaction(TObject* Sender) {
  auto* item = dynamic_cast<TMenuItem*>(Sender);
  if (item == nullptr) return;
  const UnicodeString path = item->Hint();
  ++FReacting;
  try {
    OpenProject(path);
  } catch (...) {
    --FReacting;
    throw;
  }
  --FReacting;
}

void TProjectIntegrator::LoadRecentsList() {
  if (FStorageSize == 0 || FRegistryKey.empty() || FRegistrySection.empty()) return;
  xreg_key key(section_path(FRegistryKey, FRegistrySection), true);
  for (int i = 0; i < FStorageSize; ++i) {
    xstr value;
    key.str(xstr(std::to_string(i)), value, xstr());
    if (value.length() == 0) break;
    FRecent.push_back(value);
  }
  UpdateMenu();
}

void TProjectIntegrator::Start() {
  if (OnSelectorSetup) OnSelectorSetup(this);
  if (FProjectSelector == nullptr) return;
  FRecent.erase(
      std::remove_if(FRecent.begin(), FRecent.end(), [](const xstr& p) { return !file_exists(p); }),
      FRecent.end());
  TComboBox* box = FProjectSelector->LastProjectsBox;
  box->Items().Clear();
  for (const xstr& path : FRecent) {
    UnicodeString shown = ToUnicode(path);
    while (!shown.empty() && xui().text_width(box->Font(), shown) > box->Width() - box_reserve)
      shown.erase(0, 1);
    box->Items().Add(shown);
  }
  if (box->Items().Count() == 0) {
    box->SetEnabled(false);
    FProjectSelector->OpenLastBtn->SetEnabled(false);
  } else {
    box->SetEnabled(true);
    FProjectSelector->OpenLastBtn->SetEnabled(true);
    box->SetItemIndex(0);
    box->SetHint(ToUnicode(FRecent[0]));
    FProjectSelector->Paths() = FRecent;
  }
  if (!OnShowSelector) return;
  const bool close_nonconstructed = FCloseNonconstructed;
  FCloseNonconstructed = false;
  while (!FLastResult) {
    // A selector closed without a choice means exit, as its close box says.
    FProjectSelector->SetChoice(0);
    OnShowSelector(this);
    if (FProjectSelector == nullptr) break;  // destroyed meanwhile
    switch (FProjectSelector->Choice()) {
      case 0:
        FCloseNonconstructed = close_nonconstructed;
        CloseApplication();
        return;
      case 1: {
        const int i = box->ItemIndex();
        const std::vector<xstr>& paths = FProjectSelector->Paths();
        OpenProject(i >= 0 && static_cast<std::size_t>(i) < paths.size()
                        ? ToUnicode(paths[static_cast<std::size_t>(i)])
                        : UnicodeString());
        break;
      }
      case 2:
        ProcessCommand(pakOpen);
        break;
      case 3:
        ProcessCommand(pakNew);
        break;
      default:
        break;
    }
  }
  FCloseNonconstructed = close_nonconstructed;
}

}  // namespace xum
