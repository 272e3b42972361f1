#include "app/tproject_action.h"

namespace xum {

namespace {

struct kind_texts {
  const char16_t* caption;
  const char16_t* hint;
};

// By TProjectActionKind.
constexpr kind_texts texts[] = {
    {u"New project", u"Create new project"},
    {u"Open project...", u"Open existing project"},
    {u"Save project", u"Save changes in project"},
    {u"Save project as...", u"Assign new name for project"},
};

}  // namespace

TCustomProjectAction::TCustomProjectAction(TComponent* AOwner, TProjectActionKind Kind)
    : TCustomAction(AOwner), FKind(Kind) {}

TProjectIntegrator* TCustomProjectAction::FindOwner() const {
  if (Owner() == nullptr) return nullptr;
  for (int i = 0; i < Owner()->ComponentCount(); ++i)
    if (auto* p = dynamic_cast<TProjectIntegrator*>(Owner()->Components(i))) return p;
  return nullptr;
}

bool TCustomProjectAction::Execute() {
  if (TProjectIntegrator* p = FindOwner()) p->ProcessCommand(FKind);
  return true;
}

bool TCustomProjectAction::Update() {
  if (FKind != pakSave) return true;
  const TProjectIntegrator* p = FindOwner();
  const bool enabled = p == nullptr || p->Modified() || p->FileName() == p->Untitled();
  if (enabled != Enabled()) SetEnabled(enabled);
  return true;
}

TProjectAction::TProjectAction(TComponent* AOwner) : TCustomProjectAction(AOwner, pakNew) {
  SetCaption(texts[pakNew].caption);
  SetHint(texts[pakNew].hint);
}

void TProjectAction::SetKind(TProjectActionKind Value) {
  if (Value == FKind) return;
  FKind = Value;
  if (ComponentState() & csLoading) return;
  SetCaption(texts[Value].caption);
  SetHint(texts[Value].hint);
}

}  // namespace xum
