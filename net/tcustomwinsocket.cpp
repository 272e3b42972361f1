#include "net/tcustomwinsocket.h"

#include <chrono>
#include <string>

#include "core/xutf.h"
#include "platform/xos.h"

namespace xum {

namespace {

[[noreturn]] void raise(const char* what, const platform::os_error& error) {
  std::string text = what;
  if (!error.text.empty()) text += ": " + error.text;
  throw ESocketError(xutf8_to_utf16(text));
}

}  // namespace

TCustomWinSocket::TCustomWinSocket(int Handle) noexcept : handle_(Handle) {}

TCustomWinSocket::~TCustomWinSocket() { Close(); }

int TCustomWinSocket::SendBuf(const void* Buf, int Count) {
  if (Count <= 0) return 0;
  const int fd = Handle();
  if (fd < 0) throw ESocketError(u"Socket send failed: the connection is closed");
  platform::os_error error;
  const int sent = platform::os().socket_send(fd, Buf, Count, &error);
  if (sent != Count) raise("Socket send failed", error);
  return sent;
}

int TCustomWinSocket::ReceiveBuf(void* Buf, int Count) {
  if (Count == -1) return ReceiveLength();
  const int fd = Handle();
  if (Count <= 0 || fd < 0) return 0;
  platform::os_error error;
  const int n = platform::os().socket_receive(fd, Buf, Count, &error);
  if (n == 0) peer_closed_ = true;
  if (n < 0) {
    if (error) {
      peer_closed_ = true;
      raise("Socket receive failed", error);
    }
    return 0;
  }
  return n;
}

int TCustomWinSocket::ReceiveLength() {
  const int fd = Handle();
  if (fd < 0) return 0;
  const int n = platform::os().socket_pending(fd);
  return n < 0 ? 0 : n;
}

bool TCustomWinSocket::WaitForData(int TimeoutMs) {
  const int fd = Handle();
  if (fd < 0 || peer_closed_) return true;
  platform::poll_entry entry{fd, platform::poll_in, 0};
  return platform::os().poll(&entry, 1, TimeoutMs) > 0;
}

bool TCustomWinSocket::ReceiveExactly(void* Buf, int Count, int TimeoutMs) {
  using clock = std::chrono::steady_clock;
  const clock::time_point end = clock::now() + std::chrono::milliseconds(TimeoutMs);
  auto* out = static_cast<unsigned char*>(Buf);
  int got = 0;
  while (got < Count) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - clock::now()).count();
    if (left <= 0 || !WaitForData(static_cast<int>(left))) return false;
    const int n = ReceiveBuf(out + got, Count - got);
    if (n == 0 && !Connected()) return false;
    got += n;
  }
  return true;
}

void TCustomWinSocket::Close() noexcept {
  const int fd = handle_.exchange(-1);
  if (fd < 0) return;
  platform::os().shutdown_socket(fd);
  platform::os().close_socket(fd);
}

void TCustomWinSocket::Shutdown() noexcept { platform::os().shutdown_socket(Handle()); }

bool TCustomWinSocket::Connected() const noexcept { return Handle() >= 0 && !peer_closed_; }

int TCustomWinSocket::LocalPort() const noexcept {
  const int fd = Handle();
  return fd < 0 ? -1 : platform::os().socket_port(fd);
}

}  // namespace xum
