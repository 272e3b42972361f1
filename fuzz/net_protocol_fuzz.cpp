// Feeds arbitrary bytes to the demonstration protocol as the requests of a
// peer: request codes, text frames with any announced length, integers and
// transfers cut anywhere. The bytes arrive in pieces of varying size (the
// first input byte chooses the rhythm), so every buffer boundary of the
// channel is crossed. Only ESocketError (the peer "closed" or sent a
// length the protocol refuses) may end a run; nothing may crash, hang or
// allocate for a length that never arrives.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "net/tcustomwinsocket.h"
#include "net/xumdemoprotocol.h"

namespace {

// A connection whose incoming bytes are the fuzzer's input and whose
// outgoing bytes are counted and dropped.
class memory_socket final : public xum::TCustomWinSocket {
 public:
  memory_socket(const std::uint8_t* data, std::size_t size, unsigned rhythm)
      : data_(data), size_(size), rhythm_(rhythm) {}

  int SendBuf(const void*, int Count) override {
    sent += static_cast<std::size_t>(Count > 0 ? Count : 0);
    return Count;
  }
  int ReceiveLength() override {
    const std::size_t left = size_ - pos_;
    // 1 to 64 bytes, or all that is left, as a network would hand them over.
    const std::size_t piece = rhythm_ % 2 == 0 ? left : 1 + (pos_ * 31 + rhythm_) % 64;
    return static_cast<int>(std::min(left, piece));
  }
  int ReceiveBuf(void* Buf, int Count) override {
    if (Count == -1) return ReceiveLength();
    const std::size_t n = std::min(static_cast<std::size_t>(Count), size_ - pos_);
    std::memcpy(Buf, data_ + pos_, n);
    pos_ += n;
    if (n == 0) closed_ = true;
    return static_cast<int>(n);
  }
  bool WaitForData(int) override { return true; }
  bool Connected() const noexcept override { return !closed_; }
  bool exhausted() const { return pos_ == size_; }

  std::size_t sent = 0;

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
  unsigned rhythm_;
  bool closed_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  memory_socket socket(data + 1, size - 1, data[0]);
  xum::TxumDemoProtocol protocol;
  protocol.InChannel.Socket = &socket;
  int notes = 0;
  protocol.OnNote = [&notes](const xum::UnicodeString&) { ++notes; };
  int requests = 0;
  try {
    while (!socket.exhausted()) {
      protocol.ProcessRequest();
      ++requests;
    }
  } catch (const xum::ESocketError&) {
    // The input ended inside a request, or announced a refused length.
  }
  // Every request completed was either served or counted as unknown.
  if (protocol.Served.load() + protocol.Unknown.load() != requests) __builtin_trap();
  return 0;
}
