#include "framework/tapplication.h"

#include <algorithm>
#include <utility>

#include "core/xexception.h"
#include "framework/xexception_presenter.h"
#include "framework/xmain_loop.h"
#include "framework/xui_backend.h"

namespace xum {

TApplication::TApplication(TComponent* AOwner) : TComponent(AOwner) {}

TApplication::~TApplication() = default;

namespace {

// Destroys what the application owns when the library's static objects
// go: at the end of the process, or when a host unloads the library. The
// main loop shuts down first, so a thread still waiting to synchronize is
// released with EThread instead of running a call on a destroyed form.
// The application object itself stays: code that runs later during the
// process's exit may still reach it, and finds no forms.
class application_exit {
 public:
  explicit application_exit(TApplication* application) : application_(application) {}
  ~application_exit() {
    xmain_loop::instance().shutdown();
    application_->DestroyComponents();
  }
  application_exit(const application_exit&) = delete;
  application_exit& operator=(const application_exit&) = delete;

 private:
  TApplication* const application_;
};

}  // namespace

TApplication* Application() {
  static auto* application = new TApplication(nullptr);
  static application_exit at_exit(application);
  return application;
}

void TApplication::turn(int timeout_ms) {
  try {
    xui().turn(timeout_ms);
  } catch (...) {
    HandleException(this);
  }
}

void TApplication::Run() {
  // Without a main form there is nothing to wait for.
  if (FMainForm == nullptr) return;
  xmain_loop& loop = xmain_loop::instance();
  loop.bind_to_current_thread();
  loop.open();
  FTerminated = false;
  FMainForm->Show();
  while (!FTerminated) turn(-1);
  // No one will run calls any more: release whoever waits for one.
  loop.shutdown();
}

void TApplication::Terminate() {
  FTerminated = true;
  ++FTerminations;
  xmain_loop::instance().wake();
}

void TApplication::ProcessMessages() { turn(0); }

void TApplication::HandleMessage() { turn(-1); }

void xhandle_exception(TObject* Sender) noexcept {
  try {
    Application()->HandleException(Sender);
  } catch (...) {
    // A handler that fails itself has nowhere left to report to.
  }
}

void TApplication::HandleException(TObject* Sender) {
  const std::exception_ptr e = std::current_exception();
  if (!e) return;
  if (OnException)
    OnException(Sender, e);
  else
    xpresent_exception(e);
}

namespace {
THelpViewerFn default_help_viewer = nullptr;
}  // namespace

THelpViewerFn xset_default_help_viewer(THelpViewerFn Viewer) noexcept {
  return std::exchange(default_help_viewer, Viewer);
}

bool TApplication::show_help(const UnicodeString& Keyword, THelpContext Context) {
  const THelpContext context = Keyword.empty() ? Context : 0;
  if (FHelpViewer) return FHelpViewer(Keyword, context);
  if (default_help_viewer != nullptr) return default_help_viewer(Keyword, context);
  MessageBox(xstr("No help viewer is installed in this application"), xstr("Help"), MB_OK | MB_ICONASTERISK);
  return false;
}

bool TApplication::HelpKeyword(const UnicodeString& Keyword) { return show_help(Keyword, 0); }

bool TApplication::HelpContext(THelpContext Context) { return show_help(UnicodeString(), Context); }

THelpViewer TApplication::SetHelpViewer(THelpViewer Viewer) { return std::exchange(FHelpViewer, std::move(Viewer)); }

int TApplication::MessageBox(const xstr& Text, const xstr& Caption, unsigned Flags) {
  return xui().message_box(Text, Caption, Flags);
}

void TApplication::Release(TCustomForm* Form) {
  if (Form == nullptr) return;
  // The form may be destroyed by its owner before the loop comes round:
  // only a form the screen still lists is deleted.
  xmain_loop::instance().post([Form] {
    for (int i = 0; i < Screen().FormCount(); ++i)
      if (Screen().Forms(i) == Form) {
        delete Form;
        return;
      }
  });
}

// ---- TScreen ----

TScreen& Screen() {
  static auto* screen = new TScreen();
  return *screen;
}

int TScreen::Width() const { return xui().screen_size().width; }
int TScreen::Height() const { return xui().screen_size().height; }

TCustomForm* TScreen::Forms(int Index) const {
  if (Index < 0 || Index >= FormCount()) throw xexception(xexception::out_of_range);
  return FForms[static_cast<std::size_t>(Index)];
}

void TScreen::remove_form(TCustomForm* Form) { std::erase(FForms, Form); }

// ---- TClipboard ----

TClipboard& Clipboard() {
  static TClipboard clipboard;
  return clipboard;
}

UnicodeString TClipboard::AsText() const { return xui().clipboard_text(); }
void TClipboard::SetAsText(const UnicodeString& Value) { xui().set_clipboard_text(Value); }

}  // namespace xum
