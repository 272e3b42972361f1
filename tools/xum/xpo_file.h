// The gettext .po files that `xum loc export` writes and `xum loc import`
// reads: one message per dictionary entry,
//   # previous: Einstellung          a kept previous translation
//   #, fuzzy                         the entry waits for a new translation
//   msgctxt "Main/Title"             the key path
//   msgid "Options"                  the source text
//   msgstr "Einstellung"             the translation ("" when none)
// Strings use C escapes (\n, \t, \", \\, octal); continuation lines
// ("...") extend the last keyword's string; obsolete entries (#~) are
// skipped; plural forms are refused, since a dictionary has none.
//
// The reader takes any bytes: what it cannot read is reported through
// xerror as "Invalid data format !" with the line and the file.
#ifndef XUM_TOOLS_XUM_XPO_FILE_H
#define XUM_TOOLS_XUM_XPO_FILE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xum::tool {

// A .po entry as import reads it.
struct po_entry {
  std::string context, id, str;
  std::optional<std::string> previous;
  bool fuzzy = false;
  bool has_context = false;
  int line = 0;
};

// `s` as a quoted .po string, with the escapes the reader understands.
std::string po_quote(std::string_view s);

// The text of the quoted .po string `s` (trailing blanks allowed).
std::string po_unquote(std::string_view s, const std::string& file, int line);

// The messages of a .po file's text; `file` names it in errors.
std::vector<po_entry> parse_po(const std::string& text, const std::string& file);

}  // namespace xum::tool

#endif
