// TFormsPositions: stores and restores where forms are, in a structured
// property file, one section per form named after the form.
//
//   xum::xstruct_format f;                 // opened on the settings file
//   xum::TFormsPositions positions;
//   positions.ExcludeForm("SplashForm");
//   positions.AllCreatedForms(f);          // reads or writes, as f does
//
// In the form's section the integer values "State" (0 normal, 1 minimized,
// 2 maximized), then, for a normal form only, "Left", "Top" and, for a
// sizeable form (border style 2 or 5) only, "Width" and "Height" are read or
// written; writing always stores them, defaults or not. Reading keeps the
// form on the screen: Left is at least 50 - width and at most screen width
// - 50, Top at least 0 and at most screen height - 50. A stored value that
// is not a number, or a width or height below 1, keeps the form's own; a
// value beyond 32 bits is held at the nearest 32-bit value before the
// clamps.
//
// Thread safety: the main thread only.
#ifndef XUM_UI_TFORMS_POSITIONS_H
#define XUM_UI_TFORMS_POSITIONS_H

#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class TCustomForm;
class xstruct_format;

class XUM_API TFormsPositions {
 public:
  // Leaves the form named `name` (exact spelling) out of AllCreatedForms.
  void ExcludeForm(const xstr& name);
  // Reads or writes one form's position, as `f` is reading or writing.
  void Form(xstruct_format& f, TCustomForm* form);
  // Form() for every form the application owns, in order, but the excluded.
  void AllCreatedForms(xstruct_format& f);

 private:
  std::vector<xstr> excluded_;
};

}  // namespace xum

#endif  // XUM_UI_TFORMS_POSITIONS_H
