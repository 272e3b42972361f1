#include "streams/xreplace_file_stream.h"

#include <string>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "platform/xos.h"
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
  platform::xos& os = platform::os();
  const bool link = os.is_symbolic_link(target.get_text());
  path_ = links == xlink_policy::follow && link ? xstr(os.follow_links(target.get_text()).c_str()) : target;
  // An existing file that may not be written is refused exactly as a
  // direct write would refuse it: open it for writing without truncating
  // and let the file stream report. A link that is replaced needs no
  // right on the file it points to.
  const bool exists = link || os.file_exists(path_.get_text());
  sync_ = sync == xsync_policy::always || exists;
  if (!(link && links == xlink_policy::replace) && exists) {
    xfile_stream probe;
    probe.open(path_, xfile_write);
    if (!probe.is_open()) return;  // reported (a non-throwing handler lands here)
  }
  std::string temp;
  platform::os_error error;
  const int fd = os.create_temp_beside(path_.get_text(), temp, error);
  if (fd < 0) {
    // The causes a direct write reports read exactly as its; anything
    // else keeps the system's text.
    switch (error.code) {
      case platform::os_errc::path_not_found: report(xerror_category::not_found, msg::eNOPATH.text, {}); break;
      case platform::os_errc::too_many_open_files: report(xerror_category::io, msg::eMFILE.text, {}); break;
      case platform::os_errc::access_denied: report(xerror_category::permission, msg::eACCES.text, {}); break;
      default: report(xerror_category::io, msg::eWriteError.text, error.text); break;
    }
    return;
  }
  fd_ = fd;
  temp_ = temp.c_str();
  mode_ = xstream_read | xstream_write;
}

void xreplace_file_stream::discard() noexcept {
  if (fd_ < 0) return;
  platform::os().close(fd_);
  platform::os().remove_file(temp_.get_text());
  fd_ = -1;
  temp_.clear();
  mode_ = 0;
}

void xreplace_file_stream::close() {
  if (fd_ < 0) return;
  platform::xos& os = platform::os();
  platform::os_error error{platform::os_errc::none, failure_};
  const int fd = fd_;
  fd_ = -1;
  // Each step must succeed before the next: permissions and data reach the
  // disk before the rename makes the new file the target.
  bool ok = !failed_ && os.copy_permissions(path_.get_text(), fd, error) && (!sync_ || os.sync(fd, error));
  platform::os_error close_error;
  const bool closed = os.close_checked(fd, close_error);
  if (ok && !closed) error = close_error;
  ok = ok && closed && os.rename_over(temp_.get_text(), path_.get_text(), sync_, error);
  if (!ok) os.remove_file(temp_.get_text());
  temp_.clear();
  mode_ = 0;
  if (!ok) report(xerror_category::io, msg::eWriteError.text, error.text);
}

int xreplace_file_stream::read(void* buffer, int count) {
  return fd_ < 0 ? 0 : platform::os().read(fd_, buffer, count);
}

int xreplace_file_stream::write(const void* buffer, int count) {
  if (fd_ < 0) throw xexception(xexception::not_supported);
  platform::os_error error;
  const int n = platform::os().write(fd_, buffer, count, &error);
  if (n < count && !failed_) {
    failed_ = true;
    failure_ = error.text;
  }
  return n;
}

std::int64_t xreplace_file_stream::seek(std::int64_t offset, xseek_origin origin) {
  return fd_ < 0 ? -1 : platform::os().seek(fd_, offset, origin);
}

void xreplace_file_stream::set_size(std::int64_t size) {
  if (fd_ < 0) throw xexception(xexception::not_supported);
  seek(size, xseek_begin);
  platform::os_error error;
  if (!platform::os().truncate(fd_, size, &error) && !failed_) {
    failed_ = true;
    failure_ = error.text;
  }
}

xstr xreplace_file_stream::description() const {
  // After a failed write the system's reason belongs to every report.
  xstr text = msg::FileName.text + target_;
  if (failed_ && !failure_.empty()) text += xstr("\n") + failure_.c_str();
  return text;
}

void xreplace_file_stream::report(xerror_category category, const xstr& cause, const std::string& detail) {
  xstr text = cause + "\n" + msg::FileName.text + target_;
  if (!detail.empty()) text += xstr("\n") + detail.c_str();
  xerror(category, text);
}

}  // namespace xum
