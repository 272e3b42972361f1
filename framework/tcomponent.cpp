#include "framework/tcomponent.h"

#include <algorithm>
#include <cwctype>

#include "core/xexception.h"
#include "core/xutf.h"

namespace xum {

TObject::~TObject() = default;

namespace {

bool is_identifier(const UnicodeString& s) {
  if (s.empty()) return true;
  const auto letter = [](char16_t c) { return c == u'_' || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); };
  if (!letter(s[0])) return false;
  return std::all_of(s.begin() + 1, s.end(), [&](char16_t c) { return letter(c) || (c >= u'0' && c <= u'9'); });
}

}  // namespace

bool SameText(const UnicodeString& A, const UnicodeString& B) {
  if (A.size() != B.size()) return false;
  for (std::size_t i = 0; i < A.size(); ++i) {
    if (A[i] == B[i]) continue;
    if (std::towupper(static_cast<wint_t>(A[i])) != std::towupper(static_cast<wint_t>(B[i]))) return false;
  }
  return true;
}

UnicodeString ToUnicode(const xstr& s) { return xutf8_to_utf16(s.view()); }

xstr FromUnicode(const UnicodeString& s) {
  const std::string bytes = xutf16_to_utf8(s);
  return xstr(std::string_view(bytes));
}

TComponent::TComponent(TComponent* AOwner) {
  if (AOwner != nullptr) AOwner->InsertComponent(this);
}

TComponent::~TComponent() {
  FComponentState |= csDestroying;
  // Everyone who asked is told once; each also forgets this component.
  while (!FFreeNotifies.empty()) {
    TComponent* other = FFreeNotifies.back();
    FFreeNotifies.pop_back();
    other->remove_notification(this);
    other->Notification(this, opRemove);
  }
  DestroyComponents();
  if (FOwner != nullptr) FOwner->RemoveComponent(this);
}

void TComponent::SetName(const UnicodeString& NewName) {
  if (NewName == FName) return;
  if (!is_identifier(NewName))
    throw EComponentError(u"\"" + NewName + u"\" is not a valid component name");
  if (!NewName.empty() && FOwner != nullptr) {
    TComponent* other = FOwner->FindComponent(NewName);
    if (other != nullptr && other != this)
      throw EComponentError(u"A component named " + NewName + u" already exists");
  }
  FName = NewName;
}

TComponent* TComponent::Components(int Index) const {
  if (Index < 0 || Index >= ComponentCount()) throw xexception(xexception::out_of_range);
  return FComponents[static_cast<std::size_t>(Index)];
}

int TComponent::ComponentIndex() const {
  if (FOwner == nullptr) return -1;
  const auto& list = FOwner->FComponents;
  return static_cast<int>(std::find(list.begin(), list.end(), this) - list.begin());
}

TComponent* TComponent::FindComponent(const UnicodeString& AName) const {
  if (AName.empty()) return nullptr;
  for (TComponent* c : FComponents)
    if (SameText(c->FName, AName)) return c;
  return nullptr;
}

void TComponent::InsertComponent(TComponent* AComponent) {
  if (AComponent == nullptr || AComponent->FOwner == this) return;
  if (!AComponent->FName.empty() && FindComponent(AComponent->FName) != nullptr)
    throw EComponentError(u"A component named " + AComponent->FName + u" already exists");
  if (AComponent->FOwner != nullptr) AComponent->FOwner->RemoveComponent(AComponent);
  insert(AComponent);
  if (FComponentState & csDesigning) AComponent->SetDesigning(true);
  Notification(AComponent, opInsert);
}

void TComponent::RemoveComponent(TComponent* AComponent) {
  if (AComponent == nullptr || AComponent->FOwner != this) return;
  Notification(AComponent, opRemove);
  remove(AComponent);
}

void TComponent::DestroyComponents() {
  // Last created first. A component someone watches leaves with a
  // notification to this owner and its other components; the others leave
  // quietly (their watchers, if any, hear from their own destructor).
  while (!FComponents.empty()) {
    TComponent* last = FComponents.back();
    if (!last->FFreeNotifies.empty())
      RemoveComponent(last);
    else
      remove(last);
    delete last;
  }
}

void TComponent::insert(TComponent* AComponent) {
  FComponents.push_back(AComponent);
  AComponent->FOwner = this;
}

void TComponent::remove(TComponent* AComponent) {
  std::erase(FComponents, AComponent);
  AComponent->FOwner = nullptr;
}

void TComponent::SetSubComponent(bool IsSubComponent) {
  if (IsSubComponent)
    FComponentStyle |= csSubComponent;
  else
    FComponentStyle &= ~csSubComponent;
}

void TComponent::SetDesigning(bool Value) {
  if (Value)
    FComponentState |= csDesigning;
  else
    FComponentState &= ~csDesigning;
  for (TComponent* c : FComponents) c->SetDesigning(Value);
}

void TComponent::BeginLoading() { FComponentState |= csLoading; }

void TComponent::EndLoading() {
  FComponentState &= ~csLoading;
  Loaded();
}

void TComponent::Loaded() {}

void TComponent::FreeNotification(TComponent* AComponent) {
  if (AComponent == nullptr || AComponent == this) return;
  // Kept on both sides, so that whichever dies first tells the other.
  if (std::find(FFreeNotifies.begin(), FFreeNotifies.end(), AComponent) == FFreeNotifies.end())
    FFreeNotifies.push_back(AComponent);
  if (std::find(AComponent->FFreeNotifies.begin(), AComponent->FFreeNotifies.end(), this) ==
      AComponent->FFreeNotifies.end())
    AComponent->FFreeNotifies.push_back(this);
}

void TComponent::RemoveFreeNotification(TComponent* AComponent) {
  if (AComponent == nullptr) return;
  remove_notification(AComponent);
  AComponent->remove_notification(this);
}

void TComponent::remove_notification(TComponent* AComponent) { std::erase(FFreeNotifies, AComponent); }

void TComponent::Notification(TComponent* AComponent, TOperation Operation) {
  // Owned components hear about their siblings too, as on the host framework.
  if (Operation == opRemove && AComponent != nullptr) RemoveFreeNotification(AComponent);
  for (std::size_t i = 0; i < FComponents.size(); ++i) {
    if (FComponents[i] != AComponent) FComponents[i]->Notification(AComponent, Operation);
  }
}

}  // namespace xum
