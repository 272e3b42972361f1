// xvirtual_file_sys: many files packed into one scrambled archive file and
// read back by name as streams of their own.
//
//   xum::xvirtual_file_sys a;
//   a.create("data.vfs");
//   a.add_file("images/logo.bmp");       // stored as "logo.bmp"
//   a.close();                            // writes the table and trailer
//
//   a.open("data.vfs");                   // loads the table, closes the file
//   std::unique_ptr<xum::xstream> s(a.get_file_stream("LOGO.BMP"));
//   xum::xvirtual_fs_interface::set(&a);  // file streams fall back to it
//
// The file: "VFS", the format version (2) as 32 bits, then everything
// scrambled through the XOR stream: the application's header value, the
// members' bytes back to back, the member table (count, then name, offset
// and size of each) and the binary format's trailer pointing at the table.
// Lookups use the name without directory and ignore letter case; when names
// repeat, the first member wins. Each member stream opens the archive anew,
// so any number can be read at once.
//
// Thread safety: an archive object belongs to one thread; member streams
// are independent of it and of each other.
#ifndef XUM_FORMATS_XVIRTUAL_FILE_SYS_H
#define XUM_FORMATS_XVIRTUAL_FILE_SYS_H

#include <cstdint>
#include <memory>
#include <vector>

#include "core/xexport.h"
#include "core/xresources.h"
#include "core/xstr.h"
#include "core/xvirtual_fs.h"
#include "formats/xbin_format.h"
#include "formats/xmember_index.h"

namespace xum {

class XUM_API xvirtual_file_sys : public xvirtual_fs_interface {
 public:
  struct file_info {
    xstr name;        // as added, without directory
    xstr lower_name;  // for lookups; recomputed after reading
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };

  xvirtual_file_sys();
  ~xvirtual_file_sys() override;

  // Closes any open archive, then starts writing a new one at `path`
  // (created or truncated) and writes its header.
  void create(const xstr& path);
  // Appends the file at `file` as a member named by its file name. Only
  // while writing (else xexception 4); a missing file reports the file
  // stream's error.
  void add_file(const xstr& file);
  // As add_file, with the member's name and bytes from a stream (read from
  // its current position to its end).
  void add_stream(const xstr& name, xstream& data);
  // Writing: writes the table and the trailer. Then forgets every member.
  void close();
  // Closes, then loads the table of the archive at `path`; the file is not
  // kept open.
  void open(const xstr& path);

  bool is_file_exists(const xstr& name) override;
  // The first member whose extension is `ext` (ignoring case); its name as
  // added goes to `name`.
  bool file_by_ext(const xstr& ext, xstr& name) const;
  // A new stream over the member's bytes, owned by the caller; null when
  // there is no such member.
  xstream* get_file_stream(const xstr& name) override;
  // A new stream over member `index` of files() (repeated names included);
  // out of range throws xexception 0.
  xstream* get_member_stream(int index);

  // A new stream reading the archive from its start, owned by the caller:
  // the file at path(). Override to keep the archive elsewhere.
  virtual xstream* get_base_stream();

  int header_value() const noexcept { return header_value_; }
  // Application-defined; set it before `create`. Version 1 archives read
  // as 100.
  void set_header_value(int v) noexcept { header_value_ = v; }
  const xstr& path() const noexcept { return path_; }
  bool writing() const noexcept { return writing_; }
  const std::vector<std::unique_ptr<file_info>>& files() const noexcept { return files_; }
  // The index of the first member named `name` (ignoring case and
  // directory), or -1.
  int find(const xstr& name) const;

 protected:
  // Reads the header and the table from the open binary format, then closes it.
  void read();
  // The header and the table, each one code for both directions.
  void rw_header();
  void rw_table();

 private:
  void rw_entries(xbin_format& f);
  void add_member(std::unique_ptr<file_info> info);
  void rebuild_index();

  std::vector<std::unique_ptr<file_info>> files_;
  xmember_index index_;  // lower name -> first member
  xbin_format bin_;
  std::vector<char> block_;  // copy buffer of add_stream, kept between files
  std::int64_t archive_size_ = -1;  // length of the base stream at open; -1 unknown
  bool writing_ = false;
  xstr path_;
  int header_value_ = 0;
};

// An archive compiled into a binary as a resource (see xum_add_resources):
// open("") loads it, and member streams read it from memory.
class XUM_API xresource_file_sys : public xvirtual_file_sys {
 public:
  xresource_file_sys(xmodule module, int id, const char* type);
  xstream* get_base_stream() override;

 private:
  xmodule module_;
  int id_;
  const char* type_;
};

}  // namespace xum

#endif  // XUM_FORMATS_XVIRTUAL_FILE_SYS_H
