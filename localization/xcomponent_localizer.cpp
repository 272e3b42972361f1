#include "localization/xcomponent_localizer.h"

#include <algorithm>
#include <array>

#include "core/xcatalogue.h"
#include "framework/tactions.h"
#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tcontrol.h"
#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tmenus.h"
#include "framework/tstdctrls.h"
#include "framework/tstrings.h"

namespace xum {

constinit xcomponent_localizer* component_localizers = nullptr;

xcomponent_localizer::xcomponent_localizer(callback_fn cb)
    : next(component_localizers), callback(cb) {
  component_localizers = this;
}

namespace {

struct class_binding {
  bool (*is)(const TComponent*) = nullptr;
  std::array<xlocalizer_text_property, 2> properties{};
  int count = 0;
};

// The bindings of the rows above this layer; never destroyed.
std::array<class_binding, 4>& bindings() {
  static auto* const table = new std::array<class_binding, 4>();
  return *table;
}

const class_binding* bound(xlocalizer_class row, const TComponent* c) {
  const class_binding& b = bindings()[static_cast<std::size_t>(row)];
  return b.is != nullptr && b.is(c) ? &b : nullptr;
}

template <class T>
T* as(TComponent* c) {
  return dynamic_cast<T*>(c);
}

}  // namespace

void xbind_localizer_class(xlocalizer_class row, bool (*is)(const TComponent* c),
                           std::initializer_list<xlocalizer_text_property> properties) {
  if (properties.size() > 2) throw xexception(xexception::out_of_range);
  class_binding b;
  b.is = is;
  for (const auto& p : properties) b.properties[static_cast<std::size_t>(b.count++)] = p;
  bindings()[static_cast<std::size_t>(row)] = b;
}

xstr xlocalizer::property(const xstr& key, const xstr& value) {
  xstr v = value == "OK" ? msg::OK.text : value;
  if (!v.empty() && !v.is_number()) string(key, v);
  return v;
}

void xlocalizer::strings_list(const xstr& key, TStrings* list) {
  begin_section(key);
  xstr index;
  for (int i = 0; i < list->Count(); ++i) {
    index.from_integer(i);
    const UnicodeString& line = list->Strings(i);
    const UnicodeString translated = ToUnicode(property(index, FromUnicode(line)));
    if (translated != line) list->SetStrings(i, translated);
  }
  end_section();
}

namespace {

// Reads a text property, passes it through the localizer and writes it back
// when it changed.
template <class Get, class Set>
void text_property(xlocalizer& loc, const char* key, Get get, Set set) {
  const UnicodeString before = get();
  const UnicodeString after = ToUnicode(loc.property(xstr(key), FromUnicode(before)));
  if (after != before) set(after);
}

void list_columns(xlocalizer& loc, TListColumns& columns) {
  loc.begin_section("@Columns");
  xstr index;
  for (int i = 0; i < columns.Count(); ++i) {
    TListColumn* column = columns.Items(i);
    index.from_integer(i);
    const UnicodeString after = ToUnicode(loc.property(index, FromUnicode(column->Caption())));
    if (after != column->Caption()) column->SetCaption(after);
  }
  loc.end_section();
}

void bound_properties(xlocalizer& loc, const class_binding* b, TComponent* c) {
  if (b == nullptr) return;
  for (int i = 0; i < b->count; ++i) {
    const xlocalizer_text_property& p = b->properties[static_cast<std::size_t>(i)];
    text_property(
        loc, p.key, [&] { return p.get(c); }, [&](const UnicodeString& v) { p.set(c, v); });
  }
}

// The class table, in its order: each row that applies to `c` is visited.
void own_properties(xlocalizer& loc, TComponent* c) {
  auto caption = [&loc](TControl* k) {
    text_property(
        loc, "@Caption", [k] { return k->Caption(); },
        [k](const UnicodeString& v) { k->SetCaption(v); });
  };
  TControl* const control = as<TControl>(c);
  const bool no_action = control != nullptr && control->Action() == nullptr;

  if (auto* k = as<TCustomForm>(c)) caption(k);
  if (no_action) {
    text_property(
        loc, "@Hint", [control] { return control->Hint(); },
        [control](const UnicodeString& v) { control->SetHint(v); });
    text_property(
        loc, "@HelpKeyword", [control] { return control->HelpKeyword(); },
        [control](const UnicodeString& v) { control->SetHelpKeyword(v); });
  }
  if (auto* k = as<TEdit>(c))
    text_property(
        loc, "@Text", [k] { return k->Text(); }, [k](const UnicodeString& v) { k->SetText(v); });
  if (auto* k = as<TStaticText>(c)) caption(k);
  if (auto* k = as<TOpenDialog>(c)) {
    text_property(
        loc, "@Title", [k] { return k->Title(); }, [k](const UnicodeString& v) { k->SetTitle(v); });
    text_property(
        loc, "@Filter", [k] { return k->Filter(); },
        [k](const UnicodeString& v) { k->SetFilter(v); });
  }
  if (auto* k = as<TCustomAction>(c)) {
    text_property(
        loc, "@Caption", [k] { return k->Caption(); },
        [k](const UnicodeString& v) { k->SetCaption(v); });
    text_property(
        loc, "@Hint", [k] { return k->Hint(); }, [k](const UnicodeString& v) { k->SetHint(v); });
    text_property(
        loc, "@HelpKeyword", [k] { return k->HelpKeyword(); },
        [k](const UnicodeString& v) { k->SetHelpKeyword(v); });
  }
  if (auto* k = as<TMenuItem>(c); k != nullptr && k->Action() == nullptr && k->Caption() != u"-") {
    text_property(
        loc, "@Caption", [k] { return k->Caption(); },
        [k](const UnicodeString& v) { k->SetCaption(v); });
    text_property(
        loc, "@Hint", [k] { return k->Hint(); }, [k](const UnicodeString& v) { k->SetHint(v); });
  }
  if (no_action) {
    if (auto* k = as<TButton>(c)) caption(k);
    if (auto* k = as<TBitBtn>(c)) caption(k);
    if (auto* k = as<TCheckBox>(c)) caption(k);
    if (auto* k = as<TRadioButton>(c)) caption(k);
  }
  if (auto* k = as<TRadioGroup>(c)) caption(k);
  if (auto* k = as<TGroupBox>(c)) caption(k);
  bound_properties(loc, bound(xlocalizer_class::minimizable_group_box, c), c);
  if (auto* k = as<TLabel>(c)) caption(k);
  bound_properties(loc, bound(xlocalizer_class::color_selector, c), c);
  if (auto* k = as<TTabSheet>(c)) caption(k);
  if (auto* k = as<TListBox>(c)) loc.strings_list("@Items", &k->Items());
  if (auto* k = as<TComboBox>(c)) {
    text_property(
        loc, "@Text", [k] { return k->Text(); }, [k](const UnicodeString& v) { k->SetText(v); });
    loc.strings_list("@Items", &k->Items());
  }
  if (auto* k = as<TValueListEditor>(c)) {
    loc.strings_list("@Strings", &k->Strings());
    loc.strings_list("@TitleCaptions", &k->TitleCaptions());
  }
  if (auto* k = as<TListView>(c)) list_columns(loc, k->Columns());
  bound_properties(loc, bound(xlocalizer_class::project_integrator, c), c);
}

bool listed(const std::vector<xstr>& names, const xstr& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

void xlocalizer::component(TComponent* c, const char* name) {
  if (!active_ || c == nullptr || (c->ComponentStyle() & csSubComponent) != 0) return;
  const xstr section = name != nullptr ? xstr(name) : FromUnicode(c->Name());
  if (bound(xlocalizer_class::date_picker, c) != nullptr) return;
  if (listed(excluded_components_, section)) return;
  const bool skip_owned = listed(excluded_component_childs_, section);
  begin_section(section);
  if (!skip_owned)
    for (int i = 0; i < c->ComponentCount(); ++i) component(c->Components(i), nullptr);
  own_properties(*this, c);
  end_section();
}

void xlocalizer::created_forms() {
  TApplication* app = Application();
  for (int i = 0; i < app->ComponentCount(); ++i) {
    auto* form = dynamic_cast<TCustomForm*>(app->Components(i));
    if (form != nullptr && !listed(excluded_components_, FromUnicode(form->Name())))
      component(form, nullptr);
  }
}

}  // namespace xum
