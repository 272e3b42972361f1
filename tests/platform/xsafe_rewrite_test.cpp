// Every path that replaces a user's file, failed at every write and at each
// step around the writes, on the real disk and in memory: the old file
// stays byte for byte, no temporary file is left, and the report names the
// file and carries the system's text.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "app/tcontrol_scheme.h"
#include "core/xreg_key.h"
#include "formats/xstruct_format.h"
#include "formats/xvirtual_file_sys.h"
#include "platform/testing/xfault_os.h"
#include "platform/testing/xmemory_os.h"
#include "platform/xos.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"
#include "tests/support/xfault_cases.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using platform::os;

// A folder on the real disk (false) or in an in-memory file system (true),
// with the fault wrapper installed over it.
class SafeRewrite : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    platform::xos* disk = &platform::system_os();
    if (GetParam()) {
      memory_ = std::make_unique<platform::xmemory_os>(platform::system_os());
      memory_->make_directories("/home/user");
      folder_ = "/home/user";
      disk = memory_.get();
    } else {
      real_ = std::make_unique<test::temp_dir>();
      folder_ = real_->path.string();
    }
    faults_ = std::make_unique<platform::xfault_os>(*disk);
    use_ = std::make_unique<platform::scoped_os>(*faults_);
  }

  // Writes `bytes` to `path` directly, with no fault staged.
  void put(const std::string& path, const std::string& bytes) {
    faults_->reset();
    platform::os_error error;
    const int f = os().open_file(path.c_str(), 6, error);
    ASSERT_GE(f, 0) << error.text;
    ASSERT_EQ(os().write(f, bytes.data(), static_cast<int>(bytes.size())), static_cast<int>(bytes.size()));
    os().close(f);
  }
  static std::string bytes_of(const std::string& path) {
    std::string bytes;
    return os().read_whole_file(path.c_str(), bytes) ? bytes : "(no file)";
  }
  // The entries of `folder`, sorted, without "." and "..".
  static std::vector<std::string> names_in(const std::string& folder) {
    std::vector<std::string> names;
    const auto dir = os().open_directory(folder.c_str());
    while (const char* name = dir ? dir->next() : nullptr)
      if (std::string(name) != "." && std::string(name) != "..") names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
  }

  // Runs `save` once without faults (which must succeed, write `saved` and
  // take at least `writes` write calls) and then under every fault case,
  // each time from a file holding `old`: each must report the write error
  // on `target` with the system's text.
  void every_fault(const std::string& target, const std::string& old, const std::string& saved, int writes,
                   const std::function<void()>& save) {
    const std::string folder = target.substr(0, target.rfind('/'));
    put(target, old);
    const std::vector<std::string> before = names_in(folder);
    const test::write_count count = test::count_writes(*faults_, save);
    ASSERT_GE(count.calls, writes);
    ASSERT_EQ(bytes_of(target), saved);
    for (const test::fault_case& c : test::fault_cases(count)) {
      SCOPED_TRACE(c.name);
      put(target, old);
      faults_->reset();
      c.stage(*faults_);
      const std::string message = test::error_of(save);
      faults_->reset();
      EXPECT_EQ(message, "Data writing error !\nFile: " + target + "\n" + c.system_text);
      EXPECT_EQ(bytes_of(target), old);
      EXPECT_EQ(names_in(folder), before);  // no temporary file left
    }
  }

  std::unique_ptr<test::temp_dir> real_;
  std::unique_ptr<platform::xmemory_os> memory_;
  std::string folder_;
  std::unique_ptr<platform::xfault_os> faults_;
  std::unique_ptr<platform::scoped_os> use_;  // last: goes first
};

// The old and new contents of a representative save: a few lines of
// different lengths, written in several calls.
const std::string old_text = "Title=Old\r\nLeft=1\r\n";
const std::vector<std::string> new_lines = {"TSFLayout\r\n", "Title=Sales report\r\n", "<Panel\r\n",
                                            "  Left=12\r\n", "> (Panel)\r\n"};

TEST_P(SafeRewrite, ReplaceStreamWrittenByWriteBufferOrByAWriterThatIgnoresShortCounts) {
  const std::string target = folder_ + "/layout.txt";
  for (const bool checked : {true, false}) {  // unchecked: close alone must notice a short write
    SCOPED_TRACE(checked ? "write_buffer" : "write");
    every_fault(
        target, old_text, std::accumulate(new_lines.begin(), new_lines.end(), std::string()), 5,
        [&] {
          xreplace_file_stream out(target.c_str());
          for (const std::string& l : new_lines) {
            const int n = static_cast<int>(l.size());
            checked ? out.write_buffer(l.data(), n) : static_cast<void>(out.write(l.data(), n));
          }
          out.close();
        });
  }
}

TEST_P(SafeRewrite, SettingsStoreValue) {
  const std::string root = folder_ + "/registry";
  setenv("XUM_REGISTRY_ROOT", root.c_str(), 1);
  const std::string value_file = root + "/Software/App/@Title";
  xreg_key("Software\\App", false).str_prop("Title", "Old", "");
  const std::string old = bytes_of(value_file);
  ASSERT_EQ(old, std::string("XRV\x01Old", 7) + '\0');
  every_fault(value_file, old, std::string("XRV\x01Sales report", 16) + '\0', 1,
              [&] { xreg_key("Software\\App", false).str_prop("Title", "Sales report", ""); });
  EXPECT_EQ(xreg_key("Software\\App", true).str_prop("Title", "", "missing"), "Old");
  unsetenv("XUM_REGISTRY_ROOT");
}

// Settings that take several writes: the text form writes in blocks of
// 1 MiB, so a dozen long values; the binary form in blocks of 256 KiB, and
// keeps texts under 256 bytes, so many short values.
void describe_settings(xstruct_format& f, bool binary) {
  f.identifier("Layout");
  for (int s = 0; s < 3; ++s) {
    f.begin_section("Panel" + xstr(std::to_string(s).c_str()));
    for (int k = 0; k < (binary ? 5000 : 4); ++k) {
      std::string text = "value " + std::to_string(k * 7919);
      if (!binary) text.resize(100000, static_cast<char>('a' + k));
      xstr value(std::string_view{text});
      f.str(("Key" + std::to_string(k)).c_str(), value, "", true);
    }
    f.end_section();
  }
}

std::string saved_settings(bool binary) {
  xmemory_stream m;
  xstruct_format f;
  f.save_to_stream(m);
  f.set_binary(binary);  // after opening: every close clears it
  describe_settings(f, binary);
  f.close();
  return test::bytes_of(m);
}

TEST_P(SafeRewrite, StructuredFormatSaveInEitherForm) {
  const std::string target = folder_ + "/layout.tsf";
  for (const bool binary : {false, true}) {
    SCOPED_TRACE(binary ? "binary" : "text");
    every_fault(
        target, old_text, saved_settings(binary), 2,
        [&] {
          xstruct_format f;
          f.open_file(target.c_str(), xfile_create);
          f.set_binary(binary);
          describe_settings(f, binary);
          f.close();
        });
  }
}

// A control scheme the user changed, saved as the editor saves it.
TEST_P(SafeRewrite, ControlSchemeSave) {
  const std::string target = folder_ + "/keys.tsf", first = folder_ + "/first.tsf";
  TControlScheme scheme;
  TKeyboardAction left(&scheme, "Left", "Move left", 37, 65), fire(&scheme, "Fire", "Fire", 32, -1);
  left.key1 = 100;
  fire.key2 = 13;
  scheme.SaveLoad(first.c_str(), xfile_create);
  const std::string saved = bytes_of(first);
  os().remove_file(first.c_str());
  every_fault(target, old_text, saved, 1, [&] { scheme.SaveLoad(target.c_str(), xfile_create); });
}

// An archive of a few members whose bytes pass the archive's 1 MiB write
// buffer several times over, and a small one at the end.
void pack(xvirtual_file_sys& archive) {
  for (int m = 0; m < 4; ++m) {
    std::string bytes(m == 3 ? 100 : 700000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 + m);
    xbuffer_stream data(bytes.data(), static_cast<int>(bytes.size()));
    archive.add_stream(("member" + std::to_string(m) + ".bin").c_str(), data);
  }
}

TEST_P(SafeRewrite, ArchiveCreateAndClose) {
  const std::string target = folder_ + "/data.vfs";
  xmemory_stream expected;
  {
    xvirtual_file_sys archive;
    archive.create(expected);
    pack(archive);
    archive.close();
  }
  every_fault(
      target, old_text, test::bytes_of(expected), 3,
      [&] {
        xvirtual_file_sys archive;
        archive.create(target.c_str());
        pack(archive);
        archive.close();
      });
}

INSTANTIATE_TEST_SUITE_P(Disks, SafeRewrite, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "InMemory" : "OnDisk"; });

}  // namespace
}  // namespace xum
