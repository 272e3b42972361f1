// xstruct_format: the structured property file, a tree of named sections
// holding keyed values, kept in memory as a whole. One sequence of calls
// serves both directions: opened for reading, the calls fetch values (or
// keep defaults); opened for writing, the same calls store them, and the
// closing `close` writes the file.
//
//   void settings(xum::xstruct_format& f, Layout& l) {   // describe once
//     f.identifier("MainLayout");
//     f.str("Title", l.title, "untitled", false);
//     if (f.begin_section("Panel")) f.str("Left", l.left, "0", false);
//     f.end_section();                  // also after a missing section
//   }
//   xum::xstruct_format f;
//   f.open_file("layout.tsf", xum::xfile_read);    settings(f, l);  f.close();
//   f.open_file("layout.tsf", xum::xfile_create);  settings(f, l);  f.close();
//
// Text form (CR LF line breaks; the reader also takes LF, CR and LF CR):
//   file     := ["TSF" identifier break] line*
//   line     := blank* (value | open | close | "") blank* break
//   value    := key "=" text        key: up to the first "=", kept as is
//   open     := "<" name            the section's body follows
//   close    := ">" anything        ends the innermost open section
// Labels "#n" name the n-th anonymous value or section of their section.
// The writer puts values first, then sections, indenting two spaces per
// level and closing with "> (name)". A value ending in a space is written
// with "@" appended, and the reader drops an "@" that follows a space at the
// end of a value, so trailing blanks survive. Sections opened twice merge;
// sections left open at the end close silently; a line ">" at the top level
// ends the file. Example:
//   TSFMainLayout
//   Width=100
//   <Panel
//     Left=10
//     <#0
//       #0=first
//     > (#0)
//   > (Panel)
// A text without the signature is parsed from its first byte when its
// first sniff_bytes (4 KiB) look like this form: no control bytes but tab,
// CR, LF, VT, FF and SUB, and a first non-blank line that opens or closes a
// section or holds "=". Anything else is "Invalid data format !" at once,
// without reading further.
// What reads back: a key must not be empty, start with a blank, "<" or ">",
// or hold "=", CR or LF; a section name must not end in a blank or hold CR
// or LF; a value must not hold CR or LF (the writer turns LF into a line
// break), end in a tab (trimmed away) or end in a blank and "@" (the "@" is
// taken for the writer's mark); a name read as "#n" is always anonymous.
// first_misfit(xstruct_form::text) finds what breaks these rules.
//
// Binary form (set_binary(true) before the closing save), little-endian:
//   "BSF", identifier (1-byte length + bytes), label count (32 bits) and
//   each label (1-byte length + bytes), then the root's body:
//   body     := nvalues:16 (code:16 kind payload)* nchildren:16 (code:16 body)*
//   kind     := 0 | 1 (the integers 0 and 1) | 2, 3, 5, 9 (integer of 1, 2,
//               4, 8 bytes; +16 when negative, the magnitude follows) |
//               4 float | 8 double | 10 x87 extended | 6 empty text |
//               7 text (1-byte length + bytes)
// Counts and codes are stored as their low 16 bits and read sign-extended.
// A text of 256 bytes or more is written as a 32-bit length and the bytes
// with no kind byte, while the reader takes such a text after kind 11; so a
// long text does not read back, which is how files of this form have always
// been. Unknown kinds make no value and consume nothing. A code that names
// no label is reported as "Invalid data format !" and ends the load.
// Example, identifier "Id", Width=100 (an integer) and an empty section S:
//   42 53 46  02 49 64  02 00 00 00  05 57 69 64 74 68  01 53
//   01 00  00 00 02 64  01 00  01 00 00 00 00 00
// Limits of the binary form, which first_misfit(xstruct_form::binary)
// checks for a whole tree: an identifier, a name and a text of at most
// 255 bytes; at most 32,767 values and 32,767 sections in a section; names
// among the first 32,767 labels, anonymous entries up to #32767. A save
// refuses an identifier or a name in use that is too long ("Invalid data
// format !" with the key), and writes an unused over-long label as empty;
// the other limits are written as the form stands (low 16 bits, the long
// text above) and do not read back. The reader keeps only the labels that
// codes can reach (the first 32,768).
//
// Limits of both forms: sections nest at most max_depth (128) deep; a
// deeper file is "Invalid data format !" with the place and stops loading,
// and a deeper tree is refused by the save before anything is written.
// Within that, a load holds at most a small multiple of the file's size:
// every entry costs the file at least two bytes and the tree a bounded
// amount, about 30 times the file for nothing but short distinct names,
// about 3 times for ordinary settings.
//
// Saving with open_file writes the file beside its old version and renames
// it over the old one at close (xreplace_file_stream): a failed save leaves
// the old file as it was. A format destroyed while an exception unwinds the
// stack (one thrown after it was opened) saves nothing: what was described
// before the failure may be half a record, so the old file stays.
//
// Errors go through xerror with catalogue texts: "Key without value ! Key: "
// and "Value without key ! Value: " (each with the line and the stream
// description), "Key duplication ! Key: " with the key and the stream
// description, and "Invalid data format !" with the stream description.
// Lines and keys longer than 120 bytes are quoted by their start and "...".
// Their categories (core/xexceptions.h): what a load finds wrong in a file
// (a bad signature or identifier, a bad line, a key given twice, sections
// nested too deep, a bad code of the binary form) and a stored text that a
// typed property cannot convert are bad data (XEBadData), with the line of
// the text form where known (for a conversion: when the file was loaded in
// text form with open_file and is still there to look the key up in) or
// the offset of the binary form; a key written twice and a save refused by
// first_misfit are general failures (XException).
//
// Thread safety: a format belongs to one thread at a time.
#ifndef XUM_FORMATS_XSTRUCT_FORMAT_H
#define XUM_FORMATS_XSTRUCT_FORMAT_H

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/xexport.h"
#include "core/xlabel_table.h"
#include "core/xstr.h"
#include "core/xvector.h"
#include "formats/xformat.h"
#include "formats/xstruct_tree.h"

namespace xum {

class xbin_format;
class xtext_format;

// The two forms of the file.
enum class xstruct_form { text, binary };

class xstruct_format;

// The value and storage types of xstruct_format::prop: texts as text,
// 64-bit integers as integers, float and double as doubles. Other pairs do
// not compile (bool and enums have calls of their own).
template <class T, class S>
concept xstruct_prop_types = (std::same_as<T, xstr> && std::same_as<S, xstr>) ||
                             (std::same_as<T, std::int64_t> && std::same_as<S, std::int64_t>) ||
                             (std::same_as<T, float> && std::same_as<S, double>) ||
                             (std::same_as<T, double> && std::same_as<S, double>);

// A section entered for the life of the object: the constructor calls
// begin_section, the destructor end_section, also when an exception passes.
// It converts to the result of begin_section.
//
//   if (auto panel = f.section("Panel")) f.str("Left", l.left, "0", false);
//
// A scope belongs to the thread of its format and must not outlive it. If
// the format was closed (or its sections left otherwise) before the scope
// ends, the scope leaves nothing.
class XUM_API xstruct_scope {
 public:
  xstruct_scope(xstruct_format& f, const xstr& name);
  ~xstruct_scope();
  xstruct_scope(const xstruct_scope&) = delete;
  xstruct_scope& operator=(const xstruct_scope&) = delete;

  // Whether the section exists (always true when writing).
  explicit operator bool() const noexcept { return found_; }

 private:
  xstruct_format& format_;
  // The format's depth of open sections (found and missing) inside this
  // scope: the destructor leaves only when the format is still there.
  std::size_t depth_;
  bool found_;
};

// An entry that a form cannot write so that it reads back the same.
struct XUM_API xstruct_misfit {
  // Section names and the key joined by "/" as `xum struct get` takes them
  // ("Panel/Columns/#2"); an empty name shows as "", control bytes as
  // \n, \r or \xNN, and names longer than 64 bytes are cut to their start
  // and "...". Empty for the identifier.
  xstr path;
  // What does not fit, as a sentence.
  xstr reason;
  // "Key: " + path + LF + reason, or the reason alone without a path.
  xstr message() const;
};

class XUM_API xstruct_format : public xformat {
 public:
  // Signatures of the two forms: the first three bytes of a file.
  static constexpr std::string_view text_signature = "TSF";
  static constexpr std::string_view binary_signature = "BSF";
  // How deep sections nest in either form.
  static constexpr int max_depth = 128;
  // Bytes of a file without a signature that are looked at before the rest
  // is read.
  static constexpr int sniff_bytes = 4096;
  // The binary form's largest count of values or sections in a section,
  // label code and anonymous number: what 16 signed bits hold.
  static constexpr int binary_max_count = 32767;
  // The binary form's longest identifier, name and (readable) text.
  static constexpr int binary_max_bytes = 255;

  // An empty, closed format.
  xstruct_format();
  // Closes (a format open for writing saves; errors are swallowed here, so
  // call close() to see them) and frees the tree.
  ~xstruct_format() override;

  // Remembers the directory of `name` as the base directory, then opens it
  // (see xformat::open_file); a reading mode loads the whole file. The
  // modes xfile_create and xfile_write (of an existing file) write a new
  // file beside `name`, which the closing save renames over it; a file
  // that may not be written is refused here, as a direct write would be.
  void open_file(const xstr& name, xfile_mode fm);
  // Closes (saving when writing), then uses `s`. In a reading mode (m != 2)
  // loads the whole contents and closes `s` at once.
  void open_stream(xstream& s, xstream_mode m, bool own) override;
  using xformat::open_stream;  // and with a std::unique_ptr handed over
  // Keeps the contents built so far and opens `s` (not owned) for writing:
  // they are written to `s` at the next close.
  void save_to_stream(xstream& s);
  // Saves when open for writing, releases the stream, puts the cursor on the
  // root and, except for the first close after construction or
  // save_to_stream, discards the contents. A file opened with open_file
  // replaces the old one only once the save succeeded; the stream's and the
  // save's failures are reported through xerror.
  void close() override;
  // Closes without saving: an owned stream is deleted (a file opened for
  // writing with open_file stays as it was), a borrowed one is forgotten.
  // The contents go or stay as with close(). For a writer that gives up.
  void discard();
  // Reads the contents in memory from the root, without a stream.
  void start_reading();

  // Enters the section `name` (trimmed; "" is the next anonymous section).
  // Reading: false when it does not exist (end_section is still due, and
  // reads inside return defaults). Writing: creates it when needed.
  bool begin_section(const xstr& name);
  // Leaves the section entered by the matching begin_section. Throws
  // xexception 0 when no section is open.
  void end_section();
  // Writing: true. Reading: whether another anonymous value follows.
  bool get_keys_left();

  // Writing: stores `id`. Reading: reports "Invalid data format !" when it
  // differs from the identifier read.
  void identifier(const xstr& id);
  // The identifier stored or read.
  const xstr& stored_identifier() const noexcept { return identifier_; }
  void add_search_path(const xstr& path);
  const xvector<xstr>& search_paths() const noexcept { return search_paths_; }
  const xstr& base_directory() const noexcept { return base_dir_; }

  // Deletes every section that holds nothing once its own empty sections
  // are gone. Puts the cursor back on the root.
  void pack();

  // The whole-file reader and writer used by open_stream and close. The
  // writer returns false when it refused the tree (reported through xerror
  // and nothing written): see first_misfit.
  void load_contents();
  bool save_contents();

  // The first entry, in the order the writer meets them (the identifier,
  // then each section's values and then its sections, depth first), that
  // `form` cannot write so that it reads back the same; nothing when the
  // whole contents fit. See the format notes above for the rules.
  std::optional<xstruct_misfit> first_misfit(xstruct_form form) const;
  // The form the last load read (text when nothing was loaded).
  xstruct_form loaded_form() const noexcept { return loaded_form_; }

  // The code of a label: "#n" gives the complement of n, anything else its
  // label-table index (a new label is added). A "#" label whose number does
  // not parse or is negative is an ordinary label.
  int code_by_label(const xstr& label) { return label_code(label.view()); }
  // "#n" for anonymous codes, else the label table's entry.
  xstr label_by_code(int code) const;
  int label_count() const noexcept { return labels_.size(); }

  // The property calls. Reading: the stored value converted to the call's
  // type, or `def` when the key is absent (or inside a missing section); a
  // stored text that is no number reports "Integer number expected ! Key: "
  // or "Number expected ! Key: " + key and gives `def`. Writing: stores
  // `value` as a value of the storage kind S and returns it; a named key
  // whose value equals `def` is skipped unless `always` is set. An empty key
  // is the next anonymous value, which is always stored. Writing a key
  // twice in a section reports "Key duplication ! Key: " + key.
  // T/S = xstr/xstr, std::int64_t/std::int64_t, float/double and
  // double/double (xstruct_prop_types); any other pair is a compile error.
  template <class T, class S>
    requires xstruct_prop_types<T, S>
  T prop(const xstr& key, const T& value, const T& def, bool always);
  void str(const xstr& key, xstr& value, const xstr& def, bool always);
  xstr str_prop(const xstr& key, const xstr& value, const xstr& def, bool always);
  std::int64_t prop_int64(const xstr& key, std::int64_t value, std::int64_t def, bool always);
  // Reals are stored as doubles whatever the caller's width.
  void real(const xstr& key, float& value, double def, bool always);
  float real_prop(const xstr& key, float value, double def, bool always);
  void real(const xstr& key, double& value, double def, bool always);
  double real_prop(const xstr& key, double value, double def, bool always);
  // A file name kept relative to the base directory. Writing stores `path`
  // relative to it (an empty default). Reading expands the stored name
  // against the base directory; when no file exists there, against each
  // search path in turn, taking the first that exists; when none does, the
  // expansion against the base directory. An absent or empty name gives "".
  void file_name(const xstr& key, xstr& path);

  // Whether the closing save writes the binary form ("BSF") instead of the
  // text form. Set while a stream is open for writing, it applies to that
  // stream's save. Set while the format is closed or reading, it waits for
  // the next stream opened for writing (open_file, open_stream,
  // save_to_stream), so it may come before or after that open. Every
  // close() clears it once it has decided a save (or when nothing was
  // open for writing).
  void set_binary(bool binary) noexcept { binary_ = binary; }
  bool binary() const noexcept { return binary_; }

  // Editing: stores `value` as text under `key` (trimmed, not empty) in the
  // current section, replacing a value stored there, in either direction.
  void assign_str(const xstr& key, const xstr& value);
  // The value stored under `key` in the current section, or null (also
  // inside a missing section); owned by the format.
  const xstruct_value* value_by_key(const xstr& key);

  // The tree, for walking it.
  const xstruct_section& root() const noexcept { return root_; }

  // Lookups that change nothing, for a const format. The code of a label
  // already in the table ("#n" gives the anonymous code, as code_by_label);
  // nothing for a label the format has not met. The section or the value
  // at `path`, names joined by "/" from the root ("Panel/Left", "List/#0";
  // "" is the root section; each name trimmed, so a name holding "/"
  // cannot be reached); null when absent. The value under `key` (trimmed)
  // in the current section, null inside a missing section or for "".
  // What they return is owned by the format and valid until the tree
  // changes. They search each section's entries in order: linear in the
  // entries of the sections on the path.
  std::optional<int> find_code(std::string_view label) const;
  const xstruct_section* find_section(std::string_view path) const;
  const xstruct_value* find_value(std::string_view path) const;
  const xstruct_value* value_by_key(const xstr& key) const;

  // begin_section(name) for the life of the returned scope (see
  // xstruct_scope): the section is left when the scope goes.
  [[nodiscard]] xstruct_scope section(const xstr& name) { return xstruct_scope(*this, name); }

  // bool properties, stored as the integers 0 and 1 (text form: Key=1).
  // Reading takes any integer (non-zero is true) and "true" or "false" in
  // any case; another text reports "Integer number expected ! Key: " as
  // prop_int64 does and gives `def`.
  bool prop_bool(const xstr& key, bool value, bool def, bool always);
  void boolean(const xstr& key, bool& value, bool def, bool always);

  // Enum properties, stored as the integer of their underlying value
  // (Mode=2), as prop_int64 stores it.
  template <class E>
    requires std::is_enum_v<E>
  E prop_enum(const xstr& key, E value, E def, bool always);
  // The same stored as text, the name `names` gives the value (Mode=safe);
  // a value without a name is stored as its integer. Reading takes the
  // names (compared exactly) and integers; another text reports "Integer
  // number expected ! Key: " and gives `def`.
  //   mode = f.prop_enum("Mode", mode, Mode::fast, false, {{Mode::fast, "fast"}, {Mode::safe, "safe"}});
  template <class E>
    requires std::is_enum_v<E>
  E prop_enum(const xstr& key, E value, E def, bool always,
              std::initializer_list<std::pair<E, std::string_view>> names);
  // Sections asked for while reading that do not exist, still open.
  int missing_depth() const noexcept { return missing_; }

 private:
  friend class xstruct_scope;

  // A name of prop_enum, its value as a 64-bit integer.
  struct enum_name {
    std::int64_t value;
    std::string_view name;
  };
  std::int64_t prop_named(const xstr& key, std::int64_t value, std::int64_t def, bool always,
                          const std::vector<enum_name>& names);
  // The reading half of a property call: the stored value under `key`
  // (trimmed) or null, advancing the anonymous counter for "" when found;
  // `code` is the key's code.
  const xstruct_value* read_slot(const xstr& key, int& code);
  // Reports a stored value of `code` in the current section that does not
  // convert: the catalogue text `entry` (with the key's label), the stream
  // description and the line the value came from, as bad data.
  void conversion_failed(const xloc_str& entry, int code) const;
  // The line of the file loaded with open_file in text form at which the
  // value of `code` in the current section stands; -1 when unknown.
  std::int64_t value_line(int code) const;

  struct cursor {
    xstruct_section* section;
    int anonymous_sections;
    int anonymous_values;
  };

  // code_by_label over any bytes.
  int label_code(std::string_view label);
  // Clears the clear-on-close flag and closes: an empty, closed format.
  void init();
  // The code of a property key: the next anonymous value for "" (advancing
  // the counter when `advance`), else code_by_label.
  int key_code(const xstr& key, bool advance);
  void parse_text(xtext_format& text);
  bool write_text();
  // The binary form after its signature, and the whole binary form.
  void read_binary();
  bool write_binary();
  // first_misfit; without `all`, only what the writer of `form` refuses.
  std::optional<xstruct_misfit> misfit(xstruct_form form, bool all) const;
  // Reports a misfit that the save refuses.
  void refuse(const xstruct_misfit& m) const;
  // `text` and the stream description on a line of its own, if any.
  xstr located(const xstr& text) const;
  // label_by_code without a copy, for writers and checks that name many
  // entries: a view of the label, or of "#n" put in `number`.
  std::string_view entry_name(int code, char (&number)[16]) const {
    return code >= 0 ? labels_[code] : anonymous_name(code, number);
  }
  static std::string_view anonymous_name(int code, char (&number)[16]);

  // The label table and its index: a label's code is its place.
  xlabel_table labels_;
  // Files and describe-once code name their labels in a repeating order, so
  // each label remembers the label asked for after it last time; a match is
  // confirmed by comparing the texts and saves hashing and probing.
  std::vector<int> next_label_;
  int last_label_ = -1;
  // The texts of loaded values (see xstruct_value::arena_ref); declared
  // before the tree, so that it outlives every value.
  xtext_arena value_texts_;
  xstruct_section root_{0};
  cursor cursor_{&root_, 0, 0};
  std::vector<cursor> stack_;
  int missing_ = 0;
  xstr identifier_;
  xstr base_dir_;
  xvector<xstr> search_paths_;
  bool clear_on_close_ = false;
  bool binary_ = false;
  xstruct_form loaded_form_ = xstruct_form::text;
  // The file the contents were loaded from with open_file, for the lines of
  // conversion errors; empty otherwise.
  xstr source_;
  // std::uncaught_exceptions() when the stream was opened: more at
  // destruction means the stack is unwinding and nothing is saved.
  int uncaught_at_open_ = 0;
};

// Implementation details.

inline xstruct_scope::xstruct_scope(xstruct_format& f, const xstr& name)
    : format_(f), found_(f.begin_section(name)) {
  depth_ = f.stack_.size() + static_cast<std::size_t>(f.missing_);
}

template <class E>
  requires std::is_enum_v<E>
E xstruct_format::prop_enum(const xstr& key, E value, E def, bool always) {
  using U = std::underlying_type_t<E>;
  const auto v = prop_int64(key, static_cast<std::int64_t>(static_cast<U>(value)),
                            static_cast<std::int64_t>(static_cast<U>(def)), always);
  return static_cast<E>(static_cast<U>(v));
}

template <class E>
  requires std::is_enum_v<E>
E xstruct_format::prop_enum(const xstr& key, E value, E def, bool always,
                            std::initializer_list<std::pair<E, std::string_view>> names) {
  using U = std::underlying_type_t<E>;
  std::vector<enum_name> table;
  table.reserve(names.size());
  for (const auto& [e, name] : names) table.push_back({static_cast<std::int64_t>(static_cast<U>(e)), name});
  const auto v = prop_named(key, static_cast<std::int64_t>(static_cast<U>(value)),
                            static_cast<std::int64_t>(static_cast<U>(def)), always, table);
  return static_cast<E>(static_cast<U>(v));
}

}  // namespace xum

#endif  // XUM_FORMATS_XSTRUCT_FORMAT_H
