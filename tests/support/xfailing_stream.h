// xfailing_stream: a test double that passes reads and writes through to
// another stream until a budget of bytes is spent, then fails. A transfer
// that crosses the budget moves only the bytes within it; the failure is
// either that short count (a full disk, a cut file) or, with `reports` set,
// an error raised through xerror ("Device failure !", a line feed and
// "failing stream") after those bytes have moved.
//
//   xum::xmemory_stream disk;
//   xum::test::xfailing_stream full(disk, /*write_budget=*/100);
//   xum::xxor_stream x(full, false);
//   x.write_buffer(data, 200);   // "Data writing error ! \nfailing stream";
//                                // disk holds the first 100 bytes, scrambled
//
// Thread safety: none; a test uses it on one thread.
#ifndef XUM_TESTS_SUPPORT_XFAILING_STREAM_H
#define XUM_TESTS_SUPPORT_XFAILING_STREAM_H

#include <algorithm>
#include <cstdint>

#include "core/xstr.h"
#include "streams/xstream.h"

namespace xum::test {

class xfailing_stream final : public xstream {
 public:
  static constexpr std::int64_t unlimited = INT64_MAX;

  // Over `inner` (borrowed), with its mode; writes fail after
  // `write_budget` bytes and reads after `read_budget` bytes in total.
  xfailing_stream(xstream& inner, std::int64_t write_budget, std::int64_t read_budget = unlimited,
                  bool reports = false)
      : inner_(inner), write_left_(write_budget), read_left_(read_budget), reports_(reports) {
    mode_ = inner.mode();
  }

  xstr description() const override { return "failing stream"; }
  int read(void* buffer, int count) override {
    return transfer(read_left_, count, [&](int n) { return inner_.read(buffer, n); });
  }
  int write(const void* buffer, int count) override {
    return transfer(write_left_, count, [&](int n) { return inner_.write(buffer, n); });
  }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override {
    return inner_.seek(offset, origin);
  }
  void set_size(std::int64_t size) override { inner_.set_size(size); }

  // Room again: writes fail after `budget` more bytes.
  void set_write_budget(std::int64_t budget) noexcept { write_left_ = budget; }
  // Transfers that ran into a spent budget.
  int failures() const noexcept { return failures_; }

 private:
  template <typename Move>
  int transfer(std::int64_t& left, int count, Move move) {
    const int allowed = static_cast<int>(std::min<std::int64_t>(count, left));
    const int done = allowed > 0 ? move(allowed) : 0;
    left -= done;
    if (allowed < count) {
      ++failures_;
      if (reports_) xerror(xstr("Device failure !\n") + description());
    }
    return done;
  }

  xstream& inner_;
  std::int64_t write_left_;
  std::int64_t read_left_;
  bool reports_;
  int failures_ = 0;
};

}  // namespace xum::test

#endif  // XUM_TESTS_SUPPORT_XFAILING_STREAM_H
