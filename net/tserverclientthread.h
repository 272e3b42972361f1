// The thread a thread-blocking server socket gives each accepted
// connection: its body, ClientExecute, serves that one connection.
//
//   class echo_thread : public xum::TServerClientThread {
//    public:
//     using TServerClientThread::TServerClientThread;
//     ~echo_thread() override { Stop(); }
//    protected:
//     void ClientExecute() override {
//       char b[256];
//       while (!Terminated() && ClientSocket()->WaitForData(-1)) {
//         const int n = ClientSocket()->ReceiveBuf(b, sizeof b);
//         if (n == 0) break;                     // the peer has closed
//         ClientSocket()->SendBuf(b, n);
//       }
//     }
//   };
//
// The server socket starts the thread its get-thread event returns and
// releases it (and closes its socket) on the main thread once
// ClientExecute has returned; a new thread serves every connection, none is
// reused. A class that overrides ClientExecute calls Stop() first in its
// destructor, as every TThread does.
//
// Thread safety: as TThread.
#ifndef XUM_NET_TSERVERCLIENTTHREAD_H
#define XUM_NET_TSERVERCLIENTTHREAD_H

#include <functional>

#include "core/xexport.h"
#include "framework/tthread.h"
#include "net/tcustomwinsocket.h"

namespace xum {

class XUM_API TServerClientThread : public TThread {
 public:
  // Serves `ASocket`, which stays the server socket's.
  explicit TServerClientThread(TServerClientWinSocket* ASocket);
  ~TServerClientThread() override;

  TServerClientWinSocket* ClientSocket() const noexcept { return socket_; }

 protected:
  // Runs ClientExecute, then tells the server socket that the connection
  // is over.
  void Execute() override;
  // The body serving the connection; the base does nothing.
  virtual void ClientExecute();

 private:
  friend class TServerSocket;
  TServerClientWinSocket* const socket_;
  std::function<void(TServerClientThread*)> ended_;  // set by the server socket before Start
};

}  // namespace xum

#endif  // XUM_NET_TSERVERCLIENTTHREAD_H
