// xvirtual_file_sys: many files packed into one scrambled archive file and
// read back by name as streams of their own.
//
//   xum::xvirtual_file_sys a;
//   a.create("data.vfs");                 // written beside data.vfs ...
//   a.add_file("images/logo.bmp");       // stored as "logo.bmp"
//   a.close();                            // ... and renamed over it here
//
//   a.open("data.vfs");                   // loads the table, closes the file
//   std::unique_ptr<xum::xstream> s = a.open_file_stream("LOGO.BMP");
//   xum::xvirtual_fs_interface::set(&a);  // file streams fall back to it
//
// Format note. All integers are little-endian (core/xle.h through the binary
// format); "scrambled" bytes pass through xxor_stream (key 5c 13 a7 e2 09 bd
// 44 6f).
//
//   archive  := magic version header-value? data table trailer
//   magic    := "VFS"                      3 bytes, plain, no length
//   version  := int32                      plain; 2 is written, 1 and 2 read
//   header-value := int32                  only when version >= 2; scrambled
//                                          with key bytes 0..3
//   data     := member bytes, back to back in the order added, no gaps or
//               padding; starts at 11 (version 1: at 7)
//   table    := count:int32  entry{count}
//   entry    := name-length:uint32  name:bytes  offset:uint64  size:uint64
//   trailer  := position:uint32            when the table starts below 2^31
//             | position:uint64 zero:uint32   otherwise
//
// From byte 11 on (version 1: byte 7) every byte at absolute position p is
// scrambled with key[p mod 8], so a member is read by seeking to its offset.
// `offset` is absolute; a name is the file name without any folder, as
// added (any bytes; case kept). The format stores nothing else: no folders,
// permissions, times, links or checksums.
//
// Limits: at most 2^31 - 1 members; a name up to 2^31 - 1 bytes; members
// and archive up to 2^63 - 1 bytes; the table is read in one block and must
// be smaller than 2 GiB.
//
// Readers: a wrong magic is "Invalid data format !", a version above 2
// "Unsupported format version !", a trailer pointing outside the file or a
// count that the bytes after the table position cannot hold "Data reading
// error !". Bytes between the last entry and the trailer are ignored. Names
// repeat freely; lookups return the first member of a name. Entries are not
// checked against each other at open: member_in_bounds() tells whether an
// entry lies inside the data area, and a member stream is cut at the end of
// the archive, so a damaged table yields short members, never reads
// outside the file.
//
// Example: header value 7, one member "a.txt" holding "hi\n". Before
// scrambling, then as stored:
//
//   0000  56 46 53 02 00 00 00 07 00 00 00 68 69 0a 01 00   VFS, 2, 7, "hi\n", count 1
//   0010  00 00 05 00 00 00 61 2e 74 78 74 0b 00 00 00 00   5 "a.txt" offset 11
//   0020  00 00 00 03 00 00 00 00 00 00 00 0e 00 00 00      size 3, trailer 14
//
//   0000  56 46 53 02 00 00 00 5b 13 a7 e2 8a 60 b7 45 6f
//   0010  5c 13 a2 e2 09 bd 25 41 28 6b d3 e9 09 bd 44 6f
//   0020  5c 13 a7 e1 09 bd 44 6f 5c 13 a7 ec 09 bd 44
//
// Writing goes to a temporary file beside the target (xreplace_file_stream)
// that close() renames over it once the table is written: a failed write,
// a full disk or an exception before close() leaves an existing archive as
// it was. Each member stream opens the archive anew, so any number can be
// read at once.
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

class xbuffered_stream;
class xreplace_file_stream;

// The layout's fixed values (see the format note above).
namespace vfs_layout {
inline constexpr char magic[] = "VFS";               // stored without its terminator
inline constexpr std::int32_t version = 2;           // written; 1 and 2 are read
inline constexpr std::int64_t header_size = 11;      // magic, version, header value
inline constexpr std::int64_t header_size_v1 = 7;    // magic, version
inline constexpr std::int32_t v1_header_value = 100; // what version 1 archives read as
inline constexpr std::int64_t min_entry_size = 20;   // an empty name, offset, size
}  // namespace vfs_layout

class XUM_API xvirtual_file_sys : public xvirtual_fs_interface {
 public:
  struct file_info {
    xstr name;        // as added, without directory
    xstr lower_name;  // for lookups; recomputed after reading
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };

  xvirtual_file_sys();
  // Closes: an archive still being written is completed (a failure there
  // is swallowed and leaves the old file at path() as it was).
  ~xvirtual_file_sys() override;

  // Closes any open archive, then starts a new one for `path`: the bytes go
  // to a temporary file beside it, and close() renames that over `path`.
  // A `path` that may not be written is refused as a direct write would be
  // (xfile_stream's texts); a symbolic link at `path` stays a link.
  void create(const xstr& path);
  // Closes any open archive, then starts writing one to `target`, which the
  // caller keeps owning and which must outlive close(). The stream must
  // tell its position (seek(0, current)); no other seek is made, so a pipe
  // that counts its bytes serves. close() flushes but does not close it.
  void create(xstream& target);
  // Appends the file at `file` as a member named by its file name. Only
  // while writing (else xexception 4). A file that cannot be opened
  // reports the file stream's error; one that gives fewer or more bytes
  // than its size at open reports "Data reading error !" with its name:
  // either way no member is added (bytes already copied stay unreferenced)
  // and the archive stays open for more members.
  void add_file(const xstr& file);
  // As add_file, with the member's name and bytes from a stream (read from
  // its current position to its end).
  void add_stream(const xstr& name, xstream& data);
  // Writing: writes the table and the trailer and puts the archive in
  // place (renames it over the target). Then forgets every member. A
  // failure is reported through xerror after the new archive is discarded.
  void close();
  // Writing: throws the new archive away; the file at path() stays as it
  // was. Then forgets every member. Never throws.
  void discard() noexcept;
  // Closes, then loads the table of the archive at `path`; the file is not
  // kept open.
  void open(const xstr& path);

  bool is_file_exists(const xstr& name) override;
  // The first member whose extension is `ext` (ignoring case); its name as
  // added goes to `name`.
  bool file_by_ext(const xstr& ext, xstr& name) const;
  // A new stream over the member's bytes; null when there is no such
  // member. The caller owns the stream and deletes it; it reads the archive
  // on its own and may outlive this object.
  xstream* get_file_stream(const xstr& name) override;
  // The same, owned by the returned pointer.
  std::unique_ptr<xstream> open_file_stream(const xstr& name);
  // A new stream over member `index` of files() (repeated names included),
  // owned by the caller as get_file_stream's; out of range throws
  // xexception 0.
  xstream* get_member_stream(int index);
  // The same, owned by the returned pointer.
  std::unique_ptr<xstream> open_member_stream(int index);
  // Whether member `index` of an opened archive lies wholly inside the data
  // area, between the header and the table. A damaged table can claim
  // members anywhere; their streams are cut at the end of the file. Always
  // true while writing. Out of range throws xexception 0.
  bool member_in_bounds(int index) const;
  // The data area of the archive last opened: its first byte (11, or 7 for
  // version 1) and the table's position; both 0 before an open.
  std::int64_t data_begin() const noexcept { return data_begin_; }
  std::int64_t data_end() const noexcept { return data_end_; }

  // A new stream reading the archive from its start, owned by the caller:
  // the file at path(). Override to keep the archive elsewhere (the
  // override returns a new stream that the caller deletes).
  virtual xstream* get_base_stream();
  // get_base_stream(), owned by the returned pointer.
  std::unique_ptr<xstream> open_base_stream();

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
  void start_writing(xstream& target);
  std::uint64_t copy_in(xstream& data);
  void rw_entries(xbin_format& f);
  void add_member(std::unique_ptr<file_info> info);
  void rebuild_index();
  void forget() noexcept;
  // After a failed write: discards the archive, reporting the system's
  // reason when the file gave one.
  void fail();

  std::vector<std::unique_ptr<file_info>> files_;
  xmember_index index_;  // lower name -> first member
  xbin_format bin_;
  // While writing: the temporary file that close() renames over path_
  // (null when writing to a caller's stream), a gate in front of it that
  // discard() shuts so that no pending byte reaches the target, and the
  // block buffer under the format, which close() flushes with its errors
  // reported.
  std::unique_ptr<xreplace_file_stream> out_;
  std::unique_ptr<xstream> gate_;
  std::unique_ptr<xbuffered_stream> buffered_;
  std::vector<char> block_;  // copy buffer of add_stream, kept between files
  std::int64_t archive_size_ = -1;  // length of the base stream at open; -1 unknown
  std::int64_t data_begin_ = 0, data_end_ = 0;
  bool writing_ = false;
  xstr path_;
  int header_value_ = 0;
};

// An archive compiled into a binary as a resource (see xum_add_resources):
// open("") loads it, and member streams read it from memory.
class XUM_API xresource_file_sys : public xvirtual_file_sys {
 public:
  xresource_file_sys(xmodule module, int id, const char* type);
  // A new stream over the resource, owned by the caller.
  xstream* get_base_stream() override;

 private:
  xmodule module_;
  int id_;
  const char* type_;
};

}  // namespace xum

#endif  // XUM_FORMATS_XVIRTUAL_FILE_SYS_H
