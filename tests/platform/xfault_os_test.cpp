// The fault wrapper fails exactly what it is told to, and passes the rest on.
#include "platform/testing/xfault_os.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/testing/xmemory_os.h"

namespace xum::platform {
namespace {

class FaultOs : public ::testing::Test {
 protected:
  // Opens /f.bin afresh and writes "abcd" `calls` times through `write`
  // or `write_at`; the counts each call returned.
  std::string run(int calls, bool positioned, os_error& last_error) {
    os_error error;
    const file_handle f = faults_.open_file("/f.bin", 6, error, nullptr);
    std::string counts;
    for (int i = 0; i < calls; ++i) {
      os_error e;
      const int n = positioned ? faults_.write_at(f, "abcd", 4, 4 * i, &e) : faults_.write(f, "abcd", 4, &e);
      counts += std::to_string(n);
      if (e) last_error = e;
    }
    faults_.close(f);
    return counts;
  }
  std::string contents() const {
    std::string bytes;
    memory_.get("/f.bin", bytes);
    return bytes;
  }

  xmemory_os memory_{system_os()};
  xfault_os faults_{memory_};
};

TEST_F(FaultOs, WriteFaultsHitTheCountedCallOrByte) {
  struct row {
    const char* name;
    std::function<void(xfault_os&)> stage;
    const char* counts;  // what each of four writes returned
    const char* file;
    os_errc code;
  };
  const row rows[] = {
      {"2nd fails", [](xfault_os& f) { f.fail_write(2, os_errc::io_error); }, "4044", "abcdabcdabcd", os_errc::io_error},
      {"3rd short", [](xfault_os& f) { f.short_write(3); }, "4424", "abcdabcdababcd", os_errc::no_space},
      {"full after 6", [](xfault_os& f) { f.fill_after(6); }, "4200", "abcdab", os_errc::no_space},
  };
  for (const bool positioned : {false, true}) {
    for (const row& r : rows) {
      SCOPED_TRACE(std::string(r.name) + (positioned ? ", write_at" : ", write"));
      faults_.reset();
      r.stage(faults_);
      os_error last;
      EXPECT_EQ(run(4, positioned, last), r.counts);
      EXPECT_EQ(last.code, r.code);
      EXPECT_EQ(last.text, make_os_error(r.code).text);
      // Positioned writes after a failed one leave a gap: compare only
      // where the file is whole.
      if (!positioned) {
        EXPECT_EQ(contents(), r.file);
      }
    }
  }
}

}  // namespace
}  // namespace xum::platform
