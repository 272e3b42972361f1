// xreplace_file_stream: writes a file that replaces another only once it is
// complete. The bytes go to a new file beside the target; `close` writes it
// through to the disk and renames it over the target in one step. A full
// disk, an I/O error, an exception in the writer or a crash therefore leave
// the old file as it was, and no temporary file behind.
//
//   xum::xreplace_file_stream out("settings.tsf");   // refused like a direct write
//   out.write_buffer(text.data(), text.size());      // a short write reports
//   out.close();                                     // the old file is replaced here
//
// Opening refuses what a direct write would refuse, with the same texts as
// xfile_stream ("Permission denied !", "Path not found !", … + "File: " and
// the target's name): an existing target that may not be written, or a
// folder in which no file can be made. A write that falls short marks the
// stream failed, and `close` then reports "Data writing error !" instead of
// replacing anything, even when the caller ignored the short count. Failures
// of close name the file and add the system's text ("No space left on
// device"). All reports go through xerror; with a non-throwing error handler
// the stream ends closed and the target unchanged.
//
// A target that is a symbolic link stays one: the file the link points to
// is replaced, unless the stream is told to replace the link itself (as an
// archive extraction does). The replaced file keeps its permission bits; a
// new file gets the usual ones (0666 less the umask). Hard links to the old
// file keep seeing the old contents.
//
// Thread safety: a stream belongs to one thread.
#ifndef XUM_STREAMS_XREPLACE_FILE_STREAM_H
#define XUM_STREAMS_XREPLACE_FILE_STREAM_H

#include <cstdint>
#include <string>

#include "core/xexport.h"
#include "core/xstr.h"
#include "streams/xstream.h"

namespace xum {

enum class xerror_category : int;  // core/xexceptions.h

// What a symbolic link at the target's place means.
enum class xlink_policy { follow, replace };

// When the new file is written through to the disk before the rename.
// `always` makes a replacement survive a crash of the machine; `when_replacing`
// skips the sync for a target that did not exist, so a crash can lose only
// the new file itself, never older data (what an extraction of many new
// files wants: a sync per file costs far more than the writing).
enum class xsync_policy { always, when_replacing };

class XUM_API xreplace_file_stream final : public xstream {
 public:
  xreplace_file_stream() = default;
  // open(target, links).
  explicit xreplace_file_stream(const xstr& target, xlink_policy links = xlink_policy::follow,
                                xsync_policy sync = xsync_policy::always);
  // Discards the new file unless close() has replaced the target.
  ~xreplace_file_stream() override;

  // Discards what this stream held, then starts a new file for `target`.
  void open(const xstr& target, xlink_policy links = xlink_policy::follow,
            xsync_policy sync = xsync_policy::always);
  // Completes the file and renames it over the target; does nothing when
  // nothing is open. On any failure the new file is removed, the target is
  // untouched, and the failure is reported through xerror.
  void close() override;
  // Removes the new file and leaves the target alone; nothing to report.
  void discard() noexcept;

  int read(void* buffer, int count) override;
  int write(const void* buffer, int count) override;
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  void set_size(std::int64_t size) override;
  // "File: " and the target's name; after a failed write also a line
  // feed and the system's text, so that write_buffer's report carries it.
  xstr description() const override;

  bool is_open() const noexcept { return fd_ >= 0; }
  // The name of the new file while it is open (empty otherwise).
  const xstr& temp_name() const noexcept { return temp_; }
  const xstr& target_name() const noexcept { return target_; }

 private:
  xstr target_;    // as the caller named it, for messages
  xstr path_;      // the file that is replaced (the link's target when followed)
  xstr temp_;
  int fd_ = -1;
  bool sync_ = true;     // write the new file through to the disk at close
  bool failed_ = false;  // a write fell short: never replace
  std::string failure_;  // the system's text of that write

  void report(xerror_category category, const xstr& cause, const std::string& detail);
};

}  // namespace xum

#endif  // XUM_STREAMS_XREPLACE_FILE_STREAM_H
