#include "backends/web/xweb_view.h"

#include <QApplication>
#include <QPointer>
#include <QUrl>
#include <QTimer>
#include <QWebEngineLoadingInfo>
#include <QWebEngineNewWindowRequest>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <memory>

#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "framework/tapplication.h"
#include "platform/xos.h"
#include "ui/twebbrowser.h"

namespace xum {

namespace {

class web_engine;

// The page of one browser: its navigation requests and window requests go
// to the engine.
class web_page final : public QWebEnginePage {
 public:
  explicit web_page(web_engine& engine) : engine_(engine) {}

 protected:
  bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool main_frame) override;
  QWebEnginePage* createWindow(WebWindowType type) override;

 private:
  web_engine& engine_;
};

// A page that only learns the address a new window was asked for, then
// goes: the model decides where that address opens.
class window_request_page final : public QWebEnginePage {
 public:
  explicit window_request_page(web_engine& engine) : engine_(engine) {}

 protected:
  bool acceptNavigationRequest(const QUrl& url, NavigationType, bool main_frame) override;

 private:
  web_engine& engine_;
};

// The engine over a QWebEnginePage (see ui/xweb_engine.h for what it
// reports and when). The page is the engine's own: a view shows it, and a
// view made again (a form shown again) shows the same page.
class web_engine final : public xweb_engine {
 public:
  web_engine() : page_(std::make_unique<web_page>(*this)) {
    QObject::connect(page_.get(), &QWebEnginePage::urlChanged, page_.get(),
                     [this](const QUrl& url) { url_changed(url); });
    QObject::connect(page_.get(), &QWebEnginePage::titleChanged, page_.get(),
                     [this](const QString& title) { title_changed(title); });
    QObject::connect(page_.get(), &QWebEnginePage::loadingChanged, page_.get(),
                     [this](const QWebEngineLoadingInfo& info) { loading_changed(info); });
    QObject::connect(page_.get(), &QWebEnginePage::linkHovered, page_.get(),
                     [this](const QString& url) {
                       report([&] {
                         if (events().status_text) events().status_text(ustr(url));
                       });
                     });
  }
  ~web_engine() override {
    // The view outlives the page when the browser goes first.
    if (view_) view_->setPage(nullptr);
  }

  QWebEnginePage* page() const { return page_.get(); }
  void show_in(QWebEngineView* view) {
    view_ = view;
    view->setPage(page_.get());
  }

  void load(const UnicodeString& url) override {
    begin(QUrl(qstr(url)));
    own_ = true;
    page_->load(expected_);
  }
  void stop() override {
    loading_ = false;
    page_->triggerAction(QWebEnginePage::Stop);
  }
  void reload() override {
    begin(page_->url());
    own_ = true;
    page_->triggerAction(QWebEnginePage::Reload);
  }

  // A main-frame navigation of the page: the ones this engine started,
  // reloads (the view's menu has one: the same document, no new entry) and
  // redirects go on; the page's own are the model's to allow.
  bool accept(const QUrl& url, QWebEnginePage::NavigationType type) {
    if ((own_ && type == QWebEnginePage::NavigationTypeTyped) ||
        type == QWebEnginePage::NavigationTypeReload) {
      own_ = false;
      return true;
    }
    if (type == QWebEnginePage::NavigationTypeBackForward) {
      // The view's own back or forward (a mouse button, its menu): the
      // history is the model's, which moves itself once this request has
      // been refused.
      QTimer::singleShot(0, page_.get(), [this, target = ustr(url.toString())] {
        report([&] {
          if (events().history_requested) events().history_requested(target);
        });
      });
      return false;
    }
    if (type == QWebEnginePage::NavigationTypeRedirect) {
      if (loading_) expected_ = url;
      return true;
    }
    bool allowed = true;
    report([&] {
      if (events().navigation_requested) allowed = events().navigation_requested(ustr(url.toString()));
    });
    if (allowed) begin(url);
    return allowed;
  }

  void window_requested(const QUrl& url) {
    report([&] {
      if (events().new_window) events().new_window(ustr(url.toString()));
    });
  }

 private:
  void begin(const QUrl& url) {
    expected_ = url;
    loading_ = true;
    committed_ = false;
  }

  // Runs a report to the model; an exception of its handlers goes to the
  // application, never into Qt's event loop.
  template <class F>
  void report(const F& f) {
    try {
      f();
    } catch (...) {
      Application()->HandleException(nullptr);
    }
  }

  void url_changed(const QUrl& url) {
    if (!loading_) {
      // The page moved by itself within its document (an anchor).
      report([&] {
        if (events().committed) events().committed(ustr(url.toString()));
      });
      return;
    }
    expected_ = url;
    commit();
  }

  void commit() {
    if (committed_) return;
    committed_ = true;
    report([&] {
      if (events().committed) events().committed(ustr(expected_.toString()));
    });
  }

  // While a page loads, the engine shows stand-in titles (a file's name)
  // until the document's own is known: the title is reported when the load
  // ends, and as it changes afterwards.
  void title_changed(const QString& title) {
    if (loading_) return;
    report_title(title);
  }
  void report_title(const QString& title) {
    report([&] {
      if (events().title_changed) events().title_changed(ustr(title));
    });
  }

  void loading_changed(const QWebEngineLoadingInfo& info) {
    if (!loading_ || info.status() == QWebEngineLoadingInfo::LoadStartedStatus) return;
    // The end of a load this one replaced comes with that load's address.
    if (info.url() != expected_) return;
    const bool ok = info.status() == QWebEngineLoadingInfo::LoadSucceededStatus;
    loading_ = false;
    if (ok) {
      commit();
      report_title(page_->title());
    }
    UnicodeString error;
    if (!ok) {
      const QString why = info.status() == QWebEngineLoadingInfo::LoadStoppedStatus
                              ? QStringLiteral("Stopped")
                              : info.errorString();
      error = ustr(why + QStringLiteral(": ") + info.url().toString());
    }
    report([&] {
      if (events().finished) events().finished(ustr(info.url().toString()), error);
    });
  }

  std::unique_ptr<web_page> page_;
  QPointer<QWebEngineView> view_;
  QUrl expected_;      // the address of the load under way
  bool own_ = false;   // the next typed or reload navigation is this engine's
  bool loading_ = false;
  bool committed_ = false;
};

bool web_page::acceptNavigationRequest(const QUrl& url, NavigationType type, bool main_frame) {
  return !main_frame || engine_.accept(url, type);
}

QWebEnginePage* web_page::createWindow(WebWindowType) {
  // Deleted once it knows its address; parented to this page meanwhile.
  auto* request = new window_request_page(engine_);
  request->setParent(this);
  return request;
}

bool window_request_page::acceptNavigationRequest(const QUrl& url, NavigationType, bool main_frame) {
  if (!main_frame) return false;
  web_engine& engine = engine_;
  deleteLater();
  engine.window_requested(url);
  return false;
}

// Shows `browser` in `view`, giving the browser the page engine first when
// it was made with another one.
void attach(TWebBrowser& browser, QWebEngineView* view) {
  auto* engine = dynamic_cast<web_engine*>(&browser.Engine());
  if (engine == nullptr) {
    const UnicodeString current = browser.LocationURL();
    auto made = std::make_unique<web_engine>();
    engine = made.get();
    browser.SetEngine(std::move(made));
    if (!current.empty()) engine->load(current);
  }
  engine->show_in(view);
}

}  // namespace

void use_web_view() {
  static bool done = false;
  if (done) return;
  // The engine's sandbox refuses the superuser and its process then dies:
  // say so before any browser is drawn, unless the program's environment
  // switched the sandbox off.
  const bool sandbox_off = !qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX") ||
                           qEnvironmentVariable("QTWEBENGINE_CHROMIUM_FLAGS")
                               .contains(QStringLiteral("--no-sandbox"));
  if (platform::os().superuser() && !sandbox_off)
    throw Exception(
        u"The web engine does not run as root with its sandbox on: run as another user, or "
        u"set QTWEBENGINE_DISABLE_SANDBOX=1 to run it without (for trusted pages only)");
  done = true;
  TWebBrowser::SetEngineFactory([](TWebBrowser&) -> std::unique_ptr<xweb_engine> {
    if (QApplication::instance() == nullptr) return nullptr;  // the built-in engine
    return std::make_unique<web_engine>();
  });
  xqt_widget_kind kind;
  kind.create = [](TControl& c, QWidget* parent, const xqt_act_fn&) -> QWidget* {
    auto* browser = dynamic_cast<TWebBrowser*>(&c);
    if (browser == nullptr) return nullptr;
    auto* view = new QWebEngineView(parent);
    attach(*browser, view);
    return view;
  };
  kind.update = [](TControl&, QWidget*) {};
  kind.children = false;
  xqt_add_widget_kind(std::move(kind));
}

namespace {

// The web engine shares OpenGL contexts with the application; the
// attribute counts only when set before the application is made.
const bool share_contexts = [] {
  if (QCoreApplication::instance() == nullptr)
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  return true;
}();

}  // namespace

}  // namespace xum
