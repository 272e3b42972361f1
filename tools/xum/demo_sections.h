// Sections of `xum demo` that live in files of their own; each prints its
// part of the report to standard output.
#ifndef XUM_TOOLS_XUM_DEMO_SECTIONS_H
#define XUM_TOOLS_XUM_DEMO_SECTIONS_H

#include <filesystem>
#include <string>

namespace xum::tool {

// Files and streams: a sample copied through file, XOR, section and
// iostream-adapted streams.
void streams_section(const std::filesystem::path& samples);

// Localization: a small form translated through a dictionary in a
// temporary folder, before and after a translator's edit.
void localization_section();

// Archives: the samples packed, listed and read back by name, also through
// the file-stream fallback.
void archive_section(const std::filesystem::path& samples);

// Images: a compiled-in glyph made into a button glyph and tool bar lists.
void images_section();
// `xum demo --gui`: the report and the component gallery in a real window
// drawn by the Qt backend, with the compiled-in glyph on its tool bar and
// Close button. Runs until the window is closed (or close_after_ms have
// passed, when positive; the window is then first saved as a PNG picture to
// `screenshot` when one is named). `page` names the page shown first.
// Throws when there is no display; exists only when xum links XUMComps::Qt.
struct demo_window_options {
  std::string samples;
  std::string page;
  std::string screenshot;
  int close_after_ms = 0;
};
void show_demo_window(const std::string& report, const demo_window_options& options);

}  // namespace xum::tool

namespace xum {
class TForm;
class TPageControl;
class TWebBrowser;
}  // namespace xum

namespace xum::tool {

// The gallery's pages (Components, Files, Web) added to `pages` of `form`:
// every visual component of the library, live; the file pages show
// `samples`, whose help/ folder is the application's help, opened in the
// gallery's web browser (returned in `browser`). When `no_web` gives a
// reason the web engine cannot draw, the Web page says so instead and the
// help opens in the desktop's browser.
void build_gallery(TForm* form, TPageControl* pages, const std::string& samples,
                   const std::string& no_web, TWebBrowser** browser);

}  // namespace xum::tool

#endif  // XUM_TOOLS_XUM_DEMO_SECTIONS_H
