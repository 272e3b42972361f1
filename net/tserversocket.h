// A listening TCP socket in one of the framework's two server types.
//
//   Thread-blocking (stThreadBlocking): a thread of the server socket
//   accepts, asks the get-thread event for a TServerClientThread per
//   connection (in that accepting thread) and starts it. When the thread's
//   ClientExecute returns, OnThreadEnd runs on the main thread, then the
//   thread is released and the connection closed.
//   Non-blocking (stNonBlocking): the main loop (framework/xmain_loop.h)
//   accepts and runs the accept event on the main thread. The accepted
//   connections stay the server socket's until CloseConnection or Close;
//   nothing is read from them on its own.
//
//   auto* server = new xum::TServerSocket(owner);
//   server->SetAddress(u"127.0.0.1");
//   server->SetPort(0);                            // the system picks one
//   server->OnAccept = [](xum::TObject*, xum::TCustomWinSocket* s) { s->SendBuf("hi", 2); };
//   server->Open();
//   int port = server->LocalPort();
//
// Open raises ESocketError when it cannot listen. Close (and the destructor)
// stops accepting, wakes and ends every connection thread (shutting its
// connection down), runs OnThreadEnd for each and closes every connection.
//
// Thread safety: a component of the main thread; the get-thread event runs
// on the accepting thread.
#ifndef XUM_NET_TSERVERSOCKET_H
#define XUM_NET_TSERVERSOCKET_H

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "core/xexport.h"
#include "framework/tcomponent.h"
#include "framework/tthread.h"
#include "net/tcustomwinsocket.h"
#include "net/tserverclientthread.h"

namespace xum {

enum TServerType { stNonBlocking = 0, stThreadBlocking = 1 };

using TGetThreadEvent = std::function<void(TObject* Sender, TServerClientWinSocket* ClientSocket,
                                           TServerClientThread*& SocketThread)>;
using TSocketNotifyEvent = std::function<void(TObject* Sender, TCustomWinSocket* Socket)>;
using TThreadNotifyEvent = std::function<void(TObject* Sender, TServerClientThread* Thread)>;

class XUM_API TServerSocket : public TComponent {
 public:
  explicit TServerSocket(TComponent* AOwner);
  ~TServerSocket() override;

  int Port() const noexcept { return port_; }
  void SetPort(int Value) noexcept { port_ = Value; }
  // The local address to listen on; empty (the default): every address.
  const UnicodeString& Address() const noexcept { return address_; }
  void SetAddress(const UnicodeString& Value) { address_ = Value; }
  TServerType ServerType() const noexcept { return type_; }
  void SetServerType(TServerType Value) noexcept { type_ = Value; }
  // Threads are never reused, so the cache holds none, whatever is set.
  int ThreadCacheSize() const noexcept { return 0; }
  void SetThreadCacheSize(int) noexcept {}

  // Starts listening; does nothing when listening already.
  void Open();
  void Close() noexcept;
  bool Active() const noexcept { return listener_ >= 0; }
  // The port listened on (the one the system picked for port 0); -1 when
  // not listening.
  int LocalPort() const noexcept;
  // Connections accepted and not yet released.
  int ActiveConnections() const;
  // Closes and releases one accepted connection of a non-blocking server
  // socket; one it does not hold is ignored. The socket is gone afterwards.
  void CloseConnection(TCustomWinSocket* Socket);

  TGetThreadEvent OnGetThread;     // thread-blocking: on the accepting thread
  TSocketNotifyEvent OnAccept;     // non-blocking: on the main thread
  TThreadNotifyEvent OnThreadEnd;  // thread-blocking: on the main thread

 private:
  struct connection {
    std::unique_ptr<TServerClientWinSocket> socket;
    TServerClientThread* thread;  // owned; null for non-blocking connections
  };
  struct link {
    TServerSocket* owner;  // null once the server socket stops
  };

  void accept_loop(TThread& self);
  void accept_blocking(int fd);
  void accept_ready();
  void release(TServerClientThread* thread) noexcept;
  void finish(connection& c) noexcept;

  int port_ = 0;
  UnicodeString address_;
  TServerType type_ = stNonBlocking;
  int listener_ = -1;
  int watch_ = 0;
  int wake_[2] = {-1, -1};
  std::unique_ptr<TThread> acceptor_;
  std::shared_ptr<link> link_;
  mutable std::mutex lock_;
  std::vector<connection> connections_;
};

}  // namespace xum

#endif  // XUM_NET_TSERVERSOCKET_H
