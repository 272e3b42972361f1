#include "core/xmessage_box.h"

#include <cstdio>

namespace xum {

int xmessage_box_buttons(unsigned flags, int ids[3]) noexcept {
  switch (flags & MB_TYPEMASK) {
    case MB_OKCANCEL:
      ids[0] = IDOK;
      ids[1] = IDCANCEL;
      return 2;
    case MB_ABORTRETRYIGNORE:
      ids[0] = IDABORT;
      ids[1] = IDRETRY;
      ids[2] = IDIGNORE;
      return 3;
    case MB_YESNOCANCEL:
      ids[0] = IDYES;
      ids[1] = IDNO;
      ids[2] = IDCANCEL;
      return 3;
    case MB_YESNO:
      ids[0] = IDYES;
      ids[1] = IDNO;
      return 2;
    case MB_RETRYCANCEL:
      ids[0] = IDRETRY;
      ids[1] = IDCANCEL;
      return 2;
    default:
      ids[0] = IDOK;
      return 1;
  }
}

int xmessage_box_default(unsigned flags) noexcept {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  const int index = static_cast<int>((flags & MB_DEFMASK) >> 8);
  return ids[index < count ? index : 0];
}

const char* xmessage_box_button_name(int id) noexcept {
  switch (id) {
    case IDOK: return "OK";
    case IDCANCEL: return "Cancel";
    case IDABORT: return "Abort";
    case IDRETRY: return "Retry";
    case IDIGNORE: return "Ignore";
    case IDYES: return "Yes";
    case IDNO: return "No";
    default: return "?";
  }
}

xmessage_box_fn xmessage_box_handler = nullptr;

int xmessage_box(const xstr& text, const xstr& caption, unsigned flags) {
  if (xmessage_box_handler != nullptr) return xmessage_box_handler(text, caption, flags);
  std::fprintf(stderr, "%s: %s\n", caption.get_text(), text.get_text());
  return xmessage_box_default(flags);
}

}  // namespace xum
