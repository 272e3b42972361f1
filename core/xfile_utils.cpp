#include "core/xfile_utils.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "core/xvirtual_fs.h"
#include "platform/xos.h"

namespace xum {

namespace {

// The separator used when a path to be extended has none (only a drive).
constexpr char default_separator = '\\';

bool is_separator(char c) noexcept { return c == '\\' || c == '/'; }

// Position of the last '\' or '/'; -1 when there is none.
int last_separator(const xstr& s) noexcept {
  return std::max(s.char_last_pos('\\'), s.char_last_pos('/'));
}

// Where the last part of a path starts: after its last separator or colon.
int name_start(const xstr& s) noexcept {
  return std::max(last_separator(s), s.char_last_pos(':')) + 1;
}

// Where the extension of a path starts; its length when it has none.
int ext_start(const xstr& s) noexcept {
  const int dot = s.char_last_pos('.');
  return dot > last_separator(s) ? dot : s.length();
}

xstr tail(const xstr& s, int from) { return s.sub_str(from, s.length() - from); }

xstr drop_last(const xstr& s) { return s.empty() ? s : s.sub_str(0, s.length() - 1); }

// xextract_file_path with the separator to use when `name` has none.
xstr path_of(const xstr& name, char fallback) {
  const xstr dir = xextract_file_dir(name);
  if (dir.empty()) return dir;
  const int sep = last_separator(name);
  return dir + (sep < 0 ? fallback : name[sep]);
}

// The wildcard rule of xmatch_mask over texts already lower-cased. Iterative
// with one backtrack point: on a mismatch only the most recent '*' needs to
// swallow one more character, since any match the earlier stars could give is
// reachable from there. Linear memory, O(name * mask) time at worst, and the
// same answers as trying every split recursively.
bool match_lowered(std::string_view name, std::string_view mask) noexcept {
  std::size_t n = 0, m = 0;
  std::size_t star = std::string_view::npos;  // position of the last '*' seen
  std::size_t resume = 0;                     // name position that '*' swallows up to
  while (n < name.size()) {
    if (m < mask.size() && mask[m] == '*') {
      star = m++;
      resume = n;
    } else if (m < mask.size() && (mask[m] == '?' || mask[m] == name[n])) {
      ++n;
      ++m;
    } else if (star != std::string_view::npos) {
      m = star + 1;
      n = ++resume;
    } else {
      return false;
    }
  }
  while (m < mask.size() && mask[m] == '*') ++m;
  return m == mask.size();
}

// FAT date and time fields, clamped to what the layout can hold.
std::uint32_t pack_fat_time(const platform::local_time& t) {
  if (t.year < 1980) return (1u << 21) | (1u << 16);  // 1980-01-01 00:00:00
  if (t.year > 2107)
    return (127u << 25) | (12u << 21) | (31u << 16) | (23u << 11) | (59u << 5) | 29u;
  const auto field = [](int v) { return static_cast<std::uint32_t>(v); };
  return (field(t.year - 1980) << 25) | (field(t.month) << 21) | (field(t.day) << 16) |
         (field(t.hour) << 11) | (field(t.minute) << 5) | field(std::min(t.second, 59) / 2);
}

}  // namespace

bool xfile_exists(const xstr& name, bool ask_vfs) {
  if (ask_vfs) {
    xvirtual_fs_interface* vfs = xvirtual_fs_interface::get();
    if (vfs != nullptr && vfs->is_file_exists(name)) return true;
  }
  return platform::os().file_exists(name.get_text());
}

xstr xchange_file_ext(const xstr& name, const xstr& ext) {
  return name.sub_str(0, ext_start(name)) + ext;
}

xstr xextract_file_ext(const xstr& name) { return tail(name, ext_start(name)); }

xstr xextract_file_name(const xstr& name) { return tail(name, name_start(name)); }

xstr xextract_file_dir(const xstr& name) {
  const xstr dir = name.sub_str(0, name_start(name));
  return dir.length() > 0 && is_separator(dir[dir.length() - 1]) ? drop_last(dir) : dir;
}

xstr xextract_file_path(const xstr& name) { return path_of(name, default_separator); }

xstr xexclude_trailing_backslash(const xstr& s) {
  return s.length() > 0 && is_separator(s[s.length() - 1]) ? drop_last(s) : s;
}

xstr xextract_relative_path(const xstr& base, const xstr& path) {
  if (base.empty()) return path;
  xstr b = base.lower_case();
  const xstr p = path.lower_case();
  const char sep = b[b.length() - 1];
  if (!is_separator(sep)) return path;
  xstr prefix;
  while (!(p.length() > b.length() && p.view().starts_with(b.view()))) {
    if (b.length() < 4) return path;
    xstr parent = path_of(drop_last(b), sep);
    // A drive with a longer name ("data:\") is its own parent: no common
    // directory can be found by climbing further.
    if (parent.length() >= b.length()) return path;
    b = parent;
    prefix += "..";
    prefix += sep;
  }
  // Cut `path` after as many separators as the matched base holds. Counting
  // separators rather than bytes keeps the cut right when lower-casing changed
  // the byte length of a character (case mapping never adds or removes a
  // separator).
  int separators = static_cast<int>(std::count_if(b.view().begin(), b.view().end(), is_separator));
  int cut = 0;
  while (separators > 0 && cut < path.length())
    if (is_separator(path[cut++])) --separators;
  return prefix + tail(path, cut);
}

xstr xexpand_relative_path(const xstr& base, const xstr& path) {
  if (base.empty() || (path.length() > 1 && path[1] == ':')) return path;
  const int base_sep = last_separator(base);
  const char fallback = base_sep < 0 ? default_separator : base[base_sep];
  xstr b = base;
  xstr p = path;
  while (p.length() > 0 && p[0] == '.') {
    b = b.empty() ? b : path_of(drop_last(b), fallback);
    p = tail(p, std::min(3, p.length()));
  }
  return b + p;
}

xstr xexecutable_name() {
  constexpr std::size_t max_length = 255;  // a 256-byte buffer with its terminator
  const std::string path = platform::os().executable_path();
  xstr name;
  {
    xstr_base::buffer buf = name.get(static_cast<int>(max_length));
    char* text = buf;  // zero-filled, so the copy stays terminated
    std::memcpy(text, path.data(), std::min(path.size(), max_length));
  }  // the buffer hands its text to `name` here
  return name;
}

const xstr& xexe_name() {
  // Never destroyed, so that code running during static destruction can still
  // use it.
  static const xstr* const name = new xstr(xexecutable_name());
  return *name;
}

int xfile_age(const xstr& name) {
  platform::local_time t;
  if (!platform::os().file_modification_time(name.get_text(), t)) return 0;
  return static_cast<int>(pack_fat_time(t));
}

bool xmatch_mask(const xstr& name, const xstr& mask) {
  return match_lowered(name.lower_case().view(), mask.lower_case().view());
}

// ---------------------------------------------------------------------------
// xfiles_enumerator

struct xfiles_enumerator::listing {
  std::unique_ptr<platform::os_directory> dir;
};

xfiles_enumerator::xfiles_enumerator(const xstr& mask)
    : pattern_(xextract_file_name(mask).lower_case()) {
  // The text before the last part, so that the root in "/*.txt" stays "/".
  const xstr dir = mask.sub_str(0, name_start(mask));
  auto opened = platform::os().open_directory(dir.empty() ? "." : dir.get_text());
  if (opened != nullptr) dir_.reset(new listing{std::move(opened)});
  if (!step()) dir_.reset();
}

xfiles_enumerator::~xfiles_enumerator() = default;

bool xfiles_enumerator::step() {
  if (dir_ == nullptr) return false;
  while (const char* entry = dir_->dir->next()) {
    const xstr name(entry);
    if (match_lowered(name.lower_case().view(), pattern_.view())) {
      name_ = name;
      return true;
    }
  }
  return false;
}

bool xfiles_enumerator::search() {
  if (dir_ == nullptr) return false;
  if (!first_) return step();
  first_ = false;
  while (name_ == "." || name_ == "..")
    if (!step()) return false;
  return true;
}

// ---------------------------------------------------------------------------
// xtemp_file

xtemp_file::xtemp_file() { create(".tmp"); }

xtemp_file::xtemp_file(const xstr& ext) { create(ext); }

xtemp_file::~xtemp_file() {
  if (name_.empty()) return;
  try {
    if (xfile_exists(name_, true)) platform::os().remove_file(name_.get_text());
  } catch (...) {
    // An installed virtual file system may throw; a destructor must not.
  }
}

void xtemp_file::create(const xstr& ext) {
  const std::string created =
      platform::os().create_unique_file(platform::os().temp_directory(), "xtf", ".tmp");
  name_ = created.empty() ? xstr() : xchange_file_ext(xstr(created.c_str()), ext);
}

}  // namespace xum
