// File and path helpers: splitting, joining and relativising paths, existence
// tests, modification stamps, wildcard masks, directory enumeration and
// self-deleting temporary files.
//
//   xum::xstr rel = xum::xextract_relative_path("c:\\data\\proj\\", "c:\\data\\img\\a.bmp");
//   // rel == "..\\img\\a.bmp"; xexpand_relative_path("c:\\data\\proj\\", rel) gives it back
//
// Thread safety: the functions share no state, except that `xexe_name` hands
// every thread the same string (read it, do not copy it across threads).
// Enumerator and temporary-file objects belong to one thread at a time.
#ifndef XUM_CORE_XFILE_UTILS_H
#define XUM_CORE_XFILE_UTILS_H

#include <memory>

#include "core/xexport.h"
#include "core/xstr.h"

// Path conventions of every function below: both '\' and '/' separate
// directories, and a colon ends a drive part ("c:"), so "c:\data\a.txt",
// "c:/data/a.txt" and "/home/u/a.txt" all split alike. The text is never
// normalised (no "." or ".." folding, separators kept as given).
//
// A function that adds a separator reuses one already in the path it works
// on, so Windows-style input stays Windows-style and POSIX input stays POSIX:
// xextract_file_path adds back the last separator of `name` (the one that
// xextract_file_dir removed), xexpand_relative_path keeps the separators of
// `base` as it climbs, and xextract_relative_path writes its ".." steps with
// the separator `base` ends with. A path with no separator at all (only a
// drive, as in "c:name") gets '\', the style drive-letter paths are written in.

namespace xum {

// Whether `name` exists (a directory counts). With `ask_vfs` and a virtual
// file system installed (xvirtual_fs_interface), the archive is asked first
// and a yes answer is final; otherwise the disk decides.
XUM_API bool xfile_exists(const xstr& name, bool ask_vfs);

// `name` with its extension replaced by `ext` (which carries its own dot):
// everything from the last dot on is cut when that dot lies after the last
// separator; otherwise `ext` is appended to the whole name.
XUM_API xstr xchange_file_ext(const xstr& name, const xstr& ext);

// The extension of `name`, dot included: from its last dot to the end when
// that dot lies after the last separator (a colon does not count); else "".
XUM_API xstr xextract_file_ext(const xstr& name);

// The part of `name` after its last separator or drive colon (all of it when
// there is neither).
XUM_API xstr xextract_file_name(const xstr& name);

// The part of `name` up to its last separator or drive colon, without one
// trailing separator: "c:\a\b.txt" -> "c:\a", "c:\b.txt" -> "c:", "b.txt" ->
// "" and, as for a rooted path without a drive, "/b.txt" -> "".
XUM_API xstr xextract_file_dir(const xstr& name);

// xextract_file_dir(name) followed by a separator, or "" when that is empty:
// "c:\b.txt" -> "c:\", "/home/u/a.txt" -> "/home/u/".
XUM_API xstr xextract_file_path(const xstr& name);

// `s` without its last character when that is a separator; otherwise `s`
// itself (sharing its text).
XUM_API xstr xexclude_trailing_backslash(const xstr& s);

// `path` relative to the directory `base` (which ends with a separator),
// comparing without regard to case but keeping the case of `path`: each level
// that `base` must climb adds "..\" (or "../", after base's separator). `path`
// comes back unchanged when `base` is empty or lacks its trailing separator,
// and when the climb reaches a directory shorter than 4 characters (a drive
// root such as "c:\") that is no prefix of `path`, so a path on another drive
// stays absolute.
XUM_API xstr xextract_relative_path(const xstr& base, const xstr& path);

// The inverse of xextract_relative_path: `base` followed by `path`, after one
// level of `base` is dropped for each leading "..\" of `path` (any leading dot
// counts as such a three-character step). A drive-qualified `path` (second
// character ':') or an empty `base` gives `path` unchanged.
XUM_API xstr xexpand_relative_path(const xstr& base, const xstr& path);

// A new string holding the running executable's full name, cut at 255 bytes;
// empty when the system does not tell.
XUM_API xstr xexecutable_name();

// The executable's name as xexecutable_name gives it, read once into a
// process-wide string that lives until the process ends.
XUM_API const xstr& xexe_name();

// The local modification time of the file `name` packed as a FAT date and
// time: bits 0-4 seconds / 2, 5-10 minutes, 11-15 hours, 16-20 day, 21-24
// month, 25-31 years since 1980 (times outside 1980-2107 are clamped to that
// range). 0 when the file cannot be opened for reading or is a directory.
XUM_API int xfile_age(const xstr& name);

// Whether `name` matches the wildcard `mask`, both lower-cased first: '?'
// stands for exactly one byte, '*' for any run of bytes (also none), every
// other character for itself.
XUM_API bool xmatch_mask(const xstr& name, const xstr& mask);

// The entries of a directory whose names match a mask, directories included:
//
//   xum::xfiles_enumerator e("/data/in/*.txt");
//   while (e.search()) use(e.get_file_name());
//
// The directory is the mask's text before its last part ("." when there is
// none); the last part is matched with xmatch_mask. A listing starts with
// "." and ".." (when the mask matches them), which the first search() skips;
// the other entries follow in the file system's order.
class XUM_API xfiles_enumerator {
 public:
  // Opens the directory and moves to the first matching entry at once.
  explicit xfiles_enumerator(const xstr& mask);
  ~xfiles_enumerator();
  xfiles_enumerator(const xfiles_enumerator&) = delete;
  xfiles_enumerator& operator=(const xfiles_enumerator&) = delete;

  // Moves to the next entry; false when there is none. The first call only
  // checks the entry found by the constructor, after skipping entries named
  // "." and ".."; later calls step once and do not skip them.
  bool search();

  // The current entry's name (without directory); after search() returned
  // false it still holds the last entry found.
  const xstr& get_file_name() const noexcept { return name_; }

 private:
  // Steps to the next entry matching the mask; false at the end.
  bool step();

  struct listing;                  // the open directory listing
  std::unique_ptr<listing> dir_;   // null when nothing matched
  xstr pattern_;                   // lower-cased last part of the mask
  xstr name_;                      // current entry
  bool first_ = true;              // no search() yet
};

// A name for a file in the temporary directory; the file of that name is
// deleted when the object dies.
//
//   xum::xtemp_file t(".bmp");
//   save_bitmap(t.get_file_name());   // deleted when t goes out of scope
//
// create(ext) makes a new empty file "<temp dir>/xtfXXXXXX.tmp" and stores
// that name with its extension replaced by `ext`. Only for ".tmp" is the
// stored name the created file; for any other extension the stored name does
// not exist yet, and the created ".tmp" file is left for the caller (its name
// is xchange_file_ext(get_file_name(), ".tmp")).
class XUM_API xtemp_file {
 public:
  // create(".tmp").
  xtemp_file();
  // create(ext).
  explicit xtemp_file(const xstr& ext);
  // Deletes the file of the stored name if it exists (the virtual file
  // system is asked too).
  ~xtemp_file();
  xtemp_file(const xtemp_file&) = delete;
  xtemp_file& operator=(const xtemp_file&) = delete;

  // Creates a new temporary file and stores its name with extension `ext`
  // (a previous name is forgotten, its file kept). The name is empty when
  // no file could be created.
  void create(const xstr& ext);

  // The stored name.
  const xstr& get_file_name() const noexcept { return name_; }

 private:
  xstr name_;
};

}  // namespace xum

#endif  // XUM_CORE_XFILE_UTILS_H
