// The connected end of a TCP connection, as the framework's socket
// components hand it to their events: send, receive without waiting, the
// number of bytes waiting, a bounded wait for data, close.
//
//   xum::TCustomWinSocket* s = client->Socket();
//   s->SendBuf("ping", 4);
//   if (s->WaitForData(1000)) n = s->ReceiveBuf(reply, s->ReceiveLength());
//
// The socket owns its descriptor and closes it when closed or destroyed.
// Failures of the system raise ESocketError; a peer that has closed shows as
// Connected() false after a receive found nothing more to come.
//
// Thread safety: a socket is used by one thread at a time, except Shutdown,
// which any thread may call to wake the thread waiting on it.
#ifndef XUM_NET_TCUSTOMWINSOCKET_H
#define XUM_NET_TCUSTOMWINSOCKET_H

#include <atomic>

#include "core/xexceptions.h"
#include "core/xexport.h"
#include "framework/tcomponent.h"

namespace xum {

// A socket operation failed or the peer went away while bytes were
// expected. A std::exception: what() gives the message.
class XUM_API ESocketError : public Exception {
 public:
  using Exception::Exception;
};

class XUM_API TCustomWinSocket : public TObject {
 public:
  // Takes over the connected descriptor `Handle` (-1: none).
  explicit TCustomWinSocket(int Handle = -1) noexcept;
  // Closes the descriptor.
  ~TCustomWinSocket() override;

  // Sends all `Count` bytes, waiting while the system's buffer is full;
  // returns Count. Raises ESocketError when the connection fails or is not
  // open.
  virtual int SendBuf(const void* Buf, int Count);
  // Reads at most `Count` of the bytes that have arrived, without waiting,
  // and returns how many; 0 when none are waiting or the peer has closed.
  // A Count of -1 reads nothing and returns ReceiveLength(). Raises
  // ESocketError when the connection fails.
  virtual int ReceiveBuf(void* Buf, int Count);
  // The bytes that have arrived and wait to be read; 0 when closed.
  virtual int ReceiveLength();
  // Waits up to TimeoutMs (-1: without limit) until bytes arrive or the
  // peer closes; whether one of them happened. True at once when the
  // socket is closed (the next receive then tells).
  virtual bool WaitForData(int TimeoutMs);
  // Reads exactly `Count` bytes, waiting at most TimeoutMs in all; false
  // when they did not all come in time or the peer closed first.
  bool ReceiveExactly(void* Buf, int Count, int TimeoutMs);
  // Ends the connection and closes the descriptor; later calls do nothing.
  virtual void Close() noexcept;
  // Ends both directions without closing the descriptor: a thread waiting
  // on the socket wakes up and finds it closed. From any thread.
  void Shutdown() noexcept;

  // Open, and not known to be closed by the peer.
  virtual bool Connected() const noexcept;
  // The descriptor; -1 when closed.
  int Handle() const noexcept { return handle_.load(std::memory_order_relaxed); }
  // The local port; -1 when closed.
  int LocalPort() const noexcept;

 private:
  std::atomic<int> handle_;
  bool peer_closed_ = false;
};

// A connection a server socket accepted; it belongs to that server socket.
class XUM_API TServerClientWinSocket : public TCustomWinSocket {
 public:
  using TCustomWinSocket::TCustomWinSocket;
};

}  // namespace xum

#endif  // XUM_NET_TCUSTOMWINSOCKET_H
