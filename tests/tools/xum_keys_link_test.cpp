// `xum keys` and `xum link` run as a user would; the link between real
// processes (a stale socket left by a killed receiver included), and the
// package start-up when the library is loaded.
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

namespace {

class XumKeysLinkTool : public ::testing::Test {
 protected:
  // Runs a shell line in the test's folder, which is also the link's
  // run-time directory; $XUM is the tool. Both outputs and "rc=<status>".
  std::string shell(const std::string& line) const {
    const std::string out = (dir.path / "out.txt").string();
    std::system(("{ cd '" + dir.path.string() + "'; export XDG_RUNTIME_DIR=\"$PWD\" XUM='timeout 60 " +
                 XUM_TOOL_PATH + "'; " + line + "; echo rc=$?; } >'" + out + "' 2>&1")
                    .c_str());
    return xum::test::file_bytes(out);
  }
  void write(const char* name, const std::string& text) const {
    std::ofstream(dir.path / name, std::ios::binary) << text;
  }
  void expect_all(const std::string& got, std::initializer_list<const char*> parts) const {
    for (const char* part : parts) EXPECT_NE(got.find(part), std::string::npos) << part << " in\n" << got;
  }
  xum::test::temp_dir dir;
};

// Waits for a background `xum link listen` writing to `file`.
std::string listening(const std::string& file = "listen.txt") {
  return "for i in $(seq 200); do grep -q listening " + file + " && break; sleep 0.05; done; ";
}

TEST_F(XumKeysLinkTool, KeysListNamesEveryKeyAfterTheSavedChanges) {
  write("scheme.tsf",
        "<Actions\r\n  <#0\r\n    Name=Left\r\n    Caption=Move left\r\n    Key1=37\r\n"
        "    Key2=65\r\n  > (#0)\r\n  <#1\r\n    Name=Fire\r\n    Key1=32\r\n  > (#1)\r\n"
        "> (Actions)\r\n");
  write("saved.tsf", "Left2=130\r\nFire1=-1\r\nFire2=188\r\n");
  const struct {
    const char* args;
    const char* out;
  } rows[] = {{"scheme.tsf", "Left\tLeft\tA\tMove left\nFire\tSpace\t-\tFire\nrc=0"},
              {"--keys saved.tsf scheme.tsf", "Left\tLeft\t#130\tMove left\nFire\t-\t<\tFire\nrc=0"},
              {"missing.tsf", "File not found !\nFile: missing.tsf\nrc=1"},
              {"", "missing FILE"},
              {"--help", "Usage: xum keys list"}};
  for (const auto& r : rows) expect_all(shell(std::string("$XUM keys list ") + r.args), {r.out});
}

TEST_F(XumKeysLinkTool, LinkCarriesCodesAndBlocksBetweenProcesses) {
  write("block.bin", std::string("\0\1\2abc", 6));
  expect_all(shell("$XUM link listen --count 3 --seconds 30 Viewer >listen.txt 2>&1 & " +
                   listening() + "$XUM link listen Viewer; echo rc=$?; $XUM link send Viewer 7 block.bin; "
                   "printf hello | $XUM link send Viewer 8 -; $XUM link send Viewer 4294967295; "
                   "wait; cat listen.txt; $XUM link send Viewer 1; echo rc=$?; $XUM link send Viewer x"),
             {"already receives the link \"Viewer\" !\nrc=1", "delivered code 7 and 6 bytes",
              "delivered code 8 and 5 bytes",
              "code 7, 6 bytes\ncode 8, 5 bytes\ncode 4294967295, 4 bytes\n"
              "received 3 message(s), dropped 0",
              "nobody receives the link \"Viewer\"\nrc=1", "CODE 'x' is not a number", "rc=2"});
}

TEST_F(XumKeysLinkTool, SocketOfAKilledReceiverIsTakenOver) {
  // Started without the time limit's wrapper, so that $! is the receiver.
  expect_all(shell("\"$(echo $XUM | cut -d' ' -f3)\" link listen Stale >listen.txt 2>&1 & " + listening() +
                   "kill -9 $!; wait; ls; $XUM link send Stale 1; echo rc=$?; "
                   "$XUM link listen --count 1 --seconds 30 Stale >listen2.txt 2>&1 & " +
                   listening("listen2.txt") + "$XUM link send Stale 2; wait; cat listen2.txt"),
             {"xum-link-Stale\n", "nobody receives the link \"Stale\"\nrc=1", "code 2, 4 bytes"});
}

TEST_F(XumKeysLinkTool, LoadingTheLibraryWritesThePackageDictionaryAndNeverFails) {
  const std::string run = "cp \"$(echo $XUM | cut -d' ' -f3)\" ./xum; XUM_LANGUAGE=DEU ./xum --version; echo rc=$?";
  expect_all(shell(run + "; grep -c '^<KeyCaptureForm\\|^<ControlSchemeEditorForm\\|^<\"PrjSelectorFrm\"\\|^<Strings' "
                         "XUMComps_DEU.loc"),
             {"rc=0\n4\n"});
  // A dictionary that can be neither read nor written (a folder in its
  // place) leaves the program running.
  expect_all(shell("rm XUMComps_DEU.loc; mkdir XUMComps_DEU.loc; " + run), {"xum ", "rc=0"});
}

}  // namespace
