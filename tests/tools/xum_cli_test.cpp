// Runs the xum tool as a user would and checks exit codes and output.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/xtest_helpers.h"

namespace {

struct run_result {
  int code;
  std::string out;
  std::string err;
};

using xum::test::file_bytes;

run_result xum(const std::string& args, const std::string& env = "") {
  // CTest runs the cases as parallel processes: each needs its own files.
  const std::string dir = ::testing::TempDir() + "xum_" + std::to_string(getpid());
  const std::string out = dir + "_out.txt";
  const std::string err = dir + "_err.txt";
  const std::string cmd = env + XUM_TOOL_PATH + " " + args + " >" + out + " 2>" + err;
  const int status = std::system(cmd.c_str());
  run_result r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, file_bytes(out), file_bytes(err)};
  std::remove(out.c_str());
  std::remove(err.c_str());
  return r;
}

int count_lines(const std::string& s) {
  int n = 0;
  for (char c : s) n += c == '\n';
  return n;
}

TEST(XumTool, HelpOnEveryLevelAndVersion) {
  for (const char* args : {"--help", "-h", "catalogue --help", "demo --help", "demo -h", "date --help",
                           "reg --help", "reg set --help", "vfs --help", "vfs extract --help"}) {
    SCOPED_TRACE(args);
    const auto r = xum(args);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out.rfind("Usage: xum", 0), 0u) << r.out;
    EXPECT_TRUE(r.err.empty());
  }
  EXPECT_NE(xum("--help").out.find("catalogue"), std::string::npos);
  EXPECT_EQ(xum("struct set --help").out.rfind("Usage: xum struct set FILE PATH VALUE", 0), 0u);
  const auto v = xum("--version");
  EXPECT_EQ(v.code, 0);
  EXPECT_EQ(v.out.rfind("xum ", 0), 0u);
}

TEST(XumTool, UsageErrorsExitWith2) {
  for (const char* args : {"", "bogus", "--bogus", "catalogue extra", "catalogue --bogus",
                           "demo a b", "date 2024-02-30", "date 2024-2", "date --days 370",
                           "date --days 5x", "date 2024-01-01 x", "reg", "reg get K",
                           "reg set --number K N 1x", "reg set --hex K N 123", "struct", "struct get a",
                           "struct get a b//c", "struct set a b", "struct pack", "struct convert a",
                           "struct convert a --to json", "bin dump a --max x", "vfs create"}) {
    SCOPED_TRACE(args);
    const auto r = xum(args);
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(r.out.empty());
    EXPECT_NE(r.err.find("--help"), std::string::npos) << r.err;
  }
}

TEST(XumTool, CatalogueListsNewestFirst) {
  const auto r = xum("catalogue");
  ASSERT_EQ(r.code, 0);
  EXPECT_EQ(count_lines(r.out), 51);
  EXPECT_EQ(r.out.substr(0, r.out.find('\n')), "Line                  \"Line: \"");
  const auto tsv = xum("catalogue --tsv");
  EXPECT_EQ(tsv.out.rfind("Line\tLine: \nFileName\tFile: \neWriteError\t", 0), 0u);
  EXPECT_NE(tsv.out.find("\nAbort\tAbort\n"), std::string::npos);
  EXPECT_EQ(tsv.out.size() - tsv.out.rfind("Abort\tAbort\n"), 12u);
}

TEST(XumTool, ReportedFailurePrintsOnlyTheMessageAndExitsWith1) {
  const std::string bad = ::testing::TempDir() + "bad_struct.txt", bad_vfs = ::testing::TempDir() + "bad.vfs";
  std::ofstream(bad, std::ios::binary) << "TSFx\r\nok=1\r\n=lost\r\n";
  std::ofstream(bad_vfs, std::ios::binary) << "VFX1234";
  const std::pair<std::string, std::string> rows[] = {
      {"demo /nonexistent-xum-dir", "Sample folder not found !\nFile: /nonexistent-xum-dir\n"},
      {"struct dump /nonexistent-xum.txt", "File not found !\nFile: /nonexistent-xum.txt\n"},
      {"bin dump /nonexistent-xum.bin", "File not found !\nFile: /nonexistent-xum.bin\n"},
      {"vfs list /nonexistent-xum.vfs", "File not found !\nFile: /nonexistent-xum.vfs\n"},
      {"struct dump " + bad, "Value without key ! Value: lost\nFile: " + bad + "\n"},
      {"vfs verify " + bad_vfs, "Invalid data format !\nFile: " + bad_vfs + "\n"},
      {"struct get " XUM_SAMPLES_DIR "/settings/layout.txt Panel/Nope",
       "No value at this path !\nKey: Panel/Nope\n"}};
  for (const auto& [args, err] : rows) {
    SCOPED_TRACE(args);
    const auto r = xum(args);
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(r.err, err);
  }
  std::remove(bad.c_str());
  std::remove(bad_vfs.c_str());
}

TEST(XumTool, DemoRunsOnBundledSamples) {
  const auto r = xum("demo");
  ASSERT_EQ(r.code, 0) << r.err;
  // The header "XUM1" stays plain; 'I' (0x49) ^ key[0] (0x5c) is 0x15.
  for (const char* line : {"numbers: 10 (5 integer, 5 real, 2 negative)",
                           "51 records, the list runs from \"Line\" to \"Abort\"", "bytes read back unchanged",
                           "on disk   58 55 4d 31 15 ", "read through a file stream: Title = \"Sales report\"",
                           "read back: width 1280, 3 recent files, caption keeps its blanks: \"Totals   \""})
    EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
}

TEST(XumTool, DateConvertsBetweenDatesAndDayNumbers) {
  const auto r = xum("date 2024-02-29");
  ASSERT_EQ(r.code, 0) << r.err;
  // LC_ALL=C fixes the short format; the environment of a test run may not.
  EXPECT_EQ(r.out.substr(0, r.out.find("short")),
            "date   2024-02-29\ndays   739315\nday    Thursday\nmonth  Febrary\n");
  EXPECT_EQ(xum("date 2024-02-29", "LC_ALL=C ").out.substr(r.out.find("short")), "short  02/29/24\n");
  // The day number of 28 February of a leap year gives 29 February back.
  EXPECT_EQ(xum("date --days 739314").out.substr(0, 18), "date   2024-02-29\n");
  EXPECT_EQ(xum("date --days 371").out.substr(0, 18), "date   0001-01-01\n");
  const auto today = xum("date");
  EXPECT_EQ(today.code, 0);
  EXPECT_EQ(count_lines(today.out), 5);
}

TEST(XumTool, RegistryValuesPersistAcrossProcesses) {
  const std::string root = ::testing::TempDir() + "xum_reg_" + std::to_string(::getpid());
  const std::string env = "XUM_REGISTRY_ROOT=" + root + " ";
  for (const char* args : {"'Soft\\App' Title 'Hello world'", "--number -- Soft/App Count -2",
                           "--hex Soft/App Blob 0102030405", "--hex Soft/App Short 3412",
                           "Soft/App/Child x y"})
    ASSERT_EQ(xum(std::string("reg set ") + args, env).code, 0) << args;
  EXPECT_EQ(xum("reg get Soft/App Title", env).out, "Hello world\n");
  EXPECT_EQ(xum("reg get Soft/App Count", env).out, "4294967294\n");
  EXPECT_EQ(xum("reg list Soft/App", env).out,
            "Child\\\nBlob\tbinary\t0102030405\nCount\tnumber\t4294967294\n"
            "Short\tnumber\t4660\nTitle\ttext\tHello world\n");
  const auto missing = xum("reg get Soft/App Nope", env);
  EXPECT_EQ(missing.code, 1);
  EXPECT_EQ(missing.err, "Value not found !\nKey: Soft/App\nValue: Nope\n");
  std::filesystem::remove_all(root);
}

TEST(XumTool, RegistryReadsCreateNothingAndReportDamage) {
  const std::string root = ::testing::TempDir() + "xum_reg_read_" + std::to_string(::getpid());
  const std::string env = "XUM_REGISTRY_ROOT=" + root + " ";
  std::filesystem::create_directories(root);
  const auto get = xum("reg get Soft/App Title", env);
  EXPECT_EQ(get.code, 1);
  EXPECT_EQ(get.err, "Value not found !\nKey: Soft/App\nValue: Title\n");
  const auto list = xum("reg list Soft/App", env);
  EXPECT_EQ(list.code, 1);
  EXPECT_EQ(list.err, "Key not found !\nKey: Soft/App\n");
  EXPECT_TRUE(std::filesystem::is_empty(root));

  ASSERT_EQ(xum("reg set Soft/App Good v", env).code, 0);
  const std::string bad = root + "/Soft/App/@Bad";
  std::ofstream(bad, std::ios::binary) << std::string("XRV\x04\x01\x02\x03", 7);
  const std::string damage = "Invalid data format ! Value: bad (a number of 3 bytes instead of 4)\nFile: " + bad + "\n";
  const auto damaged = xum("reg get soft/app bad", env);
  EXPECT_EQ(damaged.code, 1);
  EXPECT_TRUE(damaged.out.empty());
  EXPECT_EQ(damaged.err, damage);
  // list shows what it can read and reports the rest.
  const auto listed = xum("reg list Soft/App", env);
  EXPECT_EQ(listed.code, 1);
  EXPECT_EQ(listed.out, "Good\ttext\tv\n");
  EXPECT_EQ(listed.err, "Invalid data format ! Value: Bad (a number of 3 bytes instead of 4)\nFile: " + bad + "\n");
  std::filesystem::remove_all(root);
}

TEST(XumTool, StructDumpGetSetAndPack) {
  const std::string file = ::testing::TempDir() + "layout_set.txt";
  std::ofstream(file, std::ios::binary) << file_bytes(XUM_SAMPLES_DIR "/settings/layout.txt");
  const auto d = xum("struct dump " + file);
  ASSERT_EQ(d.code, 0) << d.err;
  EXPECT_EQ(d.out.rfind("identifier MainLayout\nTitle = \"Sales report\"\n", 0), 0u) << d.out;
  EXPECT_NE(d.out.find("\nPanel/\n  Left = \"10\"\n  Caption = \"Totals   \"\n  Columns/\n    #0 = \"Region\"\n"),
            std::string::npos);
  for (const auto& [path, value] : {std::pair{"Width", "1024\n"}, {"Panel/Columns/#2", "Amount\n"},
                                    {"RecentFiles/#1", "/home/ann/q2.xls\n"}}) {
    SCOPED_TRACE(path);
    const auto g = xum("struct get " + file + " " + path);
    EXPECT_EQ(g.code, 0);
    EXPECT_EQ(g.out, value);
  }
  for (const auto& [path, value, got] : {std::tuple{"Panel/Left", "42", "42\n"},
                                         {"New/Deep/Key", "'two words '", "two words \n"}}) {
    ASSERT_EQ(xum("struct set " + file + " " + path + " " + value).code, 0);
    EXPECT_EQ(xum("struct get " + file + " " + path).out, got);
  }
  const std::string text = file_bytes(file);
  EXPECT_NE(text.find("\r\n  Left=42\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n    Key=two words @\r\n"), std::string::npos);
  const auto p = xum("struct pack " + file);
  EXPECT_EQ(p.out, "removed 2 empty sections\n");
  EXPECT_EQ(file_bytes(file).find("Unused"), std::string::npos);
  std::remove(file.c_str());
}

TEST(XumTool, StructConvertRoundTripsThroughTheBinaryForm) {
  const std::string text = XUM_SAMPLES_DIR "/settings/layout.txt";
  const std::string bin = ::testing::TempDir() + "layout_convert.bsf";
  const std::string back = ::testing::TempDir() + "layout_convert.txt";
  const std::string dump = xum("struct dump " + text).out;
  ASSERT_EQ(xum("struct convert " + text + " --to binary -o " + bin).code, 0);
  EXPECT_EQ(file_bytes(bin).rfind("BSF\x0AMainLayout", 0), 0u);
  EXPECT_EQ(xum("struct dump " + bin).out, dump);
  ASSERT_EQ(xum("struct convert " + bin + " --to text --output " + back).code, 0);
  EXPECT_EQ(xum("struct dump " + back).out, dump);

  const auto d = xum("bin dump " + bin + " --max 16");
  ASSERT_EQ(d.code, 0) << d.err;
  EXPECT_EQ(d.out.rfind("size " + std::to_string(file_bytes(bin).size()) + " bytes\nsignature BSF\n"
                        "00000000  42 53 46 0a 4d 61 69 6e 4c 61 79 6f 75 74", 0), 0u) << d.out;
  EXPECT_NE(d.out.find("more bytes (see --max)"), std::string::npos);
  // A file whose last word points back inside it shows its trailer.
  const std::string rec = ::testing::TempDir() + "trailer.bin";
  std::ofstream(rec, std::ios::binary) << std::string("ABCDEFGHIJKL\x05\0\0\0", 16);
  EXPECT_NE(xum("bin dump " + rec).out.find("trailer 5 (4-byte form at offset 12)\n"), std::string::npos);
  for (const std::string& f : {bin, back, rec}) std::remove(f.c_str());
}

// Every regular file below `root` with its bytes, keyed by file name.
std::map<std::string, std::string> tree_files(const std::filesystem::path& root) {
  std::map<std::string, std::string> out;
  for (const auto& e : std::filesystem::recursive_directory_iterator(root))
    if (e.is_regular_file()) out[e.path().filename().string()] = file_bytes(e.path().string());
  return out;
}

TEST(XumTool, VfsRoundTripsADirectoryTreeByteForByte) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::path(::testing::TempDir()) / ("xum_vfs_" + std::to_string(getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir / "in" / "deep" / "deeper");
  std::string binary;
  for (unsigned i = 0; i < 300000; ++i) binary.push_back(static_cast<char>(i * 7919u >> 3));
  std::ofstream(dir / "in" / "a.txt") << "alpha\n";
  std::ofstream(dir / "in" / "deep" / "b.bin", std::ios::binary) << binary;
  std::ofstream(dir / "in" / "deep" / "deeper" / "empty.dat");
  std::ofstream(dir / "other.txt") << "outside\n";
  const std::string archive = (dir / "pack.vfs").string();

  const auto c = xum("vfs create " + archive + " " + (dir / "in").string() + " " + (dir / "other.txt").string());
  ASSERT_EQ(c.code, 0) << c.err;
  EXPECT_TRUE(c.err.empty()) << c.err;  // no progress when standard error is a file
  const auto l = xum("vfs list " + archive);
  EXPECT_EQ(l.out, "a.txt\t6\t11\nb.bin\t300000\t17\nempty.dat\t0\t300017\nother.txt\t8\t300017\n");
  const auto x = xum("vfs extract -C " + (dir / "out").string() + " " + archive);
  ASSERT_EQ(x.code, 0) << x.err;
  auto want = tree_files(dir / "in");
  want["other.txt"] = "outside\n";
  EXPECT_EQ(tree_files(dir / "out"), want);
  EXPECT_EQ(xum("vfs cat " + archive + " DEEP/A.TXT").out, "alpha\n");
  EXPECT_EQ(xum("vfs verify " + archive).out, "4 members, 300014 bytes: ok\n");

  // A repeated name is stored with a warning; extract by name finds the first.
  const auto d = xum("vfs create " + archive + " " + (dir / "in" / "a.txt").string() + " " +
                     (dir / "out" / "a.txt").string());
  EXPECT_EQ(d.code, 0);
  EXPECT_NE(d.err.find("is already in the archive"), std::string::npos) << d.err;
  EXPECT_EQ(xum("vfs cat " + archive + " nothing").code, 1);  // a missing member
  fs::remove_all(dir);
}

}  // namespace
