#include "framework/tactions.h"

#include <algorithm>

namespace xum {

TActionClient::~TActionClient() = default;

TBasicAction::TBasicAction(TComponent* AOwner) : TComponent(AOwner) {}
TBasicAction::~TBasicAction() {
  const std::vector<TActionClient*> clients = FClients;
  FClients.clear();
  for (TActionClient* c : clients) c->ActionReleased(*this);
}

bool TBasicAction::Execute() {
  if (!OnExecute) return false;
  OnExecute(this);
  return true;
}

bool TBasicAction::Update() {
  if (!OnUpdate) return false;
  OnUpdate(this);
  return true;
}

void TBasicAction::RegisterClient(TActionClient* Client) {
  if (std::find(FClients.begin(), FClients.end(), Client) == FClients.end()) FClients.push_back(Client);
}

void TBasicAction::UnregisterClient(TActionClient* Client) { std::erase(FClients, Client); }

TCustomAction::TCustomAction(TComponent* AOwner) : TBasicAction(AOwner) {}
TCustomAction::~TCustomAction() = default;

void TCustomAction::changed() {
  // A copy: a client may unlink itself while it is told.
  const std::vector<TActionClient*> clients = Clients();
  for (TActionClient* c : clients) c->ActionChanged(*this);
}

void TCustomAction::SetCaption(const UnicodeString& Value) {
  if (Value == FCaption) return;
  FCaption = Value;
  changed();
}
void TCustomAction::SetHint(const UnicodeString& Value) {
  if (Value == FHint) return;
  FHint = Value;
  changed();
}
void TCustomAction::SetHelpKeyword(const UnicodeString& Value) {
  if (Value == FHelpKeyword) return;
  FHelpKeyword = Value;
  changed();
}
void TCustomAction::SetEnabled(bool Value) {
  if (Value == FEnabled) return;
  FEnabled = Value;
  changed();
}
void TCustomAction::SetVisible(bool Value) {
  if (Value == FVisible) return;
  FVisible = Value;
  changed();
}
void TCustomAction::SetChecked(bool Value) {
  if (Value == FChecked) return;
  FChecked = Value;
  changed();
}
void TCustomAction::SetImageIndex(int Value) {
  if (Value == FImageIndex) return;
  FImageIndex = Value;
  changed();
}

void SetActionLink(TActionClient& Client, TCustomAction*& Action, TCustomAction* Value) {
  if (Value == Action) return;
  if (Action != nullptr) Action->UnregisterClient(&Client);
  Action = Value;
  if (Action != nullptr) {
    Action->RegisterClient(&Client);
    Client.ActionChanged(*Action);
  }
}

}  // namespace xum
