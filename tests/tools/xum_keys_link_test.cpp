// `xum keys list` and `xum link listen/send` run as a user would: the link
// between two processes of the tool.
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

namespace {

struct run_result {
  int code;
  std::string out;
};

class XumKeysLinkTool : public ::testing::Test {
 protected:
  // A shell line in which $XUM is the tool (stopped after a minute) and the
  // link's run-time directory is the test's folder; both outputs caught.
  run_result shell(const std::string& line) const {
    const std::string out = (dir.path / "out.txt").string();
    const int status = std::system(("{ cd '" + dir.path.string() + "'; export XDG_RUNTIME_DIR='" +
                                    dir.path.string() + "'; export XUM='timeout 60 " XUM_TOOL_PATH
                                    "'; " + line + "; } >'" + out + "' 2>&1")
                                       .c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, xum::test::file_bytes(out)};
  }
  void write(const char* name, const std::string& text) const {
    std::ofstream(dir.path / name, std::ios::binary) << text;
  }
  xum::test::temp_dir dir;
};

TEST_F(XumKeysLinkTool, KeysListNamesEveryKeyAfterTheSavedChanges) {
  write("scheme.tsf",
        "<Actions\r\n  <#0\r\n    Name=Left\r\n    Caption=Move left\r\n    Key1=37\r\n"
        "    Key2=65\r\n  > (#0)\r\n  <#1\r\n    Name=Fire\r\n    Key1=32\r\n  > (#1)\r\n"
        "> (Actions)\r\n");
  write("saved.tsf", "Left2=130\r\nFire1=-1\r\nFire2=188\r\n");
  const struct {
    const char* args;
    int code;
    const char* out;
  } rows[] = {
      {"scheme.tsf", 0, "Left\tLeft\tA\tMove left\nFire\tSpace\t-\tFire\n"},
      {"--keys saved.tsf scheme.tsf", 0, "Left\tLeft\t#130\tMove left\nFire\t-\t<\tFire\n"},
      {"missing.tsf", 1, "File not found !\nFile: missing.tsf"},
      {"", 2, "missing FILE"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.args);
    const auto got = shell(std::string("$XUM keys list ") + r.args);
    EXPECT_EQ(got.code, r.code);
    EXPECT_NE(got.out.find(r.out), std::string::npos) << got.out;
  }
}

TEST_F(XumKeysLinkTool, LinkCarriesCodesAndBlocksBetweenTwoProcesses) {
  write("block.bin", std::string("\0\1\2abc", 6));
  const auto r = shell(
      "$XUM link listen --count 3 --seconds 30 Viewer >listen.txt 2>&1 & "
      "for i in $(seq 200); do grep -q listening listen.txt && break; sleep 0.05; done; "
      "$XUM link listen Viewer; echo \"second=$?\"; "
      "$XUM link send Viewer 7 block.bin; echo \"send=$?\"; "
      "printf hello | $XUM link send Viewer 8 -; "
      "$XUM link send Viewer 4294967295; "
      "wait; cat listen.txt; "
      "$XUM link send Viewer 1; echo \"gone=$?\"; "
      "$XUM link send Viewer x; echo \"bad=$?\"");
  for (const char* line :
       {"already receives the link \"Viewer\"", "second=1", "delivered code 7 and 6 bytes",
        "send=0", "delivered code 8 and 5 bytes", "code 7, 6 bytes\ncode 8, 5 bytes\n"
        "code 4294967295, 4 bytes\nreceived 3 message(s), dropped 0",
        "nobody receives the link \"Viewer\"", "gone=1", "bad=2"}) {
    SCOPED_TRACE(line);
    EXPECT_NE(r.out.find(line), std::string::npos) << r.out;
  }
}

TEST_F(XumKeysLinkTool, EveryCommandHasHelp) {
  for (const char* cmd : {"keys", "keys list", "link", "link listen", "link send"}) {
    SCOPED_TRACE(cmd);
    const auto r = shell(std::string("$XUM ") + cmd + " --help");
    EXPECT_EQ(r.code, 0);
    EXPECT_NE(r.out.find(std::string("Usage: xum ") + cmd), std::string::npos) << r.out;
  }
}

}  // namespace
