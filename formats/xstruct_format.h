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
// Limits: none on depth, line length or count (the loader does not recurse).
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
//
// Errors go through xerror with catalogue texts: "Key without value ! Key: "
// and "Value without key ! Value: " (each with the line and the stream
// description), "Key duplication ! Key: " with the key, and "Invalid data
// format !" with the stream description.
//
// Thread safety: a format belongs to one thread at a time.
#ifndef XUM_FORMATS_XSTRUCT_FORMAT_H
#define XUM_FORMATS_XSTRUCT_FORMAT_H

#include <string_view>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "core/xvector.h"
#include "formats/xformat.h"
#include "formats/xstruct_tree.h"
#include "localization/xhash_table.h"

namespace xum {

class xbin_format;
class xtext_format;

class XUM_API xstruct_format : public xformat {
 public:
  // Signatures of the two forms: the first three bytes of a file.
  static constexpr std::string_view text_signature = "TSF";
  static constexpr std::string_view binary_signature = "BSF";

  // An empty, closed format.
  xstruct_format();
  // Closes (a format open for writing saves; errors are swallowed here, so
  // call close() to see them) and frees the tree.
  ~xstruct_format() override;

  // Remembers the directory of `name` as the base directory, then opens it
  // (see xformat::open_file); a reading mode loads the whole file.
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
  // save_to_stream, discards the contents.
  void close() override;
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

  // The whole-file reader and writer used by open_stream and close.
  void load_contents();
  void save_contents();

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
  // Instances: T/S = xstr/xstr, std::int64_t/std::int64_t, float/double and
  // double/double.
  template <class T, class S>
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
  // text form. Every close clears it: set it after opening for writing.
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
  // Sections asked for while reading that do not exist, still open.
  int missing_depth() const noexcept { return missing_; }

 private:
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
  void write_text();
  // The binary form after its signature, and the whole binary form.
  void read_binary();
  void write_binary();

  xvector<xstr> labels_;
  xhash_table_impl label_index_;
  // Files and describe-once code name their labels in a repeating order, so
  // each label remembers the label asked for after it last time; a match is
  // confirmed by comparing the texts and saves hashing and probing.
  std::vector<int> next_label_;
  int last_label_ = -1;
  xstruct_section root_{0};
  cursor cursor_{&root_, 0, 0};
  std::vector<cursor> stack_;
  int missing_ = 0;
  xstr identifier_;
  xstr base_dir_;
  xvector<xstr> search_paths_;
  bool clear_on_close_ = false;
  bool binary_ = false;
};

}  // namespace xum

#endif  // XUM_FORMATS_XSTRUCT_FORMAT_H
