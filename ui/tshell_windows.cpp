#include "ui/tshell_windows.h"

#include <algorithm>
#include <vector>

#include "core/xexception.h"
#include "core/xexceptions.h"

namespace xum {

namespace {

struct listed_window {
  xbrowser_window* window;
  int cookie;
};

// The process's list and the components that show it; never destroyed, so
// that a window revoking itself while the process exits finds them.
struct registry {
  std::vector<listed_window> windows;
  std::vector<TShellWindows*> views;
  int last_cookie = 0;
};

registry& shared() {
  static auto* const r = new registry();
  return *r;
}

// Tells every view that exists now and still exists when its turn comes.
void tell(bool registered, int cookie) {
  const std::vector<TShellWindows*> views = shared().views;
  for (TShellWindows* v : views) {
    auto alive = [v] {
      const auto& now = shared().views;
      return std::find(now.begin(), now.end(), v) != now.end();
    };
    if (!alive()) continue;
    const TShellWindowEvent& event = registered ? v->OnWindowRegistered : v->OnWindowRevoked;
    if (event) event(v, cookie);
    if (alive() && v->OnChange) v->OnChange(v);
  }
}

const listed_window& at(int index) {
  const auto& w = shared().windows;
  if (index < 0 || index >= static_cast<int>(w.size())) throw xexception(xexception::out_of_range);
  return w[static_cast<std::size_t>(index)];
}

}  // namespace

xbrowser_window::~xbrowser_window() = default;

TShellWindows::TShellWindows(TComponent* AOwner) : TComponent(AOwner) {
  shared().views.push_back(this);
}

TShellWindows::~TShellWindows() { std::erase(shared().views, this); }

int TShellWindows::Count() const { return static_cast<int>(shared().windows.size()); }

xbrowser_window* TShellWindows::Item(int Index) const { return at(Index).window; }

int TShellWindows::Cookie(int Index) const { return at(Index).cookie; }

int TShellWindows::Register(xbrowser_window* Window) {
  if (Window == nullptr) throw xexception(xexception::out_of_range);
  auto& windows = shared().windows;
  for (const listed_window& w : windows)
    if (w.window == Window) return w.cookie;
  const int cookie = ++shared().last_cookie;
  windows.push_back({Window, cookie});
  tell(true, cookie);
  return cookie;
}

bool TShellWindows::Revoke(xbrowser_window* Window) {
  auto& windows = shared().windows;
  const auto it = std::find_if(windows.begin(), windows.end(),
                               [Window](const listed_window& w) { return w.window == Window; });
  if (it == windows.end()) return false;
  const int cookie = it->cookie;
  windows.erase(it);
  tell(false, cookie);
  return true;
}

}  // namespace xum
