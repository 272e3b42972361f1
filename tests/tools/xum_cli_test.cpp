// Runs the xum tool as a user would and checks exit codes and output.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

struct run_result {
  int code;
  std::string out;
  std::string err;
};

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

run_result xum(const std::string& args) {
  const std::string dir = ::testing::TempDir();
  const std::string out = dir + "xum_out.txt";
  const std::string err = dir + "xum_err.txt";
  const std::string cmd = std::string(XUM_TOOL_PATH) + " " + args + " >" + out + " 2>" + err;
  const int status = std::system(cmd.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

int count_lines(const std::string& s) {
  int n = 0;
  for (char c : s) n += c == '\n';
  return n;
}

TEST(XumTool, HelpOnEveryLevelAndVersion) {
  for (const char* args : {"--help", "-h", "catalogue --help", "demo --help", "demo -h"}) {
    SCOPED_TRACE(args);
    const auto r = xum(args);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out.rfind("Usage: xum", 0), 0u) << r.out;
    EXPECT_TRUE(r.err.empty());
  }
  EXPECT_NE(xum("--help").out.find("catalogue"), std::string::npos);
  const auto v = xum("--version");
  EXPECT_EQ(v.code, 0);
  EXPECT_EQ(v.out.rfind("xum ", 0), 0u);
}

TEST(XumTool, UsageErrorsExitWith2) {
  for (const char* args : {"", "bogus", "--bogus", "catalogue extra", "catalogue --bogus",
                           "demo a b"}) {
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
  const auto r = xum("demo /nonexistent-xum-dir");
  EXPECT_EQ(r.code, 1);
  EXPECT_TRUE(r.out.empty());
  EXPECT_EQ(r.err, "Sample folder not found !\nFile: /nonexistent-xum-dir\n");
}

TEST(XumTool, DemoRunsOnBundledSamples) {
  const auto r = xum("demo");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("numbers: 10 (5 integer, 5 real, 2 negative)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("51 records, the list runs from \"Line\" to \"Abort\""), std::string::npos);
  EXPECT_NE(r.out.find("bytes read back unchanged"), std::string::npos) << r.out;
  // The header "XUM1" stays plain; 'I' (0x49) ^ key[0] (0x5c) is 0x15.
  EXPECT_NE(r.out.find("on disk   58 55 4d 31 15 "), std::string::npos) << r.out;
}

}  // namespace
