// Helpers of the network tests: a connected loopback pair, a raw client
// connection, and turning the main loop until something holds.
#ifndef XUM_TESTS_NET_NET_TEST_SUPPORT_H
#define XUM_TESTS_NET_NET_TEST_SUPPORT_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "framework/xmain_loop.h"
#include "net/tcustomwinsocket.h"
#include "platform/xos.h"

namespace xum::net_test {

// Turns the main loop until `done` holds or `ms` have passed; whether it
// holds.
inline bool run_until(const std::function<bool()>& done, int ms = 5000) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    xmain_loop::instance().run_once(5);
  }
  return true;
}

// A raw connection to 127.0.0.1:port, blocking.
inline std::unique_ptr<TCustomWinSocket> dial(int port) {
  platform::os_error error;
  const int fd = platform::os().tcp_connect("127.0.0.1", port, true, error);
  EXPECT_GE(fd, 0) << error.text;
  return std::make_unique<TCustomWinSocket>(fd);
}

// Two ends of one loopback connection: first the connecting end, then the
// accepted one.
inline std::pair<std::unique_ptr<TCustomWinSocket>, std::unique_ptr<TCustomWinSocket>>
loopback_pair() {
  platform::os_error error;
  const int listener = platform::os().tcp_listen("127.0.0.1", 0, false, error);
  EXPECT_GE(listener, 0) << error.text;
  auto near = dial(platform::os().socket_port(listener));
  auto far = std::make_unique<TCustomWinSocket>(platform::os().tcp_accept(listener, error));
  platform::os().close_socket(listener);
  return {std::move(near), std::move(far)};
}

// Whether the peer closes `socket` within `ms` (after discarding whatever
// it sent first).
inline bool closed_by_peer(TCustomWinSocket& socket, int ms) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  char drop[64];
  while (std::chrono::steady_clock::now() < end) {
    xmain_loop::instance().run_once(5);
    if (socket.WaitForData(0) && socket.ReceiveBuf(drop, sizeof drop) == 0 && !socket.Connected())
      return true;
  }
  return false;
}

}  // namespace xum::net_test

#endif  // XUM_TESTS_NET_NET_TEST_SUPPORT_H
