// The application object, the screen and the clipboard.
//
//   int main() {
//     xum::TForm* main_form;
//     xum::Application()->CreateForm(main_form);   // the first form is the main form
//     xum::Application()->Run();                    // until the main form closes
//   }
//
// Run shows the main form and turns the main loop (framework/xmain_loop.h)
// until Terminate; without a main form it returns at once. Exceptions that
// escape an event go to HandleException, which calls OnException or,
// without one, the library's exception presentation. When Run ends, calls
// other threads still wait to synchronize are released with an error.
//
// Help: HelpKeyword and HelpContext (and F1 on a form) hand the topic to
// the application's help viewer, else to the library's default viewer: the
// HTML help (ui/thtml_help.h), which makes itself the default when the
// library loads and shows pages of the HelpFile. Without either, a box says
// that no help is installed.
//
// The forms and other components the application owns are destroyed, last
// created first, when the process exits normally (or the library is
// unloaded), after the main loop has shut down; the application object
// itself stays until the process ends. DestroyComponents() destroys them
// earlier, at a point of the program's choice.
//
// Thread safety: the main thread only, except Terminate.
#ifndef XUM_FRAMEWORK_TAPPLICATION_H
#define XUM_FRAMEWORK_TAPPLICATION_H

#include <atomic>
#include <exception>
#include <functional>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tforms.h"

namespace xum {

using TExceptionEvent = std::function<void(TObject* Sender, std::exception_ptr E)>;
// Shows the help topic Keyword (when not empty) or Context; whether it did.
using THelpViewer = std::function<bool(const UnicodeString& Keyword, THelpContext Context)>;
using THelpViewerFn = bool (*)(const UnicodeString& Keyword, THelpContext Context);

class xmodal_loop;

class XUM_API TApplication : public TComponent {
 public:
  explicit TApplication(TComponent* AOwner);
  ~TApplication() override;

  TCustomForm* MainForm() const noexcept { return FMainForm; }
  void SetMainForm(TCustomForm* Form) noexcept { FMainForm = Form; }

  // Creates a form owned by the application; the first one becomes the
  // main form.
  template <class F>
  void CreateForm(F*& Reference) {
    Reference = new F(this);
    if (FMainForm == nullptr) FMainForm = Reference;
  }

  const UnicodeString& Title() const noexcept { return FTitle; }
  void SetTitle(const UnicodeString& Value) { FTitle = Value; }

  // Shows the main form and runs the main loop until Terminate; returns at
  // once when there is no main form.
  void Run();
  // Ends Run and the modal forms open in it, with mrCancel (from any
  // thread).
  void Terminate();
  bool Terminated() const noexcept { return FTerminated; }
  // Runs what is waiting in the main loop without waiting.
  void ProcessMessages();
  // Waits for the next event and runs it.
  void HandleMessage();
  // Presents the exception being handled (call from a catch block).
  void HandleException(TObject* Sender);
  TExceptionEvent OnException;

  // Where the application's help is (a folder or an archive of pages for
  // the HTML help); empty: none.
  const UnicodeString& HelpFile() const noexcept { return FHelpFile; }
  void SetHelpFile(const UnicodeString& Value) { FHelpFile = Value; }
  // Shows the help topic through the help viewer (the default one when the
  // application has none); false when there is no viewer (a box says so)
  // or the viewer could not show it. An empty keyword or context 0 asks
  // for the help's contents.
  bool HelpKeyword(const UnicodeString& Keyword);
  bool HelpContext(THelpContext Context);
  const THelpViewer& HelpViewer() const noexcept { return FHelpViewer; }
  // Installs the application's viewer (empty: the default again) and
  // returns the previous one.
  THelpViewer SetHelpViewer(THelpViewer Viewer);

  // A message box through the UI backend; returns the button (IDOK ...).
  int MessageBox(const xstr& Text, const xstr& Caption, unsigned Flags);
  // Destroys a form from the main loop, after the current event.
  void Release(TCustomForm* Form);

 private:
  void turn(int timeout_ms);
  bool show_help(const UnicodeString& Keyword, THelpContext Context);
  TCustomForm* FMainForm = nullptr;
  UnicodeString FTitle;
  UnicodeString FHelpFile;
  THelpViewer FHelpViewer;
  std::atomic<bool> FTerminated{false};
  // Counts Terminate calls: a modal loop ends when one comes while it runs.
  std::atomic<unsigned> FTerminations{0};
  friend class xmodal_loop;
};

// The help viewer of applications that install none of their own (null:
// none); returns the previous one. A plain function, so that a part of the
// library may set it while the library loads.
XUM_API THelpViewerFn xset_default_help_viewer(THelpViewerFn Viewer) noexcept;

// The process-wide application object, created on first use; its forms go
// at exit (see above).
XUM_API TApplication* Application();

// The screen: its size (from the UI backend) and the forms that exist.
class XUM_API TScreen {
 public:
  int Width() const;
  int Height() const;
  int FormCount() const noexcept { return static_cast<int>(FForms.size()); }
  // Form i in creation order; out of range throws xexception 0.
  TCustomForm* Forms(int Index) const;

 private:
  friend class TCustomForm;
  void add_form(TCustomForm* Form) { FForms.push_back(Form); }
  void remove_form(TCustomForm* Form);
  std::vector<TCustomForm*> FForms;
};

XUM_API TScreen& Screen();

// Application()->HandleException(Sender) for callers that must let nothing
// escape (socket machinery, posted calls): a handler that fails itself has
// nowhere left to report to and is dropped. Call from a catch block.
XUM_API void xhandle_exception(TObject* Sender) noexcept;

// Text on the clipboard, through the UI backend.
class XUM_API TClipboard {
 public:
  UnicodeString AsText() const;
  void SetAsText(const UnicodeString& Value);
  void SetTextBuf(const char16_t* Buffer) { SetAsText(Buffer ? Buffer : u""); }
  bool HasText() const { return !AsText().empty(); }
};

XUM_API TClipboard& Clipboard();

}  // namespace xum

#endif  // XUM_FRAMEWORK_TAPPLICATION_H
