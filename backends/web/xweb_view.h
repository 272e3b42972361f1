// The web view: TWebBrowser (ui/twebbrowser.h) drawn and driven by Qt
// WebEngine. A library of its own (libXUMCompsWeb.so, XUMComps::Web) on top
// of the Qt backend, so that nothing else needs the web engine.
//
//   #include <xum/backends/qt/xqt_backend.h>
//   #include <xum/backends/web/xweb_view.h>
//   int main() {
//     xum::use_qt_backend();
//     xum::use_web_view();              // browsers made from now on use the engine
//     auto* web = new xum::TWebBrowser(form);
//     web->Navigate(u"file:///usr/share/doc/app/index.html");
//     ...                               // Application()->Run(), then destroy the forms
//     xum::end_qt_backend();            // the engine ends before the process does
//   }
//
// use_web_view() registers the widget kind that shows each TWebBrowser as a
// QWebEngineView and makes every TWebBrowser created afterwards load
// through a QWebEnginePage of its own (the engine); a browser made before
// gets one when its view is first shown, reopening its current address.
// The page stays the model's: the browser's history, Busy, LocationURL and
// LocationName are kept by TWebBrowser from the page's reports:
//   a navigation the page makes itself (a link followed, a form sent, a
//     script moving the location) asks OnBeforeNavigate2 first, and a Cancel
//     leaves the page where it is; redirects and frames are not asked;
//   the page's address change commits the navigation (OnNavigateComplete2),
//     its title changes reach OnTitleChange, the end of the load
//     OnDocumentComplete or OnNavigateError with the engine's error text;
//   a page that cannot be loaded (a missing file) shows the engine's error
//     page: its address commits (LocationURL, a history entry), then the load
//     ends in OnNavigateError with the engine's text ("net::ERR_FILE_NOT_FOUND:
//     <url>");
//   a hovered link's address is the status text (empty when left);
//   the view's own back and forward (a mouse button, its menu) are the
//     browser's GoBack and GoForward: its history moves, not the engine's;
//   a page asking for a window (target="_blank", window.open) fires
//     OnNewWindow2; the engine itself opens no window.
// Exceptions of event handlers go to Application()->HandleException.
//
// The web engine needs a QApplication made with shared OpenGL contexts:
// loading this library sets Qt::AA_ShareOpenGLContexts when no application
// exists yet. Running as root needs the engine's sandbox switched off
// (QTWEBENGINE_DISABLE_SANDBOX=1) and, without a GPU, software rendering
// (QTWEBENGINE_CHROMIUM_FLAGS=--disable-gpu): the program's environment
// decides, the library sets neither, and use_web_view refuses the first
// rather than let the engine's process die.
//
// Thread safety: the main thread only, as Qt's widgets are.
#ifndef XUM_BACKENDS_WEB_XWEB_VIEW_H
#define XUM_BACKENDS_WEB_XWEB_VIEW_H

#if defined(__GNUC__) || defined(__clang__)
#define XUM_WEB_API __attribute__((visibility("default")))
#else
#define XUM_WEB_API
#endif

namespace xum {

// Registers the web view's widget kind and engine (once; later calls do
// nothing). Needs the QApplication (use_qt_backend() first). Run by the
// superuser with the engine's sandbox on (see above), it throws Exception
// "The web engine does not run as root with its sandbox on: ..." and
// registers nothing: browsers then keep the built-in engine.
XUM_WEB_API void use_web_view();

}  // namespace xum

#endif  // XUM_BACKENDS_WEB_XWEB_VIEW_H
