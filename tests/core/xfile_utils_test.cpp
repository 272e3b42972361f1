#include "core/xfile_utils.h"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/xvirtual_fs.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

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

// Changing an extension and making a path relative to a base or expanding
// it against one: name or base, extension or path, result.
TEST(XFilePath, ChangesExtensionsAndRelatesPathsToABase) {
  using fn = xstr (*)(const xstr&, const xstr&);
  const fn ext = xchange_file_ext, rel = xextract_relative_path, expand = xexpand_relative_path;
  const std::tuple<fn, const char*, const char*, const char*> rows[] = {
      {ext, "c:\\dir.v2\\file", ".txt", "c:\\dir.v2\\file.txt"},
      {ext, "a.tar.gz", ".zip", "a.tar.zip"},
      {ext, "c:\\x\\a.b", "", "c:\\x\\a"},
      {ext, "d.v\\", ".x", "d.v\\.x"},
      {ext, "c:f.txt", ".bmp", "c:f.bmp"},
      {rel, "C:\\Data\\Projects\\", "c:\\data\\images\\a.bmp", "..\\images\\a.bmp"},
      {rel, "D:\\Work\\", "c:\\data\\images\\a.bmp", "c:\\data\\images\\a.bmp"},
      {rel, "c:\\data\\", "C:\\DATA\\Images\\A.bmp", "Images\\A.bmp"},  // the path's case kept
      {rel, "c:\\data\\", "c:\\data\\", "..\\data\\"},                  // equal is not a prefix
      {rel, "c:\\data", "c:\\data\\a", "c:\\data\\a"},                  // base without separator
      {rel, "a\\", "a\\x", "x"},     // a short base that is a prefix is used
      {rel, "a\\", "b\\x", "b\\x"},  // a short base that is not ends the climb
      {rel, "ab\\cd\\", "ab\\x", "..\\x"},
      {rel, "data:\\x\\", "c:\\y", "c:\\y"},  // a long drive name is its own parent
      {expand, "c:\\data\\projects\\", "..\\images\\a.bmp", "c:\\data\\images\\a.bmp"},
      {expand, "c:\\a\\b\\c\\", "..\\..\\x", "c:\\a\\x"},
      {expand, "c:\\", "..\\x", "c:\\x"},  // the root has no parent
      {expand, "c:\\a\\b\\", "..", "c:\\a\\"},
      {expand, "c:\\a\\b\\", ".\\xy", "c:\\a\\y"},  // any leading dot climbs 3 characters
      {expand, "c:\\a\\", "", "c:\\a\\"},
  };
  for (const auto& [f, a, b, want] : rows) check_both_styles(a, b, want, f);
  // Lower-casing may change a character's byte length; the cut must follow
  // the path's own characters.
  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "no C.UTF-8 locale";
  EXPECT_EQ(xextract_relative_path("c:\\ⱥⱥ\\", "c:\\ȺȺ\\x").view(), "x");  // 2 -> 3 bytes
  EXPECT_EQ(xextract_relative_path("/K/", "/\u212A/x").view(), "x");       // Kelvin: 3 -> 1
  std::setlocale(LC_CTYPE, saved.c_str());
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

// An archive that holds "archive/inside.dat" and counts the questions.
class fake_archive : public xvirtual_fs_interface {
 public:
  xstream* get_file_stream(const xstr&) override { return nullptr; }
  bool is_file_exists(const xstr& name) override { return ++asked, name == "archive/inside.dat"; }
  int asked = 0;
};

// Only when asked to is the installed archive asked, before the disk, which
// counts directories too.
TEST(XFileSystem, FileExistsAsksTheArchiveFirstOnlyWhenToldTo) {
  const test::temp_dir dir;
  const std::string file = (dir.path / "a.txt").string();
  test::put_file(file, "x");
  fake_archive archive;
  xvirtual_fs_interface::set(&archive);
  EXPECT_TRUE(xfile_exists(X(file), true));
  EXPECT_TRUE(xfile_exists("archive/inside.dat", true));
  EXPECT_EQ(archive.asked, 2);
  EXPECT_FALSE(xfile_exists("archive/inside.dat", false));
  EXPECT_TRUE(xfile_exists(X(dir.path.string()), false));
  EXPECT_EQ(archive.asked, 2);
  xvirtual_fs_interface::set(nullptr);
}

}  // namespace
}  // namespace xum
