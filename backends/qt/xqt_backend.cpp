#include "backends/qt/xqt_backend.h"

#include <utility>

#include <QApplication>
#include <QClipboard>
#include <QColorDialog>
#include <QEventLoop>
#include <QFileDialog>
#include <QFont>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QImage>
#include <QPixmap>
#include <QSaveFile>
#include <QScreen>
#include <QTimer>

#include "backends/qt/xqt_mirror.h"
#include "backends/qt/xqt_pump.h"
#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "framework/tapplication.h"
#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tgraphics.h"
#include "framework/xmain_loop.h"
#include "framework/xmodal_loop.h"

namespace xum {

namespace {

// Feeds the key state from every key event of the application, and hands
// each key press to the model once, where it first arrives (the focused
// widget, or the widget a synthesized key was sent to); Qt passes the same
// event object up the parents when a widget ignores it, and no other event
// comes between. Returns true to swallow a key the model consumed.
class key_watch final : public QObject {
 public:
  using on_key_fn = std::function<bool(QObject* receiver, QKeyEvent* key, bool down, bool first)>;
  explicit key_watch(on_key_fn on_key) : on_key_(std::move(on_key)) {}
  bool eventFilter(QObject* receiver, QEvent* event) override {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) {
      delivering_ = nullptr;
      return false;
    }
    auto* key = static_cast<QKeyEvent*>(event);
    const bool first = event != delivering_ || event->type() != delivering_type_;
    delivering_ = event;
    delivering_type_ = event->type();
    // Each widget up the chain sees a key event once per delivery: only a
    // change of state counts, auto-repeat included.
    return on_key_(receiver, key, event->type() == QEvent::KeyPress, first);
  }

 private:
  on_key_fn on_key_;
  const QEvent* delivering_ = nullptr;
  QEvent::Type delivering_type_ = QEvent::None;
};

int qt_argc = 1;
char qt_name[] = "xum";
char* qt_argv[] = {qt_name, nullptr};

QMessageBox::StandardButton standard_button(int id) {
  switch (id) {
    case IDOK:
      return QMessageBox::Ok;
    case IDCANCEL:
      return QMessageBox::Cancel;
    case IDABORT:
      return QMessageBox::Abort;
    case IDRETRY:
      return QMessageBox::Retry;
    case IDIGNORE:
      return QMessageBox::Ignore;
    case IDYES:
      return QMessageBox::Yes;
    case IDNO:
      return QMessageBox::No;
    default:
      return QMessageBox::NoButton;
  }
}

// "Text files|*.txt|All|*.*" as Qt's "Text files (*.txt);;All (*)".
QString qt_filter(const UnicodeString& filter) {
  const QStringList parts = qstr(filter).split(u'|');
  QStringList out;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString patterns = parts[i + 1];
    patterns.replace(u';', u' ');
    if (patterns == u"*.*") patterns = QStringLiteral("*");
    out << parts[i] + QStringLiteral(" (") + patterns + QLatin1Char(')');
  }
  return out.join(QStringLiteral(";;"));
}

}  // namespace

int xqt_virtual_key(int qt_key) {
  if (qt_key >= Qt::Key_A && qt_key <= Qt::Key_Z) return 'A' + (qt_key - Qt::Key_A);
  if (qt_key >= Qt::Key_0 && qt_key <= Qt::Key_9) return '0' + (qt_key - Qt::Key_0);
  if (qt_key >= Qt::Key_F1 && qt_key <= Qt::Key_F24) return 0x70 + (qt_key - Qt::Key_F1);
  switch (qt_key) {
    case Qt::Key_Backspace:
      return 0x08;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
      return 0x09;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return 0x0D;
    case Qt::Key_Shift:
      return 0x10;
    case Qt::Key_Control:
      return 0x11;
    case Qt::Key_Alt:
      return 0x12;
    case Qt::Key_Pause:
      return 0x13;
    case Qt::Key_CapsLock:
      return 0x14;
    case Qt::Key_Escape:
      return 0x1B;
    case Qt::Key_Space:
      return 0x20;
    case Qt::Key_PageUp:
      return 0x21;
    case Qt::Key_PageDown:
      return 0x22;
    case Qt::Key_End:
      return 0x23;
    case Qt::Key_Home:
      return 0x24;
    case Qt::Key_Left:
      return 0x25;
    case Qt::Key_Up:
      return 0x26;
    case Qt::Key_Right:
      return 0x27;
    case Qt::Key_Down:
      return 0x28;
    case Qt::Key_Print:
      return 0x2C;
    case Qt::Key_Insert:
      return 0x2D;
    case Qt::Key_Delete:
      return 0x2E;
    case Qt::Key_NumLock:
      return 0x90;
    case Qt::Key_ScrollLock:
      return 0x91;
    default:
      return 0;
  }
}

xqt_backend::xqt_backend() {
  if (QApplication::instance() == nullptr) {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
      throw Exception(
          u"No display: set DISPLAY (or WAYLAND_DISPLAY) to open windows, or run under xvfb-run");
    owned_app_ = std::make_unique<QApplication>(qt_argc, qt_argv);
  }
  xmain_loop::instance().bind_to_current_thread();
  auto* keys = new key_watch([this](QObject* receiver, QKeyEvent* key, bool down, bool first) {
    on_key(key->key(), down);
    if (!down || !first || !receiver->isWidgetType()) return false;
    auto* widget = static_cast<QWidget*>(receiver);
    for (auto& [form, mirror] : mirrors_)
      if (mirror->window() == widget->window())
        return mirror->key(widget, xqt_virtual_key(key->key()),
                           xqt_shift_state(key->modifiers().toInt(), 0), key->text());
    return false;
  });
  keys->setParent(QApplication::instance());
  QApplication::instance()->installEventFilter(keys);
  pump_ = std::make_unique<xqt_pump>(*this);
}

xqt_backend::~xqt_backend() {
  if (&xui() == this) xset_ui_backend(nullptr);
  mirrors_.clear();
  pump_.reset();
}

void xqt_backend::on_key(int qt_key, bool down) {
  const int vk = xqt_virtual_key(qt_key);
  if (vk == 0) return;
  const std::uint8_t before = key_state(vk);
  const bool was_down = (before & 0x80) != 0;
  bool toggled = (before & 1) != 0;
  if (down && !was_down) toggled = !toggled;  // lock keys toggle on each press
  set_key_state(vk, down, toggled);
}

void xqt_backend::deliver(TCustomForm& form, const std::function<void()>& act) {
  for (auto it = modal_loops_.rbegin(); it != modal_loops_.rend(); ++it)
    if (&(*it)->form() == &form) {
      (*it)->act(act);
      return;
    }
  try {
    act();
  } catch (...) {
    Application()->HandleException(&form);
  }
}

void xqt_backend::run_loop_work() {
  if (!modal_loops_.empty()) {
    modal_loops_.back()->turn(0);  // exceptions go to HandleException there
    return;
  }
  try {
    xmain_loop::instance().run_once(0);
  } catch (...) {
    if (!pending_) pending_ = std::current_exception();
  }
}

void xqt_backend::sync() {
  if (syncing_) return;
  syncing_ = true;
  struct done {
    bool& flag;
    ~done() { flag = false; }
  } reset{syncing_};
  // Forms the screen no longer lists are gone: their windows go too.
  std::map<const TCustomForm*, bool> listed;
  for (int i = 0; i < Screen().FormCount(); ++i) listed[Screen().Forms(i)] = true;
  for (auto it = mirrors_.begin(); it != mirrors_.end();)
    it = listed.count(it->first) != 0 && it->second->form() != nullptr ? std::next(it)
                                                                       : mirrors_.erase(it);
  for (int i = 0; i < Screen().FormCount(); ++i) {
    TCustomForm* form = Screen().Forms(i);
    auto it = mirrors_.find(form);
    if (it == mirrors_.end()) {
      if (!form->Visible()) continue;  // a window is made when first shown
      it = mirrors_
               .emplace(form,
                        std::make_unique<xqt_mirror>(
                            *form, [this](TCustomForm& f,
                                          const std::function<void()>& act) { deliver(f, act); }))
               .first;
    }
    it->second->sync();
  }
}

QWidget* xqt_backend::window_of(const TCustomForm& form) {
  auto it = mirrors_.find(&form);
  return it == mirrors_.end() ? nullptr : it->second->window();
}

QWidget* xqt_backend::widget_of(const TControl& control) {
  for (auto& [form, mirror] : mirrors_)
    if (QWidget* w = mirror->widget_of(control)) return w;
  return nullptr;
}

void xqt_backend::save_picture(const TCustomForm& form, const UnicodeString& file) {
  sync();
  QApplication::processEvents();
  QWidget* window = window_of(form);
  if (window == nullptr || !window->isVisible())
    throw Exception(u"Cannot take a picture of " + form.Name() + u": it has no window\nFile: " +
                    file);
  const QImage picture = window->grab().toImage();
  // Written beside the file and renamed over it when complete.
  QSaveFile out(qstr(file));
  if (!out.open(QIODevice::WriteOnly) || !picture.save(&out, "PNG") || !out.commit())
    throw Exception(u"Cannot write the picture: " + ustr(out.errorString()) + u"\nFile: " + file);
}

void xqt_backend::turn(int timeout_ms) {
  sync();
  pump_->refresh();
  if (timeout_ms > 0) {
    QEventLoop wait;
    QTimer::singleShot(timeout_ms, &wait, [] {});
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  } else if (timeout_ms < 0) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  } else {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    run_loop_work();
  }
  sync();
  if (pending_) std::rethrow_exception(std::exchange(pending_, nullptr));
}

int xqt_backend::show_modal(TCustomForm& form, xmodal_loop& loop) {
  modal_loops_.push_back(&loop);
  struct pop {
    std::vector<xmodal_loop*>& loops;
    ~pop() { loops.pop_back(); }
  } guard{modal_loops_};
  sync();
  if (loop.turn(0)) return form.ModalResult();
  QEventLoop events;
  while (!loop.ended()) {
    if (mirrors_.find(&form) == mirrors_.end()) return mrCancel;  // its window is gone
    events.processEvents(QEventLoop::WaitForMoreEvents);
  }
  if (QWidget* window = window_of(form)) window->hide();
  return form.ModalResult();
}

int xqt_backend::message_box(const xstr& text, const xstr& caption, unsigned flags) {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  const QString body =
      QString::fromUtf8(text.view().data(), static_cast<qsizetype>(text.view().size()));
  const QString title =
      QString::fromUtf8(caption.view().data(), static_cast<qsizetype>(caption.view().size()));
  QMessageBox box;
  box.setWindowTitle(title);
  box.setText(body);
  switch (flags & MB_ICONMASK) {
    case MB_ICONHAND:
      box.setIcon(QMessageBox::Critical);
      break;
    case MB_ICONQUESTION:
      box.setIcon(QMessageBox::Question);
      break;
    case MB_ICONEXCLAMATION:
      box.setIcon(QMessageBox::Warning);
      break;
    case MB_ICONASTERISK:
      box.setIcon(QMessageBox::Information);
      break;
    default:
      break;
  }
  for (int i = 0; i < count; ++i) {
    QPushButton* b = box.addButton(standard_button(ids[i]));
    if (ids[i] == xmessage_box_default(flags)) box.setDefaultButton(b);
    if (ids[i] == IDCANCEL) box.setEscapeButton(b);
  }
  box.exec();
  const int answer = [&] {
    for (int i = 0; i < count; ++i)
      if (box.clickedButton() == box.button(standard_button(ids[i]))) return ids[i];
    return xmessage_box_default(flags);  // closed without a choice
  }();
  sync();
  return answer;
}

bool xqt_backend::file_dialog(TOpenDialog& dialog) {
  QFileDialog chooser(nullptr, qstr(dialog.Title()), qstr(dialog.InitialDir()),
                      qt_filter(dialog.Filter()));
  chooser.setOption(QFileDialog::DontUseNativeDialog);
  const bool save = dialog.IsSaveDialog();
  chooser.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  if (save)
    chooser.setFileMode(QFileDialog::AnyFile);
  else
    chooser.setFileMode((dialog.Options() & ofAllowMultiSelect) ? QFileDialog::ExistingFiles
                                                                : QFileDialog::ExistingFile);
  if (save && !(dialog.Options() & ofOverwritePrompt))
    chooser.setOption(QFileDialog::DontConfirmOverwrite);
  if (!dialog.DefaultExt().empty()) chooser.setDefaultSuffix(qstr(dialog.DefaultExt()));
  if (!dialog.FileName().empty()) chooser.selectFile(qstr(dialog.FileName()));
  const QStringList filters = chooser.nameFilters();
  if (dialog.FilterIndex() >= 1 && dialog.FilterIndex() <= filters.size())
    chooser.selectNameFilter(filters[dialog.FilterIndex() - 1]);
  const bool chosen = chooser.exec() == QDialog::Accepted && !chooser.selectedFiles().isEmpty();
  if (chosen) {
    dialog.Files().Clear();
    for (const QString& f : chooser.selectedFiles()) dialog.Files().Add(ustr(f));
    dialog.SetFileName(ustr(chooser.selectedFiles().front()));
    dialog.SetFilterIndex(static_cast<int>(filters.indexOf(chooser.selectedNameFilter())) + 1);
  }
  sync();
  return chosen;
}

bool xqt_backend::color_dialog(TColor& color) {
  const QColor start(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
  const QColor chosen = QColorDialog::getColor(start, nullptr, QString(),
                                               QColorDialog::DontUseNativeDialog);
  sync();
  if (!chosen.isValid()) return false;
  color = chosen.red() | chosen.green() << 8 | chosen.blue() << 16;
  return true;
}

UnicodeString xqt_backend::clipboard_text() { return ustr(QGuiApplication::clipboard()->text()); }

void xqt_backend::set_clipboard_text(const UnicodeString& text) {
  QGuiApplication::clipboard()->setText(qstr(text));
}

xscreen_size xqt_backend::screen_size() {
  QScreen* screen = QGuiApplication::primaryScreen();
  if (screen == nullptr) return xui_backend::screen_size();
  return {screen->size().width(), screen->size().height()};
}

int xqt_backend::text_width(const TFont& font, const UnicodeString& text) {
  QFont qt_font(qstr(font.Name()));
  qt_font.setPixelSize(font.Height() < 0 ? -font.Height() : std::max(1, font.Height()));
  qt_font.setBold(HasStyle(font.Style(), fsBold));
  qt_font.setItalic(HasStyle(font.Style(), fsItalic));
  return QFontMetrics(qt_font).horizontalAdvance(qstr(text));
}

namespace {
// Never destroyed by the process's exit, only by end_qt_backend: windows may
// still be shown while static objects go.
xqt_backend* process_backend = nullptr;
}  // namespace

xqt_backend& use_qt_backend() {
  if (process_backend == nullptr) process_backend = new xqt_backend();
  xset_ui_backend(process_backend);
  return *process_backend;
}

void end_qt_backend() {
  xqt_backend* backend = std::exchange(process_backend, nullptr);
  delete backend;  // its windows, then the QApplication it made, with Qt's own shutdown
}

namespace {

// XUM_BACKEND=qt selects the backend when the library loads; the Qt
// application is made on first use, so a program may still create its own.
class from_environment final : public xui_backend {
 public:
  xui_backend& real() {
    xset_ui_backend(nullptr);
    return use_qt_backend();
  }
  int message_box(const xstr& t, const xstr& c, unsigned f) override {
    return real().message_box(t, c, f);
  }
  int show_modal(TCustomForm& form, xmodal_loop& loop) override {
    return real().show_modal(form, loop);
  }
  void turn(int timeout_ms) override { real().turn(timeout_ms); }
  bool file_dialog(TOpenDialog& d) override { return real().file_dialog(d); }
  bool color_dialog(TColor& c) override { return real().color_dialog(c); }
  UnicodeString clipboard_text() override { return real().clipboard_text(); }
  void set_clipboard_text(const UnicodeString& t) override { real().set_clipboard_text(t); }
  xscreen_size screen_size() override { return real().screen_size(); }
  int text_width(const TFont& f, const UnicodeString& t) override {
    return real().text_width(f, t);
  }
  std::uint8_t key_state(int vk) override { return real().key_state(vk); }
};

const bool selected_from_environment = [] {
  if (qEnvironmentVariable("XUM_BACKEND") != u"qt") return false;
  static from_environment lazy;
  xset_ui_backend(&lazy);
  return true;
}();

}  // namespace

}  // namespace xum
