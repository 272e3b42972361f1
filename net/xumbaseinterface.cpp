#include "net/xumbaseinterface.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "core/xle.h"

namespace xum {

namespace {

TCustomWinSocket& connection_of(TCustomWinSocket* socket) {
  if (socket == nullptr) throw ESocketError(u"The channel has no connection");
  return *socket;
}

// Texts are received in pieces of this size, so a frame that announces
// more than arrives never makes the receiver allocate it all up front.
constexpr int text_piece = 65536;

}  // namespace

void TxumBaseInterface::SendBuf(const void* Data, int Count) {
  if (Count <= 0) return;
  TCustomWinSocket& socket = connection_of(Socket);
  if (Filled != 0) Position = Filled = 0;  // a send run after a receive run
  const auto* in = static_cast<const unsigned char*>(Data);
  while (Count > 0) {
    if (Position == 0 && Count >= BufferSize) {
      // A whole buffer's worth: the same write, without the copy.
      socket.SendBuf(in, BufferSize);
      in += BufferSize;
      Count -= BufferSize;
      continue;
    }
    const int n = std::min(Count, BufferSize - Position);
    std::memcpy(Buffer + Position, in, static_cast<std::size_t>(n));
    Position += n;
    in += n;
    Count -= n;
    if (Position == BufferSize) {
      Position = 0;
      socket.SendBuf(Buffer, BufferSize);
    }
  }
}

void TxumBaseInterface::EndSend() {
  const int queued = Filled == 0 ? Position : 0;  // after a receive run nothing is queued
  Position = Filled = 0;
  if (queued > 0) connection_of(Socket).SendBuf(Buffer, queued);
}

void TxumBaseInterface::ReceiveBuf(void* Data, int Count) {
  auto* out = static_cast<unsigned char*>(Data);
  while (Count > 0) {
    if (Position >= Filled) {
      Position = Filled = 0;
      TCustomWinSocket& socket = connection_of(Socket);
      // A read without waiting takes at most what has arrived, so it never
      // blocks. A whole buffer's worth still wanted goes straight to the
      // caller: the same read, without the copy.
      const bool direct = Count >= BufferSize;
      const int n = socket.ReceiveBuf(direct ? out : Buffer, BufferSize);
      if (n <= 0) {
        if (!socket.Connected())
          throw ESocketError(u"The connection was closed while a request was being read");
        socket.WaitForData(-1);  // nothing has arrived: wait in poll
        continue;
      }
      if (direct) {
        out += n;
        Count -= n;
        continue;
      }
      Filled = n;
    }
    const int n = std::min(Count, Filled - Position);
    std::memcpy(out, Buffer + Position, static_cast<std::size_t>(n));
    Position += n;
    out += n;
    Count -= n;
  }
}

void* TxumBaseInterface::AllocAndReceive(int Size) {
  void* block = std::malloc(Size > 0 ? static_cast<std::size_t>(Size) : 1);
  if (block == nullptr) throw std::bad_alloc();
  try {
    ReceiveBuf(block, Size);
  } catch (...) {
    std::free(block);
    throw;
  }
  return block;
}

void TxumBaseInterface::SendText(const UnicodeString& Text) {
  if (Text.size() > 0x7fffffffu) throw xexception(xexception::out_of_range);
  const auto n = static_cast<std::int32_t>(Text.size());
  unsigned char head[4];
  le::store<std::int32_t>(head, n);
  SendBuf(head, 4);
  // The first n bytes of the UTF-16LE form: units n/2 whole, and the low
  // byte of one more when n is odd.
  unsigned char piece[512];
  std::int32_t sent = 0;
  while (sent < n) {
    const int bytes = std::min<std::int32_t>(n - sent, sizeof piece);
    for (int i = 0; i < bytes; i += 2) {
      unsigned char pair[2];
      le::store<std::uint16_t>(
          pair, static_cast<std::uint16_t>(Text[static_cast<std::size_t>(sent + i) / 2]));
      piece[i] = pair[0];
      if (i + 1 < bytes) piece[i + 1] = pair[1];
    }
    SendBuf(piece, bytes);
    sent += bytes;
  }
}

UnicodeString TxumBaseInterface::ReceiveText() {
  unsigned char head[4];
  ReceiveBuf(head, 4);
  const std::int32_t n = le::load<std::int32_t>(head);
  if (n < 0) throw ESocketError(u"A text frame announced a negative length");
  std::string bytes;
  while (static_cast<std::int32_t>(bytes.size()) < n) {
    const int piece =
        std::min<std::int32_t>(n - static_cast<std::int32_t>(bytes.size()), text_piece);
    const std::size_t at = bytes.size();
    bytes.resize(at + static_cast<std::size_t>(piece));
    ReceiveBuf(bytes.data() + at, piece);
  }
  UnicodeString text(static_cast<std::size_t>(n), u'\0');
  for (std::int32_t i = 0; i < n; ++i) {
    const auto b =
        static_cast<char16_t>(static_cast<unsigned char>(bytes[static_cast<std::size_t>(i)]));
    text[static_cast<std::size_t>(i / 2)] |= static_cast<char16_t>(i % 2 == 0 ? b : b << 8);
  }
  return text;
}

}  // namespace xum
