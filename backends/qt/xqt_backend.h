// The Qt 6 windowing backend: the framework's forms drawn as real windows.
//
// It answers every act of the UI backend interface with Qt: message boxes
// and file dialogs are Qt's, the clipboard is the system clipboard, the
// screen size and text widths are the display's, and the keyboard state is
// fed by the key events Qt receives. Each visible form of the model is
// mirrored into widgets (backends/qt/xqt_mirror.h); ShowModal runs a local
// Qt event loop until the form's modal result closes it. The application's
// main loop (TApplication::Run, ProcessMessages) turns Qt's event loop, on
// which the framework's descriptor watches, posted calls (Synchronize) and
// timers are delivered. Colour dialogs are Qt's too (QColorDialog).
//
//   #include <xum/backends/qt/xqt_backend.h>
//   int main() {
//     xum::xqt_backend& ui = xum::use_qt_backend();   // throws without a display
//     ... build forms; Application()->Run();
//   }
//
// With XUM_BACKEND=qt in the environment, a program linked with this
// library makes the Qt backend current when the library loads (the
// QApplication is created on first use).
//
// Thread safety: the main thread only, as Qt's widgets are.
#ifndef XUM_BACKENDS_QT_XQT_BACKEND_H
#define XUM_BACKENDS_QT_XQT_BACKEND_H

#include <exception>
#include <map>
#include <memory>
#include <vector>

#include "framework/xui_backend.h"

#if defined(__GNUC__) || defined(__clang__)
#define XUM_QT_API __attribute__((visibility("default")))
#else
#define XUM_QT_API
#endif

class QApplication;
class QWidget;

namespace xum {

class TControl;
class xqt_mirror;
class xqt_pump;

class XUM_QT_API xqt_backend final : public xui_backend {
 public:
  // Uses the running QApplication, or creates one. Throws Exception
  // "No display: ..." when there is no display to open (DISPLAY and
  // WAYLAND_DISPLAY unset and no QT_QPA_PLATFORM chosen).
  xqt_backend();
  ~xqt_backend() override;
  xqt_backend(const xqt_backend&) = delete;
  xqt_backend& operator=(const xqt_backend&) = delete;

  int message_box(const xstr& text, const xstr& caption, unsigned flags) override;
  int show_modal(TCustomForm& form, xmodal_loop& loop) override;
  void turn(int timeout_ms) override;
  bool file_dialog(TOpenDialog& dialog) override;
  bool color_dialog(TColor& color) override;
  UnicodeString clipboard_text() override;
  void set_clipboard_text(const UnicodeString& text) override;
  xscreen_size screen_size() override;
  int text_width(const TFont& font, const UnicodeString& text) override;

  // Brings the windows in line with the model now: the visible forms get
  // windows, changed properties reach the widgets, destroyed forms lose
  // theirs. Runs by itself each time Qt's loop is about to wait.
  void sync();
  // The window of `form` and the widget of `control` (null when not
  // mirrored): for tests and for programs that add their own widgets.
  QWidget* window_of(const TCustomForm& form);
  QWidget* widget_of(const TControl& control);
  // Saves the window of `form` as drawn now as a PNG picture (synced
  // first), replacing `file` only once the picture is complete. Throws
  // Exception naming the file when the form has no window or the file
  // cannot be written.
  void save_picture(const TCustomForm& form, const UnicodeString& file);

 private:
  friend class xqt_pump;
  void deliver(TCustomForm& form, const std::function<void()>& act);
  void run_loop_work();
  void on_key(int qt_key, bool down);

  std::unique_ptr<QApplication> owned_app_;
  std::unique_ptr<xqt_pump> pump_;
  std::map<const TCustomForm*, std::unique_ptr<xqt_mirror>> mirrors_;
  std::vector<xmodal_loop*> modal_loops_;  // innermost last
  std::exception_ptr pending_;             // an exception of the loop's work, for turn()
  bool syncing_ = false;
};

// Makes the process-wide Qt backend current (creating it on first call) and
// returns it. Throws as xqt_backend's constructor does.
XUM_QT_API xqt_backend& use_qt_backend();
// Ends the process-wide Qt backend: its windows go, the QApplication it
// made ends (running Qt's own shutdown, and with it the web engine's), and
// the headless backend is current again. A program that used the web view
// calls it once it shows no more windows, before main returns: the web
// engine's threads must end before the process's exit does. Nothing
// happens when there is no such backend.
XUM_QT_API void end_qt_backend();

// The Windows virtual-key code of a Qt key (0 when it has none).
XUM_QT_API int xqt_virtual_key(int qt_key);

}  // namespace xum

#endif  // XUM_BACKENDS_QT_XQT_BACKEND_H
