// The walk over a form's components. The classes of the layers above that
// join the class table, and a list view's columns, are walked in their own
// tests (tests/ui, tests/app).
#include "localization/xcomponent_localizer.h"


#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "framework/tactions.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "tests/localization/xloc_fixture.h"

namespace xum {
namespace {

// A component of `owner` with a name and a caption.
template <class T>
T* make(TComponent* owner, const char16_t* name, const char16_t* caption = u"") {
  auto* c = new T(owner);
  c->SetName(name);
  c->SetCaption(caption);
  return c;
}

using xcomponent_localizer_test = test::loc_test;

// The texts of the class table are recorded and a translator's edits reach
// the components; a control with an action takes its texts from there.
TEST_F(xcomponent_localizer_test, the_walk_records_the_class_tables_texts_and_translates_them) {
  TForm form(nullptr);
  form.SetName(u"Main");
  form.SetCaption(u"Main window");
  auto* ok = make<TButton>(&form, u"OkBtn", u"OK");
  auto* linked = make<TButton>(&form, u"SaveBtn");
  linked->SetAction(make<TAction>(&form, u"SaveAction", u"Save"));
  auto* combo = make<TComboBox>(&form, u"Kind", u"first");
  combo->Items().Add(u"first");
  combo->Items().Add(u"second");
  auto* box = make<TGroupBox>(&form, u"Box", u"Options");
  make<TEdit>(box, u"Inner", u"inner text");
  const auto walk = [&] {
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.exclude_component_childs("Box");
    loc.component(&form, nullptr);
    loc.end_writing();
  };
  walk();
  std::string text = bytes();
  EXPECT_EQ(stored("Main/SaveBtn/@Caption/o"), "(none)");
  EXPECT_EQ(text.find("inner text"), std::string::npos);  // children of Box excluded
  const char* const edits[][2] = {{"Main window", "Hauptfenster"},
                                  {"OK", "Gut"},
                                  {"Save", "Speichern"},
                                  {"second", "zweite"},
                                  {"Options", "Optionen"}};
  for (const auto& [source, translation] : edits)
    translate(text, "o=" + std::string(source) + "\r\n", translation);
  write(text);
  const xstr ok_before = msg::OK.text;
  walk();
  EXPECT_EQ(form.Caption(), u"Hauptfenster");
  EXPECT_EQ(ok->Caption(), u"Gut");
  EXPECT_EQ(linked->Caption(), u"Speichern");
  EXPECT_EQ(combo->Items().Strings(1), u"zweite");
  EXPECT_EQ(box->Caption(), u"Optionen");
  EXPECT_EQ(msg::OK.text, ok_before);  // the catalogue record itself is left alone
  EXPECT_EQ(bytes(), text);            // nothing new: not rewritten
}

}  // namespace
}  // namespace xum
