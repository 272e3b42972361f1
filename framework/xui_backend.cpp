#include "framework/xui_backend.h"

#include "framework/tgraphics.h"
#include "framework/xmain_loop.h"
#include "framework/xmodal_loop.h"

namespace xum {

namespace {

xui_backend* current_backend = nullptr;

int forward_to_backend(const xstr& text, const xstr& caption, unsigned flags) {
  return xui().message_box(text, caption, flags);
}

}  // namespace

xui_backend::~xui_backend() = default;

int xui_backend::show_modal(TCustomForm&, xmodal_loop& loop) {
  loop.turn(0);
  return 0;  // mrNone: the form ends with mrCancel, closed without a choice
}

void xui_backend::turn(int timeout_ms) { xmain_loop::instance().run_once(timeout_ms); }
bool xui_backend::file_dialog(TOpenDialog&) { return false; }
bool xui_backend::color_dialog(TColor&) { return false; }
UnicodeString xui_backend::clipboard_text() { return clipboard_; }
void xui_backend::set_clipboard_text(const UnicodeString& text) { clipboard_ = text; }
xscreen_size xui_backend::screen_size() { return screen_; }

int xui_backend::text_width(const TFont& font, const UnicodeString& text) {
  const int pixels = font.Height() < 0 ? -font.Height() : font.Height();
  return static_cast<int>((static_cast<long long>(text.size()) * pixels * 11 + 10) / 20);
}

std::uint8_t xui_backend::key_state(int vk) {
  return vk >= 0 && vk < 256 ? keys_[static_cast<std::size_t>(vk)] : 0;
}

void xui_backend::set_key_state(int vk, bool down, bool toggled) noexcept {
  if (vk < 0 || vk >= 256) return;
  keys_[static_cast<std::size_t>(vk)] = static_cast<std::uint8_t>((down ? 0x80 : 0) | (toggled ? 1 : 0));
}

std::int16_t GetKeyState(int vk) {
  const std::uint8_t s = xui().key_state(vk);
  // Down is the sign bit of the 16-bit result, toggled the lowest bit.
  return static_cast<std::int16_t>(((s & 0x80) ? 0xFF80 : 0) | (s & 1));
}

bool GetKeyboardState(std::uint8_t state[256]) {
  if (state == nullptr) return false;
  xui_backend& ui = xui();
  for (int vk = 0; vk < 256; ++vk) state[vk] = ui.key_state(vk);
  return true;
}

xheadless_backend& xheadless_ui() {
  // Never destroyed: boxes may still be shown while the process shuts down.
  static auto* headless = new xheadless_backend();
  return *headless;
}

xui_backend& xui() { return current_backend ? *current_backend : xheadless_ui(); }

xui_backend* xset_ui_backend(xui_backend* backend) {
  xui_backend* previous = current_backend;
  current_backend = backend;
  return previous;
}

void xinstall_ui_backend_hook() noexcept { xmessage_box_handler = &forward_to_backend; }

}  // namespace xum
