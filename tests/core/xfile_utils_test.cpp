#include "core/xfile_utils.h"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
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
      check_both_styles(r[0], "", r[i + 1],
                        [&](const xstr& s, const xstr&) { return parts[i](s); });
  // The separator added back is the one that was there.
  EXPECT_EQ(xextract_file_path("c:\\data/a.txt").view(), "c:\\data/");
  EXPECT_EQ(xextract_file_path("/data\\a.txt").view(), "/data\\");
}

TEST(XFilePath, ChangesExtension) {
  const char* const ext_rows[][3] = {{"c:\\dir.v2\\file", ".txt", "c:\\dir.v2\\file.txt"},
                                     {"a.tar.gz", ".zip", "a.tar.zip"},
                                     {"c:\\x\\a.b", "", "c:\\x\\a"},
                                     {"d.v\\", ".x", "d.v\\.x"},
                                     {"c:f.txt", ".bmp", "c:f.bmp"}};
  for (const auto& r : ext_rows) check_both_styles(r[0], r[1], r[2], xchange_file_ext);
}

TEST(XRelativePath, ExtractsAgainstBase) {
  const char* const rows[][3] = {
      {"C:\\Data\\Projects\\", "c:\\data\\images\\a.bmp", "..\\images\\a.bmp"},
      {"D:\\Work\\", "c:\\data\\images\\a.bmp", "c:\\data\\images\\a.bmp"},
      {"c:\\data\\", "C:\\DATA\\Images\\A.bmp", "Images\\A.bmp"},  // the path's case kept
      {"c:\\data\\", "c:\\data\\", "..\\data\\"},                  // equal is not a prefix
      {"c:\\data", "c:\\data\\a", "c:\\data\\a"},                  // base without separator
      {"a\\", "a\\x", "x"},     // a short base that is a prefix is used
      {"a\\", "b\\x", "b\\x"},  // a short base that is not ends the climb
      {"ab\\cd\\", "ab\\x", "..\\x"},
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
      {"c:\\", "..\\x", "c:\\x"},  // the root has no parent
      {"c:\\a\\b\\", "..", "c:\\a\\"},
      {"c:\\a\\b\\", ".\\xy", "c:\\a\\y"},  // any leading dot climbs 3 characters
      {"c:\\a\\", "", "c:\\a\\"}};
  for (const auto& r : rows) check_both_styles(r[0], r[1], r[2], xexpand_relative_path);
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

// An archive that holds "archive/inside.dat" and counts the questions.
class fake_archive : public xvirtual_fs_interface {
 public:
  xstream* get_file_stream(const xstr&) override { return nullptr; }
  bool is_file_exists(const xstr& name) override { return ++asked, name == "archive/inside.dat"; }
  int asked = 0;
};

// Only when asked to is the installed archive asked, before the disk, which
// counts directories too.
TEST_F(XFileSystem, FileExistsAsksTheArchiveFirstOnlyWhenToldTo) {
  touch("a.txt");
  fake_archive archive;
  xvirtual_fs_interface::set(&archive);
  EXPECT_TRUE(xfile_exists(X(at("a.txt")), true));
  EXPECT_TRUE(xfile_exists("archive/inside.dat", true));
  EXPECT_EQ(archive.asked, 2);
  EXPECT_FALSE(xfile_exists("archive/inside.dat", false));
  EXPECT_TRUE(xfile_exists(X(root_.string()), false));
  EXPECT_EQ(archive.asked, 2);
  xvirtual_fs_interface::set(nullptr);
}

}  // namespace
}  // namespace xum
