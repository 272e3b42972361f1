#include "framework/tcomponent.h"

#include <exception>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tactions.h"
#include "framework/tcomctrls.h"
#include "framework/tforms.h"
#include "framework/tmenus.h"
#include "framework/tstdctrls.h"

namespace xum {
namespace {

// Records its own destruction and every notification it receives.
class probe : public TComponent {
 public:
  probe(TComponent* owner, const char16_t* name, std::vector<std::u16string>* log)
      : TComponent(owner), log_(log) {
    SetName(name);
  }
  ~probe() override { log_->push_back(u"~" + Name()); }
  void Notification(TComponent* c, TOperation op) override {
    if (op == opRemove && c != nullptr) log_->push_back(Name() + u":" + c->Name());
    TComponent::Notification(c, op);  // passes it on to what this one owns
  }

 private:
  std::vector<std::u16string>* log_;
};

TEST(TComponent, OwnerDestroysItsComponentsLastFirstExactlyOnce) {
  std::vector<std::u16string> log;
  auto* root = new probe(nullptr, u"Root", &log);
  auto* a = new probe(root, u"A", &log);
  new probe(a, u"A1", &log);
  auto* b = new probe(root, u"B", &log);
  new probe(root, u"C", &log);
  EXPECT_EQ(root->ComponentCount(), 3);
  EXPECT_EQ(root->FindComponent(u"b"), b);         // names compare without case
  EXPECT_EQ(root->FindComponent(u"A1"), nullptr);  // only direct components
  // A component destroyed on its own leaves its owner, which tells itself
  // and the other components.
  delete b;
  EXPECT_EQ(log, (std::vector<std::u16string>{u"~B", u"Root:B", u"A:B", u"A1:B", u"C:B"}));
  log.clear();
  // The owner's destruction takes C (created last) before A, and A takes A1.
  delete root;
  EXPECT_EQ(log, (std::vector<std::u16string>{u"~Root", u"~C", u"~A", u"~A1"}));
}

TEST(TComponent, NamesAreUniqueIdentifiersPerOwner) {
  TComponent owner(nullptr);
  auto* a = new TComponent(&owner);
  a->SetName(u"Edit1");
  auto* b = new TComponent(&owner);
  try {
    b->SetName(u"EDIT1");
    ADD_FAILURE() << "a clash of names accepted";
  } catch (const std::exception& e) {  // EComponentError, with a message a handler can show
    EXPECT_NE(dynamic_cast<const EComponentError*>(&e), nullptr);
    EXPECT_STREQ(e.what(), "A component named EDIT1 already exists");
  }
  EXPECT_THROW(b->SetName(u"1st"), EComponentError);
  // Moving a component to another owner takes it out of the first.
  TComponent other(nullptr);
  other.InsertComponent(a);
  EXPECT_EQ(owner.ComponentCount(), 1);
}

TEST(TComponent, FreeNotificationClearsPointersToDestroyedComponents) {
  std::vector<std::u16string> log;
  auto* watcher = new probe(nullptr, u"Watcher", &log);
  auto* owner = new probe(nullptr, u"Owner", &log);
  auto* target = new probe(owner, u"Target", &log);
  new probe(owner, u"Sibling", &log);
  watcher->FreeNotification(target);
  delete owner;  // a watched component leaves its owner with notifications
  EXPECT_EQ(log,
            (std::vector<std::u16string>{u"~Owner", u"~Sibling", u"~Target", u"Watcher:Target"}));
  log.clear();
  delete watcher;  // the link is gone on both sides: nothing dangles
  EXPECT_EQ(log, (std::vector<std::u16string>{u"~Watcher"}));
}

TEST(TControl, ParentsDestroyTheirChildrenExactlyOnce) {
  std::vector<std::u16string> log;
  auto* form = new TForm(nullptr);
  auto* box = new TGroupBox(form);
  box->SetParent(form);
  auto* edit = new TEdit(form);  // owned by the form, shown in the box
  edit->SetParent(box);
  auto* stray = new TEdit(nullptr);  // owned by nobody, shown in the box
  stray->SetParent(box);
  new probe(edit, u"Inside", &log);
  EXPECT_THROW(box->SetParent(box), xexception);
  delete box;  // takes edit (and what edit owns) and stray along
  EXPECT_EQ(form->ComponentCount(), 0);
  EXPECT_EQ(form->ControlCount(), 0);
  EXPECT_EQ(log, (std::vector<std::u16string>{u"~Inside"}));
  delete form;
}

TEST(TControl, ActionsDriveLinkedControlsAndMenuItemsWhichHoldSubItems) {
  TForm form(nullptr);
  auto* action = new TAction(&form);
  int executed = 0;
  action->OnExecute = [&](TObject*) { ++executed; };
  action->SetCaption(u"Save");
  auto* button = new TButton(&form);
  auto* item = new TMenuItem(&form);
  button->SetAction(action);
  item->SetAction(action);
  EXPECT_EQ(button->Caption(), u"Save");
  action->SetEnabled(false);
  EXPECT_FALSE(button->Enabled());
  item->Click();  // disabled menu items do nothing
  action->SetEnabled(true);
  button->Click();
  item->Click();
  EXPECT_EQ(executed, 2);
  int clicked = 0;
  button->OnClick = [&](TObject*) { ++clicked; };  // an own handler wins
  button->Click();
  EXPECT_EQ(executed, 2);
  EXPECT_EQ(clicked, 1);
  // Controls forget a destroyed action, tool bars their image lists.
  auto* bar = new TToolBar(&form);
  auto* images = new TImageList(nullptr);
  bar->SetHotImages(images);
  delete action;
  delete images;
  EXPECT_EQ(button->Action(), nullptr);
  EXPECT_EQ(item->Action(), nullptr);
  EXPECT_EQ(bar->HotImages(), nullptr);
  // Sub-items are listed apart from ownership and die with their parent.
  auto* a = new TMenuItem(&form);
  auto* b = new TMenuItem(&form);
  item->Add(a);
  item->Insert(0, b);
  EXPECT_EQ(item->IndexOf(a), 1);
  EXPECT_THROW(a->Add(item), xexception);  // a menu cannot contain itself
  item->Clear();                           // destroys a and b, who leave their owner
  EXPECT_EQ(item->Count(), 0);
  EXPECT_EQ(form.ComponentCount(), 3);  // button, item, bar
}

}  // namespace
}  // namespace xum
