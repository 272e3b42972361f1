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
      {"none", [](xfault_os&) {}, "4444", "abcdabcdabcdabcd", os_errc::none},
      {"2nd fails", [](xfault_os& f) { f.fail_write(2, os_errc::io_error); }, "4044", "abcdabcdabcd", os_errc::io_error},
      {"3rd short", [](xfault_os& f) { f.short_write(3); }, "4424", "abcdabcdababcd", os_errc::no_space},
      {"full after 6", [](xfault_os& f) { f.fill_after(6); }, "4200", "abcdab", os_errc::no_space},
      {"full at once", [](xfault_os& f) { f.fill_after(0); }, "0000", "", os_errc::no_space},
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
      EXPECT_EQ(faults_.writes(), 4);
      EXPECT_EQ(faults_.bytes(), 16);
      // Positioned writes after a failed one leave a gap: compare only
      // where the file is whole.
      if (!positioned || r.code == os_errc::none) {
        EXPECT_EQ(contents(), r.file);
      }
    }
  }
}

TEST_F(FaultOs, StepFaultsHitEveryCallUntilReset) {
  os_error error;
  std::string temp;
  faults_.fail_temp_creation(os_errc::no_space);
  EXPECT_EQ(faults_.create_temp_beside("/t.txt", temp, error), invalid_handle);
  EXPECT_EQ(error.code, os_errc::no_space);
  EXPECT_TRUE(memory_.entries("/").size() == 1);  // only /tmp

  faults_.reset();
  faults_.fail_sync();
  faults_.fail_close();
  faults_.fail_rename();
  const file_handle f = faults_.create_temp_beside("/t.txt", temp, error);
  ASSERT_NE(f, invalid_handle);
  EXPECT_FALSE(faults_.sync(f, error));
  EXPECT_FALSE(faults_.sync(f, error));
  EXPECT_FALSE(faults_.close_checked(f, error));
  EXPECT_EQ(memory_.open_handles(), 0);  // closed all the same
  EXPECT_FALSE(faults_.rename_over(temp.c_str(), "/t.txt", true, error));
  EXPECT_EQ(error.code, os_errc::access_denied);
  EXPECT_EQ(faults_.failures(), 4);
  faults_.reset();
  EXPECT_TRUE(faults_.rename_over(temp.c_str(), "/t.txt", true, error));
  EXPECT_EQ(faults_.failures(), 0);
}

}  // namespace
}  // namespace xum::platform
