// The component walk of the localizer and its registration list.
//
// `xlocalizer::component(form, nullptr)` translates a form and everything it
// owns: each component gets a section named after it (nested as they are
// owned), in it first the sections of its owned components and then its own
// visible texts under keys beginning with "@", looked up by class in this
// order (a component of several of these classes is visited once per row,
// so a bit button asks for "@Caption" twice and is recorded once):
//
//   TCustomForm       @Caption
//   TControl          @Hint, @HelpKeyword          without an action
//   TEdit             @Text
//   TStaticText       @Caption
//   TOpenDialog       @Title, @Filter
//   TCustomAction     @Caption, @Hint, @HelpKeyword
//   TMenuItem         @Caption, @Hint              without an action, not "-"
//   TButton, TBitBtn, TCheckBox, TRadioButton  @Caption   without an action
//   TRadioGroup, TGroupBox, TMinimizableGroupBox, TLabel, TColorSelector,
//   TTabSheet         @Caption
//   TListBox          section @Items ("0", "1", ...)
//   TComboBox         @Text, then section @Items
//   TValueListEditor  sections @Strings and @TitleCaptions
//   TListView         section @Columns, one key per column index
//   TProjectIntegrator  @SaveQuest, @Untitled
//
// Sub-components, date pickers (with all they own) and components named in
// `exclude_component` are skipped; components named in
// `exclude_component_childs` keep their own texts but not their owned
// components'. Empty values and numbers never reach the dictionary, and
// "OK" is the catalogue's "OK" text, so every OK button shares one entry.
//
// The date picker, the minimizable group box, the colour selector and the
// project integrator belong to the layers above this one (ui/, app/); each
// of them joins its row of the table with `xbind_localizer_class`.
//
//   static void translate_my_forms() { my_localizer.component(my_form, nullptr); }
//   static xum::xcomponent_localizer my_forms(&translate_my_forms);
//   my_localizer.components(xum::component_localizers);
//
// Thread safety: the user-interface thread only; bindings are made before
// the first walk.
#ifndef XUM_LOCALIZATION_XCOMPONENT_LOCALIZER_H
#define XUM_LOCALIZATION_XCOMPONENT_LOCALIZER_H

#include <initializer_list>

#include "core/xexport.h"
#include "framework/tcomponent.h"
#include "localization/xlocalizer.h"

namespace xum {

// A registration record: constructing it pushes it at the head of
// `component_localizers`, so the list runs newest first. Records are never
// unlinked and must live as long as the list is used (globals, typically).
struct XUM_API xcomponent_localizer {
  using callback_fn = void (*)();
  explicit xcomponent_localizer(callback_fn cb);
  xcomponent_localizer(const xcomponent_localizer&) = delete;
  xcomponent_localizer& operator=(const xcomponent_localizer&) = delete;

  xcomponent_localizer* next = nullptr;
  callback_fn callback = nullptr;
};

// Head of the registration list; null when nothing is registered.
XUM_API extern xcomponent_localizer* component_localizers;

// Rows of the class table whose classes live above this layer.
enum class xlocalizer_class {
  date_picker,
  minimizable_group_box,
  color_selector,
  project_integrator
};

// A text property of a bound class: its key and how to read and write it.
struct xlocalizer_text_property {
  const char* key;
  UnicodeString (*get)(TComponent* c);
  void (*set)(TComponent* c, const UnicodeString& value);
};

// Binds `row` to a class: `is` tells its instances, `properties` (at most
// two) are visited in order. A date picker needs no properties: it is
// skipped. Binding a row again replaces the binding; a null `is` unbinds.
XUM_API void xbind_localizer_class(xlocalizer_class row, bool (*is)(const TComponent* c),
                                   std::initializer_list<xlocalizer_text_property> properties = {});

}  // namespace xum

#endif  // XUM_LOCALIZATION_XCOMPONENT_LOCALIZER_H
