// Streams over file descriptors: `xhandle_stream` over a descriptor that it
// may own, and `xfile_stream` over a named file, which falls back to the
// archive installed as `xvirtual_fs_interface` when a file opened for reading
// is missing on disk.
//
//   xum::xfile_stream f("settings.tsf", xum::xfile_read);
//   char head[3];
//   f.read_buffer(head, 3);
//
// A failed open reports through `xerror` the catalogue text for the cause
// ("File not found !", "Path not found !", "Too many open files !",
// "Permission denied !", "Invalid access code !"), a line feed, "File: " and
// the name. With a non-throwing error handler the stream stays closed and
// reads nothing.
//
// Thread safety: a stream belongs to one thread; the statistics counter is
// process-wide and unlocked.
#ifndef XUM_STREAMS_XFILE_STREAM_H
#define XUM_STREAMS_XFILE_STREAM_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"
#include "streams/xstream.h"

namespace xum {

// How a file is opened; the low two bits are the stream's access bits.
//   1 read an existing file; 2 write an existing file from its start without
//   truncating; 3 read and write an existing file; 6 create or truncate and
//   write; 10 append to an existing file. Any other value opens the existing
//   file without access rights.
enum xfile_mode : int {
  xfile_read = 1,
  xfile_write = 2,
  xfile_read_write = 3,
  xfile_create = 6,
  xfile_append = 10,
};

class XUM_API xhandle_stream : public xstream {
 public:
  xhandle_stream() = default;
  // Wraps an open descriptor with the given access bits; `owns` closes it
  // with the stream.
  xhandle_stream(int fd, int mode, bool owns) noexcept;
  ~xhandle_stream() override;

  // Replaces the descriptor (closing the previous one first).
  void attach(int fd, int mode, bool owns);

  xstr description() const override;
  // Throw xexception 4 without the read / write bit; 0 when the call fails.
  int read(void* buffer, int count) override;
  int write(const void* buffer, int count) override;
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  // Closes the descriptor if owned, and forgets it either way.
  void close() override;

  bool is_open() const noexcept { return fd_ >= 0; }

 protected:
  bool owns_ = false;
  int fd_ = -1;
};

class XUM_API xfile_stream final : public xhandle_stream {
 public:
  xfile_stream() = default;
  // open(name, mode); a failure reports through xerror.
  xfile_stream(const xstr& name, int mode);
  ~xfile_stream() override;

  // Closes the current file and opens `name`. A file opened for reading that
  // does not exist on disk is taken from the installed archive, if it has it.
  void open(const xstr& name, int mode);
  // Opens for reading a file that this process has already opened as a
  // regular file, as an archive reopens itself for every member: without a
  // second look at what the file is and without the archive fallback. If a
  // directory has taken the file's place since, reading fails instead.
  void open_known_file(const xstr& name);
  void close() override;
  int read(void* buffer, int count) override;
  int write(const void* buffer, int count) override;
  // The stream keeps its own descriptor's position, so asking for it
  // (seek 0 from the current position) makes no system call. On a regular
  // file no seek from the start or the current position does: reads and
  // writes name their position themselves.
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  // seek(size, begin), then cuts or extends the file there.
  void set_size(std::int64_t size) override;
  // "File: " and the file name.
  xstr description() const override;
  // Reports the last open failure of this stream through xerror.
  void error_handler();

  const xstr& file_name() const noexcept { return name_; }

  // Counting of bytes read by all file streams: switching it on resets the
  // counter; switching it off keeps the count readable.
  static void enable_statistics(bool on) noexcept;
  static std::uint64_t get_statistics() noexcept;

 private:
  xstr name_;
  xstream* substitute_ = nullptr;  // owned; set when served by the archive
  int last_error_ = 0;              // the category of the last failed open
  std::int64_t position_ = -1;     // of the descriptor; -1 when unknown
  bool positioned_ = false;        // a regular file: transfers at position_

  void opened(int fd, bool regular);
};

}  // namespace xum

#endif  // XUM_STREAMS_XFILE_STREAM_H
