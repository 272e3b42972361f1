// The application link: in one process (from the main thread and from
// another), across two real processes, and a receiver's robustness against
// garbage, dying peers, a second claimant and a stale socket.
#include "app/tapp_link.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "framework/xmain_loop.h"
#include "platform/testing/xos_wrapper.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

// The run-time directory is a folder of the test's own.
class runtime_os final : public platform::xos_wrapper {
 public:
  explicit runtime_os(std::string dir) : xos_wrapper(platform::system_os()), dir_(std::move(dir)) {}
  std::string runtime_directory(platform::os_error&) override { return dir_; }

 private:
  std::string dir_;
};

class text_link final : public TAppLink {
 public:
  std::string text;
  int before = 0;
  void BeforeTransfer() override { ++before; }
  void Exchange(xstream& s, xstream_mode mode, int reserved) override {
    EXPECT_EQ(reserved, 0);
    if (mode == xstream_write) {
      if (!text.empty()) s.write_buffer(text.data(), static_cast<int>(text.size()));
    } else {
      text.assign(static_cast<std::size_t>(s.get_size()), '\0');
      if (!text.empty()) s.read_buffer(text.data(), static_cast<int>(text.size()));
    }
  }
};

class AppLink : public ::testing::Test {
 protected:
  AppLink() : sys(dir.path.string()), use(sys) {
    xmain_loop::instance().bind_to_current_thread();
    receiver.OnMessage = [this](const xcopy_data& d) {
      codes.push_back(inbox.ProcessMessage(d));
      texts.push_back(inbox.text);
      sizes.push_back(d.size);
    };
  }
  // Runs the main loop until `done` or 10 s have passed.
  template <class F>
  bool loop_until(F done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done() && std::chrono::steady_clock::now() < end) xmain_loop::instance().run_once(20);
    return done();
  }
  std::string peer(const std::string& args) const {
    return "XDG_RUNTIME_DIR='" + dir.path.string() + "' '" XUM_LINK_PEER "' " + args;
  }

  test::temp_dir dir;
  runtime_os sys;
  platform::scoped_os use;
  text_link inbox;
  TAppLinkReceiver receiver{nullptr};
  std::vector<unsigned> codes;
  std::vector<std::string> texts;
  std::vector<int> sizes;
};

TEST_F(AppLink, MissingTitleReturnsFalseAtOnce) {
  text_link link;
  link.Init(nullptr, "Nobody here");
  link.text = "x";
  link.Prepare();
  EXPECT_FALSE(link.HasReceiver());
  EXPECT_FALSE(link.Send(1));
  EXPECT_EQ(link.before, 1);
  // A title that needs encoding and one too long for a socket name differ
  // in their files and still fit.
  const std::string a = xapp_link_path("a/b c"), b = xapp_link_path(xstr(std::string(300, 'x')));
  EXPECT_EQ(fs::path(a).filename().string(), "xum-link-a%2Fb%20c");
  EXPECT_LE(b.size(), 107u);
  EXPECT_NE(b, xapp_link_path(xstr(std::string(301, 'x'))));
}

TEST_F(AppLink, SameProcessFromMainThreadIsDirectAndEmptyBlockIsFourZeros) {
  receiver.Open("Viewer");
  text_link link;
  link.Init(nullptr, "Viewer");
  EXPECT_TRUE(link.HasReceiver());
  link.text = "hello";
  link.Prepare();
  EXPECT_TRUE(link.Send(7));  // handled before Send returns: no loop turn
  link.text.clear();
  link.Prepare();
  EXPECT_TRUE(link.Send(8));
  ASSERT_EQ(codes, (std::vector<unsigned>{7, 8}));
  EXPECT_EQ(texts[0], "hello");
  EXPECT_EQ(texts[1], std::string(4, '\0'));
  EXPECT_EQ(sizes[1], 4);
}

TEST_F(AppLink, SameProcessFromAnotherThreadGoesThroughTheMainLoop) {
  receiver.Open("Viewer");
  std::thread::id handled_on;
  receiver.OnMessage = [&](const xcopy_data& d) {
    handled_on = std::this_thread::get_id();
    codes.push_back(inbox.ProcessMessage(d));
    texts.push_back(inbox.text);
  };
  auto sent = std::async(std::launch::async, [] {
    text_link link;
    link.Init(nullptr, "Viewer");
    link.text = "from a worker";
    link.Prepare();
    return link.Send(3);
  });
  EXPECT_TRUE(loop_until([&] { return !codes.empty(); }));
  EXPECT_TRUE(sent.get());
  EXPECT_EQ(handled_on, std::this_thread::get_id());
  EXPECT_EQ(texts, std::vector<std::string>{"from a worker"});
}

TEST_F(AppLink, SecondReceiverIsRefusedHereAndInAnotherProcess) {
  receiver.Open("Viewer");
  TAppLinkReceiver second(nullptr);
  try {
    second.Open("Viewer");
    ADD_FAILURE() << "a second receiver took the title";
  } catch (const XException& e) {
    EXPECT_NE(std::string(e.what()).find("already receives the link \"Viewer\""),
              std::string::npos);
  }
  EXPECT_FALSE(second.Active());
  const std::string err = (dir.path / "err.txt").string();
  // The other process cannot answer while this loop is not turning; its
  // probe connects all the same, which is what tells it the title is taken.
  const int status = std::system(
      (peer("listen Viewer 1 '" + (dir.path / "r").string() + "'") + " 2>'" + err + "'").c_str());
  EXPECT_EQ(WEXITSTATUS(status), 2);
  EXPECT_NE(test::file_bytes(err).find("already receives the link"), std::string::npos);
  // Closing frees the title.
  receiver.Close();
  second.Open("Viewer");
  EXPECT_TRUE(second.Active());
}

TEST_F(AppLink, TwoProcessesExchangeMessages) {
  const std::string out = (dir.path / "out.txt").string(), ready = (dir.path / "ready").string();
  ASSERT_EQ(std::system((peer("listen Remote 2 '" + ready + "'") + " >'" + out + "' &").c_str()),
            0);
  ASSERT_TRUE(loop_until([&] { return fs::exists(ready); }));
  text_link link;
  link.Init(nullptr, "Remote");
  EXPECT_TRUE(link.HasReceiver());
  link.text = "payload";
  link.Prepare();
  EXPECT_TRUE(link.Send(42));
  // The other direction: the peer sends to this process's receiver.
  receiver.Open("Local");
  auto sent = std::async(std::launch::async,
                         [&] { return std::system(peer("send Local 9 back").c_str()); });
  EXPECT_TRUE(loop_until([&] { return !codes.empty(); }));
  EXPECT_EQ(sent.get(), 0);
  EXPECT_EQ(texts, std::vector<std::string>{"back"});
  link.text.clear();
  link.Prepare();
  EXPECT_TRUE(link.Send(43));
  ASSERT_TRUE(loop_until([&] { return test::file_bytes(out).find("dropped") != std::string::npos; }));
  EXPECT_EQ(test::file_bytes(out), std::string("42 7 payload\n43 4 ") + std::string(4, '\0') +
                                       "\ndropped 0\n");
}

TEST_F(AppLink, GarbageAndDyingPeersNeverStopTheReceiver) {
  receiver.Open("Viewer");
  const std::string path = xapp_link_path("Viewer");
  platform::os_error error;
  auto raw = [&](const std::string& bytes) {
    const int fd = platform::os().local_connect(path.c_str(), error);
    EXPECT_GE(fd, 0);
    platform::os().socket_send(fd, bytes.data(), static_cast<int>(bytes.size()));
    return fd;
  };
  // A message that stays half sent while others come and go.
  const int slow = raw(std::string("XAL1\x05\0\0\0\x06\0\0\0ab", 14));
  const struct {
    const char* what;
    std::string bytes;
  } rows[] = {{"wrong magic", "GARBAGE!!!!!"},
              {"block beyond the limit", std::string("XAL1\0\0\0\0\xff\xff\xff\x7f", 12)},
              {"more than announced", std::string("XAL1\0\0\0\0\x01\0\0\0xy", 14)},
              {"dies in the header", "XAL"},
              {"dies in the block", std::string("XAL1\0\0\0\0\x09\0\0\0abc", 15)}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    const auto before = receiver.Dropped();
    platform::os().close_socket(raw(r.bytes));
    EXPECT_TRUE(loop_until([&] { return receiver.Dropped() == before + 1; }));
  }
  EXPECT_TRUE(codes.empty());
  // The half-sent message completes and is delivered whole.
  platform::os().socket_send(slow, "cdef", 4);
  EXPECT_TRUE(loop_until([&] { return !codes.empty(); }));
  platform::os().close_socket(slow);
  EXPECT_EQ(codes, std::vector<unsigned>{5});
  EXPECT_EQ(texts, std::vector<std::string>{"abcdef"});
  // A checking connection that sends nothing is not counted as dropped.
  text_link link;
  link.Init(nullptr, "Viewer");
  const auto dropped = receiver.Dropped();
  EXPECT_TRUE(link.HasReceiver());
  xmain_loop::instance().run_once(50);
  EXPECT_EQ(receiver.Dropped(), dropped);
}

TEST_F(AppLink, StaleSocketOfAKilledReceiverIsReclaimed) {
  const std::string ready = (dir.path / "ready").string(), pid = (dir.path / "pid").string();
  ASSERT_EQ(std::system((peer("listen Stale 1 '" + ready + "'") + " >/dev/null & echo $! >'" +
                         pid + "'")
                            .c_str()),
            0);
  ASSERT_TRUE(loop_until([&] { return fs::exists(ready); }));
  ASSERT_EQ(std::system(("kill -9 $(cat '" + pid + "'); wait 2>/dev/null; sleep 0.2").c_str()),
            0);
  ASSERT_TRUE(fs::exists(xapp_link_path("Stale")));  // the file stays behind
  text_link link;
  link.Init(nullptr, "Stale");
  EXPECT_FALSE(link.Send(1));  // nobody listens: false at once
  receiver.Open("Stale");
  EXPECT_TRUE(receiver.Active());
  link.Prepare();
  EXPECT_TRUE(link.Send(2));
  EXPECT_EQ(codes, std::vector<unsigned>{2});
  receiver.Close();
  EXPECT_FALSE(fs::exists(xapp_link_path("Stale")));
}

}  // namespace
}  // namespace xum
