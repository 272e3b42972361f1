// Runs `xum net serve` and `xum net call` against each other on loopback.
#include <string>

#include <gtest/gtest.h>

#include "tests/support/xtool_run.h"

namespace {

// A shell line in which $XUM is the tool, both outputs caught in `out`.
xum::test::tool_result shell(const std::string& line) {
  return xum::test::run_tool("exec 2>&1; " + line);
}

// Starts a server for `clients` clients on ports the system picks, runs
// `calls` (with $P1 and $P2 set) and prints the server's output after it.
std::string with_server(int clients, const std::string& calls) {
  return "S=$(mktemp); $XUM net serve --port 0 --port2 0 --clients " + std::to_string(clients) +
         " --seconds 30 >$S 2>&1 & "
         "for i in $(seq 200); do grep -q listening $S && break; sleep 0.05; done; "
         "set -- $(sed -n 's/^listening on 127.0.0.1 ports \\([0-9]*\\) and \\([0-9]*\\)$/\\1 "
         "\\2/p' $S); "
         "P1=$1; P2=$2; " +
         calls + "; wait; echo \"serve=$?\"; cat $S; rm -f $S";
}

using xum::test::has;

TEST(XumNetTool, CallAnswersThePingAndGetsEveryAnswerRight) {
  const auto r =
      shell(with_server(2,
                        "$XUM net call --port $P1 --port2 $P2; echo \"call=$?\"; "
                        "$XUM net call --port $P1 --port2 $P2 --echo abcdef --add 2147483647,1 "
                        "--transfer 3000000; echo \"call=$?\""));
  ASSERT_EQ(r.code, 0);
  // The answers themselves are the protocol's (tests/net); here both
  // processes finish with 0 after two clients.
  for (const char* line : {"server: ping 1001 answered", "call=0\nserver: linked",
                           "transfer: 3000000 bytes there and back intact", "serve=0",
                           "stopped after 2 client(s)"}) {
    SCOPED_TRACE(line);
    EXPECT_TRUE(has(r.out, line)) << r.out;
  }
  EXPECT_FALSE(has(r.out, "call=1")) << r.out;
}

TEST(XumNetTool, FailuresExitWith1AndMistakesWith2) {
  struct row {
    const char* line;
    int code;
    const char* says;
  };
  const row rows[] = {
      {"$XUM net call --port 1 --port2 2", 1, "Cannot connect to 127.0.0.1:1"},
      {"$XUM net call --port 0 --port2 2", 2, "--port '0' is not a number in 1-65535"},
      {"$XUM net call --port2 2", 2, "missing --port PORT"},
      {"$XUM net call --port 5 --port2 6 --add 1", 2, "--add takes A,B"},
      // The second port cannot be the first one again (nor anybody else's).
      {"$XUM net serve --port 45678 --port2 45678 --seconds 1", 1,
       "Cannot listen on 127.0.0.1:45678"},
      {"$XUM net serve --help", 0, "Usage: xum net serve --port P1 --port2 P2"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.line);
    const auto got = shell(r.line);
    EXPECT_EQ(got.code, r.code) << got.out;
    EXPECT_TRUE(has(got.out, r.says)) << got.out;
  }
}

}  // namespace
