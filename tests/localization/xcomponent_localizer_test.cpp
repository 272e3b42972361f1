#include "localization/xcomponent_localizer.h"

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "framework/tactions.h"
#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tmenus.h"
#include "framework/tstdctrls.h"
#include "tests/localization/xloc_fixture.h"

namespace xum {
namespace {

// Stand-ins for the classes of the layers above that join the table.
class TDatePicker : public TWinControl {
 public:
  using TWinControl::TWinControl;
};
class TProjectIntegrator : public TComponent {
 public:
  using TComponent::TComponent;
  UnicodeString untitled = u"Untitled";
};

// A component of `owner` with a name and, for controls, a caption.
template <class T>
T* make(TComponent* owner, const char16_t* name, const char16_t* caption = u"") {
  auto* c = new T(owner);
  c->SetName(name);
  if constexpr (std::is_base_of_v<TControl, T> || std::is_base_of_v<TMenuItem, T>)
    c->SetCaption(caption);
  return c;
}

// A form with one of each case the walk tells apart.
struct small_form {
  TForm* form = make<TForm>(nullptr, u"Main", u"Main window");
  TAction* save = new TAction(form);
  TButton* ok = make<TButton>(form, u"OkBtn", u"OK");
  TBitBtn* go = make<TBitBtn>(form, u"GoBtn", u"Go");
  TButton* linked = make<TButton>(form, u"SaveBtn");
  TLabel* number = make<TLabel>(form, u"Count", u"25");
  TMenuItem* line = make<TMenuItem>(form, u"Sep", u"-");
  TMenuItem* open = make<TMenuItem>(form, u"OpenItem", u"Open");
  TComboBox* combo = make<TComboBox>(form, u"Kind", u"first");
  TListView* list = make<TListView>(form, u"Files");
  TGroupBox* box = make<TGroupBox>(form, u"Box", u"Options");
  TEdit* in_box = make<TEdit>(box, u"Inner", u"inner text");
  TDatePicker* date = make<TDatePicker>(form, u"Date");
  TLabel* in_date = make<TLabel>(date, u"DateLabel", u"never");
  TProjectIntegrator* project = make<TProjectIntegrator>(form, u"Project");
  TEdit* hidden = make<TEdit>(form, u"Hidden", u"secret");
  TOpenDialog* dialog = make<TOpenDialog>(form, u"OpenDlg");

  small_form() {
    save->SetName(u"SaveAction");
    save->SetCaption(u"Save");
    save->SetHint(u"Saves the file");
    linked->SetAction(save);
    combo->Items().Add(u"first");
    combo->Items().Add(u"second");
    list->Columns().Add()->SetCaption(u"Name");
    list->Columns().Add()->SetCaption(u"Size");
    dialog->SetTitle(u"Open a file");
    dialog->SetFilter(u"Text|*.txt");
  }
  ~small_form() { delete form; }
};

class xcomponent_localizer_test : public test::loc_test {
 protected:
  static void SetUpTestSuite() {
    xbind_localizer_class(xlocalizer_class::date_picker, [](const TComponent* c) {
      return dynamic_cast<const TDatePicker*>(c) != nullptr;
    });
    xbind_localizer_class(
        xlocalizer_class::project_integrator,
        [](const TComponent* c) { return dynamic_cast<const TProjectIntegrator*>(c) != nullptr; },
        {{"@Untitled", [](TComponent* c) { return static_cast<TProjectIntegrator*>(c)->untitled; },
          [](TComponent* c, const UnicodeString& v) {
            static_cast<TProjectIntegrator*>(c)->untitled = v;
          }}});
  }
  static void TearDownTestSuite() {
    xbind_localizer_class(xlocalizer_class::date_picker, nullptr);
    xbind_localizer_class(xlocalizer_class::project_integrator, nullptr);
  }

  void walk(small_form& f) {
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.exclude_component("Hidden");
    loc.exclude_component_childs("Box");
    loc.component(f.form, nullptr);
    loc.end_writing();
  }
};

TEST_F(xcomponent_localizer_test, the_walk_records_what_the_class_table_names) {
  small_form f;
  walk(f);
  const struct {
    const char* path;
    const char* o;
  } rows[] = {
      {"Main/@Caption/o", "Main window"},
      {"Main/SaveAction/@Caption/o", "Save"},
      {"Main/SaveBtn/@Caption/o", "(none)"},  // takes its texts from the action
      {"Main/Count/@Caption/o", "(none)"},    // a number
      {"Main/Sep/@Caption/o", "(none)"},
      {"Main/OpenItem/@Caption/o", "Open"},
      {"Main/Kind/@Items/1/o", "second"},
      {"Main/Files/@Columns/1/o", "Size"},
      {"Main/Box/@Caption/o", "Options"},
      {"Main/Box/Inner/@Text/o", "(none)"},  // children of Box excluded
      {"Main/Project/@Untitled/o", "Untitled"},
      {"Main/Hidden/@Text/o", "(none)"},
      {"Main/OpenDlg/@Filter/o", "Text|*.txt"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.path);
    EXPECT_EQ(stored(r.path), r.o);
  }
  const std::string text = bytes();
  // Owned components before the form's own texts; "@Text" before "@Items";
  // the bit button's caption (a button too) recorded once.
  EXPECT_LT(text.find("<SaveAction"), text.find("o=Main window"));
  EXPECT_LT(text.find("o=first"), text.find("<@Items"));
  EXPECT_EQ(text.find("o=Go"), text.rfind("o=Go"));
  EXPECT_EQ(text.find("<Date"), std::string::npos);
}

TEST_F(xcomponent_localizer_test, a_translated_dictionary_reaches_the_components) {
  {
    small_form f;
    walk(f);
  }
  std::string text = bytes();
  for (const auto& [source, translation] : {std::pair{"Main window", "Hauptfenster"}, {"OK", "Gut"},
                                            {"Size", "Größe"}, {"Save", "Speichern"}})
    translate(text, "o=" + std::string(source) + "\r\n", translation);
  write(text);

  const xstr ok_before = msg::OK.text;
  small_form f;
  walk(f);
  EXPECT_EQ(f.form->Caption(), u"Hauptfenster");
  EXPECT_EQ(f.ok->Caption(), u"Gut");
  EXPECT_EQ(f.list->Columns().Items(1)->Caption(), u"Größe");
  EXPECT_EQ(f.linked->Caption(), u"Speichern");  // through its action
  EXPECT_EQ(msg::OK.text, ok_before);  // the catalogue record itself is left alone
  EXPECT_EQ(bytes(), text);            // nothing new: not rewritten
}

TEST_F(xcomponent_localizer_test,
       sub_components_excluded_forms_and_inactive_localizers_are_skipped) {
  small_form f;
  f.go->SetSubComponent(true);
  xlocalizer loc;
  loc.open("app", "DEU");
  loc.exclude_component("Other");
  loc.component(f.form, "Other");
  loc.component(f.form, nullptr);
  loc.end_writing();
  EXPECT_EQ(stored("Other/@Caption/o"), "(none)");
  EXPECT_EQ(stored("Main/GoBtn/@Caption/o"), "(none)");
  EXPECT_EQ(stored("Main/OkBtn/@Caption/o"), "OK");

  xlocalizer off;
  off.open("app", "ENU");
  f.form->SetCaption(u"Main window");
  off.component(f.form, nullptr);
  EXPECT_EQ(f.form->Caption(), u"Main window");
}

TEST_F(xcomponent_localizer_test, created_forms_walks_the_applications_forms_but_excluded_ones) {
  auto* shown = new TForm(Application());
  shown->SetName(u"ShownForm");
  shown->SetCaption(u"Shown");
  auto* hidden = new TForm(Application());
  hidden->SetName(u"HiddenForm");
  hidden->SetCaption(u"Hidden");
  xlocalizer loc;
  loc.open("app", "DEU");
  loc.exclude_component("HiddenForm");
  loc.created_forms();
  loc.end_writing();
  delete shown;
  delete hidden;
  EXPECT_EQ(stored("ShownForm/@Caption/o"), "Shown");
  EXPECT_EQ(stored("HiddenForm/@Caption/o"), "(none)");
}

TEST_F(xcomponent_localizer_test, registered_callbacks_run_newest_first_when_active) {
  static std::string calls;
  calls.clear();
  xcomponent_localizer* const before = component_localizers;
  static xcomponent_localizer first([] { calls += "1"; });
  static xcomponent_localizer second([] { calls += "2"; });
  xlocalizer loc;
  loc.open("app", "ENU");
  loc.components(component_localizers);
  EXPECT_EQ(calls, "");
  loc.open("app", "DEU");
  loc.components(&second);
  EXPECT_EQ(calls, "21");
  EXPECT_EQ(first.next, before);
}

}  // namespace
}  // namespace xum
