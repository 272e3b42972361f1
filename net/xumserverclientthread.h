// The server's connection thread: serves one client's incoming connection
// by running ProcessRequest of the client's protocol object for every
// request that arrives.
//
// It waits in poll for the connection to become readable (no busy polling)
// and ends when the client closes the connection, when the connection fails
// or a request cannot be read to its end, or when terminated (the server
// shuts the connection down to wake it; a Terminate alone is seen within a
// second). It neither closes the connection nor destroys the protocol
// object. Exceptions other than socket errors that escape DispatchRequest
// end the thread and are kept as its FatalException.
//
// Thread safety: as TThread.
#ifndef XUM_NET_XUMSERVERCLIENTTHREAD_H
#define XUM_NET_XUMSERVERCLIENTTHREAD_H

#include "core/xexport.h"
#include "net/tserverclientthread.h"
#include "net/xumbaseprotocol.h"

namespace xum {

class XUM_API TxumServerClientThread : public TServerClientThread {
 public:
  // Serves `AProtocol` (not owned) on `ASocket`.
  TxumServerClientThread(TServerClientWinSocket* ASocket, TxumBaseProtocol* AProtocol);
  ~TxumServerClientThread() override;

  TxumBaseProtocol* Protocol() const noexcept { return protocol_; }

 protected:
  void ClientExecute() override;

 private:
  TxumBaseProtocol* const protocol_;
};

}  // namespace xum

#endif  // XUM_NET_XUMSERVERCLIENTTHREAD_H
