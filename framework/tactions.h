// Actions: one command (its caption, hint, enabled state and handler) shared
// by the controls and menu items that show it. A linked client takes the
// action's texts and states whenever they change, and clicking it executes
// the action.
//
//   auto* save = new xum::TAction(form);
//   save->SetCaption(u"Save");
//   save->OnExecute = [](xum::TObject*) { ... };
//   button->SetAction(save);          // the button now says "Save"
//
// Thread safety: actions belong to the main thread.
#ifndef XUM_FRAMEWORK_TACTIONS_H
#define XUM_FRAMEWORK_TACTIONS_H

#include <vector>

#include "core/xexport.h"
#include "framework/tcomponent.h"

namespace xum {

class TBasicAction;
class TCustomAction;

// Something that shows an action: a control, a menu item.
class XUM_API TActionClient {
 public:
  virtual ~TActionClient();
  // The linked action changed one of its shown properties.
  virtual void ActionChanged(TCustomAction& Action) = 0;
  // The linked action is being destroyed: forget it.
  virtual void ActionReleased(TBasicAction& Action) = 0;
};

class XUM_API TBasicAction : public TComponent {
 public:
  explicit TBasicAction(TComponent* AOwner);
  // Tells every linked client, which then forgets the action.
  ~TBasicAction() override;

  // Runs OnExecute; true when there was one to run.
  virtual bool Execute();
  // Runs OnUpdate; true when there was one to run.
  virtual bool Update();

  TNotifyEvent OnExecute;
  TNotifyEvent OnUpdate;

  void RegisterClient(TActionClient* Client);
  void UnregisterClient(TActionClient* Client);

 protected:
  const std::vector<TActionClient*>& Clients() const noexcept { return FClients; }

 private:
  std::vector<TActionClient*> FClients;
};

class XUM_API TCustomAction : public TBasicAction {
 public:
  explicit TCustomAction(TComponent* AOwner);
  ~TCustomAction() override;

  const UnicodeString& Caption() const noexcept { return FCaption; }
  void SetCaption(const UnicodeString& Value);
  const UnicodeString& Hint() const noexcept { return FHint; }
  void SetHint(const UnicodeString& Value);
  const UnicodeString& HelpKeyword() const noexcept { return FHelpKeyword; }
  void SetHelpKeyword(const UnicodeString& Value);
  bool Enabled() const noexcept { return FEnabled; }
  void SetEnabled(bool Value);
  bool Visible() const noexcept { return FVisible; }
  void SetVisible(bool Value);
  bool Checked() const noexcept { return FChecked; }
  void SetChecked(bool Value);
  int ImageIndex() const noexcept { return FImageIndex; }
  void SetImageIndex(int Value);

 private:
  void changed();
  UnicodeString FCaption;
  UnicodeString FHint;
  UnicodeString FHelpKeyword;
  bool FEnabled = true;
  bool FVisible = true;
  bool FChecked = false;
  int FImageIndex = -1;
};

class XUM_API TAction : public TCustomAction {
 public:
  using TCustomAction::TCustomAction;
};

// The link between a client (a control or menu item) and its action, kept
// in the client's field `Action`: unlinks the old action, links the new one
// and lets the client take its properties.
XUM_API void SetActionLink(TActionClient& Client, TCustomAction*& Action, TCustomAction* Value);

}  // namespace xum

#endif  // XUM_FRAMEWORK_TACTIONS_H
