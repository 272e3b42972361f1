#include "tools/xum/xpo_file.h"

#include <sstream>

#include "core/xexceptions.h"
#include "core/xstr.h"
#include "tools/xum/xcli.h"

namespace xum::tool {

std::string po_quote(std::string_view s) {
  std::string q = "\"";
  for (const char ch : s) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '"':
        q += "\\\"";
        break;
      case '\\':
        q += "\\\\";
        break;
      case '\n':
        q += "\\n";
        break;
      case '\r':
        q += "\\r";
        break;
      case '\t':
        q += "\\t";
        break;
      default:
        if (c < 0x20 || c == 0x7f) {
          const char octal[] = {'\\', static_cast<char>('0' + (c >> 6)),
                                static_cast<char>('0' + ((c >> 3) & 7)),
                                static_cast<char>('0' + (c & 7)), 0};
          q += octal;
        } else {
          q += ch;
        }
    }
  }
  return q + "\"";
}

namespace {

[[noreturn]] void po_error(const std::string& file, int line, const std::string& what) {
  xerror(xstr("Invalid data format ! ") + xstr(what) + "\n" + xstr("Line: ") +
         xstr(std::to_string(line)) + "\n" + xstr("File: ") + xstr(file));
  throw cli::usage_error(what);  // only reached with a non-throwing error hook
}

}  // namespace

// The text of a quoted .po string starting at `s`.
std::string po_unquote(std::string_view s, const std::string& file, int line) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
    s.remove_suffix(1);
  if (s.size() < 2 || s.front() != '"' || s.back() != '"')
    po_error(file, line, "quoted text expected");
  s = s.substr(1, s.size() - 2);
  std::string out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '\\') {
      if (s[i] == '"') po_error(file, line, "unescaped quote");
      out += s[i];
      continue;
    }
    if (++i == s.size()) po_error(file, line, "escape at the end of a text");
    switch (s[i]) {
      case 'n':
        out += '\n';
        break;
      case 'r':
        out += '\r';
        break;
      case 't':
        out += '\t';
        break;
      case 'a':
        out += '\a';
        break;
      case 'b':
        out += '\b';
        break;
      case 'f':
        out += '\f';
        break;
      case 'v':
        out += '\v';
        break;
      case '\\':
      case '"':
      case '\'':
      case '?':
        out += s[i];
        break;
      default:
        if (s[i] >= '0' && s[i] <= '7') {
          int v = 0, n = 0;
          for (; n < 3 && i < s.size() && s[i] >= '0' && s[i] <= '7'; ++n, ++i)
            v = v * 8 + (s[i] - '0');
          --i;
          out += static_cast<char>(v);
        } else {
          po_error(file, line, std::string("unknown escape \\") + s[i]);
        }
    }
  }
  return out;
}

std::vector<po_entry> parse_po(const std::string& text, const std::string& file) {
  std::vector<po_entry> entries;
  po_entry cur;
  std::string* target = nullptr;  // the string that continuation lines extend
  bool started = false;           // msgid or msgctxt seen for `cur`
  const auto finish = [&] {
    if (started) entries.push_back(cur);
    cur = po_entry{};
    target = nullptr;
    started = false;
  };
  std::istringstream in(text);
  std::string line;
  int number = 0;
  bool after_str = false;
  while (std::getline(in, line)) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::string_view l = line;
    if (l.empty()) continue;
    const bool keyword = l.starts_with("msg");
    if (after_str && (l[0] == '#' || (keyword && !l.starts_with("msgstr")))) {
      finish();
      after_str = false;
    }
    if (l.starts_with("#~")) continue;  // obsolete entries are not the dictionary's
    if (l.starts_with("#,")) {
      cur.fuzzy = cur.fuzzy || l.find("fuzzy") != std::string_view::npos;
    } else if (l.starts_with("# previous: ")) {
      cur.previous = std::string(l.substr(12));
    } else if (l[0] == '#') {
    } else if (l.starts_with("msgctxt ")) {
      cur.context = po_unquote(l.substr(8), file, number);
      cur.has_context = started = true;
      cur.line = number;
      target = &cur.context;
    } else if (l.starts_with("msgid_plural") || l.starts_with("msgstr[")) {
      po_error(file, number, "plural forms are not part of a dictionary");
    } else if (l.starts_with("msgid ")) {
      cur.id = po_unquote(l.substr(6), file, number);
      if (!started) cur.line = number;
      started = true;
      target = &cur.id;
    } else if (l.starts_with("msgstr ")) {
      if (!started) po_error(file, number, "msgstr without msgid");
      cur.str = po_unquote(l.substr(7), file, number);
      target = &cur.str;
      after_str = true;
    } else if (l[0] == '"' && target != nullptr) {
      *target += po_unquote(l, file, number);
    } else {
      po_error(file, number, "unexpected line");
    }
  }
  finish();
  return entries;
}

}  // namespace xum::tool
