#include "ui/tforms_positions.h"

#include <algorithm>
#include <cstdint>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "framework/tapplication.h"
#include "framework/tforms.h"

namespace xum {

namespace {

// How far a restored form may go past the screen's edges: this many pixels
// of it stay visible.
constexpr std::int64_t visible_part = 50;

// Reads or writes one integer value; writing always stores it. A stored
// text that is no number keeps `value`: a damaged position must not keep
// the application from starting.
std::int64_t value_of(xstruct_format& f, const char* key, std::int64_t value) {
  if (!f.reading()) return f.prop_int64(key, value, value, true);
  try {
    return f.prop_int64(key, value, value, true);
  } catch (const XException&) {
    return value;
  }
}

int to_int(std::int64_t v) {
  return static_cast<int>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX));
}

}  // namespace

void TFormsPositions::ExcludeForm(const xstr& name) { excluded_.push_back(name); }

void TFormsPositions::Form(xstruct_format& f, TCustomForm* form) {
  xstruct_scope section(f, FromUnicode(form->Name()));
  const std::int64_t state = value_of(f, "State", form->WindowState());
  if (f.reading())
    form->SetWindowState(state == wsMinimized   ? wsMinimized
                         : state == wsMaximized ? wsMaximized
                                                : wsNormal);
  if (form->WindowState() != wsNormal) return;
  const bool sizeable = form->BorderStyle() == bsSizeable || form->BorderStyle() == bsSizeToolWin;
  std::int64_t left = value_of(f, "Left", form->Left());
  std::int64_t top = value_of(f, "Top", form->Top());
  std::int64_t width = form->Width(), height = form->Height();
  if (sizeable) {
    width = value_of(f, "Width", width);
    height = value_of(f, "Height", height);
  }
  if (!f.reading()) return;
  if (width < 1) width = form->Width();
  if (height < 1) height = form->Height();
  width = to_int(width);
  height = to_int(height);
  left = to_int(left);
  top = to_int(top);
  const std::int64_t screen_width = Screen().Width(), screen_height = Screen().Height();
  left = std::max(left, visible_part - width);
  left = std::min(left, screen_width - visible_part);
  top = std::max<std::int64_t>(top, 0);
  top = std::min(top, screen_height - visible_part);
  if (sizeable)
    form->SetBounds(to_int(left), to_int(top), to_int(width), to_int(height));
  else
    form->SetBounds(to_int(left), to_int(top), form->Width(), form->Height());
}

void TFormsPositions::AllCreatedForms(xstruct_format& f) {
  TApplication* app = Application();
  for (int i = 0; i < app->ComponentCount(); ++i) {
    auto* form = dynamic_cast<TCustomForm*>(app->Components(i));
    if (form == nullptr) continue;
    if (std::find(excluded_.begin(), excluded_.end(), FromUnicode(form->Name())) != excluded_.end())
      continue;
    Form(f, form);
  }
}

}  // namespace xum
