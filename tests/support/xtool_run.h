// Runs a shell line as a user would, with $XUM set to the xum tool (stopped
// after a minute), and returns its exit code and both outputs. For tests of
// the tool compiled with XUM_TOOL_PATH.
//
//   const auto r = test::run_tool("echo hello | $XUM bmp info -");
//   EXPECT_EQ(r.code, 1);
//   EXPECT_TRUE(test::has(r.err, "Not a BMP or icon file"));
//
// Thread safety: one call at a time in a process (the outputs go to files
// named after the process).
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

namespace xum::test {

struct tool_result {
  int code;
  std::string out, err;
};

inline tool_result run_tool(const std::string& line) {
  const std::string base = ::testing::TempDir() + "xum_tool_" + std::to_string(getpid());
  const std::string out = base + "_out.txt", err = base + "_err.txt";
  const std::string full =
      "{ export XUM='timeout 60 " XUM_TOOL_PATH "'; " + line + "; } >" + out + " 2>" + err;
  const int status = std::system(full.c_str());
  tool_result r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, file_bytes(out), file_bytes(err)};
  std::remove(out.c_str());
  std::remove(err.c_str());
  return r;
}

inline bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace xum::test
