// TShellWindows: the application's open browser windows, as a list that
// windows join and leave themselves.
//
//   class my_browser : public xum::xbrowser_window { ... };   // a window
//   my_browser b;
//   xum::TShellWindows::Register(&b);   // when it opens
//   auto* windows = new xum::TShellWindows(form);
//   windows->OnWindowRegistered = [](xum::TObject*, int cookie) { ... };
//   for (int i = 0; i < windows->Count(); ++i)
//     show(windows->Item(i)->LocationURL(), windows->Item(i)->LocationName());
//   xum::TShellWindows::Revoke(&b);     // when it closes (or its destructor)
//
// The list is one per process: every TShellWindows component shows the same
// windows, in the order they registered. A window is anything that
// implements xbrowser_window (the web browser component does); it
// registers when it opens and revokes itself before it goes, as the list
// only points to it.
//
// Register returns the window's cookie, a number unique in the process
// (registering a listed window again returns its cookie and changes
// nothing); Revoke takes the window out (false when it was not listed).
// Each TShellWindows then runs OnWindowRegistered / OnWindowRevoked with the
// cookie, followed by OnChange. A handler may register or revoke windows
// and destroy TShellWindows components; components destroyed meanwhile are
// not called.
//
// Thread safety: the main thread only (windows register from the thread
// that owns them, which is the user-interface thread).
#ifndef XUM_UI_TSHELL_WINDOWS_H
#define XUM_UI_TSHELL_WINDOWS_H

#include <functional>

#include "core/xexport.h"
#include "framework/tcomponent.h"

namespace xum {

// What the shell windows list needs of a browser window.
class XUM_API xbrowser_window {
 public:
  virtual ~xbrowser_window();
  // The address of the page shown ("" before any navigation).
  virtual UnicodeString LocationURL() const = 0;
  // The page's title, or its address when it has none.
  virtual UnicodeString LocationName() const = 0;
};

using TShellWindowEvent = std::function<void(TObject* Sender, int Cookie)>;

class XUM_API TShellWindows : public TComponent {
 public:
  explicit TShellWindows(TComponent* AOwner);
  ~TShellWindows() override;

  int Count() const;
  // Window i in registration order; out of range throws xexception 0.
  xbrowser_window* Item(int Index) const;
  // The cookie of window i; out of range throws xexception 0.
  int Cookie(int Index) const;

  static int Register(xbrowser_window* Window);
  static bool Revoke(xbrowser_window* Window);

  TShellWindowEvent OnWindowRegistered;
  TShellWindowEvent OnWindowRevoked;
  TNotifyEvent OnChange;
};

}  // namespace xum

#endif  // XUM_UI_TSHELL_WINDOWS_H
