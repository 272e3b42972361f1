#include "streams/xfile_stream.h"

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xvirtual_fs.h"
#include "platform/xos.h"

namespace xum {

namespace {

bool do_statistics = false;
std::uint64_t total_bytes_loaded = 0;

[[noreturn]] void not_allowed() { throw xexception(xexception::not_supported); }

}  // namespace

// --- xhandle_stream ----------------------------------------------------------

xhandle_stream::xhandle_stream(int fd, int mode, bool owns) noexcept : owns_(owns), fd_(fd) {
  mode_ = mode;
}

xhandle_stream::~xhandle_stream() {
  if (owns_) platform::os().close(fd_);
}

void xhandle_stream::attach(int fd, int mode, bool owns) {
  close();
  fd_ = fd;
  owns_ = owns;
  mode_ = mode;
}

xstr xhandle_stream::description() const {
  xstr number;
  number.from_integer(fd_);
  return "Handle stream " + number;
}

int xhandle_stream::read(void* buffer, int count) {
  if (!(mode_ & xstream_read)) not_allowed();
  return fd_ < 0 ? 0 : platform::os().read(fd_, buffer, count);
}

int xhandle_stream::write(const void* buffer, int count) {
  if (!(mode_ & xstream_write)) not_allowed();
  return fd_ < 0 ? 0 : platform::os().write(fd_, buffer, count);
}

std::int64_t xhandle_stream::seek(std::int64_t offset, xseek_origin origin) {
  return platform::os().seek(fd_, offset, origin);
}

void xhandle_stream::close() {
  if (fd_ < 0) return;
  if (owns_) platform::os().close(fd_);
  fd_ = -1;
}

// --- xfile_stream ------------------------------------------------------------

xfile_stream::xfile_stream(const xstr& name, int mode) { open(name, mode); }

xfile_stream::~xfile_stream() {
  // The base destructor would only see the base's close; release the
  // substitute here as well.
  close();
}

void xfile_stream::open(const xstr& name, int mode) {
  close();
  name_ = name;
  mode_ = mode & 3;
  // A file missing on disk is asked of the installed archive, if any. The
  // existence test is cheaper than a failed open, and without an archive
  // the open alone tells.
  if (mode == xfile_read) {
    if (xvirtual_fs_interface* fs = xvirtual_fs_interface::get(); fs && !platform::os().file_exists(name.get_text())) {
      substitute_ = fs->get_file_stream(name);
      if (substitute_ != nullptr) {
        last_error_ = 0;
        return;
      }
    }
  }
  // The platform's file API takes no access-sharing modes here; exclusive
  // access of the write modes is the caller's convention on this system.
  bool regular = false;
  platform::os_error error;
  const int fd = platform::os().open_file(name.get_text(), mode, error, &regular);
  if (fd < 0) {
    last_error_ = static_cast<int>(error.code);
    error_handler();
    return;
  }
  opened(fd, regular);
  if (mode == xfile_append) seek(0, xseek_end);
}

void xfile_stream::open_known_file(const xstr& name) {
  close();
  name_ = name;
  mode_ = xstream_read;
  platform::os_error error;
  const int fd = platform::os().open_known_file(name.get_text(), error);
  if (fd < 0) {
    last_error_ = static_cast<int>(error.code);
    error_handler();
    return;
  }
  opened(fd, true);
}

void xfile_stream::opened(int fd, bool regular) {
  fd_ = fd;
  owns_ = true;
  position_ = 0;  // a file opens at its start
  positioned_ = regular;
}

void xfile_stream::close() {
  position_ = -1;
  positioned_ = false;
  xhandle_stream::close();
  delete substitute_;
  substitute_ = nullptr;
}

int xfile_stream::read(void* buffer, int count) {
  if (!(mode_ & xstream_read)) not_allowed();
  int n;
  if (substitute_ != nullptr)
    n = substitute_->read(buffer, count);
  else if (fd_ < 0)
    n = 0;
  else if (positioned_)
    position_ += (n = platform::os().read_at(fd_, buffer, count, position_));
  else if ((n = platform::os().read(fd_, buffer, count)) > 0 && position_ >= 0)
    position_ += n;
  if (do_statistics && n > 0) total_bytes_loaded += static_cast<std::uint64_t>(n);
  return n;
}

int xfile_stream::write(const void* buffer, int count) {
  if (positioned_) {
    if (!(mode_ & xstream_write)) not_allowed();
    const int n = platform::os().write_at(fd_, buffer, count, position_);
    position_ += n;
    return n;
  }
  const int n = xhandle_stream::write(buffer, count);
  if (n > 0 && position_ >= 0 && substitute_ == nullptr) position_ += n;
  return n;
}

std::int64_t xfile_stream::seek(std::int64_t offset, xseek_origin origin) {
  if (substitute_ != nullptr) return substitute_->seek(offset, origin);
  if (offset == 0 && origin == xseek_current && position_ >= 0) return position_;
  if (positioned_ && origin != xseek_end) {
    // What the system would answer, without asking it: the target, or -1
    // (and no move) for a target before the start or beyond 2^63.
    std::int64_t target;
    if (__builtin_add_overflow(origin == xseek_current ? position_ : 0, offset, &target) || target < 0)
      return -1;
    return position_ = target;
  }
  const std::int64_t result = platform::os().seek(fd_, offset, origin);
  // A failed seek moves nothing: a regular file keeps its position, any
  // other asks the system again next time.
  if (result >= 0)
    position_ = result;
  else if (!positioned_)
    position_ = -1;
  return result;
}

void xfile_stream::set_size(std::int64_t size) {
  seek(size, xseek_begin);
  if (fd_ >= 0) platform::os().truncate(fd_, size);
}

xstr xfile_stream::description() const { return msg::FileName.text + name_; }

void xfile_stream::error_handler() {
  // A missing file is told apart from a missing path only now: a stream
  // that an archive serves never pays for the extra look.
  auto code = static_cast<platform::os_errc>(last_error_);
  if (code == platform::os_errc::not_found) code = platform::os().which_missing(name_.get_text());
  xstr cause;
  // An invalid mode is the caller's mistake; causes without a text of their
  // own are failures of the system.
  xerror_category category = xerror_category::io;
  switch (code) {
    case platform::os_errc::file_not_found:
      cause = msg::eNOFILE.text;
      category = xerror_category::not_found;
      break;
    case platform::os_errc::path_not_found:
      cause = msg::eNOPATH.text;
      category = xerror_category::not_found;
      break;
    case platform::os_errc::too_many_open_files: cause = msg::eMFILE.text; break;
    case platform::os_errc::access_denied:
      cause = msg::eACCES.text;
      category = xerror_category::permission;
      break;
    case platform::os_errc::invalid_access:
      cause = msg::eINVACC.text;
      category = xerror_category::general;
      break;
    default: break;
  }
  xerror(category, cause + "\n" + msg::FileName.text + name_);
}

void xfile_stream::enable_statistics(bool on) noexcept {
  do_statistics = on;
  if (on) total_bytes_loaded = 0;
}

std::uint64_t xfile_stream::get_statistics() noexcept { return total_bytes_loaded; }

}  // namespace xum
