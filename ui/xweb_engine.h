// The engine behind a web browser control (ui/twebbrowser.h): what loads and
// shows pages. The control keeps the history and the events; an engine only
// loads what it is told to and reports what happens to its page. A windowing
// backend sets a real engine (the web view of XUMComps::Web); without one,
// every browser uses the built-in `xlocal_web_engine`.
//
//   auto engine = std::make_unique<xum::xlocal_web_engine>(xum::xlocal_web_engine::synchronous);
//   browser->SetEngine(std::move(engine));
//   browser->Navigate(u"data:text/html,<title>Hi</title>Hello");   // done on return
//
// The contract an engine keeps:
//   - every callback runs on the main thread, never from a destructor;
//   - after load(url): `committed` once the document at url (or where it was
//     redirected to) became the page's, then any number of `title_changed`
//     and `status_text`, then `finished` with an empty error (loaded) or the
//     reason it failed; a load may also fail before it commits;
//   - after stop(), nothing more of the stopped load is reported;
//   - a load started while another one runs replaces it;
//   - `navigation_requested` is asked only for the page's own navigations
//     (a link followed, a script setting the location), never for load()
//     or reload(); a false answer leaves the page where it is;
//   - `new_window` reports a page that asked for a window of its own
//     (target="_blank", window.open); the engine opens none itself.
//
// The built-in engine, xlocal_web_engine, reads local pages only:
//   file:///abs/path, file://localhost/abs/path, file:/abs/path
//       the file's bytes (percent escapes decoded; "?query" and "#fragment"
//       are not part of the path); a missing file, a folder or an unreadable
//       file fails ("File not found: <path>", "Not a file: <path>",
//       "Cannot read file: <path>"), as does another host ("Not a local
//       file: <url>");
//   data:[<media type>][;base64],<data>
//       the data, percent escapes decoded, then base64 decoded when marked
//       (bad base64 fails: "Bad data address: <url>");
//   about:blank
//       an empty document;
//   anything else fails: "Unsupported address: <url> (without a web engine
//   only file:, data: and about:blank pages open)".
// Scheme names compare without case. An HTML document (a file named *.html,
// *.htm, *.xhtml, or data of type text/html) has the text of its first
// <title> element as its title (white space collapsed, the entities &amp;
// &lt; &gt; &quot; &apos; &nbsp; and numeric ones decoded); the title is
// reported between `committed` and `finished` when not empty. It never
// follows links, so it neither requests navigations nor new windows.
// It loads `synchronously` (everything is reported inside load() and
// reload()) or `through_main_loop` (load() returns at once; the page is read
// and reported by a call posted to the main loop, so a program sees Busy
// until the loop turns, and a stop() before that cancels the load; when the
// loop is shut down, it loads at once).
//
// Thread safety: engines belong to the main thread.
#ifndef XUM_UI_XWEB_ENGINE_H
#define XUM_UI_XWEB_ENGINE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/xexceptions.h"
#include "core/xexport.h"

namespace xum {

// What an engine reports to its browser (any callback may be empty).
struct xweb_engine_events {
  // The page wants to open `url` itself: true lets it go on.
  std::function<bool(const UnicodeString& url)> navigation_requested;
  // The document at `url` is now the page's.
  std::function<void(const UnicodeString& url)> committed;
  std::function<void(const UnicodeString& title)> title_changed;
  // A status line of the engine's own (e.g. the address of a hovered link;
  // empty when it is gone).
  std::function<void(const UnicodeString& text)> status_text;
  // The load of `url` ended: `error` is empty when the document loaded, or
  // says what failed and where.
  std::function<void(const UnicodeString& url, const UnicodeString& error)> finished;
  // The page asked to open `url` in a new window.
  std::function<void(const UnicodeString& url)> new_window;
  // The user asked for `url`, an entry of the engine's own history, in the
  // engine's own way (a mouse button, the view's menu); the engine has not
  // gone there: the history is the browser's, which moves itself.
  std::function<void(const UnicodeString& url)> history_requested;
};

class XUM_API xweb_engine {
 public:
  virtual ~xweb_engine();

  // Where the engine reports from now on (the browser sets it when the
  // engine becomes its own).
  void set_events(xweb_engine_events events) { events_ = std::move(events); }

  // Starts loading `url` in place of the page (and of a load under way).
  virtual void load(const UnicodeString& url) = 0;
  // Stops the load under way; the page stays as it is. No effect when idle.
  virtual void stop() = 0;
  // Loads the current document again.
  virtual void reload() = 0;

 protected:
  const xweb_engine_events& events() const noexcept { return events_; }

 private:
  xweb_engine_events events_;
};

// The built-in engine for local pages (see the header's notes).
class XUM_API xlocal_web_engine final : public xweb_engine {
 public:
  enum mode { synchronous, through_main_loop };
  explicit xlocal_web_engine(mode how = through_main_loop);
  ~xlocal_web_engine() override;

  void load(const UnicodeString& url) override;
  void stop() override;
  void reload() override;

  // The bytes and title of the last document loaded (for tests and for
  // programs that show it in a view of their own).
  const std::string& document() const noexcept { return document_; }

 private:
  void run(const UnicodeString& url, std::uint64_t serial);

  const mode mode_;
  // The number of the load under way; posted loads carry theirs and do
  // nothing when it changed (stopped, replaced) or the engine is gone.
  std::shared_ptr<std::uint64_t> serial_;
  UnicodeString current_;  // the committed document's address
  std::string document_;
};

}  // namespace xum

#endif  // XUM_UI_XWEB_ENGINE_H
