#include "ui/twebbrowser.h"

#include <utility>

namespace xum {

namespace {

TWebBrowser::engine_factory& factory() {
  static TWebBrowser::engine_factory* made = new TWebBrowser::engine_factory();
  return *made;
}

}  // namespace

TWebBrowser::TWebBrowser(TComponent* AOwner) : TWinControl(AOwner) {
  SetBounds(0, 0, 300, 150);
  if (factory()) FEngine = factory()(*this);
  if (!FEngine) FEngine = std::make_unique<xlocal_web_engine>();
  Attach();
  TShellWindows::Register(this);
}

TWebBrowser::~TWebBrowser() {
  TShellWindows::Revoke(this);
  // The engine reports nothing more to a browser that is going.
  FEngine->set_events({});
  FEngine->stop();
}

TWebBrowser::engine_factory TWebBrowser::SetEngineFactory(engine_factory f) {
  return std::exchange(factory(), std::move(f));
}

void TWebBrowser::SetEngine(std::unique_ptr<xweb_engine> Engine) {
  FEngine->set_events({});
  FEngine->stop();
  FPending = {};
  FEngine = Engine ? std::move(Engine) : std::make_unique<xlocal_web_engine>();
  Attach();
}

void TWebBrowser::Attach() {
  xweb_engine_events on;
  on.navigation_requested = [this](const UnicodeString& url) { return Requested(url); };
  on.committed = [this](const UnicodeString& url) { Committed(url); };
  on.title_changed = [this](const UnicodeString& title) { TitleChanged(title); };
  on.status_text = [this](const UnicodeString& text) { SetStatus(text); };
  on.finished = [this](const UnicodeString& url, const UnicodeString& error) {
    Finished(url, error);
  };
  on.new_window = [this](const UnicodeString& url) { NewWindow(url); };
  on.history_requested = [this](const UnicodeString& url) {
    // The neighbour in this browser's history with that address, else a
    // new page.
    const std::vector<UnicodeString> history = History();
    if (CanGoBack() && history[static_cast<std::size_t>(FIndex - 1)] == url)
      GoBack();
    else if (CanGoForward() && history[static_cast<std::size_t>(FIndex + 1)] == url)
      GoForward();
    else
      Navigate(url);
  };
  FEngine->set_events(std::move(on));
}

std::vector<UnicodeString> TWebBrowser::History() const {
  std::vector<UnicodeString> urls;
  for (const entry& e : FHistory) urls.push_back(e.url);
  return urls;
}

bool TWebBrowser::AskBefore(const UnicodeString& url) {
  bool cancel = false;
  if (OnBeforeNavigate2) OnBeforeNavigate2(this, url, cancel);
  return !cancel;
}

void TWebBrowser::SetStatus(const UnicodeString& text) {
  FStatusText = text;
  if (OnStatusTextChange) OnStatusTextChange(this, text);
}

void TWebBrowser::Begin(nav_kind kind, const UnicodeString& url, int target) {
  if (Busy()) FEngine->stop();
  FPending = {kind, url, target, false};
  ++FSerial;
  SetStatus(u"Opening " + url);
}

void TWebBrowser::Navigate(const UnicodeString& URL) {
  if (!AskBefore(URL)) return;
  Begin(nav_new, URL, -1);
  FEngine->load(URL);
}

void TWebBrowser::GoBack() {
  if (!CanGoBack()) return;
  const UnicodeString url = FHistory[FIndex - 1].url;
  if (!AskBefore(url)) return;
  Begin(nav_back, url, FIndex - 1);
  FEngine->load(url);
}

void TWebBrowser::GoForward() {
  if (!CanGoForward()) return;
  const UnicodeString url = FHistory[FIndex + 1].url;
  if (!AskBefore(url)) return;
  Begin(nav_forward, url, FIndex + 1);
  FEngine->load(url);
}

void TWebBrowser::GoHome() { Navigate(FHomePage.empty() ? UnicodeString(u"about:blank") : FHomePage); }

void TWebBrowser::Refresh() {
  if (FIndex < 0) return;
  Begin(nav_reload, FLocationURL, FIndex);
  FEngine->reload();
}

void TWebBrowser::Stop() {
  if (!Busy()) return;
  FEngine->stop();
  FPending = {};
  ++FSerial;
  SetStatus(UnicodeString());
}

bool TWebBrowser::Requested(const UnicodeString& url) {
  if (!AskBefore(url)) return false;
  // The engine goes on with this load itself, in place of any under way.
  FPending = {nav_new, url, -1, false};
  ++FSerial;
  SetStatus(u"Opening " + url);
  return true;
}

void TWebBrowser::Committed(const UnicodeString& url) {
  nav_kind kind = FPending.kind;
  if (kind == nav_none) {
    // A change the page made on its own (an anchor in the same document,
    // a script's history entry): a new entry when the address moved.
    if (url == FLocationURL) return;
    kind = nav_new;
  } else {
    FPending.committed = true;
  }
  switch (kind) {
    case nav_new:
      FHistory.resize(static_cast<std::size_t>(FIndex + 1));
      FHistory.push_back({url});
      FIndex = static_cast<int>(FHistory.size()) - 1;
      break;
    case nav_back:
    case nav_forward:
      if (FPending.target < 0 || FPending.target >= static_cast<int>(FHistory.size())) break;
      FIndex = FPending.target;
      FHistory[static_cast<std::size_t>(FIndex)].url = url;
      break;
    case nav_reload:
    case nav_none:
      break;
  }
  FLocationURL = url;
  FLocationName = url;
  if (kind != nav_reload && OnNavigateComplete2) OnNavigateComplete2(this, url);
}

void TWebBrowser::TitleChanged(const UnicodeString& title) {
  const UnicodeString& name = title.empty() ? FLocationURL : title;
  if (name == FLocationName) return;
  FLocationName = name;
  if (OnTitleChange) OnTitleChange(this, FLocationName);
}

void TWebBrowser::Finished(const UnicodeString& url, const UnicodeString& error) {
  if (!Busy()) return;  // a load stopped or replaced before the engine knew
  const std::uint64_t serial = FSerial;
  if (error.empty() && !FPending.committed) {
    Committed(url);
    if (serial != FSerial) return;  // its handler went elsewhere
  }
  FPending = {};
  if (error.empty()) {
    SetStatus(u"Done");
    if (OnDocumentComplete) OnDocumentComplete(this, url);
  } else {
    SetStatus(error);
    if (OnNavigateError) OnNavigateError(this, url, error);
  }
}

void TWebBrowser::NewWindow(const UnicodeString& url) {
  TWebBrowser* target = nullptr;
  bool cancel = false;
  if (OnNewWindow2) OnNewWindow2(this, url, target, cancel);
  if (cancel) return;
  (target != nullptr ? target : this)->Navigate(url);
}

}  // namespace xum
