#include "streams/xreplace_file_stream.h"

#include <string>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "platform/xfile_io.h"
#include "platform/xfiles.h"
#include "streams/xfile_stream.h"

namespace xum {

xreplace_file_stream::xreplace_file_stream(const xstr& target, xlink_policy links, xsync_policy sync) {
  open(target, links, sync);
}

xreplace_file_stream::~xreplace_file_stream() { discard(); }

void xreplace_file_stream::open(const xstr& target, xlink_policy links, xsync_policy sync) {
  discard();
  target_ = target;
  failed_ = false;
  failure_.clear();
  const bool link = platform::is_symbolic_link(target.get_text());
  path_ = links == xlink_policy::follow && link ? xstr(platform::follow_links(target.get_text()).c_str()) : target;
  // An existing file that may not be written is refused exactly as a
  // direct write would refuse it: open it for writing without truncating
  // and let the file stream report. A link that is replaced needs no
  // right on the file it points to.
  const bool exists = link || platform::file_exists(path_.get_text());
  sync_ = sync == xsync_policy::always || exists;
  if (!(link && links == xlink_policy::replace) && exists) {
    xfile_stream probe;
    probe.open(path_, xfile_write);
    if (!probe.is_open()) return;  // reported (a non-throwing handler lands here)
  }
  std::string temp, detail;
  int error = 0;
  const int fd = platform::create_temp_beside(path_.get_text(), temp, error, detail);
  if (fd < 0) {
    // The causes a direct write reports read exactly as its; anything
    // else keeps the system's text.
    switch (error) {
      case 3: report(xerror_category::not_found, msg::eNOPATH.text, {}); break;
      case 4: report(xerror_category::io, msg::eMFILE.text, {}); break;
      case 5: report(xerror_category::permission, msg::eACCES.text, {}); break;
      default: report(xerror_category::io, msg::eWriteError.text, detail); break;
    }
    return;
  }
  fd_ = fd;
  temp_ = temp.c_str();
  mode_ = xstream_read | xstream_write;
}

void xreplace_file_stream::discard() noexcept {
  if (fd_ < 0) return;
  platform::close_file(fd_);
  platform::remove_file(temp_.get_text());
  fd_ = -1;
  temp_.clear();
  mode_ = 0;
}

void xreplace_file_stream::close() {
  if (fd_ < 0) return;
  std::string detail = failure_;
  const int fd = fd_;
  fd_ = -1;
  // Each step must succeed before the next: permissions and data reach the
  // disk before the rename makes the new file the target.
  bool ok = !failed_ && platform::copy_permissions(path_.get_text(), fd, detail) &&
            (!sync_ || platform::sync_file(fd, detail));
  std::string close_detail;
  const bool closed = platform::close_file_checked(fd, close_detail);
  if (ok && !closed) detail = close_detail;
  ok = ok && closed && platform::rename_over(temp_.get_text(), path_.get_text(), sync_, detail);
  if (!ok) platform::remove_file(temp_.get_text());
  temp_.clear();
  mode_ = 0;
  if (!ok) report(xerror_category::io, msg::eWriteError.text, detail);
}

int xreplace_file_stream::read(void* buffer, int count) {
  return fd_ < 0 ? 0 : platform::read_file(fd_, buffer, count);
}

int xreplace_file_stream::write(const void* buffer, int count) {
  if (fd_ < 0) throw xexception(xexception::not_supported);
  const int n = platform::write_file(fd_, buffer, count);
  if (n < count && !failed_) {
    failed_ = true;
    failure_ = platform::last_error_text();
  }
  return n;
}

std::int64_t xreplace_file_stream::seek(std::int64_t offset, xseek_origin origin) {
  return fd_ < 0 ? -1 : platform::seek_file(fd_, offset, origin);
}

void xreplace_file_stream::set_size(std::int64_t size) {
  if (fd_ < 0) throw xexception(xexception::not_supported);
  seek(size, xseek_begin);
  if (!platform::truncate_file(fd_, size) && !failed_) {
    failed_ = true;
    failure_ = platform::last_error_text();
  }
}

xstr xreplace_file_stream::description() const { return msg::FileName.text + target_; }

void xreplace_file_stream::report(xerror_category category, const xstr& cause, const std::string& detail) {
  xstr text = cause + "\n" + msg::FileName.text + target_;
  if (!detail.empty()) text += xstr("\n") + detail.c_str();
  xerror(category, text);
}

}  // namespace xum
