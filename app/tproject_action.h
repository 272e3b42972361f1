// Actions that drive the TProjectIntegrator found among their owner's
// components: new, open, save and save as, for menus and tool bars.
//
//   auto* save = new xum::TSaveProjectAction(main_form);   // the integrator is on main_form
//   save->SetCaption(u"&Save");
//   save_button->SetAction(save);
//   save->Update();       // disabled while a named project has no changes
//
// Execute runs the command on the integrator and counts as handled even when
// there is none. Update changes only a save action: it is enabled unless an
// integrator is found whose project has no changes and has a name other
// than its Untitled one. TProjectAction picks its kind at run time and then
// takes the kind's caption and hint ("New project" / "Create new project",
// "Open project..." / "Open existing project", "Save project" / "Save
// changes in project", "Save project as..." / "Assign new name for
// project"); the four fixed-kind actions keep the texts they are given.
//
// Thread safety: the main thread only.
#ifndef XUM_APP_TPROJECT_ACTION_H
#define XUM_APP_TPROJECT_ACTION_H

#include "app/tproject_integrator.h"
#include "core/xexport.h"
#include "framework/tactions.h"

namespace xum {

class XUM_API TCustomProjectAction : public TCustomAction {
 public:
  TCustomProjectAction(TComponent* AOwner, TProjectActionKind Kind);

  TProjectActionKind Kind() const noexcept { return FKind; }
  // The first integrator among the owner's components, or null.
  TProjectIntegrator* FindOwner() const;
  bool Execute() override;
  bool Update() override;

 protected:
  TProjectActionKind FKind;
};

class XUM_API TProjectAction : public TCustomProjectAction {
 public:
  // A new-project action with that kind's caption and hint.
  explicit TProjectAction(TComponent* AOwner);
  // Takes the kind's caption and hint unless the action is being loaded
  // (the stored texts are kept then) or the kind is unchanged.
  void SetKind(TProjectActionKind Value);
};

class XUM_API TNewProjectAction : public TCustomProjectAction {
 public:
  explicit TNewProjectAction(TComponent* AOwner) : TCustomProjectAction(AOwner, pakNew) {}
};

class XUM_API TOpenProjectAction : public TCustomProjectAction {
 public:
  explicit TOpenProjectAction(TComponent* AOwner) : TCustomProjectAction(AOwner, pakOpen) {}
};

class XUM_API TSaveProjectAction : public TCustomProjectAction {
 public:
  explicit TSaveProjectAction(TComponent* AOwner) : TCustomProjectAction(AOwner, pakSave) {}
};

class XUM_API TSaveProjectAsAction : public TCustomProjectAction {
 public:
  explicit TSaveProjectAsAction(TComponent* AOwner) : TCustomProjectAction(AOwner, pakSaveAs) {}
};

}  // namespace xum

#endif  // XUM_APP_TPROJECT_ACTION_H
