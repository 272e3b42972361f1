#include "core/xfile_utils.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/xvirtual_fs.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

xstr X(const std::string& s) { return xstr(std::string_view(s)); }
std::string slashed(std::string s) {
  std::replace(s.begin(), s.end(), '\\', '/');
  return s;
}

// Checks f(a, b) == want for a row as written and, when its texts hold a '\',
// once more with every '\' turned into '/'.
void check_both_styles(const char* a, const char* b, const char* want,
                       const std::function<xstr(const xstr&, const xstr&)>& f) {
  for (const bool posix : {false, true}) {
    if (posix && !std::strchr(a, '\\') && !std::strchr(b, '\\')) continue;
    const auto style = [posix](const char* s) { return posix ? slashed(s) : std::string(s); };
    SCOPED_TRACE(style(a) + " | " + style(b));
    EXPECT_EQ(f(X(style(a)), X(style(b))).view(), style(want));
  }
}

TEST(XFilePath, SplitsWithEitherSeparator) {
  // Name, then its dir, path, file name and extension.
  const char* const rows[][5] = {
      {"c:\\a\\b.txt", "c:\\a", "c:\\a\\", "b.txt", ".txt"},
      {"c:\\dir.v2\\file", "c:\\dir.v2", "c:\\dir.v2\\", "file", ""},
      {"a.tar.gz", "", "", "a.tar.gz", ".gz"},
      {"\\a.txt", "", "", "a.txt", ".txt"},  // a root without drive is dropped
      {"c:\\a\\\\b", "c:\\a\\", "c:\\a\\\\", "b", ""},
      {"x.y:z", "x.y:", "x.y:\\", "z", ".y:z"},  // colon splits names, not extensions
      {"c:b.txt", "c:", "c:\\", "b.txt", ".txt"},
      {"", "", "", "", ""}};
  xstr (*const parts[])(const xstr&) = {xextract_file_dir, xextract_file_path, xextract_file_name,
                                         xextract_file_ext};
  for (const auto& r : rows)
    for (int i = 0; i < 4; ++i)
      check_both_styles(r[0], "", r[i + 1], [&](const xstr& s, const xstr&) { return parts[i](s); });
  // The separator added back is the one that was there.
  EXPECT_EQ(xextract_file_path("c:\\data/a.txt").view(), "c:\\data/");
  EXPECT_EQ(xextract_file_path("/data\\a.txt").view(), "/data\\");
}

TEST(XFilePath, ChangesExtensionAndTrailingSeparator) {
  const char* const ext_rows[][3] = {{"c:\\dir.v2\\file", ".txt", "c:\\dir.v2\\file.txt"},
                                     {"a.tar.gz", ".zip", "a.tar.zip"},
                                     {"c:\\x\\a.b", "", "c:\\x\\a"},
                                     {"d.v\\", ".x", "d.v\\.x"},
                                     {"c:f.txt", ".bmp", "c:f.bmp"}};
  for (const auto& r : ext_rows) check_both_styles(r[0], r[1], r[2], xchange_file_ext);

  const char* const trail_rows[][2] = {
      {"c:\\a\\", "c:\\a"}, {"c:\\a", "c:\\a"}, {"\\", ""}, {"a\\\\", "a\\"}, {"", ""}};
  for (const auto& r : trail_rows)
    check_both_styles(r[0], "", r[1],
                      [](const xstr& s, const xstr&) { return xexclude_trailing_backslash(s); });
}

TEST(XRelativePath, ExtractsAgainstBase) {
  const char* const rows[][3] = {
      {"C:\\Data\\Projects\\", "c:\\data\\images\\a.bmp", "..\\images\\a.bmp"},
      {"D:\\Work\\", "c:\\data\\images\\a.bmp", "c:\\data\\images\\a.bmp"},
      {"c:\\data\\", "C:\\DATA\\Images\\A.bmp", "Images\\A.bmp"},  // the path's case kept
      {"c:\\a\\b\\c\\", "c:\\x.txt", "..\\..\\..\\x.txt"},
      {"c:\\data\\", "c:\\data\\", "..\\data\\"},  // equal is not a prefix
      {"c:\\data", "c:\\data\\a", "c:\\data\\a"},  // base without separator
      {"a\\", "a\\x", "x"},     // a short base that is a prefix is used
      {"a\\", "b\\x", "b\\x"},  // a short base that is not ends the climb
      {"ab\\cd\\", "ab\\x", "..\\x"},
      {"\\home\\u\\proj\\", "\\home\\u\\img\\a.bmp", "..\\img\\a.bmp"},
      {"data:\\x\\", "c:\\y", "c:\\y"}};  // a long drive name is its own parent
  for (const auto& r : rows) check_both_styles(r[0], r[1], r[2], xextract_relative_path);

  // Lower-casing may change a character's byte length; the cut must follow
  // the path's own characters.
  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "no C.UTF-8 locale";
  EXPECT_EQ(xextract_relative_path("c:\\ⱥⱥ\\", "c:\\ȺȺ\\x").view(), "x");  // 2 -> 3 bytes
  EXPECT_EQ(xextract_relative_path("/K/", "/\u212A/x").view(), "x");       // Kelvin: 3 -> 1
  std::setlocale(LC_CTYPE, saved.c_str());
}

TEST(XRelativePath, ExpandsAgainstBase) {
  const char* const rows[][3] = {
      {"c:\\data\\projects\\", "..\\images\\a.bmp", "c:\\data\\images\\a.bmp"},
      {"c:\\a\\b\\c\\", "..\\..\\x", "c:\\a\\x"},
      {"c:\\data\\", "d:\\x", "d:\\x"},
      {"c:\\", "..\\x", "c:\\x"},  // the root has no parent
      {"c:\\a\\b\\", "..", "c:\\a\\"},
      {"c:\\a\\b\\", ".\\xy", "c:\\a\\y"},  // any leading dot climbs 3 characters
      {"c:\\a\\", "", "c:\\a\\"}};
  for (const auto& r : rows) check_both_styles(r[0], r[1], r[2], xexpand_relative_path);

  // Without a common directory below the root, the relative text still leads back.
  const char* const pairs[][2] = {
      {"/home/u/", "/srv/x"}, {"c:\\a\\b\\", "c:\\a\\c\\d"}, {"/a/", "/a/b"}};
  for (const auto& [base, path] : pairs) {
    SCOPED_TRACE(path);
    EXPECT_EQ(xexpand_relative_path(base, xextract_relative_path(base, path)).view(), path);
  }
}

// The wildcard rule tried split by split, as a reference for short texts.
bool reference_match(std::string_view n, std::string_view m) {
  if (m.empty()) return n.empty();
  if (m[0] == '*') {
    for (std::size_t i = 0; i <= n.size(); ++i)
      if (reference_match(n.substr(i), m.substr(1))) return true;
    return false;
  }
  return !n.empty() && (m[0] == '?' || m[0] == n[0]) && reference_match(n.substr(1), m.substr(1));
}

TEST(XMatchMask, MatchesWildcards) {
  std::string stars;
  for (int i = 0; i < 100; ++i) stars += "*a";
  const std::string as(200, 'a');
  EXPECT_TRUE(xmatch_mask("Report.TXT", "*.txt"));  // case ignored
  // Stars that a backtracking search would try in every split.
  EXPECT_FALSE(xmatch_mask(X(as), X(stars + "*b")));
  EXPECT_TRUE(xmatch_mask(X(as + "b"), X(stars + "*b")));
  // Every text over {a, b} up to 5 long against every mask over {a, b, ?, *}
  // up to 4 long gives what the rule gives.
  std::vector<std::string> texts{""};
  for (std::size_t i = 0; texts[i].size() < 5; ++i)
    for (const char c : {'a', 'b', '?', '*'}) texts.push_back(texts[i] + c);
  for (const std::string& mask : texts) {
    if (mask.size() > 4) break;  // the texts come shortest first
    for (const std::string& name : texts) {
      if (name.find_first_of("?*") != std::string::npos) continue;
      ASSERT_EQ(xmatch_mask(X(name), X(mask)), reference_match(name, mask))
          << name << " ~ " << mask;
    }
  }
}

// Each test gets a fresh folder under the system's temporary directory.
class XFileSystem : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return (root_ / name).string(); }
  void touch(const std::string& name) const { std::ofstream(at(name)) << "x"; }

  test::temp_dir dir_;
  const fs::path root_ = dir_.path;
};

class fake_archive : public xvirtual_fs_interface {
 public:
  xstream* get_file_stream(const xstr&) override { return nullptr; }
  bool is_file_exists(const xstr& name) override {
    ++asked;
    return name == "archive/inside.dat";
  }
  int asked = 0;
};

TEST_F(XFileSystem, FileExistsAsksTheArchiveFirst) {
  touch("a.txt");
  // Name, whether the archive is asked, whether one is installed, the
  // answer and how often the archive was asked.
  const std::tuple<std::string, bool, bool, bool, int> rows[] = {
      {at("a.txt"), true, true, true, 1},       // the archive says no, the disk yes
      {root_.string(), false, false, true, 0},  // directories count
      {"archive/inside.dat", true, true, true, 1},
      {"archive/inside.dat", false, true, false, 0}};
  for (const auto& [name, ask, installed, want, asked] : rows) {
    SCOPED_TRACE(name + (ask ? " ask" : "") + (installed ? " installed" : ""));
    fake_archive archive;
    xvirtual_fs_interface::set(installed ? &archive : nullptr);
    const bool got = xfile_exists(X(name), ask);
    xvirtual_fs_interface::set(nullptr);
    EXPECT_EQ(got, want);
    EXPECT_EQ(archive.asked, asked);
  }
}

TEST_F(XFileSystem, EnumeratorListsMatchingEntries) {
  for (const char* name : {"a.txt", "B.TXT", "c.bmp", "noext", ".hidden"}) touch(name);
  fs::create_directory(at("sub.txt"));
  using names = std::set<std::string>;
  const std::pair<std::string, names> rows[] = {
      {at("*.txt"), {"a.txt", "B.TXT", "sub.txt"}},  // directories count, case ignored
      {at("*"), {"a.txt", "B.TXT", "c.bmp", "noext", ".hidden", "sub.txt"}},  // no "." or ".."
      {at("missing/*"), {}},
      {"/pro?", {"proc"}}};  // the root directory stays "/"
  for (const auto& [mask, want] : rows) {
    SCOPED_TRACE(mask);
    xfiles_enumerator e(X(mask));
    names got;
    while (e.search()) EXPECT_TRUE(got.insert(std::string(e.get_file_name().view())).second);
    EXPECT_EQ(got, want);
    EXPECT_FALSE(e.search());
  }
}

TEST_F(XFileSystem, TempFileNamesAndDeletes) {
  const char* old = std::getenv("TMPDIR");
  const std::string saved = old ? old : "";
  setenv("TMPDIR", root_.c_str(), 1);
  const auto exists = [](const xstr& n) { return fs::exists(std::string(n.view())); };
  // Rows: extension, whether the named file is written before the object dies.
  const std::pair<const char*, bool> rows[] = {{".tmp", false}, {".bmp", true}};
  for (const auto& [ext, write] : rows) {
    SCOPED_TRACE(std::string(ext) + (write ? " written" : ""));
    xstr name;
    {
      xtemp_file t(ext);
      name = t.get_file_name();
      EXPECT_EQ(name.view().substr(0, at("xtf").size()), at("xtf"));
      EXPECT_EQ(exists(name), ext == std::string_view(".tmp"));
      const xstr created = xchange_file_ext(name, ".tmp");
      EXPECT_TRUE(exists(created));
      if (created != name) fs::remove(std::string(created.view()));  // stays behind by design
      if (write) std::ofstream(std::string(name.view())) << "bmp";
    }
    EXPECT_FALSE(exists(name));
  }
  EXPECT_TRUE(fs::is_empty(root_));
  old ? setenv("TMPDIR", saved.c_str(), 1) : unsetenv("TMPDIR");
}

TEST_F(XFileSystem, FileAgePacksLocalModificationTime) {
  touch("f");
  const std::pair<const char*, unsigned> rows[] = {
      {"2021-07-14 15:09:27", 0x52EE792Du},  // odd seconds round down
      {"2050-12-31 23:59:59", 0x8D9FBF7Du},   // the sign bit is a year bit
      {"1975-06-01 12:00:00", 0x00210000u}};  // before 1980: clamped
  for (const auto& [local, want] : rows) {
    SCOPED_TRACE(local);
    std::tm tm{};
    std::istringstream(local) >> std::get_time(&tm, "%Y-%m-%d %H:%M:%S");
    tm.tm_isdst = -1;
    const auto when = std::chrono::system_clock::from_time_t(std::mktime(&tm));
    fs::last_write_time(at("f"), std::chrono::file_clock::from_sys(when));
    EXPECT_EQ(static_cast<unsigned>(xfile_age(X(at("f")))), want);
  }
  EXPECT_EQ(xfile_age(X(at("missing"))), 0);
}

}  // namespace
}  // namespace xum
