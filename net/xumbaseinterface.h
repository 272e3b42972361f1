// One byte channel of a protocol object over one connection: sends are
// gathered in an 8192-byte buffer and written in whole buffers, receives
// take what has arrived in pieces of at most 8192 bytes.
//
// Wire format: raw bytes; integers are 32-bit signed little-endian. A text
// frame is
//   N      int32   the text's length in UTF-16 code units
//   bytes  N       the first N bytes of the text in UTF-16LE
// so a text carries as many bytes as it has code units, not twice as many:
// both ends agree on this rule. "abcd" travels as
//   04 00 00 00 61 00 62 00
// and arrives as a 4-unit text beginning "ab" (the other units are 0). An
// empty text is 00 00 00 00.
//
//   channel.SendBuf(&code, 4);            // code already little-endian
//   channel.SendText(u"hello");
//   channel.EndSend();                    // nothing leaves before this
//   UnicodeString answer = channel.ReceiveText();
//
// Writes reach the socket in chunks of exactly 8192 bytes while the buffer
// fills, and one final partial chunk at EndSend: 20000 bytes go out as
// 8192, 8192 and 3616. A receive never reads more than has arrived, and
// waits (in poll, without spinning) only when nothing has.
//
// The one buffer serves both directions in strict alternation: a run of
// sends closed by EndSend, then a run of receives. A send run that follows
// a receive run starts with an empty buffer (what the receive run left
// unread is dropped, as ProcessRequest drops it).
//
// Thread safety: a channel is used by one thread at a time.
#ifndef XUM_NET_XUMBASEINTERFACE_H
#define XUM_NET_XUMBASEINTERFACE_H

#include <cstdint>

#include "core/xexceptions.h"
#include "core/xexport.h"
#include "net/tcustomwinsocket.h"

namespace xum {

struct XUM_API TxumBaseInterface {
  // The size of the transfer buffer, and of every full write.
  static constexpr int BufferSize = 8192;

  // Queues `Count` bytes; writes every buffer that fills. Raises
  // ESocketError when the channel has no connection or a write fails.
  void SendBuf(const void* Data, int Count);
  // Writes what is queued and empties the buffer.
  void EndSend();
  // Fills `Data` with exactly `Count` bytes, waiting as long as it takes.
  // Raises ESocketError when the peer closes or the connection fails first.
  void ReceiveBuf(void* Data, int Count);
  // A block of `Size` bytes from malloc, filled by ReceiveBuf; the caller
  // frees it with free(). Raises std::bad_alloc when there is no memory.
  void* AllocAndReceive(int Size);
  // Queues a text frame (see above).
  void SendText(const UnicodeString& Text);
  // Reads a text frame. Raises ESocketError for a negative length.
  UnicodeString ReceiveText();

  // The connection the channel talks through; not owned.
  TCustomWinSocket* Socket = nullptr;
  // Sending: bytes queued in Buffer. Receiving: bytes of Buffer consumed.
  std::int32_t Position = 0;
  // Receiving: valid bytes in Buffer.
  std::int32_t Filled = 0;
  unsigned char Buffer[BufferSize] = {};
};

}  // namespace xum

#endif  // XUM_NET_XUMBASEINTERFACE_H
