// Runs the xum tool as a user would and checks exit codes and output.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/xtest_helpers.h"
#include "tests/support/xtool_run.h"

namespace {

namespace fs = std::filesystem;
using xum::test::file_bytes;
using xum::test::has;
using xum::test::temp_dir;
using run_result = xum::test::tool_result;

// The tool with `args`, after the shell words `env` (variables, limits).
run_result xum(const std::string& args, const std::string& env = "") {
  return xum::test::run_tool(env + "$XUM " + args);
}

// A command line in which $XUM is the tool (stopped after a minute).
run_result shell(const std::string& line) { return xum::test::run_tool(line); }

std::string q(const fs::path& p) { return "'" + p.string() + "'"; }

void put(const fs::path& p, const std::string& bytes) { xum::test::put_file(p, bytes); }

// The exit code and both outputs at once; "*" takes any output.
testing::AssertionResult ran(const run_result& r, int code, const std::string& out, const std::string& err) {
  if (r.code == code && (out == "*" || r.out == out) && (err == "*" || r.err == err))
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "exit " << r.code << "\nout: " << r.out << "\nerr: " << r.err;
}

TEST(XumTool, HelpVersionAndUsageErrors) {
  // Exit 0: standard output starts with the text and nothing goes to
  // standard error. Exit 2: nothing on standard output, the text on error.
  const std::tuple<const char*, int, const char*> rows[] = {
      {"--help", 0, "Usage: xum"}, {"-h", 0, "Usage: xum"}, {"demo -h", 0, "Usage: xum"},
      {"reg set --help", 0, "Usage: xum"}, {"vfs extract --help", 0, "Usage: xum"},
      {"struct set --help", 0, "Usage: xum struct set [--no-create] FILE PATH VALUE"}, {"--version", 0, "xum "},
      {"", 2, "--help"}, {"bogus", 2, "--help"}, {"catalogue extra", 2, "--help"}, {"date 2024-02-30", 2, "--help"},
      {"date --days 370", 2, "--help"}, {"reg set --number K N 1x", 2, "--help"}, {"reg set --hex K N 123", 2, "--help"},
      {"struct get a b//c", 2, "--help"}, {"struct convert a --to json", 2, "--help"}, {"bin dump a --max x", 2, "--help"},
      {"vfs create", 2, "--help"},
      {"vfs cat", 2, "xum vfs cat: missing ARCHIVE\nUsage: xum vfs cat ARCHIVE NAME\nTry 'xum vfs cat --help'.\n"},
      {"vfs extract -C", 2, "xum vfs extract: option -C needs a value\n"},
      {"--version extra", 2, "xum: --version takes no arguments; unexpected 'extra'\nTry 'xum --help'.\n"},
      {"vfs create --header 12x a b", 2, "xum vfs create: --header needs a 32-bit number, not '12x'\n"}};
  for (const auto& [args, code, text] : rows) {
    SCOPED_TRACE(args);
    const auto r = xum(args);
    EXPECT_EQ(r.code, code);
    EXPECT_TRUE(code == 0 ? r.out.rfind(text, 0) == 0 && r.err.empty() : r.out.empty() && has(r.err, text))
        << r.out << r.err;
  }
  EXPECT_TRUE(has(xum("--help").out, "catalogue"));
}

TEST(XumTool, CatalogueListsNewestFirst) {
  const auto r = xum("catalogue");
  ASSERT_EQ(r.code, 0);
  EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 51);
  EXPECT_EQ(r.out.substr(0, r.out.find('\n')), "Line                  \"Line: \"");
  const auto tsv = xum("catalogue --tsv");
  EXPECT_EQ(tsv.out.rfind("Line\tLine: \nFileName\tFile: \neWriteError\t", 0), 0u);
}

TEST(XumTool, ReportedFailurePrintsOnlyTheMessageAndExitsWith1) {
  temp_dir dir;
  const std::string bad = (dir.path / "bad_struct.txt").string(), bad_vfs = (dir.path / "bad.vfs").string();
  put(bad, "TSFx\r\nok=1\r\n=lost\r\n");
  put(bad_vfs, "VFX1234");
  const std::pair<std::string, std::string> rows[] = {
      {"demo /nonexistent-xum-dir", "Sample folder not found !\nFile: /nonexistent-xum-dir\n"},
      {"bin dump /nonexistent-xum.bin", "File not found !\nFile: /nonexistent-xum.bin\n"},
      {"struct dump " + bad, "Value without key ! Value: lost\nFile: " + bad + "\n"},
      {"vfs verify " + bad_vfs, "Invalid data format !\nFile: " + bad_vfs + "\n"},
      {"struct get " XUM_SAMPLES_DIR "/settings/layout.txt Panel/Nope",
       "No value at this path !\nKey: Panel/Nope\n"}};
  for (const auto& [args, err] : rows) {
    SCOPED_TRACE(args);
    EXPECT_TRUE(ran(xum(args), 1, "", err));
  }
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
  EXPECT_EQ(xum("date --days 371").out.substr(0, 18), "date   0001-01-01\n");
}

TEST(XumTool, RegistryValuesPersistAcrossProcessesAndReadsCreateNothing) {
  temp_dir dir;
  const std::string root = dir.path.string(), env = "XUM_REGISTRY_ROOT=" + root + " ";
  EXPECT_TRUE(ran(xum("reg get Soft/App Title", env), 1, "", "Value not found !\nKey: Soft/App\nValue: Title\n"));
  EXPECT_TRUE(ran(xum("reg list Soft/App", env), 1, "", "Key not found !\nKey: Soft/App\n"));
  EXPECT_TRUE(fs::is_empty(root));

  for (const char* args : {"'Soft\\App' Title 'Hello world'", "--number -- Soft/App Count -2",
                           "--hex Soft/App Blob 0102030405", "Soft/App/Child x y"})
    ASSERT_EQ(xum(std::string("reg set ") + args, env).code, 0) << args;
  EXPECT_EQ(xum("reg get Soft/App Title", env).out, "Hello world\n");
  const std::string listed = "Child\\\nBlob\tbinary\t0102030405\nCount\tnumber\t4294967294\n"
                             "Title\ttext\tHello world\n";
  EXPECT_EQ(xum("reg list Soft/App", env).out, listed);

  // A damaged value: get reports it; list shows what it can read and
  // reports the rest.
  const std::string bad = root + "/Soft/App/@Bad";
  put(bad, std::string("XRV\x04\x01\x02\x03", 7));
  const std::string why = " (a number of 3 bytes instead of 4)\nFile: " + bad + "\n";
  EXPECT_TRUE(ran(xum("reg list Soft/App", env), 1, listed,
                  "Invalid data format ! Value: Bad" + why));
}

// ---- struct ----

// A folder with a copy of the sample layout in the text form.
struct struct_files {
  temp_dir dir;
  std::string text = (dir.path / "layout.txt").string();
  struct_files() { put(text, file_bytes(XUM_SAMPLES_DIR "/settings/layout.txt")); }
  int count() const { return static_cast<int>(std::distance(fs::directory_iterator(dir.path), {})); }
};

TEST(XumStructTool, DumpGetSetPackAndCreateAMissingFile) {
  struct_files f;
  const auto d = xum("struct dump " + f.text);
  ASSERT_EQ(d.code, 0) << d.err;
  EXPECT_EQ(d.out.rfind("identifier MainLayout\nTitle = \"Sales report\"\n", 0), 0u) << d.out;
  EXPECT_NE(d.out.find("\nPanel/\n  Left = \"10\"\n  Caption = \"Totals   \"\n  Columns/\n    #0 = \"Region\"\n"),
            std::string::npos);
  EXPECT_EQ(xum("struct get " + f.text + " Panel/Columns/#2").out, "Amount\n");
  for (const auto& [path, value, got] : {std::tuple{"Panel/Left", "42", "42\n"},
                                         {"New/Deep/Key", "'two words '", "two words \n"}}) {
    ASSERT_EQ(xum("struct set " + f.text + " " + path + " " + value).code, 0);
    EXPECT_EQ(xum("struct get " + f.text + " " + path).out, got);
  }
  EXPECT_EQ(xum("struct pack " + f.text).out, "removed 2 empty sections\n");
  EXPECT_EQ(file_bytes(f.text).find("Unused"), std::string::npos);

  const std::string fresh = (f.dir.path / "fresh.txt").string();
  EXPECT_TRUE(ran(xum("struct set --no-create " + fresh + " A/B 1"), 1, "", "File not found !\nFile: " + fresh + "\n"));
  EXPECT_FALSE(fs::exists(fresh));
  ASSERT_EQ(xum("struct set " + fresh + " A/B 1").code, 0);
  EXPECT_EQ(file_bytes(fresh), "TSF\r\n<A\r\n  B=1\r\n> (A)\r\n");
}

TEST(XumStructTool, ConvertRoundTripsAndSetKeepsTheBinaryForm) {
  struct_files f;
  const std::string bin = (f.dir.path / "l.bsf").string(), back = (f.dir.path / "l2.txt").string();
  const std::string dump = xum("struct dump " + f.text).out;
  ASSERT_EQ(xum("struct convert " + f.text + " --to binary -o " + bin).code, 0);
  EXPECT_EQ(file_bytes(bin).rfind("BSF\x0AMainLayout", 0), 0u);
  EXPECT_EQ(xum("struct dump " + bin).out, dump);
  ASSERT_EQ(xum("struct convert " + bin + " --to text --output " + back).code, 0);
  EXPECT_EQ(xum("struct dump " + back).out, dump);

  const auto d = xum("bin dump " + bin + " --max 16");
  ASSERT_EQ(d.code, 0) << d.err;
  EXPECT_EQ(d.out.rfind("size " + std::to_string(file_bytes(bin).size()) + " bytes\nsignature BSF\n"
                        "00000000  42 53 46 0a 4d 61 69 6e 4c 61 79 6f 75 74", 0), 0u) << d.out;
  // A file whose last word points back inside it shows its trailer.
  put(f.dir.path / "t.bin", std::string("ABCDEFGHIJKL\x05\0\0\0", 16));
  EXPECT_NE(xum("bin dump " + q(f.dir.path / "t.bin")).out.find("trailer 5 (4-byte form at offset 12)\n"),
            std::string::npos);

  // The binary form holds line breaks; set and pack keep it binary ...
  ASSERT_EQ(xum("struct set " + bin + " Panel/Note \"$(printf 'two\\nlines')\"").code, 0);
  ASSERT_EQ(xum("struct pack " + bin).code, 0);
  EXPECT_EQ(file_bytes(bin).substr(0, 14), "BSF\x0AMainLayout");
  EXPECT_EQ(xum("struct get " + bin + " Panel/Note").out, "two\nlines\n");
  // ... and refuse what it cannot read back.
  const std::string before = file_bytes(bin);
  EXPECT_TRUE(ran(xum("struct set " + bin + " Long " + std::string(256, 'x')), 1, "",
                  "Cannot be written in the binary form !\nKey: Long\nA text of 256 bytes; the binary form "
                  "reads back texts of at most 255 bytes.\nFile: " + bin + "\n"));
  EXPECT_EQ(file_bytes(bin), before);
}

TEST(XumStructTool, SetAndConvertRefuseWhatTheFormCannotReadBackAndWriteNothing) {
  struct_files f;
  const std::string before = file_bytes(f.text);
  // The library's table covers every rule; these are the reported cases.
  const std::pair<std::string, std::string> rows[] = {
      {"'>' v", "Key: >\nThe key starts with '>'."},
      {"\"Panel/$(printf 'x\\ry')/K\" v", "Key: Panel/x\\ry\nThe name holds a line break."},
  };
  for (const auto& [args, why] : rows) {
    SCOPED_TRACE(args);
    EXPECT_TRUE(ran(xum("struct set " + f.text + " " + args), 1, "",
                    "Cannot be written in the text form !\n" + why + "\nFile: " + f.text + "\n"));
    EXPECT_EQ(file_bytes(f.text), before);
    EXPECT_EQ(f.count(), 1);
  }
  EXPECT_EQ(xum("struct set " + f.text + " ' /K' v").code, 2);  // a blank part names no section
  // What fits is stored and reads back as given.
  ASSERT_EQ(xum("struct set " + f.text + " 'Panel/a<b>' ' x=y @z '").code, 0);
  EXPECT_EQ(xum("struct get " + f.text + " 'Panel/a<b>'").out, " x=y @z \n");

  // Nor does convert write a tree the binary form cannot hold.
  const std::string out = (f.dir.path / "out.bsf").string();
  std::string many = "TSF\r\n<Big\r\n";
  for (int i = 0; i < 32768; ++i) many += "k" + std::to_string(i) + "=1\r\n";
  put(f.text, many);
  EXPECT_TRUE(ran(xum("struct convert " + f.text + " --to binary -o " + out), 1, "",
                  "Cannot be written in the binary form !\nKey: Big\nThe section holds 32768 values; the binary "
                  "form keeps 32767.\nFile: " + f.text + "\n"));
  EXPECT_EQ(f.count(), 1);  // neither OUT nor a temporary file
  EXPECT_EQ(xum("struct convert " + f.text + " --to binary").code, 1);
  EXPECT_EQ(file_bytes(f.text), many);
}

TEST(XumStructTool, ARewriteCutShortLeavesTheOldFile) {
  struct_files f;
  std::string big = "TSFBig\r\n";
  for (int i = 0; i < 500; ++i) big += "key" + std::to_string(i) + "=some value\r\n";
  put(f.text, big);
  const std::string out = (f.dir.path / "out.txt").string();
  put(out, "old output");
  // Writes past the limit (in 512-byte blocks) fail as on a full disk.
  for (const int blocks : {1, 4, 8}) {  // the limit applies to the message file too
    const std::string limit = "trap '' XFSZ; ulimit -f " + std::to_string(blocks) + "; ";
    for (const std::string& args : {"struct set " + f.text + " New v", "struct pack " + f.text,
                                    "struct convert " + f.text + " --to text -o " + out}) {
      SCOPED_TRACE(limit + args);
      const auto r = xum(args, limit);
      EXPECT_EQ(r.code, 1);
      EXPECT_EQ(r.err.rfind("Data writing error !", 0), 0u) << r.err;
      EXPECT_EQ(file_bytes(f.text), big);
      EXPECT_EQ(file_bytes(out), "old output");
      EXPECT_EQ(f.count(), 2);
    }
  }
}

// Every regular file below `root` with its bytes, keyed by file name.
std::map<std::string, std::string> tree_files(const fs::path& root) {
  std::map<std::string, std::string> out;
  for (const auto& e : fs::recursive_directory_iterator(root))
    if (e.is_regular_file()) out[e.path().filename().string()] = file_bytes(e.path().string());
  return out;
}

TEST(XumTool, VfsRoundTripsADirectoryTreeByteForByte) {
  temp_dir tmp;
  const fs::path& dir = tmp.path;
  std::string binary;
  for (unsigned i = 0; i < 300000; ++i) binary.push_back(static_cast<char>(i * 7919u >> 3));
  put(dir / "in" / "a.txt", "alpha\n");
  put(dir / "in" / "deep" / "b.bin", binary);
  put(dir / "in" / "deep" / "deeper" / "empty.dat", "");
  put(dir / "other.txt", "outside\n");
  const std::string archive = q(dir / "pack.vfs");
  // No progress when standard error is a file.
  ASSERT_TRUE(ran(xum("vfs create " + archive + " " + q(dir / "in") + " " + q(dir / "other.txt")), 0, "", ""));
  EXPECT_EQ(xum("vfs list " + archive).out,
            "a.txt\t6\t11\nb.bin\t300000\t17\nempty.dat\t0\t300017\nother.txt\t8\t300017\n");
  ASSERT_TRUE(ran(xum("vfs extract -C " + q(dir / "out") + " " + archive), 0, "*", "*"));
  auto want = tree_files(dir / "in");
  want["other.txt"] = "outside\n";
  EXPECT_EQ(tree_files(dir / "out"), want);
  EXPECT_EQ(xum("vfs verify " + archive).out, "4 members, 300014 bytes: ok\n");
  EXPECT_EQ(xum("vfs cat " + archive + " nothing").code, 1);  // a missing member
}

// ---- vfs and command-line messages ----------------------------------------

// The names in a folder, sorted.
std::string listing(const fs::path& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  std::string out;
  for (const auto& n : names) out += n + " ";
  return out;
}

// An archive (header value 0) with `data` as its data area and a table of
// (name, offset, size) entries that need not match it: how damaged archives
// are made. The scrambling is the format's: the header value is keyed from
// phase 0, every later byte by its absolute position.
std::string vfs_bytes(const std::string& data, const std::vector<std::tuple<std::string, std::uint64_t, std::uint64_t>>& table) {
  auto le = [](std::string& s, std::uint64_t v, int n) {
    for (int i = 0; i < n; ++i) s.push_back(char(v >> (8 * i)));
  };
  std::string b = "VFS";
  le(b, 2, 4);
  le(b, 0, 4);
  b += data;
  le(b, table.size(), 4);
  for (const auto& [name, offset, size] : table) {
    le(b, name.size(), 4);
    b += name;
    le(b, offset, 8);
    le(b, size, 8);
  }
  le(b, 11 + data.size(), 4);
  return xum::test::vfs_scrambled(b);
}

TEST(XumOutput, AFailedWriteToStandardOutputIsExit1) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  temp_dir dir;
  put(dir.path / "in" / "big.bin", std::string(3 << 20, 'x'));  // several blocks
  const std::string archive = q(dir.path / "a.vfs");
  ASSERT_EQ(xum("vfs create " + archive + " " + q(dir.path / "in")).code, 0);
  for (const std::string& args : std::vector<std::string>{"--help", "vfs cat " + archive + " big.bin",
                                                         "vfs create - " + q(dir.path / "in")}) {
    SCOPED_TRACE(args);
    const auto r = shell("$XUM " + args + " >/dev/full");
    EXPECT_EQ(r.code, 1);
    const std::string message = "Data writing error !\nFile: standard output\n";
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find(message), r.err.rfind(message));  // once
  }
}

TEST(XumVfsCreate, SkipsWhatCannotBeReadAndGoesOn) {
  temp_dir dir;
  const fs::path in = dir.path / "in";
  put(in / "ok.txt", "ok");
  put(dir.path / "outside.txt", "linked");
  fs::create_symlink("../outside.txt", in / "link.txt");  // packed as the file
  fs::create_symlink("missing", in / "dangling");
  fs::create_symlink(".", in / "loop");                    // a folder: not followed
  ASSERT_EQ(std::system(("mkfifo " + q(in / "fifo")).c_str()), 0);
  std::vector<std::string> skipped = {(in / "dangling").string(), (in / "fifo").string(), (in / "loop").string(),
                                      "/dev/zero", (dir.path / "missing").string()};
  // Unreadable entries; root reads everything unless its capabilities go.
  std::string as_user = "";
  if (geteuid() == 0) as_user = "setpriv --bounding-set=-dac_override,-dac_read_search ";
  if (geteuid() != 0 || std::system("setpriv --help >/dev/null 2>&1") == 0) {
    put(in / "locked" / "x.txt", "x");
    put(in / "secret.txt", "s");
    fs::permissions(in / "locked", fs::perms::none);
    fs::permissions(in / "secret.txt", fs::perms::none);
    skipped.push_back((in / "locked").string());
    skipped.push_back((in / "secret.txt").string());
  }
  const auto r = shell(as_user + "$XUM vfs create " + q(dir.path / "a.vfs") + " " + q(in) + " /dev/zero " +
                       q(dir.path / "missing"));
  fs::permissions(in / "locked", fs::perms::owner_all, fs::perm_options::add);
  EXPECT_EQ(r.code, 1) << r.err;
  for (const std::string& path : skipped) EXPECT_NE(r.err.find(path + ": "), std::string::npos) << path << "\n" << r.err;
  EXPECT_NE(r.err.find("inputs skipped"), std::string::npos);
  EXPECT_EQ(xum("vfs list " + q(dir.path / "a.vfs")).out, "link.txt\t6\t11\nok.txt\t2\t17\n");
}

TEST(XumVfsCreate, RefusesAnEmptyInputListAndNeverPacksItsOwnArchive) {
  temp_dir dir;
  put(dir.path / "a.txt", "a");
  EXPECT_EQ(xum("vfs create " + q(dir.path / "x.vfs")).code, 2);
  EXPECT_FALSE(fs::exists(dir.path / "x.vfs"));
  const std::string cd = "cd " + q(dir.path) + " && ";
  for (int round = 0; round < 2; ++round) {  // the second time, the archive exists
    SCOPED_TRACE(round);
    EXPECT_EQ(shell(cd + "$XUM vfs create self.vfs .").code, 0);
    EXPECT_EQ(xum("vfs list " + q(dir.path / "self.vfs")).out, "a.txt\t1\t11\n");
  }
  // Nor an archive written to standard output that lands inside the tree.
  EXPECT_EQ(shell(cd + "rm self.vfs && $XUM vfs create - . >piped.vfs").code, 0);
  EXPECT_EQ(xum("vfs list " + q(dir.path / "piped.vfs")).out, "a.txt\t1\t11\n");
  EXPECT_EQ(listing(dir.path), "a.txt piped.vfs ");
}

TEST(XumVfs, CollidingNamesAreRefusedUnlessAllowedAndExtractReplacesLinksAndWritesTheFirst) {
  temp_dir dir;
  put(dir.path / "a" / "readme.txt", "first");
  put(dir.path / "b" / "README.TXT", "second");
  put(dir.path / "b" / "other.txt", "other");
  put(dir.path / "victim.txt", "victim");
  const std::string archive = q(dir.path / "x.vfs"), inputs = " " + q(dir.path / "a") + " " + q(dir.path / "b");
  put(dir.path / "x.vfs", "kept");
  const auto refused = xum("vfs create " + archive + inputs);
  EXPECT_EQ(refused.code, 1);
  EXPECT_TRUE(has(refused.err, "readme.txt: " + (dir.path / "a/readme.txt").string() + ", " +
                                   (dir.path / "b/README.TXT").string())) << refused.err;
  EXPECT_EQ(file_bytes(dir.path / "x.vfs"), "kept");
  ASSERT_EQ(xum("vfs create --allow-duplicates " + archive + inputs).code, 0);
  const fs::path out = dir.path / "out";
  fs::create_directories(out);
  fs::create_symlink("../victim.txt", out / "readme.txt");
  const auto all = xum("vfs extract -C " + q(out) + " " + archive);
  EXPECT_EQ(all.code, 1);
  EXPECT_NE(all.err.find("member 2 'README.TXT': member 1 has the same name"), std::string::npos) << all.err;
  EXPECT_EQ(file_bytes(dir.path / "victim.txt"), "victim");  // the link was replaced, not followed
  EXPECT_FALSE(fs::is_symlink(out / "readme.txt"));
  EXPECT_EQ(file_bytes(out / "readme.txt"), "first");
  EXPECT_EQ(listing(out), "other.txt readme.txt ");

  // A missing name does not stop the others.
  fs::remove_all(out);
  const auto named = xum("vfs extract -C " + q(out) + " " + archive + " nothere OTHER.TXT");
  EXPECT_EQ(named.code, 1);
  EXPECT_NE(named.err.find("nothere: not in the archive"), std::string::npos) << named.err;
  EXPECT_EQ(listing(out), "other.txt ");

  // Unsafe names and a member the table puts past the end: skipped, and
  // nothing half-written is left.
  fs::remove_all(out);
  put(dir.path / "bad.vfs", vfs_bytes("abcde", {{"a.txt", 11, 2}, {"../evil.txt", 13, 1}, {"big.txt", 14, 1ull << 40}}));
  const auto bad = xum("vfs extract -C " + q(out) + " " + q(dir.path / "bad.vfs"));
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("'../evil.txt': not a plain file name"), std::string::npos) << bad.err;
  EXPECT_NE(bad.err.find("'big.txt': the table places it outside"), std::string::npos) << bad.err;
  EXPECT_EQ(listing(out), "a.txt ");
  EXPECT_FALSE(fs::exists(dir.path / "evil.txt"));
}

TEST(XumVfsVerify, FlagsTablesThatPointOutsideTheFile) {
  temp_dir dir;
  const auto run = [&](const std::string& cmd, const std::string& bytes) {
    put(dir.path / "t.vfs", bytes);
    return xum("vfs " + cmd + " " + q(dir.path / "t.vfs"));
  };
  const std::string beyond = vfs_bytes("helloworld", {{"a.txt", 11, 5}, {"b.txt", 16, 20000000000000000ull}});
  EXPECT_TRUE(ran(run("list", beyond), 1, "a.txt\t5\t11\nb.txt\t20000000000000000\t16\tdamaged\n", "*"));
  const auto v = run("verify", beyond);
  EXPECT_TRUE(ran(v, 1, "2 members, 5 bytes: BROKEN\n", "*"));
  EXPECT_NE(v.err.find("'b.txt': 20000000000000000 bytes at offset 16 lie outside"), std::string::npos) << v.err;
  const auto overlap = run("verify", vfs_bytes("helloworld", {{"a.txt", 11, 5}, {"b.txt", 13, 5}}));
  EXPECT_EQ(overlap.code, 1);
  EXPECT_NE(overlap.err.find("'b.txt' overlaps member 1 'a.txt'"), std::string::npos) << overlap.err;
  EXPECT_EQ(run("verify", vfs_bytes("helloworld", {{"a.txt", 11, 5}, {"b.txt", 16, 5}})).code, 0);
}

TEST(XumVfs, DashReadsAndWritesStandardStreams) {
  temp_dir dir;
  put(dir.path / "in" / "a.txt", "alpha");
  EXPECT_TRUE(ran(shell("$XUM vfs create - " + q(dir.path / "in") + " | $XUM vfs list -"), 0, "a.txt\t5\t11\n", "*"));
  ASSERT_EQ(xum("vfs create " + q(dir.path / "x.vfs") + " " + q(dir.path / "in")).code, 0);
  EXPECT_EQ(shell("$XUM vfs cat - A.TXT <" + q(dir.path / "x.vfs")).out, "alpha");
  EXPECT_TRUE(ran(shell("echo junk | $XUM vfs list -"), 1, "*", "Invalid data format !\nFile: standard input\n"));
}

TEST(XumVfsCreate, AFileSizeLimitFailsCleanlyAndKeepsTheOldArchive) {
  // Writes past the limit fail as on a full disk (the signal the limit
  // raises is ignored). The member ends 20 bytes short of 3 MiB, so that the
  // largest limit cuts into the table; the smaller ones cut the member.
  temp_dir dir;
  put(dir.path / "in" / "big.bin", std::string((3 << 20) - 20, 'b'));
  put(dir.path / "old" / "small.txt", "small");
  const fs::path archive = dir.path / "x.vfs";
  ASSERT_EQ(xum("vfs create " + q(archive) + " " + q(dir.path / "old")).code, 0);
  const std::string old = file_bytes(archive);
  // (Standard error goes to a file here, so the limit must leave room for
  // the message.)
  for (int kib : {1, 1024, 3072}) {
    SCOPED_TRACE(kib);
    const auto r = shell("trap '' XFSZ; ulimit -f " + std::to_string(kib) + " && $XUM vfs create " + q(archive) +
                         " " + q(dir.path / "in"));
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.err.rfind("Data writing error !\nFile: " + archive.string() + "\n", 0), 0u) << r.err;
    EXPECT_NE(r.err.find("File too large"), std::string::npos) << r.err;
    EXPECT_TRUE(file_bytes(archive) == old);  // unchanged
    EXPECT_EQ(listing(dir.path), "in old x.vfs ");
  }
}

}  // namespace
