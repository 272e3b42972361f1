// The component model every framework-facing piece of the library builds on:
// named components that own other components, destroy them with themselves
// and tell interested components when one of them goes away.
//
//   auto* form = new xum::TForm(nullptr);
//   auto* ok = new xum::TButton(form);      // owned: destroyed with the form
//   ok->SetName(u"OkBtn");
//   form->FindComponent(u"okbtn");          // names compare without case
//   delete form;                            // destroys ok exactly once
//
// Components are created with `new` and handed to their owner; a component
// without an owner belongs to whoever created it. Destroying a component
// tells every component that asked through `FreeNotification`
// (Notification with opRemove), destroys the components it owns, last
// created first, and leaves its owner, which tells itself and its other
// owned components. As C++ destroys derived parts first, a derived class's
// destructor body runs before its owned components go; one that needs them
// gone earlier calls DestroyComponents() itself.
//
// Thread safety: components belong to the main (user-interface) thread.
#ifndef XUM_FRAMEWORK_TCOMPONENT_H
#define XUM_FRAMEWORK_TCOMPONENT_H

#include <cstdint>
#include <functional>
#include <vector>

#include "core/xexceptions.h"
#include "core/xexport.h"

namespace xum {

// The root of the framework's classes: run-time type tests use dynamic_cast.
class XUM_API TObject {
 public:
  TObject() = default;
  virtual ~TObject();
  TObject(const TObject&) = delete;
  TObject& operator=(const TObject&) = delete;
};

// An event that only says who sent it.
using TNotifyEvent = std::function<void(TObject* Sender)>;

enum TOperation { opInsert, opRemove };

// ComponentStyle flags.
enum : unsigned {
  csInheritable = 0x1,
  csCheckPropAvail = 0x2,
  csSubComponent = 0x4,  // part of another component; not translated or stored on its own
  csTransient = 0x8,
};

// ComponentState flags.
enum : unsigned {
  csLoading = 0x1,      // being read from a form description
  csReading = 0x2,
  csWriting = 0x4,
  csDestroying = 0x8,   // its destructor runs
  csDesigning = 0x10,   // shown in a form designer, not running
  csAncestor = 0x20,
  csUpdating = 0x40,
  csFixups = 0x80,
};

// Raised for a duplicate or malformed component name. Like every exception
// of the library a std::exception: what() gives the message as UTF-8.
class XUM_API EComponentError : public Exception {
 public:
  using Exception::Exception;
};

class XUM_API TComponent : public TObject {
 public:
  // Created owned by `AOwner` (null: owned by nobody); the owner is told
  // with Notification(this, opInsert).
  explicit TComponent(TComponent* AOwner);
  ~TComponent() override;

  const UnicodeString& Name() const noexcept { return FName; }
  // Names are unique among the components of one owner, compared without
  // case; an empty name is always allowed. A clash raises EComponentError
  // "A component named <name> already exists"; a name that is not an
  // identifier raises "\"<name>\" is not a valid component name".
  virtual void SetName(const UnicodeString& NewName);

  TComponent* Owner() const noexcept { return FOwner; }
  int ComponentCount() const noexcept { return static_cast<int>(FComponents.size()); }
  // The owned components in creation (insertion) order. Index out of range
  // throws xexception 0.
  TComponent* Components(int Index) const;
  int ComponentIndex() const;  // this component's index in its owner; -1 without owner

  // The owned component with this name (compared without case), or null.
  TComponent* FindComponent(const UnicodeString& AName) const;

  // Moves a component into this one's list (out of its previous owner's).
  void InsertComponent(TComponent* AComponent);
  // Takes a component out of this one's list; it then has no owner.
  void RemoveComponent(TComponent* AComponent);
  // Destroys every owned component, last first.
  void DestroyComponents();

  unsigned ComponentStyle() const noexcept { return FComponentStyle; }
  void SetSubComponent(bool IsSubComponent);
  unsigned ComponentState() const noexcept { return FComponentState; }
  // Marks the component (and everything it owns) as being designed.
  void SetDesigning(bool Value);
  // Loading from a form description: set while properties are read, then
  // Loaded() is called.
  void BeginLoading();
  void EndLoading();

  std::intptr_t Tag() const noexcept { return FTag; }
  void SetTag(std::intptr_t Value) noexcept { FTag = Value; }

  // Asks to be told (Notification(AComponent, opRemove)) when AComponent is
  // destroyed; AComponent is told likewise when this one is destroyed.
  void FreeNotification(TComponent* AComponent);
  void RemoveFreeNotification(TComponent* AComponent);

  // Called when AComponent joins (opInsert) or leaves (opRemove) the owner's
  // list, and when a component this one asked about is destroyed. Override
  // to clear pointers to AComponent; call the base, which passes the call on
  // to the owned components.
  virtual void Notification(TComponent* AComponent, TOperation Operation);

 protected:
  // Called by EndLoading once every property has been read.
  virtual void Loaded();
  // Flag helpers for derived classes.
  void SetComponentStyle(unsigned Style) noexcept { FComponentStyle = Style; }
  void SetComponentState(unsigned State) noexcept { FComponentState = State; }

 private:
  void remove_notification(TComponent* AComponent);
  void insert(TComponent* AComponent);
  void remove(TComponent* AComponent);

  TComponent* FOwner = nullptr;
  UnicodeString FName;
  std::vector<TComponent*> FComponents;
  std::vector<TComponent*> FFreeNotifies;
  unsigned FComponentStyle = csInheritable;
  unsigned FComponentState = 0;
  std::intptr_t FTag = 0;
};

// Case-insensitive comparison of framework texts (ASCII letters and the
// letters the C library maps; used for component names and file lists).
XUM_API bool SameText(const UnicodeString& A, const UnicodeString& B);

// Framework text from and to the library's UTF-8 strings.
XUM_API UnicodeString ToUnicode(const xstr& s);
XUM_API xstr FromUnicode(const UnicodeString& s);

}  // namespace xum

#endif  // XUM_FRAMEWORK_TCOMPONENT_H
