// The parts of xstruct_format that C++ callers use beside the described
// calls: lookups through a const format, the section scope, bool and enum
// properties, and the line behind a value that does not convert.
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xhash_table.h"
#include "formats/xstruct_format.h"
#include "formats/xtext_format.h"
#include "streams/xfile_stream.h"

namespace xum {

namespace {

std::string_view trimmed(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

bool equals_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
    if (x != b[i]) return false;
  }
  return true;
}

// The first child or value of a section with `code`, searched in order:
// the indexed lookups of the tree build their index on first use, which a
// const format may not do.
const xstruct_section* child_of(const xstruct_section& s, int code) {
  for (int i = 0; i < s.child_count(); ++i)
    if (s.child(i).code() == code) return &s.child(i);
  return nullptr;
}

const xstruct_value* value_of(const xstruct_section& s, int code) {
  for (int i = 0; i < s.value_count(); ++i)
    if (s.value(i).code() == code) return &s.value(i);
  return nullptr;
}

xstr integer_text(std::int64_t v) {
  xstr t;
  t.from_integer(v);
  return t;
}

}  // namespace

xstruct_scope::~xstruct_scope() {
  // Only the section this scope entered is left: not one of a format that
  // was closed, or whose sections were left by hand, since.
  if (format_.stack_.size() + static_cast<std::size_t>(format_.missing_) != depth_) return;
  try {
    format_.end_section();
  } catch (...) {
    // end_section throws only without an open section, excluded above.
  }
}

std::optional<int> xstruct_format::find_code(std::string_view label) const {
  if (!label.empty() && label[0] == '#') {
    // The rule of code_by_label: "#" and a number that "%i" takes.
    const std::string number(label.substr(1));
    int n = 0;
    if (std::sscanf(number.c_str(), "%i", &n) == 1 && n >= 0) return ~n;
  }
  const int code = labels_.find(label);
  if (code < 0) return std::nullopt;
  return code;
}

const xstruct_section* xstruct_format::find_section(std::string_view path) const {
  const xstruct_section* s = &root_;
  if (trimmed(path).empty()) return s;
  while (s != nullptr) {
    const std::size_t slash = path.find('/');
    const std::string_view name = trimmed(path.substr(0, slash));
    if (name.empty()) return nullptr;
    const std::optional<int> code = find_code(name);
    if (!code) return nullptr;
    s = child_of(*s, *code);
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return s;
}

const xstruct_value* xstruct_format::find_value(std::string_view path) const {
  const std::size_t slash = path.rfind('/');
  const xstruct_section* s =
      slash == std::string_view::npos ? &root_ : find_section(path.substr(0, slash));
  const std::string_view key =
      trimmed(slash == std::string_view::npos ? path : path.substr(slash + 1));
  if (s == nullptr || key.empty()) return nullptr;
  const std::optional<int> code = find_code(key);
  return code ? value_of(*s, *code) : nullptr;
}

const xstruct_value* xstruct_format::value_by_key(const xstr& key) const {
  const std::string_view k = trimmed(key.view());
  if (missing_ > 0 || k.empty()) return nullptr;
  const std::optional<int> code = find_code(k);
  return code ? value_of(*cursor_.section, *code) : nullptr;
}

const xstruct_value* xstruct_format::read_slot(const xstr& key, int& code) {
  const xstr k = key.trim();
  code = key_code(k, false);
  if (missing_ > 0) return nullptr;
  const xstruct_value* v = cursor_.section->find_value(code);
  if (v != nullptr && k.empty()) ++cursor_.anonymous_values;
  return v;
}

bool xstruct_format::prop_bool(const xstr& key, bool value, bool def, bool always) {
  if (!reading_) return prop_int64(key, value ? 1 : 0, def ? 1 : 0, always) != 0;
  int code = 0;
  const xstruct_value* v = read_slot(key, code);
  if (v == nullptr) return def;
  const std::string_view text = trimmed(v->text_view());
  if (equals_ignoring_case(text, "true")) return true;
  if (equals_ignoring_case(text, "false")) return false;
  try {
    return v->as_int64() != 0;
  } catch (const xvalue_conversion_error& e) {
    conversion_failed(*e.entry, code);
  }
  return def;
}

void xstruct_format::boolean(const xstr& key, bool& value, bool def, bool always) {
  value = prop_bool(key, value, def, always);
}

std::int64_t xstruct_format::prop_named(const xstr& key, std::int64_t value, std::int64_t def,
                                        bool always, const std::vector<enum_name>& names) {
  if (!reading_) {
    const auto text_of = [&](std::int64_t v) {
      for (const enum_name& n : names)
        if (n.value == v) return xstr(n.name);
      return integer_text(v);
    };
    str_prop(key, text_of(value), text_of(def), always);
    return value;
  }
  int code = 0;
  const xstruct_value* v = read_slot(key, code);
  if (v == nullptr) return def;
  const std::string_view text = trimmed(v->text_view());
  for (const enum_name& n : names)
    if (!text.empty() && n.name == text) return n.value;
  try {
    return v->as_int64();
  } catch (const xvalue_conversion_error& e) {
    conversion_failed(*e.entry, code);
  }
  return def;
}

void xstruct_format::conversion_failed(const xloc_str& entry, int code) const {
  xerror(xerror_category::bad_data, located(entry.text + label_by_code(code)),
         {.line = value_line(code)});
}

std::int64_t xstruct_format::value_line(int code) const {
  if (source_.empty() || loaded_form_ != xstruct_form::text || missing_ > 0) return -1;
  // The codes of the sections from below the root to the current one.
  std::vector<int> path;
  for (std::size_t i = 1; i < stack_.size(); ++i) path.push_back(stack_[i].section->code());
  if (!stack_.empty()) path.push_back(cursor_.section->code());
  // The tree keeps no lines (they would cost every load for the rare
  // failure), so the file is read again by the loader's rules: sections of
  // one name merge, and reads find the first value of a key.
  // A file that went is not opened: the report would be about the wrong
  // failure, and a hook that returns would show it.
  if (!xfile_exists(source_, false)) return -1;
  try {
    xfile_stream in(source_, xfile_read);
    if (!in.is_open()) return -1;
    xtext_format text(in, xstream_read, false);
    std::vector<int> open;
    constexpr int unknown = 0x7fffffff;  // a section name the tree does not hold
    std::string_view line;
    for (int line_no = text.line_number(); text.read_line_view(line, true);
         line_no = text.line_number()) {
      if (line_no == 1 && line.starts_with(text_signature)) continue;  // the identifier line
      line = trimmed(line);
      if (line.empty()) continue;
      if (line[0] == '>') {
        if (open.empty()) return -1;  // the end of the file's contents
        open.pop_back();
        continue;
      }
      if (line[0] == '<') {
        open.push_back(find_code(line.substr(1)).value_or(unknown));
        continue;
      }
      const std::size_t eq = line.find('=');
      if (eq == std::string_view::npos || eq == 0 || open != path) continue;
      if (find_code(line.substr(0, eq)) == code) return line_no;
    }
  } catch (const std::exception&) {
    // The file went or cannot be read: the line stays unknown.
  }
  return -1;
}

}  // namespace xum
