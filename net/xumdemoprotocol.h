// A small protocol that shows the base protocol at work, used by
// `xum net serve` and `xum net call`, the tests, the fuzz target and the
// benchmarks. Requests (int32 little-endian codes and arguments, answers
// on the channel the request came in on):
//
//   code  name      arguments                    answer
//   1     echo      text frame                   the same text frame
//   2     add       int32 a, int32 b             int32 a + b (wrapping)
//   3     ping      int32 n                      int32 n   (server to client)
//   4     transfer  int32 size (0..64 MiB), bytes  the same bytes
//   5     note      text frame                   none
//
// Other codes are counted and ignored. A transfer over 64 MiB or with a
// negative size raises ESocketError, which ends that connection. A note is
// handed to OnNote on the main thread: through Synchronize on the server;
// directly on the client, whose requests already run on the main thread.
//
//   auto* p = static_cast<xum::TxumDemoProtocol*>(client->Protocol());
//   int sum = p->Add(2, 3);                 // 5, answered by the server
//
// Thread safety: as TxumBaseProtocol; the counters may be read from any
// thread.
#ifndef XUM_NET_XUMDEMOPROTOCOL_H
#define XUM_NET_XUMDEMOPROTOCOL_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "core/xexport.h"
#include "net/xumbaseprotocol.h"

namespace xum {

class XUM_API TxumDemoProtocol : public TxumBaseProtocol {
 public:
  enum : std::int32_t { rqEcho = 1, rqAdd = 2, rqPing = 3, rqTransfer = 4, rqNote = 5 };
  // The largest transfer either side accepts.
  static constexpr std::int32_t MaxTransfer = 64 << 20;

  // Requests to the peer, on OutChannel; each returns the peer's answer.
  // They raise ESocketError when the connection fails or ends, and Ping
  // also when no answer begins within TimeoutMs (-1: no limit).
  UnicodeString Echo(const UnicodeString& Text);
  std::int32_t Add(std::int32_t A, std::int32_t B);
  std::int32_t Ping(std::int32_t N, int TimeoutMs = -1);
  std::string Transfer(const std::string& Bytes);
  void Note(const UnicodeString& Text);

  void Initialized() override;
  void DispatchRequest(int Code) override;

  // Called (on the thread that handles requests) for every request served
  // and at Initialized, with a line saying what happened.
  std::function<void(const std::string& Line)> OnLog;
  // Called on the main thread with every note that arrives.
  std::function<void(const UnicodeString& Text)> OnNote;

  std::atomic<int> InitializedCount{0};
  std::atomic<int> Served{0};
  std::atomic<int> Unknown{0};

 private:
  void log(const std::string& line);
  void send_int(TxumBaseInterface& channel, std::int32_t value);
  std::int32_t receive_int(TxumBaseInterface& channel);
};

}  // namespace xum

#endif  // XUM_NET_XUMDEMOPROTOCOL_H
