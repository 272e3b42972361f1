#include "formats/xvirtual_file_sys.h"

#include <algorithm>
#include <climits>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xexception.h"
#include "core/xfile_utils.h"
#include "streams/xbuffered_stream.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"
#include "streams/xresource_stream.h"
#include "streams/xsection_stream.h"
#include "streams/xxor_stream.h"

namespace xum {

namespace {

// Copies go through the XOR stream in blocks of this size.
constexpr int kCopyBlock = 1 << 20;

// Room for the lower-case key of a name: member names are short, so a
// lookup lowers them on the stack.
struct key_buffer {
  char local[256];
  std::string heap;
};

// `text` in lower case. ASCII letters are lowered byte by byte; a name with
// other characters takes the locale's rule, as xstr::lower_case applies it.
std::string_view lower_key(std::string_view text, key_buffer& b) {
  char* out = text.size() <= sizeof b.local ? b.local : (b.heap.resize(text.size()), b.heap.data());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (static_cast<unsigned char>(c) >= 0x80) {
      b.heap = std::string(xstr(text).lower_case().view());
      return b.heap;
    }
    out[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return {out, text.size()};
}

// What a lookup compares: the name without directory (after the last '\\',
// '/' or ':'), in lower case.
std::string_view lookup_key(const xstr& name, key_buffer& b) {
  const std::string_view v = name.view();
  // A plain loop: find_last_of asks memchr about every byte, which cost a
  // lookup three times what the hash table does.
  std::size_t start = v.size();
  while (start > 0 && v[start - 1] != '\\' && v[start - 1] != '/' && v[start - 1] != ':') --start;
  return lower_key(v.substr(start), b);
}

// A member stream in one allocation: the section, the XOR stream under it
// (which owns the base stream) and the XOR stream's position set to the
// member's offset. Destroying the section destroys the rest.
struct scrambler_part {
  xxor_stream scrambler;
  scrambler_part(std::unique_ptr<xstream> base, std::int64_t offset) : scrambler(*base, true) {
    base.release();
    // The XOR stream keys by absolute position after a seek: the member
    // descrambles exactly as it was written.
    scrambler.seek(offset, xseek_begin);
  }
};

class member_stream final : private scrambler_part, public xsection_stream {
 public:
  member_stream(std::unique_ptr<xstream> base, std::int64_t offset, std::int64_t size)
      : scrambler_part(std::move(base), offset), xsection_stream(scrambler, size, false) {}
};

// Passes everything on to the archive's target until shut: after that,
// writes vanish, so that discarding an archive sends none of the bytes still
// pending in the buffers above to the target. Remembers whether the target
// ever took fewer bytes than offered.
class gate_stream final : public xstream {
 public:
  explicit gate_stream(xstream& target) : target_(&target) { mode_ = xstream_write; }
  void shut() noexcept { target_ = nullptr; }
  bool refused() const noexcept { return refused_; }
  xstr description() const override { return target_ ? target_->description() : xstr(); }
  int read(void*, int) override { return 0; }
  int write(const void* buffer, int count) override {
    if (!target_) return count;
    const int n = target_->write(buffer, count);
    refused_ = refused_ || n < count;
    return n;
  }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override {
    return target_ ? target_->seek(offset, origin) : 0;
  }

 private:
  xstream* target_;
  bool refused_ = false;
};

std::int64_t clamp_to_int64(std::uint64_t v) {
  return v > static_cast<std::uint64_t>(INT64_MAX) ? INT64_MAX : static_cast<std::int64_t>(v);
}

}  // namespace

xvirtual_file_sys::xvirtual_file_sys() = default;

xvirtual_file_sys::~xvirtual_file_sys() {
  // A destructor must not throw: an archive whose completion fails is
  // discarded, and the file it was to replace stays as it was.
  try {
    close();
  } catch (...) {
    discard();
  }
}

void xvirtual_file_sys::create(const xstr& path) {
  close();
  path_ = path;
  auto out = std::make_unique<xreplace_file_stream>(path);
  if (!out->is_open()) return;  // reported by the stream's error hook
  out_ = std::move(out);
  start_writing(*out_);
}

void xvirtual_file_sys::create(xstream& target) {
  close();
  path_.clear();
  start_writing(target);
}

void xvirtual_file_sys::start_writing(xstream& target) {
  // The XOR stream writes in 4 KiB chunks: a block buffer under it keeps
  // the file calls large. The format borrows the buffer, so that close()
  // can flush it and see the failure instead of a destructor swallowing it.
  gate_ = std::make_unique<gate_stream>(target);
  buffered_ = std::make_unique<xbuffered_stream>(*gate_, false);
  bin_.open_stream(*buffered_, xstream_write, false);
  writing_ = true;
  try {
    rw_header();
  } catch (...) {
    fail();
    throw;
  }
}

void xvirtual_file_sys::add_file(const xstr& file) {
  if (!writing_) throw xexception(xexception::not_supported);
  xfile_stream in(file, xfile_read);
  // With an error hook that returns, a file that did not open is left out.
  if (!in.is_open()) return;
  // A read that fails looks like the end of the file to the copy: a member
  // shorter (or longer, when the file grew) than the file was at open is
  // no faithful copy and is not added.
  const std::int64_t expected = in.get_size();  // keeps the position at 0
  const auto offset = static_cast<std::uint64_t>(bin_.get_position());
  const std::uint64_t size = copy_in(in);
  if (size != static_cast<std::uint64_t>(expected)) {
    xerror(xerror_category::io, msg::eReadError.text + "\n" + in.description());
    return;
  }
  auto info = std::make_unique<file_info>();
  info->name = xextract_file_name(file);
  info->offset = offset;
  info->size = size;
  add_member(std::move(info));
}

void xvirtual_file_sys::add_stream(const xstr& name, xstream& data) {
  if (!writing_) throw xexception(xexception::not_supported);
  auto info = std::make_unique<file_info>();
  info->name = name;
  info->offset = static_cast<std::uint64_t>(bin_.get_position());
  info->size = copy_in(data);
  add_member(std::move(info));
}

std::uint64_t xvirtual_file_sys::copy_in(xstream& data) {
  block_.resize(kCopyBlock);
  std::uint64_t total = 0;
  try {
    for (int n; (n = data.read(block_.data(), kCopyBlock)) > 0; total += static_cast<std::uint64_t>(n))
      bin_.buffer(block_.data(), n);
  } catch (...) {
    // Only writes to the archive throw here (reads report by their count):
    // an archive with a failed write is never put in place.
    fail();
    throw;
  }
  return total;
}

void xvirtual_file_sys::add_member(std::unique_ptr<file_info> info) {
  info->lower_name = info->name.lower_case();
  key_buffer b;
  index_.insert(lower_key(info->name.view(), b), static_cast<int>(files_.size()));
  files_.push_back(std::move(info));
}

void xvirtual_file_sys::close() {
  archive_size_ = -1;
  data_begin_ = data_end_ = 0;
  if (writing_) {
    try {
      rw_table();
      bin_.close();  // appends the trailer
      buffered_->flush();
      buffered_.reset();
      gate_.reset();
      if (out_) out_->close();  // syncs and renames over the target
    } catch (...) {
      fail();
      throw;
    }
    out_.reset();
    writing_ = false;
  }
  bin_.close();
  forget();
}

void xvirtual_file_sys::discard() noexcept {
  writing_ = false;
  archive_size_ = -1;
  data_begin_ = data_end_ = 0;
  // The format's own close writes its trailer, and the buffer writes what
  // is pending when it goes: shut the gate first so that none of it
  // reaches the target.
  if (gate_) static_cast<gate_stream&>(*gate_).shut();
  if (out_) out_->discard();
  try {
    bin_.close();
  } catch (...) {
  }
  buffered_.reset();
  gate_.reset();
  out_.reset();
  forget();
}

void xvirtual_file_sys::fail() {
  // The failure that arrives here is the short write's "Data writing
  // error !" with the file's name. When the temporary file refused bytes,
  // its close tells why ("File too large", "No space left on device"): it
  // saw the short write, so it removes itself instead of replacing the
  // target, and its report replaces the plainer one.
  const bool refused = gate_ && static_cast<gate_stream&>(*gate_).refused();
  std::unique_ptr<xreplace_file_stream> out = refused ? std::move(out_) : nullptr;
  discard();
  if (out) out->close();
}

void xvirtual_file_sys::forget() noexcept {
  files_.clear();
  index_.clear();
}

void xvirtual_file_sys::open(const xstr& path) {
  close();
  path_ = path;
  bin_.open_stream(*get_base_stream(), xstream_read, true);
  read();
}

void xvirtual_file_sys::read() {
  try {
    rw_header();
    rw_table();
  } catch (...) {
    bin_.close();
    forget();
    archive_size_ = -1;
    data_begin_ = data_end_ = 0;
    throw;
  }
  bin_.close();
  rebuild_index();
}

void xvirtual_file_sys::rebuild_index() {
  index_.clear();
  index_.reserve(files_.size());
  key_buffer b;
  for (std::size_t i = 0; i < files_.size(); ++i) {
    files_[i]->lower_name = files_[i]->name.lower_case();
    index_.insert(lower_key(files_[i]->name.view(), b), static_cast<int>(i));
  }
}

void xvirtual_file_sys::rw_header() {
  bin_.identifier(vfs_layout::magic);
  bin_.set_version(vfs_layout::version);
  bin_.start_encoding();
  if (bin_.version() < 2) {
    header_value_ = vfs_layout::v1_header_value;  // version 1 had no header value
    data_begin_ = vfs_layout::header_size_v1;
    return;
  }
  data_begin_ = vfs_layout::header_size;
  std::int32_t value = header_value_;
  bin_(value);
  header_value_ = value;
}

void xvirtual_file_sys::rw_table() {
  // The table travels as one block through the XOR stream: the entries are
  // encoded in (or decoded from) memory, which keeps the per-field calls
  // off the file.
  if (!bin_.reading()) {
    bin_.trailer();
    xmemory_stream table;
    {
      xbin_format f(table, xstream_write, false);
      rw_entries(f);
    }
    bin_.buffer(const_cast<unsigned char*>(table.data()), table.size());
    return;
  }
  const std::int64_t position = bin_.trailer();
  archive_size_ = bin_.get_size();
  data_end_ = position < 0 ? 0 : position;
  const std::int64_t bytes = archive_size_ - position;
  if (position < 0 || bytes < 4 || bytes > INT_MAX) {
    // The place of a table too short or too long to be one (a trailer
    // that points outside the file has been reported by trailer()).
    xerror(xerror_category::bad_data, msg::eReadError.text + "\n" + bin_.stream()->description(),
           {.offset = position});
    return;
  }
  std::vector<unsigned char> block(static_cast<std::size_t>(bytes));
  bin_.buffer(block.data(), static_cast<int>(bytes));
  xbuffer_stream view(block.data(), static_cast<int>(bytes));
  xbin_format f(view, xstream_read, false);
  rw_entries(f);
}

void xvirtual_file_sys::rw_entries(xbin_format& f) {
  std::int32_t count = static_cast<std::int32_t>(files_.size());
  f(count);
  if (f.reading()) {
    files_.clear();
    if (count < 0 || count * vfs_layout::min_entry_size > f.get_size() - f.get_position()) {
      // The count opens the table, which starts where the data ends.
      xerror(xerror_category::bad_data, msg::eReadError.text + "\n" + bin_.stream()->description(),
             {.offset = data_end_});
      return;
    }
    files_.reserve(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i) files_.push_back(std::make_unique<file_info>());
  }
  for (auto& info : files_) {
    f(info->name);
    f(info->offset);
    f(info->size);
  }
}

int xvirtual_file_sys::find(const xstr& name) const {
  key_buffer b;
  return index_.find(lookup_key(name, b));
}

bool xvirtual_file_sys::is_file_exists(const xstr& name) { return find(name) >= 0; }

bool xvirtual_file_sys::file_by_ext(const xstr& ext, xstr& name) const {
  const xstr wanted = ext.lower_case();
  for (const auto& info : files_) {
    if (xextract_file_ext(info->lower_name) == wanted) {
      name = info->name;
      return true;
    }
  }
  return false;
}

xstream* xvirtual_file_sys::get_file_stream(const xstr& name) {
  const int i = find(name);
  return i < 0 ? nullptr : get_member_stream(i);
}

xstream* xvirtual_file_sys::get_member_stream(int index) {
  if (index < 0 || index >= static_cast<int>(files_.size())) throw xexception(xexception::out_of_range);
  const file_info& info = *files_[static_cast<std::size_t>(index)];
  std::unique_ptr<xstream> base(get_base_stream());
  // A member that a broken table places past the end of the archive is cut
  // at the end (a stream over memory cannot even seek beyond it).
  // The size seen at open saves two seeks per member; without it (an
  // archive still being written) the stream is asked.
  const std::int64_t end = archive_size_ >= 0 ? archive_size_ : base->get_size();
  const std::int64_t offset = std::min(clamp_to_int64(info.offset), end);
  const std::int64_t size = std::min(clamp_to_int64(info.size), end - offset);
  // Large members are read ahead in large blocks under the XOR stream's
  // 4 KiB chunks; small ones need no more than their own read.
  if (size > 4096) {
    const int block = static_cast<int>(std::min<std::int64_t>(size, 1 << 20));
    auto buffered = std::make_unique<xbuffered_stream>(*base, true, block);
    base.release();
    base.reset(buffered.release());
  }
  return new member_stream(std::move(base), offset, size);
}

bool xvirtual_file_sys::member_in_bounds(int index) const {
  if (index < 0 || index >= static_cast<int>(files_.size())) throw xexception(xexception::out_of_range);
  if (writing_) return true;
  const file_info& info = *files_[static_cast<std::size_t>(index)];
  // Compared without adding offset and size, which a damaged table can
  // make overflow.
  const auto begin = static_cast<std::uint64_t>(data_begin_), end = static_cast<std::uint64_t>(data_end_);
  return info.offset >= begin && info.offset <= end && info.size <= end - info.offset;
}

xstream* xvirtual_file_sys::get_base_stream() {
  // Once open has read the archive as a file, reopening it needs no second
  // look at what the file is.
  auto file = std::make_unique<xfile_stream>();
  if (archive_size_ >= 0)
    file->open_known_file(path_);
  else
    file->open(path_, xfile_read);
  return file.release();
}

std::unique_ptr<xstream> xvirtual_file_sys::open_file_stream(const xstr& name) {
  return std::unique_ptr<xstream>(get_file_stream(name));
}

std::unique_ptr<xstream> xvirtual_file_sys::open_member_stream(int index) {
  return std::unique_ptr<xstream>(get_member_stream(index));
}

std::unique_ptr<xstream> xvirtual_file_sys::open_base_stream() { return std::unique_ptr<xstream>(get_base_stream()); }

xresource_file_sys::xresource_file_sys(xmodule module, int id, const char* type)
    : module_(module), id_(id), type_(type) {}

xstream* xresource_file_sys::get_base_stream() { return new xresource_stream(module_, id_, type_); }

}  // namespace xum
