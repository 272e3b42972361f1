#include "core/xreg_key.h"

#include <unistd.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "tests/support/xtest_helpers.h"

namespace {

namespace fs = std::filesystem;
using xum::xreg_key;
using xum::xstr;

// Each test gets a fresh store root.
class XregKeyTest : public ::testing::Test {
 protected:
  void SetUp() override { setenv("XUM_REGISTRY_ROOT", root_.c_str(), 1); }

  xum::test::temp_dir dir_;
  const fs::path root_ = dir_.path;
};

// A 4-byte number read with 9 as the default.
std::int32_t number_or_9(xreg_key& r, const char* name) {
  std::int32_t n = 7, def = 9;
  r.binary(name, &n, &def, sizeof n);
  return n;
}

// Text is stored with its zero byte, a number of up to 4 bytes as 4 bytes
// least significant first; each reads back only as its own type and size.
// Writing returns the value written.
TEST_F(XregKeyTest, ValuesAreReadOnlyWithTheirTypeAndSizeAndChildKeysFollowTheParent) {
  {
    xreg_key w("Software\\XUM/Test", false);
    EXPECT_EQ(w.str_prop("Name", "abc", "unused"), "abc");
    std::uint16_t two = 0x1234;
    w.binary("Num", &two, nullptr, 2);
    unsigned char six[6] = {1, 2, 3, 4, 5, 6};
    w.binary("Blob", six, nullptr, 6);
  }
  const fs::path key = root_ / "Software" / "XUM" / "Test";
  EXPECT_EQ(xum::test::file_bytes(key / "@Name"), std::string("XRV\1abc", 8));
  EXPECT_EQ(xum::test::file_bytes(key / "@Num"), std::string("XRV\x04\x34\x12\0\0", 8));
  xreg_key r("Software/XUM\\Test", true);
  EXPECT_EQ(r.str_prop("Num", "x", "def"), "def");  // a number is not text
  // Name, bytes asked, bytes read (empty: the default).
  const std::tuple<const char*, unsigned, std::string> rows[] = {{"Num", 1, "\x34"},
                                                                 {"Name", 4, ""},
                                                                 {"Blob", 3, ""},
                                                                 {"Blob", 8, ""},
                                                                 {"Blob", 6, "\1\2\3\4\5\6"}};
  for (const auto& [name, size, want] : rows) {
    SCOPED_TRACE(std::string(name) + " " + std::to_string(size));
    const std::string def(size, '\x09');
    std::string out(size, '\0');
    r.binary(name, out.data(), def.data(), size);
    EXPECT_EQ(out, want.empty() ? def : want);
  }
  // Child keys follow their parent.
  xreg_key child(xreg_key("App", false), "Sub\\Deeper");
  // Names the file system would trip over round-trip, and a value and a
  // key may share a name.
  for (const char* name : {"a/b\\c", "100%", "..", "", "Deeper"}) {
    SCOPED_TRACE(name);
    xstr v = xstr("v:") + name;
    child.str(name, v, "");
    EXPECT_EQ(xreg_key(xreg_key("App", true), "Sub/Deeper").str_prop(name, "", "missing"), v);
  }
  xreg_key(child, "Deeper");
  xreg_key(child, "..");
  EXPECT_EQ(xreg_key("App/Sub/Deeper", true).key_names(), (std::vector<xstr>{"..", "Deeper"}));
}

// Looking a key up must leave the store as it was: no key folder appears for
// a key, a child key or a value that is only read.
TEST_F(XregKeyTest, ReadingCreatesNothing) {
  {
    const xreg_key r("Software\\Missing/Deep", true);
    const xreg_key child(r, "Child");
    xreg_key reader("Other", true);
    EXPECT_EQ(reader.str_prop("Name", "x", "def"), "def");
    EXPECT_EQ(number_or_9(reader, "Num"), 9);
    EXPECT_EQ(r.get("Name").type, xreg_key::value_type::none);
    EXPECT_TRUE(child.key_names().empty());
    EXPECT_TRUE(child.value_names().empty());
  }
  EXPECT_TRUE(fs::is_empty(root_));
}

// A value file that is there but cannot be a value is damage, not a missing
// value: `get` says what is wrong and where, while the reading calls, whose
// rules give the default for anything but a matching value, still do so.
TEST_F(XregKeyTest, DamagedValueIsReportedAsDamage) {
  const fs::path key = root_ / "App";
  fs::create_directories(key);
  // File contents, what the message says is wrong.
  const std::pair<std::string, std::string> rows[] = {
      {"XR", "no value header"},
      {std::string("XRV\7ab\0", 7), "unknown value type 7"},
      {std::string("XRV\4\1\2\3", 7), "a number of 3 bytes instead of 4"},
      {"XRV\1ab", "text without its terminating zero byte"}};
  xreg_key r("App", true);
  for (const auto& [bytes, what] : rows) {
    SCOPED_TRACE(what + " <- " + std::to_string(bytes.size()) + " bytes");
    std::ofstream(key / "@Bad", std::ios::binary | std::ios::trunc) << bytes;
    EXPECT_EQ(xum::test::error_of([&] { r.get("Bad"); }),
              "Invalid data format ! Value: Bad (" + what + ")\nFile: " + (key / "@Bad").string());
    EXPECT_EQ(r.str_prop("Bad", "x", "def"), "def");
    EXPECT_EQ(number_or_9(r, "Bad"), 9);
  }
  // Something that is no file at all cannot be read.
  fs::remove(key / "@Bad");
  ASSERT_EQ(mkfifo((key / "@Pipe").c_str(), 0600), 0);
  EXPECT_EQ(xum::test::error_of([&] { r.get("Pipe"); }),
            "Data reading error ! Value: Pipe\nFile: " + (key / "@Pipe").string());
}

// Names match whatever their case, as on the registry the store stands in
// for; the spelling first written stays the stored one.
TEST_F(XregKeyTest, NamesMatchIgnoringCaseAndKeepTheirFirstSpelling) {
  xreg_key w("Software/App", false);
  EXPECT_EQ(w.str_prop("Width", "1", ""), "1");
  EXPECT_EQ(xreg_key("SOFTWARE/app", false).str_prop("WIDTH", "2", ""),
            "2");  // the same key and value
  xreg_key r("software\\APP", true);
  EXPECT_EQ(r.str_prop("width", "", "def"), "2");
  EXPECT_EQ(r.get("wIdTh").data, "2");
  EXPECT_EQ(r.value_names(), std::vector<xstr>{"Width"});
  EXPECT_EQ(xreg_key("", true).key_names(), std::vector<xstr>{"Software"});
  // Only ASCII letters fold: other bytes are compared as they are.
  xreg_key(w, "\xC3\xA4").str_prop("v", "lower", "");
  EXPECT_EQ(xreg_key(r, "\xC3\x84").str_prop("v", "", "def"), "def");
  // A store that holds two spellings (written before names folded) reads the
  // exact one first.
  std::ofstream(root_ / "Software" / "App" / "@WIDTH", std::ios::binary) << "XRV\1" << '3' << '\0';
  EXPECT_EQ(r.str_prop("WIDTH", "", "def"), "3");
  EXPECT_EQ(r.str_prop("Width", "", "def"), "2");
  EXPECT_EQ(r.str_prop("width", "", "def"), "3");  // the first of the spellings, bytewise
}

// `binary` of up to 4 bytes stores an integer of the host's byte order as a
// number whose bytes are least significant first, so that the store reads
// the same on every host. The stored bytes of a little-endian host are
// checked above; the host order is a parameter, so that a big-endian host
// is checked on any machine.
TEST(XregKeyNumbers, AreStoredLeastSignificantByteFirstOnABigEndianHost) {
  constexpr auto big = std::endian::big;
  // The host's bytes of the integer, the number stored.
  const std::pair<std::string, std::uint32_t> rows[] = {
      {"\x11\x22\x33\x44", 0x11223344}, {"\x01\x02\x03", 0x010203}, {"", 0}};
  for (const auto& [host, number] : rows) {
    SCOPED_TRACE(host.size());
    const auto size = static_cast<unsigned>(host.size());
    EXPECT_EQ(
        xreg_key::number_from_bytes<big>(reinterpret_cast<const unsigned char*>(host.data()), size),
        number);
    std::string back(host.size(), '\0');
    xreg_key::number_to_bytes<big>(number, reinterpret_cast<unsigned char*>(back.data()), size);
    EXPECT_EQ(back, host);
  }
}

TEST_F(XregKeyTest, ConcurrentProcessesLoseNothing) {
  constexpr int writers = 4, each = 40;
  const auto name = [](int p, int i) { return xstr("p") + xstr(std::to_string(p * 1000 + i)); };
  pid_t pids[writers];
  for (int p = 0; p < writers; ++p) {
    pids[p] = fork();
    ASSERT_GE(pids[p], 0);
    if (pids[p] == 0) {
      xreg_key w("Shared", false);
      const xstr mine = xstr(std::string_view(std::string(5000, static_cast<char>('a' + p))));
      for (int i = 0; i < each; ++i) {
        std::int32_t n = p * 1000 + i;
        w.binary(name(p, i), &n, nullptr, sizeof n);
        w.str_prop("common", mine, "");
      }
      _exit(0);
    }
  }
  for (pid_t pid : pids) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  xreg_key r("Shared", true);
  EXPECT_EQ(r.value_names().size(), static_cast<std::size_t>(writers * each + 1));
  for (int p = 0; p < writers; ++p)
    for (int i = 0; i < each; ++i) {
      std::int32_t n = -1, def = -1;
      r.binary(name(p, i), &n, &def, sizeof n);
      ASSERT_EQ(n, p * 1000 + i) << p << " " << i;
    }
  const xstr common = r.str_prop("common", "", "");
  ASSERT_EQ(common.length(), 5000);
  EXPECT_EQ(common.view().find_first_not_of(common[0]), std::string_view::npos);
  for (const auto& entry : fs::directory_iterator(root_ / "Shared"))
    EXPECT_NE(entry.path().filename().string()[0], '.') << "temporary file left behind";
}

}  // namespace
