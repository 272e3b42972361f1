#include "app/tprj_selector.h"

#include "localization/xlocalizer.h"
#include "localization/xpackage.h"

namespace xum {

namespace {

// Layout of one row: a label above, its button on the left.
constexpr int row_height = 56;
constexpr int margin = 8;

template <class C>
C* make(TPrjSelectorFrm* frame, const char16_t* name, const char16_t* caption) {
  auto* c = new C(frame);
  c->SetName(name);
  c->SetParent(frame);
  c->SetCaption(caption);
  return c;
}

}  // namespace

TPrjSelectorFrm::TPrjSelectorFrm(TComponent* AOwner) : TFrame(AOwner) {
  // The frame is translated under its name; a second selector on the same
  // owner stays unnamed rather than failing.
  if (AOwner == nullptr || AOwner->FindComponent(u"PrjSelectorFrm") == nullptr)
    SetName(u"PrjSelectorFrm");
  SetBounds(0, 0, 360, 4 * row_height + margin);
  OpenLastLabel = make<TLabel>(this, u"OpenLastLabel", u"Open last project");
  OpenLastBtn = make<TButton>(this, u"OpenLastBtn", u"Open");
  LastProjectsBox = make<TComboBox>(this, u"LastProjectsBox", u"");
  LastProjectsBox->SetStyle(csDropDownList);
  OpenOtherLabel = make<TLabel>(this, u"OpenOtherLabel", u"Open another existing project");
  OpenOtherBtn = make<TButton>(this, u"OpenOtherBtn", u"Open...");
  CreateNewLabel = make<TLabel>(this, u"CreateNewLabel", u"Create new project");
  CreateNewBtn = make<TButton>(this, u"CreateNewBtn", u"New");
  ExitLabel = make<TLabel>(this, u"ExitLabel", u"Exit from this application");
  ExitBtn = make<TButton>(this, u"ExitBtn", u"Exit");
  TLabel* labels[] = {OpenLastLabel, OpenOtherLabel, CreateNewLabel, ExitLabel};
  TButton* buttons[] = {OpenLastBtn, OpenOtherBtn, CreateNewBtn, ExitBtn};
  const int tags[] = {1, 2, 3, 0};
  for (int i = 0; i < 4; ++i) {
    labels[i]->SetBounds(margin, margin + i * row_height, 340, 13);
    buttons[i]->SetBounds(margin, margin + i * row_height + 18, 75, 25);
    buttons[i]->SetTag(tags[i]);
    buttons[i]->OnClick = [this](TObject* Sender) { BtnClick(Sender); };
  }
  LastProjectsBox->SetBounds(margin + 83, margin + 18, 260, 21);
  LastProjectsBox->OnChange = [this](TObject* Sender) { LastProjectsBoxCloseUp(Sender); };
  // Translated under its name in double quotes, as the package has always
  // called this section; the package excludes "LastProjectsBox".
  package_localizer().component(this, "\"PrjSelectorFrm\"");
}

void TPrjSelectorFrm::BtnClick(TObject* Sender) {
  if (auto* c = dynamic_cast<TComponent*>(Sender)) FChoice = static_cast<int>(c->Tag());
  // The form that owns the frame; a frame placed on a form it does not
  // belong to closes the form it is shown in.
  auto* form = dynamic_cast<TCustomForm*>(Owner());
  if (form == nullptr) form = ParentForm();
  if (form != nullptr) form->Close();
}

void TPrjSelectorFrm::LastProjectsBoxCloseUp(TObject*) {
  const int i = LastProjectsBox->ItemIndex();
  if (i > 0 && static_cast<std::size_t>(i) < FPaths.size())
    LastProjectsBox->SetHint(ToUnicode(FPaths[static_cast<std::size_t>(i)]));
}

}  // namespace xum

// The package's start-up makes the selector once, after the key capture
// and control scheme editor forms, so its texts join the package's
// dictionary (localization/xpackage.h).
namespace {
void make_project_selector_form() { delete new xum::TPrjSelectorFrm(nullptr); }
}  // namespace

XUM_PACKAGE_FORM(project_selector_registration, xum::xpackage_project_selector_form,
                 &make_project_selector_form)
