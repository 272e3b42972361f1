// TWebBrowser: a web page in a form, with its history and the events a
// browser control reports. The control keeps the history and the state; an
// engine (ui/xweb_engine.h) loads the pages. Headless, the built-in engine
// opens local pages (file:, data:, about:blank) through the main loop; the
// web view target (XUMComps::Web) gives every browser a real engine and
// draws it.
//
//   auto* web = new xum::TWebBrowser(form);
//   web->SetParent(form);
//   web->OnBeforeNavigate2 = [](xum::TObject*, const xum::UnicodeString& url, bool& cancel) {
//     cancel = !url.starts_with(u"file:");
//   };
//   web->OnDocumentComplete = [](xum::TObject*, const xum::UnicodeString& url) { ... };
//   web->Navigate(u"file:///usr/share/doc/app/index.html");
//   while (web->Busy()) xum::Application()->ProcessMessages();
//   web->LocationName();   // the page's title (its URL when it has none)
//
// Properties: LocationURL (the shown document's address, empty before the
// first page), LocationName (its title, else its URL), Busy (a navigation
// is under way), CanGoBack / CanGoForward, HomePage, StatusText (the last
// status line reported).
//
// A navigation (Navigate, GoBack, GoForward, GoHome, or a link the page
// follows itself) runs, in order:
//   OnBeforeNavigate2(url, Cancel)  a Cancel set here changes nothing: no
//                                   other event, no history change, a load
//                                   under way goes on;
//   OnStatusTextChange("Opening <url>"), Busy becomes true (a load under
//                                   way is stopped first);
//   OnNavigateComplete2(url)        the document is the page's: LocationURL
//                                   and LocationName are its URL; the
//                                   history has a new entry after the
//                                   current one, which drops the entries
//                                   ahead (Navigate), or moves one step
//                                   (GoBack, GoForward);
//   OnTitleChange(title)            when the document has a title;
//   OnStatusTextChange("Done"), Busy false, OnDocumentComplete(url).
// A load that fails instead ends with OnStatusTextChange(<reason>), Busy
// false and OnNavigateError(url, <reason>); when it failed before its
// document came, nothing else changed (the built-in engine: a missing file,
// an unsupported address); an engine that shows an error page in its place
// commits that page first (OnNavigateComplete2, a history entry). Refresh loads the current document again without asking
// OnBeforeNavigate2, firing no OnNavigateComplete2 and leaving the history
// alone. Stop ends a load under way: Busy false, the status line cleared,
// nothing more of that load reported. GoBack / GoForward do nothing when
// there is nothing behind / ahead; GoHome opens HomePage, or about:blank
// when none is set. A page asking for a new window fires OnNewWindow2(url,
// NewBrowser, Cancel): cancelled, nothing opens; with a NewBrowser set, the
// page opens there; otherwise in this browser.
//
// The engine's own back and forward (a mouse button or the menu of a web
// view) move this history: to the neighbouring entry with the address asked
// for, else to a new page.
//
// Every browser is one of the application's browser windows: it joins
// TShellWindows' list when made and leaves it when destroyed.
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TWEBBROWSER_H
#define XUM_UI_TWEBBROWSER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/xexport.h"
#include "framework/tcontrol.h"
#include "ui/tshell_windows.h"
#include "ui/xweb_engine.h"

namespace xum {

class TWebBrowser;

using TWebURLEvent = std::function<void(TObject* Sender, const UnicodeString& URL)>;
using TWebBeforeNavigateEvent =
    std::function<void(TObject* Sender, const UnicodeString& URL, bool& Cancel)>;
using TWebTextEvent = std::function<void(TObject* Sender, const UnicodeString& Text)>;
using TWebNavigateErrorEvent =
    std::function<void(TObject* Sender, const UnicodeString& URL, const UnicodeString& Error)>;
using TWebNewWindowEvent = std::function<void(TObject* Sender, const UnicodeString& URL,
                                              TWebBrowser*& NewBrowser, bool& Cancel)>;

class XUM_API TWebBrowser : public TWinControl, public xbrowser_window {
 public:
  // Gets its engine from the engine factory (SetEngineFactory), else the
  // built-in one loading through the main loop.
  explicit TWebBrowser(TComponent* AOwner);
  ~TWebBrowser() override;

  void Navigate(const UnicodeString& URL);
  void GoBack();
  void GoForward();
  void GoHome();
  void Refresh();
  void Stop();

  UnicodeString LocationURL() const override { return FLocationURL; }
  UnicodeString LocationName() const override { return FLocationName; }
  bool Busy() const noexcept { return FPending.kind != nav_none; }
  bool CanGoBack() const noexcept { return FIndex > 0; }
  bool CanGoForward() const noexcept { return FIndex + 1 < static_cast<int>(FHistory.size()); }
  const UnicodeString& HomePage() const noexcept { return FHomePage; }
  void SetHomePage(const UnicodeString& Value) { FHomePage = Value; }
  const UnicodeString& StatusText() const noexcept { return FStatusText; }

  // The addresses of the history, oldest first, and the current one's
  // place in it (-1 before the first page).
  std::vector<UnicodeString> History() const;
  int HistoryIndex() const noexcept { return FIndex; }

  // Replaces the engine (null: the built-in one); a load under way is
  // dropped. The browser owns it.
  void SetEngine(std::unique_ptr<xweb_engine> Engine);
  xweb_engine& Engine() noexcept { return *FEngine; }

  // How new browsers get their engine: a windowing backend sets a factory
  // so that every browser created afterwards uses its engine. Empty: the
  // built-in engine. Returns the previous factory.
  using engine_factory = std::function<std::unique_ptr<xweb_engine>(TWebBrowser& browser)>;
  static engine_factory SetEngineFactory(engine_factory factory);

  TWebBeforeNavigateEvent OnBeforeNavigate2;
  TWebURLEvent OnNavigateComplete2;
  TWebURLEvent OnDocumentComplete;
  TWebNavigateErrorEvent OnNavigateError;
  TWebTextEvent OnTitleChange;
  TWebTextEvent OnStatusTextChange;
  TWebNewWindowEvent OnNewWindow2;

 private:
  enum nav_kind { nav_none, nav_new, nav_back, nav_forward, nav_reload };
  struct pending {
    nav_kind kind = nav_none;
    UnicodeString url;
    int target = -1;  // the history entry gone to by back / forward
    bool committed = false;
  };
  struct entry {
    UnicodeString url;
  };

  bool AskBefore(const UnicodeString& url);
  void Begin(nav_kind kind, const UnicodeString& url, int target);
  void SetStatus(const UnicodeString& text);
  void Attach();
  // The engine's reports.
  bool Requested(const UnicodeString& url);
  void Committed(const UnicodeString& url);
  void TitleChanged(const UnicodeString& title);
  void Finished(const UnicodeString& url, const UnicodeString& error);
  void NewWindow(const UnicodeString& url);

  std::unique_ptr<xweb_engine> FEngine;
  std::vector<entry> FHistory;
  int FIndex = -1;
  pending FPending;
  std::uint64_t FSerial = 0;  // counts navigations begun, to see a handler start one
  UnicodeString FLocationURL;
  UnicodeString FLocationName;
  UnicodeString FHomePage;
  UnicodeString FStatusText;
};

}  // namespace xum

#endif  // XUM_UI_TWEBBROWSER_H
