// THtmlHelp: the application's help as HTML pages, opened in the desktop's
// browser (or the web browser component) at the page of a topic.
//
//   xum::Application()->SetHelpFile(u"/usr/share/doc/notes/help");  // a folder or an archive
//   edit->SetHelpKeyword(u"editing");      // F1 in the edit opens .../editing.html
//   xum::Application()->HelpKeyword(u"saving");
//   xum::HtmlHelp().MapContext(120, u"printing");
//   xum::Application()->HelpContext(120);  // .../printing.html
//
// The library makes it the default help viewer when it loads
// (xset_default_help_viewer), so Application()->HelpKeyword, HelpContext
// and F1 on a form (TCustomForm::DispatchKeyDown) end here unless the
// application installs a viewer of its own.
//
// Which page: the help's `<keyword>.html` (in a folder, the exact name,
// else the one name that differs only in case), else its `index.html` with
// the anchor `#<keyword>`. A keyword that cannot be a file name (a '/',
// a '\', a leading '.') goes to the index's anchor. An empty keyword
// (context 0, F1 where no control has a topic) opens the index itself. A
// context number shows the keyword MapContext gave it, else the keyword
// made of its digits ("120").
//
// The help file: a folder of pages, or an archive of them
// (formats/xvirtual_file_sys.h; its members have names only, no folders).
// A relative path counts from the executable's folder. An archive's pages
// link to each other and to their pictures, so it is extracted whole, the
// first time it is used in the process and again after it changed, into a
// folder of the user's own (the platform's run-time folder,
// "help-<number of the archive's path>"); its page is opened there. Members
// whose names could leave that folder ('/', '\', "." and "..") are skipped.
//
// The opener: a function that opens a URL (`file://` + the page's path,
// percent-encoded, + `#anchor`) and says whether it did. The default runs
// the desktop's `xdg-open` (xdesktop_open); the web browser component, or
// a test, installs its own with SetOpener.
//
// Failures are shown in a box (caption "Help") and Show returns false:
//   "No help file is set for this application (Application()->HelpFile)"
//   "Help file not found: <path>"
//   "The help <path> has no page <keyword>.html and no index.html"
//   "The help <path> has no index.html"            (no keyword)
//   "Cannot read the help archive <path>: <the archive's reason>"
//   "Cannot extract ...: <the system's reason>"     (a full disk ...)
//   "Cannot open the help page <url>"
// PageURL throws the same texts as Exception.
//
// Thread safety: the main thread only.
#ifndef XUM_UI_THTML_HELP_H
#define XUM_UI_THTML_HELP_H

#include <functional>
#include <map>
#include <string>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tcontrol.h"

namespace xum {

class XUM_API THtmlHelp {
 public:
  using TOpener = std::function<bool(const xstr& url)>;

  THtmlHelp();
  THtmlHelp(const THtmlHelp&) = delete;
  THtmlHelp& operator=(const THtmlHelp&) = delete;

  // The URL of the page for Keyword (Context when Keyword is empty) in the
  // help at HelpFile; an archive is extracted first. Throws Exception.
  xstr PageURL(const UnicodeString& HelpFile, const UnicodeString& Keyword, THelpContext Context = 0);
  // Opens the page of Application()->HelpFile() through the opener; false,
  // after a box that says why, when it cannot.
  bool Show(const UnicodeString& Keyword, THelpContext Context = 0);

  // HelpContext(Context) shows Keyword's page; an empty keyword forgets it.
  void MapContext(THelpContext Context, const UnicodeString& Keyword);

  const TOpener& Opener() const noexcept { return FOpener; }
  // Installs Opener (empty: the desktop's again); returns the previous one.
  TOpener SetOpener(TOpener Opener);


 private:
  struct extracted {
    std::string stamp;                         // the archive's modification time
    std::string folder;                        // where its members are
    std::map<std::string, std::string> names;  // lower-cased name -> member's name
  };
  const extracted& extract(const std::string& archive);

  TOpener FOpener;
  std::map<THelpContext, UnicodeString> FContexts;
  // Archives extracted in this process, by path.
  std::map<std::string, extracted> FExtracted;
};

// The process-wide HTML help.
XUM_API THtmlHelp& HtmlHelp();

// Opens `url` with the desktop's opener (xdg-open), not waiting for it;
// false when it cannot be started.
XUM_API bool xdesktop_open(const xstr& url);

}  // namespace xum

#endif  // XUM_UI_THTML_HELP_H
