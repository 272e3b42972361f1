// Every way a disk can fail a save, as rows for a table test: each write
// call failing outright or ending short, the disk filling up after each
// byte count, and the steps around the writes (creating the temporary
// file, syncing, closing, renaming). Used with platform/testing/xfault_os:
//
//   xum::platform::xfault_os faults(xum::platform::os());
//   xum::platform::scoped_os use(faults);
//   const int writes = xum::test::count_writes(faults, save);
//   for (const auto& c : xum::test::fault_cases(writes, bytes)) {
//     SCOPED_TRACE(c.name);
//     c.stage(faults);
//     ...save, then check that the old file is intact...
//   }
#ifndef XUM_TESTS_SUPPORT_XFAULT_CASES_H
#define XUM_TESTS_SUPPORT_XFAULT_CASES_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/testing/xfault_os.h"

namespace xum::test {

struct fault_case {
  std::string name;
  std::function<void(platform::xfault_os&)> stage;
  // The text the system gives for the staged failure.
  std::string system_text;
};

// The write calls and bytes `save` asks for when nothing fails.
struct write_count {
  int calls = 0;
  std::int64_t bytes = 0;
};

inline write_count count_writes(platform::xfault_os& faults, const std::function<void()>& save) {
  faults.reset();
  save();
  return {faults.writes(), faults.bytes()};
}

// Write number 1..calls failing with ENOSPC and ending short with EIO; the
// disk full after 0..bytes-1 bytes (every byte when there are at most 64,
// else 64 evenly spread counts and the last); then temporary-file
// creation, sync, close and rename failing.
inline std::vector<fault_case> fault_cases(write_count count) {
  using platform::os_errc;
  const std::string no_space = platform::make_os_error(os_errc::no_space).text;
  const std::string io_error = platform::make_os_error(os_errc::io_error).text;
  std::vector<fault_case> cases;
  for (int k = 1; k <= count.calls; ++k) {
    cases.push_back({"write " + std::to_string(k) + " fails",
                     [k](platform::xfault_os& f) { f.fail_write(k, os_errc::no_space); }, no_space});
    cases.push_back({"write " + std::to_string(k) + " ends short",
                     [k](platform::xfault_os& f) { f.short_write(k, os_errc::io_error); }, io_error});
  }
  constexpr std::int64_t spread = 64;
  const std::int64_t step = count.bytes <= spread ? 1 : count.bytes / spread;
  for (std::int64_t b = 0; b < count.bytes; b += step) {
    const std::int64_t room = b + step >= count.bytes ? count.bytes - 1 : b;
    cases.push_back({"disk full after " + std::to_string(room) + " bytes",
                     [room](platform::xfault_os& f) { f.fill_after(room, os_errc::no_space); }, no_space});
  }
  cases.push_back({"temporary file not made",
                   [](platform::xfault_os& f) { f.fail_temp_creation(os_errc::no_space); }, no_space});
  cases.push_back({"sync fails", [](platform::xfault_os& f) { f.fail_sync(os_errc::io_error); }, io_error});
  cases.push_back({"close fails", [](platform::xfault_os& f) { f.fail_close(os_errc::no_space); }, no_space});
  cases.push_back({"rename fails", [](platform::xfault_os& f) { f.fail_rename(os_errc::io_error); }, io_error});
  return cases;
}

}  // namespace xum::test

#endif  // XUM_TESTS_SUPPORT_XFAULT_CASES_H
