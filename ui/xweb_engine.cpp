#include "ui/xweb_engine.h"

#include <optional>
#include <string_view>

#include "core/xutf.h"
#include "framework/xmain_loop.h"
#include "platform/xos.h"

namespace xum {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool starts_with_nocase(std::string_view s, std::string_view prefix) {
  if (s.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i)
    if (lower(s[i]) != prefix[i]) return false;
  return true;
}

bool ends_with_nocase(std::string_view s, std::string_view suffix) {
  return s.size() >= suffix.size() && starts_with_nocase(s.substr(s.size() - suffix.size()), suffix);
}

int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = lower(c);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// %XX escapes decoded; a '%' not followed by two hex digits stays as it is.
std::string percent_decoded(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '%' && i + 2 < s.size() && hex_value(s[i + 1]) >= 0 && hex_value(s[i + 2]) >= 0) {
      out += static_cast<char>(hex_value(s[i + 1]) * 16 + hex_value(s[i + 2]));
      i += 2;
    } else {
      out += s[i];
    }
  }
  return out;
}

int base64_value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+' || c == '-') return 62;
  if (c == '/' || c == '_') return 63;
  return -1;
}

// Standard or URL-safe base64; white space is skipped, '=' ends the data.
std::optional<std::string> base64_decoded(std::string_view s) {
  std::string out;
  unsigned bits = 0;
  int count = 0;
  std::size_t i = 0;
  for (; i < s.size(); ++i) {
    const char c = s[i];
    if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
    if (c == '=') break;
    const int v = base64_value(c);
    if (v < 0) return std::nullopt;
    bits = (bits << 6) | static_cast<unsigned>(v);
    count += 6;
    if (count >= 8) {
      count -= 8;
      out += static_cast<char>((bits >> count) & 0xFF);
    }
  }
  for (; i < s.size(); ++i)
    if (s[i] != '=' && s[i] != ' ' && s[i] != '\n' && s[i] != '\r') return std::nullopt;
  if (count >= 6) return std::nullopt;  // a lone sixth of a byte
  return out;
}

std::string_view trim(std::string_view s) {
  const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; };
  while (!s.empty() && space(s.front())) s.remove_prefix(1);
  while (!s.empty() && space(s.back())) s.remove_suffix(1);
  return s;
}

// The text of the first <title> element, entities decoded and white space
// collapsed; empty when there is none.
std::string html_title(std::string_view html) {
  std::size_t open = std::string_view::npos;
  for (std::size_t i = 0; i + 6 < html.size(); ++i) {
    if (html[i] == '<' && starts_with_nocase(html.substr(i + 1), "title") &&
        (html[i + 6] == '>' || html[i + 6] == ' ' || html[i + 6] == '\t' || html[i + 6] == '\n')) {
      open = html.find('>', i);
      break;
    }
  }
  if (open == std::string_view::npos) return {};
  std::size_t close = open + 1;
  while (close < html.size() && !(html[close] == '<' && starts_with_nocase(html.substr(close), "</title")))
    ++close;
  const std::string_view raw = html.substr(open + 1, close - open - 1);
  std::string text;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '&') {
      text += raw[i];
      continue;
    }
    const std::size_t semi = raw.find(';', i);
    if (semi == std::string_view::npos || semi - i > 10) {
      text += '&';
      continue;
    }
    const std::string_view name = raw.substr(i + 1, semi - i - 1);
    long cp = -1;
    if (name == "amp") cp = '&';
    else if (name == "lt") cp = '<';
    else if (name == "gt") cp = '>';
    else if (name == "quot") cp = '"';
    else if (name == "apos") cp = '\'';
    else if (name == "nbsp") cp = ' ';
    else if (name.size() > 1 && name[0] == '#') {
      const bool hex = name[1] == 'x' || name[1] == 'X';
      cp = 0;
      for (std::size_t k = hex ? 2 : 1; k < name.size() && cp >= 0; ++k) {
        const int d = hex ? hex_value(name[k]) : (name[k] >= '0' && name[k] <= '9' ? name[k] - '0' : -1);
        cp = d < 0 || cp > 0x10FFFF ? -1 : cp * (hex ? 16 : 10) + d;
      }
      if (cp > 0x10FFFF || cp == 0) cp = -1;
    }
    if (cp < 0) {
      text += '&';
      continue;
    }
    xutf8_append(text, static_cast<char32_t>(cp));
    i = semi;
  }
  std::string collapsed;
  bool space = false;
  for (const char c : trim(text)) {
    const bool is_space = c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
    if (is_space) {
      space = true;
      continue;
    }
    if (space) collapsed += ' ';
    space = false;
    collapsed += c;
  }
  return collapsed;
}

struct loaded {
  std::string bytes;
  bool html = false;
  std::string error;  // empty when loaded
};

loaded read_file_url(std::string_view url) {
  std::string_view rest = url.substr(5);  // after "file:"
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const std::size_t slash = rest.find('/');
    const std::string_view host = rest.substr(0, slash);
    if (!host.empty() && !(host.size() == 9 && starts_with_nocase(host, "localhost")))
      return {{}, false, "Not a local file: " + std::string(url)};
    rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash);
  }
  rest = rest.substr(0, rest.find_first_of("?#"));
  const std::string path = percent_decoded(rest);
  loaded out;
  out.html = ends_with_nocase(path, ".html") || ends_with_nocase(path, ".htm") ||
             ends_with_nocase(path, ".xhtml");
  auto& os = platform::os();
  if (path.empty() || !os.file_exists(path.c_str())) {
    out.error = "File not found: " + path;
  } else if (os.is_directory(path.c_str())) {
    out.error = "Not a file: " + path;
  } else if (!os.read_whole_file(path.c_str(), out.bytes)) {
    out.error = "Cannot read file: " + path;
  }
  return out;
}

loaded read_data_url(std::string_view url) {
  const std::string_view rest = url.substr(5);  // after "data:"
  const std::size_t comma = rest.find(',');
  if (comma == std::string_view::npos) return {{}, false, "Bad data address: " + std::string(url)};
  const std::string_view head = rest.substr(0, comma);
  loaded out;
  out.html = starts_with_nocase(trim(head), "text/html");
  const bool base64 = ends_with_nocase(head, ";base64");
  std::string data = percent_decoded(rest.substr(comma + 1));
  if (base64) {
    std::optional<std::string> bytes = base64_decoded(data);
    if (!bytes) return {{}, false, "Bad data address: " + std::string(url)};
    data = std::move(*bytes);
  }
  out.bytes = std::move(data);
  return out;
}

loaded read_url(const std::string& url) {
  if (starts_with_nocase(url, "file:")) return read_file_url(url);
  if (starts_with_nocase(url, "data:")) return read_data_url(url);
  if (starts_with_nocase(url, "about:blank") && url.size() == 11) return {};
  return {{}, false,
          "Unsupported address: " + url +
              " (without a web engine only file:, data: and about:blank pages open)"};
}

}  // namespace

xweb_engine::~xweb_engine() = default;

xlocal_web_engine::xlocal_web_engine(mode how)
    : mode_(how), serial_(std::make_shared<std::uint64_t>(0)) {}

xlocal_web_engine::~xlocal_web_engine() = default;

void xlocal_web_engine::load(const UnicodeString& url) {
  const std::uint64_t serial = ++*serial_;
  if (mode_ == synchronous) {
    run(url, serial);
    return;
  }
  std::weak_ptr<std::uint64_t> alive = serial_;
  const bool queued = xmain_loop::instance().post([this, alive, url, serial] {
    const std::shared_ptr<std::uint64_t> current = alive.lock();
    if (current && *current == serial) run(url, serial);
  });
  // A loop that is shut down runs nothing more: the page loads now.
  if (!queued) run(url, serial);
}

void xlocal_web_engine::stop() { ++*serial_; }

void xlocal_web_engine::reload() {
  if (!current_.empty()) load(current_);
}

void xlocal_web_engine::run(const UnicodeString& url, std::uint64_t serial) {
  loaded page = read_url(xutf16_to_utf8(url));
  const xweb_engine_events& on = events();
  // Each callback may start another load or stop this one: what follows is
  // reported only while this load is still the one under way.
  const auto current = [&] { return *serial_ == serial; };
  if (!page.error.empty()) {
    if (on.finished) on.finished(url, xutf8_to_utf16(page.error));
    return;
  }
  current_ = url;
  document_ = std::move(page.bytes);
  const std::string title = page.html ? html_title(document_) : std::string();
  if (on.committed) on.committed(url);
  if (!current()) return;
  if (!title.empty() && on.title_changed) on.title_changed(xutf8_to_utf16(title));
  if (!current()) return;
  if (on.finished) on.finished(url, UnicodeString());
}

}  // namespace xum
