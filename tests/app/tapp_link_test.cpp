// The application link inside one process: the direct path from the main
// thread, the main-loop path from another thread, and a receiver fed
// garbage and dying peers. Two processes (the empty block, a second
// claimant, no receiver, a stale socket): tests/tools/xum_keys_link_test.cpp.
#include "app/tapp_link.h"

#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "framework/xmain_loop.h"
#include "platform/xos.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

class text_link final : public TAppLink {
 public:
  std::string text;
  void BeforeTransfer() override {}
  void Exchange(xstream& s, xstream_mode mode, int) override {
    if (mode == xstream_write) {
      s.write_buffer(text.data(), static_cast<int>(text.size()));
      return;
    }
    text.assign(static_cast<std::size_t>(s.get_size()), '\0');
    s.read_buffer(text.data(), static_cast<int>(text.size()));
  }
};

class AppLink : public ::testing::Test {
 protected:
  // The run-time directory is the test's own folder.
  AppLink() {
    setenv("XDG_RUNTIME_DIR", dir.path.c_str(), 1);
    xmain_loop::instance().bind_to_current_thread();
    receiver.OnMessage = [this](const xcopy_data& d) {
      codes.push_back(inbox.ProcessMessage(d));
      texts.push_back(inbox.text);
      thread = std::this_thread::get_id();
    };
    link.Init(nullptr, "Viewer");
  }
  // Turns the main loop until `done` or 10 s have passed.
  template <class F>
  bool loop_until(F done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done() && std::chrono::steady_clock::now() < end) xmain_loop::instance().run_once(20);
    return done();
  }

  ~AppLink() override { unsetenv("XDG_RUNTIME_DIR"); }

  test::temp_dir dir;
  text_link inbox, link;
  TAppLinkReceiver receiver{nullptr};
  std::vector<unsigned> codes;
  std::vector<std::string> texts;
  std::thread::id thread;
};

TEST_F(AppLink, MainThreadSendIsDirectOtherThreadsGoThroughTheLoop) {
  receiver.Open("Viewer");
  link.text = "hello";
  link.Prepare();
  EXPECT_TRUE(link.Send(7));  // handled before Send returns, without a loop turn
  EXPECT_EQ(codes, std::vector<unsigned>{7});
  EXPECT_EQ(texts, std::vector<std::string>{"hello"});
  link.text = "from a worker";
  link.Prepare();
  auto sent = std::async(std::launch::async, [this] { return link.Send(3); });
  EXPECT_TRUE(loop_until([&] { return codes.size() == 2; }));
  EXPECT_TRUE(sent.get());
  EXPECT_EQ(texts.back(), "from a worker");
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(AppLink, GarbageAndDyingPeersNeverStopTheReceiver) {
  receiver.Open("Viewer");
  const std::string path = xapp_link_path("Viewer");
  auto raw = [&](const std::string& bytes) {
    platform::os_error error;
    const int fd = platform::os().local_connect(path.c_str(), error);
    EXPECT_GE(fd, 0);
    platform::os().socket_send(fd, bytes.data(), static_cast<int>(bytes.size()));
    return fd;
  };
  // A message that stays half sent while bad ones come and go.
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
  platform::os().socket_send(slow, "cdef", 4);
  EXPECT_TRUE(loop_until([&] { return !codes.empty(); }));
  platform::os().close_socket(slow);
  EXPECT_EQ(texts, std::vector<std::string>{"abcdef"});
}

}  // namespace
}  // namespace xum
