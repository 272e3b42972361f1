#include "ui/tfile_selector.h"

#include "core/xcatalogue.h"
#include "core/xfile_utils.h"
#include "platform/xos.h"
#include "ui/uiutils.h"

namespace xum {

namespace {

constexpr int button_width = 23;

}  // namespace

TFileSelector::TFileSelector(TComponent* AOwner)
    : TWinControl(AOwner),
      FEdit(new TEdit(this)),
      FBrowseBtn(new TButton(this)),
      FDialog(new TOpenDialog(this)) {
  FEdit->SetSubComponent(true);
  FEdit->SetName(u"Edit");
  FEdit->SetParent(this);
  FBrowseBtn->SetSubComponent(true);
  FBrowseBtn->SetName(u"BrowseBtn");
  FBrowseBtn->SetCaption(u"...");
  FBrowseBtn->SetParent(this);
  FBrowseBtn->OnClick = [this](TObject*) { Browse(); };
  FDialog->SetSubComponent(true);
  FDialog->SetName(u"Dialog");
  SetBounds(0, 0, 200, 21);
}

void TFileSelector::SetBounds(int ALeft, int ATop, int AWidth, int AHeight) {
  TWinControl::SetBounds(ALeft, ATop, AWidth, AHeight);
  const int edit_width = AWidth > button_width ? AWidth - button_width : 0;
  FEdit->SetBounds(0, 0, edit_width, AHeight);
  FBrowseBtn->SetBounds(edit_width, 0, AWidth - edit_width, AHeight);
}

bool TFileSelector::Browse() {
  const xstr current = FromUnicode(FEdit->Text()).trim();
  if (current.length() > 0) {
    FDialog->SetInitialDir(ToUnicode(FSelectDirectory ? current : xextract_file_dir(current)));
    FDialog->SetFileName(FSelectDirectory ? UnicodeString()
                                          : ToUnicode(xextract_file_name(current)));
  }
  if (!FDialog->Execute()) return false;
  FEdit->SetText(FDialog->FileName());
  if (OnChange) OnChange(this);
  return true;
}

bool TFileSelector::IsValid(bool raise) const {
  const xstr name = FromUnicode(FEdit->Text()).trim();
  xstr problem;
  if (name.length() == 0) {
    problem = FSelectDirectory ? msg::DirectoryNotSelected.text : msg::FileNotSelected.text;
  } else if (FMustExist) {
    const bool dir = platform::os().is_directory(name.get_text());
    const bool there = FSelectDirectory ? dir : !dir && platform::os().file_exists(name.get_text());
    if (!there)
      problem = (FSelectDirectory ? msg::eNOPATH.text : msg::eNOFILE.text) + "\n" +
                msg::FileName.text + name;
  }
  if (problem.length() == 0) return true;
  if (raise) ThrowValidation(this, problem);
  return false;
}

}  // namespace xum
