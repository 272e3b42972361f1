#include "formats/xstruct_format.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xle.h"
#include "formats/xtext_format.h"
#include "streams/xblock_buffer.h"
#include "streams/xreplace_file_stream.h"

namespace xum {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

std::string_view trimmed(std::string_view s) {
  std::size_t b = 0, e = s.size();
  while (b < e && is_blank(s[b])) ++b;
  while (e > b && is_blank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

// A line or key as error messages quote it: a line of a damaged file may be
// the whole file, and a message several times its size helps nobody.
xstr quoted(std::string_view s) {
  constexpr std::size_t longest = 120;
  if (s.size() <= longest) return xstr(s);
  return xstr(s.substr(0, longest)) + "...";
}

bool is_break(char c) { return c == '\r' || c == '\n'; }

// Whether the first bytes of a file without a signature look like the text
// form: no control bytes but the white space of text files (and the SUB
// that old editors left at the end), and a first non-blank line that is a
// section line or holds "=".
bool looks_like_text(std::string_view head) {
  for (const char c : head) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\v' && c != '\f' && u != 0x1A) return false;
  }
  std::size_t i = 0;
  while (i < head.size() && (is_blank(head[i]) || is_break(head[i]) || head[i] == '\v' || head[i] == '\f')) ++i;
  if (i == head.size() || head[i] == '<' || head[i] == '>') return true;
  for (; i < head.size() && !is_break(head[i]); ++i)
    if (head[i] == '=') return true;
  return false;
}

// Whether the n bytes at p hold an LF. Reads whole 8-byte words, so up to 7
// bytes after p + n must be readable; they are masked out. Texts are short,
// and a call to memchr per text costs more than the scan.
bool contains_lf(const char* p, std::size_t n) {
  constexpr std::uint64_t ones = 0x0101010101010101ull;
  constexpr std::uint64_t highs = 0x8080808080808080ull;
  for (std::size_t i = 0; i < n; i += 8) {
    std::uint64_t w = le::load<std::uint64_t>(reinterpret_cast<const unsigned char*>(p + i)) ^ (ones * '\n');
    // Bytes past the end become non-zero, so they never match.
    if (n - i < 8) w |= ~std::uint64_t{0} << (8 * (n - i));
    if (((w - ones) & ~w) & highs) return true;
  }
  return false;
}

// The text form is assembled in a block and handed to the stream in large
// writes; every LF inside a text becomes CR LF, as the tokenizer's
// write_string does.
class text_writer {
 public:
  explicit text_writer(xstream& s) : stream_(s) {}

  void text(std::string_view s) {
    // Long texts go in pieces, each of which fits the block even doubled.
    constexpr std::size_t piece = block / 2 - 8;
    while (s.size() > piece) {
      text(s.substr(0, piece));
      s.remove_prefix(piece);
    }
    // The copy is scanned in the block, whose slack makes the word reads
    // safe; the source text may end at the end of its allocation.
    char* const start = reinterpret_cast<char*>(out_.reserve(stream_, static_cast<int>(2 * s.size() + 8)));
    std::memcpy(start, s.data(), s.size());
    if (!contains_lf(start, s.size())) {  // the usual case
      out_.advance(static_cast<int>(s.size()));
      return;
    }
    char* p = start;
    for (const char c : s) {
      if (c == '\n') *p++ = '\r';
      *p++ = c;
    }
    out_.advance(static_cast<int>(p - start));
  }
  // Text known to hold no LF; longer than the block (a deep indent), it
  // goes straight to the stream.
  void raw(std::string_view s) { out_.write(stream_, s.data(), static_cast<int>(s.size())); }
  void end_line() { raw("\r\n"); }
  void flush() { out_.flush(stream_); }

 private:
  // Bytes collected before a write to the stream.
  static constexpr std::size_t block = 1 << 20;

  xstream& stream_;
  xblock_buffer out_{static_cast<int>(block)};
};

}  // namespace

xstruct_format::xstruct_format() { init(); }

xstruct_format::~xstruct_format() {
  try {
    // While an exception thrown after the open unwinds the stack, the
    // contents may stop in the middle of a record: the file is not touched.
    if (std::uncaught_exceptions() > uncaught_at_open_)
      discard();
    else
      close();
  } catch (...) {
    // A destructor must not throw; callers who need the error call close().
  }
}

void xstruct_format::init() {
  clear_on_close_ = false;
  close();
}

void xstruct_format::open_file(const xstr& name, xfile_mode fm) {
  base_dir_ = xextract_file_path(name);
  // Set after the load below, which open_stream starts by forgetting it.
  const struct remember {
    xstruct_format& f;
    const xstr& name;
    ~remember() {
      if (f.reading_ && f.stream_ != nullptr) f.source_ = name;
    }
  } remember_source{*this, name};
  // A save replaces the whole file, so it goes to a new file that takes the
  // old one's place only when complete. Writing an existing file
  // (xfile_write) still needs one: without it the file stream reports.
  const bool replace = fm == xfile_create || (fm == xfile_write && xfile_exists(name, false));
  if (!replace) {
    xformat::open_file(name, fm);
    return;
  }
  auto out = std::make_unique<xreplace_file_stream>(name);
  if (!out->is_open()) return;  // reported, by a handler that returns
  xstream* raw = out.get();
  try {
    open_stream(*out.release(), xstream_write, true);
  } catch (...) {
    // Closing the previous stream failed before this one was taken over.
    if (stream_ != raw) delete raw;
    throw;
  }
}

void xstruct_format::open_stream(xstream& s, xstream_mode m, bool own) {
  // A binary flag set while nothing was open for writing waits for this
  // stream: the close below belongs to another stream or to none.
  const bool pending_binary = binary_ && (stream_ == nullptr || reading_);
  xformat::open_stream(s, m, own);
  if (pending_binary) binary_ = true;  // also across a read, up to the writer
  source_ = xstr();
  uncaught_at_open_ = std::uncaught_exceptions();
  if (reading_) {
    load_contents();
    stream_->close();
  }
}

void xstruct_format::save_to_stream(xstream& s) {
  clear_on_close_ = false;
  open_stream(s, xstream_write, false);
}

void xstruct_format::close() {
  // The reset below runs whether or not the save succeeds.
  struct reset {
    xstruct_format& f;
    ~reset() {
      f.xformat::close();
      f.stack_.clear();
      f.cursor_ = cursor{&f.root_, 0, 0};
      f.missing_ = 0;
      f.binary_ = false;
      if (f.clear_on_close_) {
        f.labels_.clear();
        f.next_label_ = std::vector<int>();
        f.last_label_ = -1;
        f.root_.clear();
        f.value_texts_.clear();  // after the values that view it
      }
      f.clear_on_close_ = true;
      f.reading_ = false;
    }
  } guard{*this};
  // An owned stream is closed here, where its failure can be reported: a
  // replacing file stream takes the old file's place only now. A refused
  // save leaves it to be discarded by the reset.
  if (stream_ && !reading_ && save_contents() && owns_stream_) stream_->close();
}

void xstruct_format::discard() {
  // The reading direction is what close() does not save; close() resets it.
  reading_ = true;
  close();
}

void xstruct_format::start_reading() {
  reading_ = true;
  stack_.clear();
  missing_ = 0;
  cursor_ = cursor{&root_, 0, 0};
}

bool xstruct_format::begin_section(const xstr& name) {
  const xstr n = name.trim();
  if (reading_) {
    // The label is taken (and so entered in the table) even inside a
    // missing section.
    const int code = n.empty() ? ~cursor_.anonymous_sections : code_by_label(n);
    if (missing_ == 0) {
      if (xstruct_section* child = cursor_.section->find_child(code)) {
        if (code < 0) ++cursor_.anonymous_sections;
        stack_.push_back(cursor_);
        cursor_ = cursor{child, 0, 0};
        return true;
      }
    }
    ++missing_;
    return false;
  }
  const int code = n.empty() ? ~cursor_.anonymous_sections++ : code_by_label(n);
  stack_.push_back(cursor_);
  cursor_ = cursor{&cursor_.section->find_or_add_child(code), 0, 0};
  return true;
}

void xstruct_format::end_section() {
  if (missing_ > 0) {
    --missing_;
    return;
  }
  if (stack_.empty()) throw xexception(xexception::out_of_range);
  cursor_ = stack_.back();
  stack_.pop_back();
}

bool xstruct_format::get_keys_left() {
  if (!reading_) return true;
  if (missing_ > 0) return false;
  return cursor_.section->find_value_index(~cursor_.anonymous_values) >= 0;
}

void xstruct_format::identifier(const xstr& id) {
  if (!reading_) {
    identifier_ = id;
  } else if (id != identifier_) {
    xerror(xerror_category::bad_data, msg::eInvalidFormat.text + "\n" + stream_description());
  }
}

void xstruct_format::add_search_path(const xstr& path) { search_paths_.push_back(path); }

void xstruct_format::pack() {
  // Depth first without recursion: a section's empty children are removed
  // once all of them have been packed themselves.
  struct frame {
    xstruct_section* section;
    int next;
  };
  std::vector<frame> frames{{&root_, 0}};
  while (!frames.empty()) {
    frame& top = frames.back();
    if (top.next < top.section->child_count()) {
      xstruct_section* child = &top.section->child(top.next++);
      frames.push_back({child, 0});
    } else {
      top.section->remove_empty_children();
      frames.pop_back();
    }
  }
  stack_.clear();
  missing_ = 0;
  cursor_ = cursor{&root_, 0, 0};
}

int xstruct_format::label_code(std::string_view label) {
  if (!label.empty() && label[0] == '#') {
    const std::string number(label.substr(1));
    int n = 0;
    if (std::sscanf(number.c_str(), "%i", &n) == 1 && n >= 0) return ~n;
  }
  // next_label_ may lag behind the labels (when growing it failed): that
  // only costs the guesses of the labels it lacks.
  const auto known = [&](int code) { return code >= 0 && static_cast<std::size_t>(code) < next_label_.size(); };
  if (known(last_label_)) {
    const int guess = next_label_[static_cast<std::size_t>(last_label_)];
    if (guess >= 0 && labels_[guess] == label) return last_label_ = guess;
  }
  const int code = labels_.find_or_add(label);
  if (static_cast<std::size_t>(code) >= next_label_.size()) next_label_.resize(static_cast<std::size_t>(code) + 1, -1);
  if (known(last_label_)) next_label_[static_cast<std::size_t>(last_label_)] = code;
  return last_label_ = code;
}

xstr xstruct_format::label_by_code(int code) const {
  if (code >= 0) {
    if (code >= labels_.size()) throw xexception(xexception::out_of_range);
    return xstr(labels_[code]);
  }
  xstr n;
  n.from_integer(~static_cast<long long>(code));
  return "#" + n;
}

std::string_view xstruct_format::anonymous_name(int code, char (&number)[16]) {
  const int n = std::snprintf(number, sizeof number, "#%d", ~code);
  return std::string_view(number, static_cast<std::size_t>(n));
}

int xstruct_format::key_code(const xstr& key, bool advance) {
  if (key.empty()) return advance ? ~cursor_.anonymous_values++ : ~cursor_.anonymous_values;
  return code_by_label(key);
}

namespace {

// The stored value as the property's type; conversion failures are thrown
// as xvalue_conversion_error.
template <class T>
T converted(const xstruct_value& v) {
  if constexpr (std::is_same_v<T, xstr>)
    return v.text();
  else if constexpr (std::is_same_v<T, std::int64_t>)
    return v.as_int64();
  else
    return static_cast<T>(v.as_double());
}

// A new value of the storage kind S.
template <class S, class T>
xstruct_value stored(int code, const T& value) {
  if constexpr (std::is_same_v<S, xstr>)
    return xstruct_value(code, value);
  else if constexpr (std::is_same_v<S, std::int64_t>)
    return xstruct_value::int64(code, value);
  else
    return xstruct_value::real64(code, static_cast<double>(value));
}

}  // namespace

template <class T, class S>
  requires xstruct_prop_types<T, S>
T xstruct_format::prop(const xstr& key, const T& value, const T& def, bool always) {
  const xstr k = key.trim();
  if (reading_) {
    const int code = key_code(k, false);
    if (missing_ == 0) {
      if (const xstruct_value* v = cursor_.section->find_value(code)) {
        if (k.empty()) ++cursor_.anonymous_values;
        try {
          return converted<T>(*v);
        } catch (const xvalue_conversion_error& e) {
          conversion_failed(*e.entry, code);
        }
      }
    }
    return def;
  }
  if (!k.empty() && !always && value == def) return value;
  const int code = key_code(k, true);
  if (cursor_.section->find_value_index(code) >= 0) xerror(located(msg::eDupKey.text + quoted(label_by_code(code))));
  cursor_.section->add_value(stored<S>(code, value));
  return value;
}

template XUM_API xstr xstruct_format::prop<xstr, xstr>(const xstr&, const xstr&, const xstr&, bool);
template XUM_API std::int64_t xstruct_format::prop<std::int64_t, std::int64_t>(const xstr&, const std::int64_t&,
                                                                              const std::int64_t&, bool);
template XUM_API float xstruct_format::prop<float, double>(const xstr&, const float&, const float&, bool);
template XUM_API double xstruct_format::prop<double, double>(const xstr&, const double&, const double&, bool);

void xstruct_format::str(const xstr& key, xstr& value, const xstr& def, bool always) {
  value = prop<xstr, xstr>(key, value, def, always);
}

xstr xstruct_format::str_prop(const xstr& key, const xstr& value, const xstr& def, bool always) {
  return prop<xstr, xstr>(key, value, def, always);
}

std::int64_t xstruct_format::prop_int64(const xstr& key, std::int64_t value, std::int64_t def, bool always) {
  return prop<std::int64_t, std::int64_t>(key, value, def, always);
}

void xstruct_format::real(const xstr& key, float& value, double def, bool always) {
  value = real_prop(key, value, def, always);
}

float xstruct_format::real_prop(const xstr& key, float value, double def, bool always) {
  return prop<float, double>(key, value, static_cast<float>(def), always);
}

void xstruct_format::real(const xstr& key, double& value, double def, bool always) {
  value = prop<double, double>(key, value, def, always);
}

double xstruct_format::real_prop(const xstr& key, double value, double def, bool always) {
  return prop<double, double>(key, value, def, always);
}

void xstruct_format::file_name(const xstr& key, xstr& path) {
  if (!reading_) {
    xstr relative = xextract_relative_path(base_dir_, path);
    str(key, relative, "", false);
    return;
  }
  xstr name;
  str(key, name, "", false);
  if (name.empty()) {
    path = xstr();
    return;
  }
  path = xexpand_relative_path(base_dir_, name);
  // The disk alone decides, as a plain existence check would.
  if (xfile_exists(path, false)) return;
  for (int i = 0; i < search_paths_.size(); ++i) {
    const xstr candidate = xexpand_relative_path(search_paths_[i], name);
    if (xfile_exists(candidate, false)) {
      path = candidate;
      return;
    }
  }
}

void xstruct_format::assign_str(const xstr& key, const xstr& value) {
  const xstr k = key.trim();
  if (k.empty()) throw xexception(xexception::out_of_range);
  const int code = code_by_label(k);
  xstruct_value v(code, value);
  const int i = cursor_.section->find_value_index(code);
  if (i >= 0)
    cursor_.section->replace_value(i, std::move(v));
  else
    cursor_.section->add_value(std::move(v));
}

const xstruct_value* xstruct_format::value_by_key(const xstr& key) {
  if (missing_ > 0) return nullptr;
  const xstr k = key.trim();
  if (k.empty()) return nullptr;
  return cursor_.section->find_value(code_by_label(k));
}

xstr xstruct_format::located(const xstr& text) const {
  const xstr where = stream_description();
  return where.empty() ? text : text + "\n" + where;
}

void xstruct_format::load_contents() {
  const std::int64_t start = stream_->get_position();
  // The first bytes decide the form. A signature is read without going
  // back, so that a stream that cannot seek still loads; a file without one
  // is refused unless its first bytes look like the text form, before the
  // rest is read.
  char head[sniff_bytes];
  const auto fill = [&](int from, int to) {
    while (from < to) {
      const int got = stream_->read(head + from, to - from);
      if (got <= 0) break;
      from += got;
    }
    return from;
  };
  int n = fill(0, 3);
  const std::string_view signature(head, static_cast<std::size_t>(n));
  if (signature != binary_signature && signature != text_signature) {
    n = fill(n, sniff_bytes);
    if (!looks_like_text(std::string_view(head, static_cast<std::size_t>(n)))) {
      xerror(xerror_category::bad_data, located(msg::eInvalidFormat.text), {.offset = start});
      return;
    }
    stream_->seek(start, xseek_begin);
  }
  if (signature == binary_signature) {
    loaded_form_ = xstruct_form::binary;
    read_binary();
    return;
  }
  loaded_form_ = xstruct_form::text;
  // The tokenizer reads in mode 1 whatever the format's mode: in any other
  // mode its line breaks would write to the stream instead of reading.
  xtext_format text(*stream_, xstream_read, false);
  if (signature == text_signature) text.read_line(identifier_, true);
  parse_text(text);
}

void xstruct_format::parse_text(xtext_format& text) {
  // Open sections, innermost last: the text's nesting without recursion.
  std::vector<xstruct_section*> open{cursor_.section};
  // Sections of a file tend to repeat their shape: the first value of a
  // section makes room for as many as the section closed last held (at
  // most values_reserved), which saves the steps of growing one by one.
  constexpr int values_reserved = 32;
  int last_count = 0;
  std::string_view line;
  for (int line_no = text.line_number(); text.read_line_view(line, true); line_no = text.line_number()) {
    line = trimmed(line);
    if (line.empty()) continue;
    xstruct_section& section = *open.back();
    if (line[0] == '>') {
      last_count = section.value_count();
      open.pop_back();
      if (open.empty()) return;  // a closer at the top level ends the file
      continue;
    }
    if (line[0] == '<') {
      // The open sections are the root and max_depth more; a deeper one
      // ends the load, as the tree must stay a small multiple of the file.
      if (open.size() > max_depth) {
        xerror(xerror_category::bad_data,
               msg::eInvalidFormat.text + "\nSections are nested more than " + xstr(std::to_string(max_depth)) +
                   " deep.\n" + stream_description() + "\n" + msg::Line.text + xstr(std::to_string(line_no)),
               {.line = line_no});
        return;
      }
      // The name is everything after "<", as it stands.
      open.push_back(&section.find_or_add_child(label_code(line.substr(1))));
      continue;
    }
    const std::size_t eq = line.find('=');
    if (eq == std::string_view::npos) {
      xerror(xerror_category::bad_data, msg::eKeyWithoutValue.text + quoted(line) + "\n" + stream_description(),
             {.line = line_no});
      continue;
    }
    if (eq == 0) {
      xerror(xerror_category::bad_data,
             msg::eValueWithoutKey.text + quoted(line.substr(1)) + "\n" + stream_description(), {.line = line_no});
      continue;
    }
    const std::string_view key = line.substr(0, eq);
    std::string_view value = line.substr(eq + 1);
    const int code = label_code(key);
    if (section.find_value_index(code) >= 0)
      xerror(xerror_category::bad_data, located(msg::eDupKey.text + quoted(key)), {.line = line_no});
    while (!value.empty() && value.back() == ' ') value.remove_suffix(1);
    // "@" after a blank at the end protects the trailing blanks written.
    if (value.size() >= 2 && value.ends_with(" @")) value.remove_suffix(1);
    if (section.value_count() == 0 && last_count > 1) section.reserve_values(std::min(last_count, values_reserved));
    // The text goes to the tree's arena: one copy, no allocation of its own.
    if (value.empty())
      section.add_value(xstruct_value(code, xstr()));
    else
      section.add_value(code, xstruct_value::arena_ref{value_texts_.add(value)});
  }
}

bool xstruct_format::save_contents() { return binary_ ? write_binary() : write_text(); }

bool xstruct_format::write_text() {
  if (const auto m = misfit(xstruct_form::text, false)) {
    refuse(*m);
    return false;
  }
  text_writer out(*stream_);
  out.raw(text_signature);
  out.text(identifier_.view());
  out.end_line();

  std::string indent;
  char number[16];
  const auto label = [&](int code) { return entry_name(code, number); };
  const auto write_values = [&](const xstruct_section& s) {
    for (int i = 0; i < s.value_count(); ++i) {
      const xstruct_value& v = s.value(i);
      const xstr converted = v.kind() == xvalue_kind::text ? xstr() : v.text();
      const std::string_view text = v.kind() == xvalue_kind::text ? v.text_view() : converted.view();
      out.raw(indent);
      out.text(label(v.code()));
      out.raw("=");
      out.text(text);
      if (text.ends_with(' ')) out.raw("@");
      out.end_line();
    }
  };
  // The root has no section lines of its own.
  write_values(root_);
  root_.walk(
      [&](const xstruct_section& child, xstruct_section::path) {
        out.raw(indent);
        out.raw("<");
        out.text(label(child.code()));
        out.end_line();
        indent += "  ";
        write_values(child);
        return true;
      },
      [&](const xstruct_section& done, xstruct_section::path) {
        indent.resize(indent.size() - 2);
        out.raw(indent);
        out.raw("> (");
        out.text(label(done.code()));
        out.raw(")");
        out.end_line();
      });
  out.flush();
  return true;
}

}  // namespace xum

namespace xum {

namespace {

// Path parts longer than this are cut in messages.
constexpr std::size_t path_part_max = 64;

xstr path_part(std::string_view name) {
  if (name.empty()) return "\"\"";
  const bool cut = name.size() > path_part_max;
  if (cut) name = name.substr(0, path_part_max);
  // Line breaks and other control bytes are shown as escapes, so that the
  // message keeps its lines.
  std::string shown;
  for (const char c : name) {
    if (c == '\n') {
      shown += "\\n";
    } else if (c == '\r') {
      shown += "\\r";
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      shown += escape;
    } else {
      shown += c;
    }
  }
  if (cut) shown += "...";
  return xstr(std::string_view(shown));
}

// Whether a label would read back as an anonymous entry ("#" and a number
// that "%i" takes), whatever it was stored as.
bool looks_anonymous(std::string_view label) {
  if (label.empty() || label[0] != '#') return false;
  const std::string number(label.substr(1));
  int n = 0;
  return std::sscanf(number.c_str(), "%i", &n) == 1 && n >= 0;
}

bool has_break(std::string_view s) { return s.find_first_of("\r\n") != std::string_view::npos; }

xstr number_text(long long n) {
  xstr t;
  t.from_integer(n);
  return t;
}

}  // namespace

xstr xstruct_misfit::message() const { return path.empty() ? reason : "Key: " + path + "\n" + reason; }

std::optional<xstruct_misfit> xstruct_format::first_misfit(xstruct_form form) const { return misfit(form, true); }

void xstruct_format::refuse(const xstruct_misfit& m) const {
  xerror(located(msg::eInvalidFormat.text + "\n" + m.message()));
}

std::optional<xstruct_misfit> xstruct_format::misfit(xstruct_form form, bool all) const {
  const bool binary = form == xstruct_form::binary;
  const xstr max_bytes = number_text(binary_max_bytes);
  if (binary && identifier_.length() > binary_max_bytes)
    return xstruct_misfit{xstr(), "The identifier is longer than " + max_bytes + " bytes (" +
                                      number_text(identifier_.length()) + ")."};
  if (!binary && all && has_break(identifier_.view()))
    return xstruct_misfit{xstr(), "The identifier holds a line break."};

  // A save checks only what stops its writer: the depth and, in the binary
  // form, over-long names, which it looks for only when a label is one.
  bool names_matter = all;
  for (int i = 0; !names_matter && binary && i < labels_.size(); ++i)
    names_matter = labels_[i].size() > static_cast<std::size_t>(binary_max_bytes);

  // The path of the section being checked (empty for the root).
  xstruct_section::path at;
  char number[16];
  const auto label = [&](int code) { return entry_name(code, number); };
  // The path of the section being checked, and of `code` in it when given.
  const auto path = [&](const int* code) {
    xstr p;
    for (std::size_t i = 0; i < at.size(); ++i) {
      if (i > 0) p += "/";
      p += path_part(label(at[i]->code()));
    }
    if (code != nullptr) {
      if (!p.empty()) p += "/";
      p += path_part(label(*code));
    }
    return p;
  };
  // Why the form cannot keep the name of an entry (a key when `key`, else
  // a section), or "".
  const auto name_problem = [&](int code, bool key) -> xstr {
    if (binary) {
      if (code >= 0 && labels_[code].size() > static_cast<std::size_t>(binary_max_bytes))
        return "The name is longer than " + max_bytes + " bytes (" +
               number_text(static_cast<long long>(labels_[code].size())) + ").";
      if (!all) return xstr();
      if (code > binary_max_count)
        return "The name is label " + number_text(code + 1LL) + " of the file; the binary form reaches the first " +
               number_text(binary_max_count) + ".";
      if (code < 0 && ~code > binary_max_count)
        return "Anonymous entries of the binary form end at #" + number_text(binary_max_count) + ".";
      return xstr();
    }
    if (!all || code < 0) return xstr();
    const std::string_view name = labels_[code];
    if (has_break(name)) return "The name holds a line break.";
    if (looks_anonymous(name)) return "The name reads back as an anonymous entry.";
    if (!key) return !name.empty() && is_blank(name.back()) ? xstr("The section name ends in a blank.") : xstr();
    if (name.empty()) return "The key is empty.";
    if (is_blank(name[0])) return "The key starts with a blank.";
    if (name[0] == '<' || name[0] == '>') return xstr("The key starts with '") + xstr(name.substr(0, 1)) + "'.";
    if (name.find('=') != std::string_view::npos) return "The key holds '='.";
    return xstr();
  };
  const auto value_problem = [&](const xstruct_value& v) -> xstr {
    if (!all || v.kind() != xvalue_kind::text) return xstr();
    const std::string_view t = v.text_view();
    if (binary) {
      if (t.size() > static_cast<std::size_t>(binary_max_bytes))
        return "A text of " + number_text(static_cast<long long>(t.size())) +
               " bytes; the binary form reads back texts of at most " + max_bytes + " bytes.";
      return xstr();
    }
    if (has_break(t)) return "The value holds a line break.";
    if (t.ends_with('\t')) return "The value ends in a tab.";
    if (t.size() >= 2 && t.ends_with(" @")) return "The value ends in a blank and '@'.";
    return xstr();
  };
  // Checks a section: its counts and its values.
  const auto section_problem = [&](const xstruct_section& s) -> std::optional<xstruct_misfit> {
    if (binary && all) {
      for (const auto& [n, what] : {std::pair{s.value_count(), "values"}, {s.child_count(), "sections"}})
        if (n > binary_max_count)
          return xstruct_misfit{path(nullptr), "The section holds " + number_text(n) + " " + what +
                                                   "; the binary form keeps " + number_text(binary_max_count) + "."};
    }
    for (int i = 0; names_matter && i < s.value_count(); ++i) {
      const int code = s.value(i).code();
      xstr why = name_problem(code, true);
      if (why.empty()) why = value_problem(s.value(i));
      if (!why.empty()) return xstruct_misfit{path(&code), why};
    }
    return std::nullopt;
  };
  std::optional<xstruct_misfit> found = section_problem(root_);
  if (found) return found;
  root_.walk([&](const xstruct_section& child, xstruct_section::path p) {
    at = p;
    if (static_cast<int>(p.size()) > max_depth)
      found = xstruct_misfit{path(nullptr), "Sections are nested more than " + number_text(max_depth) + " deep."};
    else if (!names_matter)
      return true;
    else if (xstr why = name_problem(child.code(), false); !why.empty())
      found = xstruct_misfit{path(nullptr), why};
    else
      found = section_problem(child);
    return !found;
  });
  return found;
}

}  // namespace xum
