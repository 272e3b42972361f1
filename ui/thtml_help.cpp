#include "ui/thtml_help.h"

#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "core/xexceptions.h"
#include "core/xmessage_box.h"
#include "core/xutf.h"
#include "formats/xvirtual_file_sys.h"
#include "framework/tapplication.h"
#include "platform/xos.h"
#include "streams/xstream.h"

namespace xum {

namespace {

using platform::os;

UnicodeString u16(const std::string& s) { return xutf8_to_utf16(s); }

// The first line of an error's text: the archive's errors add a "File: "
// line that the help's own message names already.
UnicodeString reason(const std::exception& e) {
  const std::string text = e.what();
  return u16(text.substr(0, text.find('\n')));
}

// Whether `name` can be a file of the help's folder without leaving it.
bool plain_file_name(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of(std::string("/\\\0", 3)) == std::string::npos;
}

// The keyword as the name of its page: a keyword that cannot be one (or is
// empty) has no page of its own.
bool page_name_of(const std::string& keyword) { return plain_file_name(keyword) && keyword.front() != '.'; }

// Percent-encodes all but the unreserved characters (and '/' when asked).
std::string percent_encoded(const std::string& text, bool keep_slash) {
  static const char hex[] = "0123456789ABCDEF";
  std::string out;
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    const bool unreserved = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                            c == '-' || c == '.' || c == '_' || c == '~' || (keep_slash && c == '/');
    if (unreserved) {
      out.push_back(ch);
    } else {
      out.push_back('%');
      out.push_back(hex[c >> 4]);
      out.push_back(hex[c & 15]);
    }
  }
  return out;
}

std::string file_url(const std::string& path, const std::string& anchor) {
  std::string url = "file://" + percent_encoded(path, true);
  if (!anchor.empty()) url += "#" + percent_encoded(anchor, false);
  return url;
}

std::string lower(const std::string& s) { return xstr(s).lower_case().str(); }

// The file of `folder` named `name`, or one whose name differs only in
// case; empty when there is none.
std::string find_in_folder(const std::string& folder, const std::string& name) {
  const std::string exact = folder + "/" + name;
  if (os().file_exists(exact.c_str()) && !os().is_directory(exact.c_str())) return exact;
  const std::unique_ptr<platform::os_directory> dir = os().open_directory(folder.c_str());
  if (!dir) return std::string();
  const std::string wanted = lower(name);
  while (const char* entry = dir->next()) {
    const std::string candidate = folder + "/" + entry;
    if (lower(entry) == wanted && !os().is_directory(candidate.c_str())) return candidate;
  }
  return std::string();
}

// The help file as an absolute path: a relative one counts from the
// executable's folder.
std::string absolute_help_path(const std::string& path) {
  if (path.front() == '/') return path;
  std::string exe = os().executable_path();
  const std::size_t slash = exe.rfind('/');
  exe.resize(slash == std::string::npos ? 0 : slash);
  return exe + "/" + path;
}

std::string modification_stamp(const std::string& path) {
  platform::local_time t;
  if (!os().file_modification_time(path.c_str(), t)) return std::string();
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                t.second);
  return text;
}

std::string read_all(xstream& s) {
  std::string bytes;
  char buffer[65536];
  for (int n; (n = s.read(buffer, sizeof buffer)) > 0;) bytes.append(buffer, static_cast<std::size_t>(n));
  return bytes;
}

}  // namespace

THtmlHelp::THtmlHelp() = default;

void THtmlHelp::MapContext(THelpContext Context, const UnicodeString& Keyword) {
  if (Keyword.empty())
    FContexts.erase(Context);
  else
    FContexts[Context] = Keyword;
}

THtmlHelp::TOpener THtmlHelp::SetOpener(TOpener Opener) { return std::exchange(FOpener, std::move(Opener)); }

const THtmlHelp::extracted& THtmlHelp::extract(const std::string& archive) {
  xvirtual_file_sys vfs;
  try {
    vfs.open(xstr(archive));
  } catch (const std::exception& e) {
    throw Exception(u"Cannot read the help archive " + u16(archive) + u": " + reason(e));
  }
  platform::os_error error;
  const std::string runtime = os().runtime_directory(error);
  if (runtime.empty())
    throw Exception(u"Cannot extract the help archive " + u16(archive) + u": " + u16(error.text));
  char number[32];
  std::snprintf(number, sizeof number, "%016zx", std::hash<std::string>{}(archive));
  const std::string folder = runtime + "/help-" + number;
  // Rewritten within the second of its last change, it still differs in
  // its table's place or its member count, most likely.
  const std::string stamp = modification_stamp(archive) + " " + std::to_string(vfs.data_end()) + " " +
                            std::to_string(vfs.files().size());
  auto known = FExtracted.find(archive);
  if (known != FExtracted.end() && known->second.stamp == stamp && os().is_directory(folder.c_str()))
    return known->second;
  if (!os().make_directories(folder.c_str()))
    throw Exception(u"Cannot extract the help archive " + u16(archive) + u": cannot make the folder " + u16(folder));
  extracted done{stamp, folder, {}};
  for (int i = 0; i < static_cast<int>(vfs.files().size()); ++i) {
    const std::string name = vfs.files()[static_cast<std::size_t>(i)]->name.str();
    // The first member of a name counts, as in the archive's own lookups.
    if (!plain_file_name(name) || !done.names.emplace(lower(name), name).second) continue;
    std::string bytes;
    try {
      bytes = read_all(*vfs.open_member_stream(i));
    } catch (const std::exception& e) {
      throw Exception(u"Cannot read the help archive " + u16(archive) + u": " + reason(e));
    }
    const std::string target = folder + "/" + name;
    if (!os().replace_file(target.c_str(), bytes.data(), bytes.size(), error))
      throw Exception(u"Cannot extract " + u16(target) + u": " + u16(error.text));
  }
  return FExtracted[archive] = std::move(done);
}

xstr THtmlHelp::PageURL(const UnicodeString& HelpFile, const UnicodeString& Keyword, THelpContext Context) {
  if (HelpFile.empty()) throw Exception(u"No help file is set for this application (Application()->HelpFile)");
  const std::string help = absolute_help_path(xutf16_to_utf8(HelpFile));
  if (!os().file_exists(help.c_str())) throw Exception(u"Help file not found: " + u16(help));
  std::string keyword;
  if (!Keyword.empty()) {
    keyword = xutf16_to_utf8(Keyword);
  } else if (Context != 0) {
    const auto mapped = FContexts.find(Context);
    keyword = mapped != FContexts.end() ? xutf16_to_utf8(mapped->second) : std::to_string(Context);
  }
  std::string page, index;
  if (os().is_directory(help.c_str())) {
    if (page_name_of(keyword)) page = find_in_folder(help, keyword + ".html");
    if (page.empty()) index = find_in_folder(help, "index.html");
  } else {
    const extracted& archive = extract(help);
    auto member = [&](const std::string& name) {
      const auto it = archive.names.find(lower(name));
      return it == archive.names.end() ? std::string() : archive.folder + "/" + it->second;
    };
    if (page_name_of(keyword)) page = member(keyword + ".html");
    if (page.empty()) index = member("index.html");
  }
  if (!page.empty()) return xstr(file_url(page, std::string()));
  if (!index.empty()) return xstr(file_url(index, keyword));
  if (page_name_of(keyword))
    throw Exception(u"The help " + u16(help) + u" has no page " + u16(keyword) + u".html and no index.html");
  throw Exception(u"The help " + u16(help) + u" has no index.html");
}

bool THtmlHelp::Show(const UnicodeString& Keyword, THelpContext Context) {
  const xstr caption("Help");
  xstr url;
  try {
    url = PageURL(Application()->HelpFile(), Keyword, Context);
  } catch (const std::exception& e) {
    Application()->MessageBox(xstr(e.what()), caption, MB_OK | MB_ICONEXCLAMATION);
    return false;
  }
  if (FOpener ? FOpener(url) : xdesktop_open(url)) return true;
  Application()->MessageBox(xstr("Cannot open the help page ") + url, caption, MB_OK | MB_ICONEXCLAMATION);
  return false;
}

THtmlHelp& HtmlHelp() {
  static auto* help = new THtmlHelp();  // never destroyed: the viewer refers to it
  return *help;
}

bool xdesktop_open(const xstr& url) {
  platform::os_error error;
  return os().start_detached_process({"xdg-open", url.str()}, error);
}

namespace {

bool show_html_help(const UnicodeString& Keyword, THelpContext Context) {
  return HtmlHelp().Show(Keyword, Context);
}

// The default help viewer from the moment the library is loaded; only a
// function pointer is set then, nothing is built.
const bool installed = (xset_default_help_viewer(&show_html_help), true);

}  // namespace

}  // namespace xum
