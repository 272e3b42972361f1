// The protocol server: listens on two ports and gives every client a
// protocol object served by a connection thread of its own.
//
//   auto* server = new xum::TxumServer(nullptr);
//   server->SetClientServerPort(7001);
//   server->SetServerClientPort(7002);
//   server->ClientServerSocket()->SetAddress(u"127.0.0.1");  // loopback only
//   server->ServerClientSocket()->SetAddress(u"127.0.0.1");
//   server->OnCreateProtocol = [](xum::TObject*, xum::TxumBaseProtocol*& p) { p = new mine; };
//   server->OnProtocolEnd = [](xum::TObject*, xum::TxumBaseProtocol* p) { delete p; };
//   server->Listen();
//   for (;;) xum::xmain_loop::instance().run_once(-1);
//
// How a client is joined (the client side is in xumclient.h):
//  1. A connection on ClientServerPort arrives; on the accepting thread
//     InServerGetThread makes the protocol object (OnCreateProtocol, else
//     a plain TxumBaseProtocol), makes it InChannel of that connection,
//     starts a TxumServerClientThread for it and sends the client a 4-byte
//     connection token.
//  2. The client echoes the token on a connection to ServerClientPort;
//     OutServerAccept (main thread) waits at most 1000 ms for its 4 bytes
//     without blocking the main loop, makes that connection the protocol
//     object's OutChannel and calls Initialized().
// A token is a random 32-bit number the server keeps in a table of its own
// (never an address): an unknown token, one that comes late or too short
// closes that one connection and nothing else. Tokens are single-use: one
// leaves the table when its second connection arrives (whether it links or
// not), when its first connection ends, or 10 s after it was issued. A
// protocol object whose second connection never comes is still served on
// its first but never receives Initialized().
//
// Ownership: the server never destroys a protocol object, neither when its
// connection ends nor when the server goes. When a client's first
// connection ends (or the server goes), its thread has ended, both of its
// connections are closed, the object's channels and ServingThread are
// cleared and OnProtocolEnd runs on the main thread: that is where an
// application (or a derived protocol that registered itself) ends the
// object, for instance by deleting it. Nothing touches the object after
// OnProtocolEnd.
//
// Thread safety: a component of the main thread. OnCreateProtocol runs on
// the accepting thread; OnProtocolEnd and Initialized on the main thread;
// requests on each client's own thread.
#ifndef XUM_NET_XUMSERVER_H
#define XUM_NET_XUMSERVER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <random>
#include <unordered_map>
#include <vector>

#include "core/xexport.h"
#include "net/tserversocket.h"
#include "net/xumserverclientthread.h"
#include "net/xumsocketscommonprops.h"

namespace xum {

using TProtocolEndEvent = std::function<void(TObject* Sender, TxumBaseProtocol* Protocol)>;

class XUM_API TxumServer : public TxumSocketsCommonProps {
 public:
  explicit TxumServer(TComponent* AOwner);
  // Ends every connection (OnProtocolEnd runs for each) and stops listening.
  ~TxumServer() override;

  // Listens on ClientServerPort, then on ServerClientPort. Raises
  // ESocketError when a port cannot be listened on. There is no stopping
  // short of destroying the server.
  void Listen();

  // Thread-blocking, on ClientServerPort.
  TServerSocket* ClientServerSocket() const noexcept { return client_server_socket_; }
  // Non-blocking, on ServerClientPort.
  TServerSocket* ServerClientSocket() const noexcept { return server_client_socket_; }

  // The get-thread event of ClientServerSocket and the accept event of
  // ServerClientSocket.
  void InServerGetThread(TObject* Sender, TServerClientWinSocket* ClientSocket,
                         TServerClientThread*& SocketThread);
  void OutServerAccept(TObject* Sender, TCustomWinSocket* Socket);

  // Tokens issued and not yet used, withdrawn or expired.
  int TokenCount() const;

  TProtocolEndEvent OnProtocolEnd;

 private:
  using clock = std::chrono::steady_clock;
  struct issued {
    TxumBaseProtocol* protocol;
    TxumServerClientThread* thread;
    clock::time_point when;
  };
  struct awaited {
    TCustomWinSocket* socket;
    unsigned char bytes[4];
    int got;
    int watch;
    int timer;
  };

  std::uint32_t issue(TxumBaseProtocol* protocol, TxumServerClientThread* thread);
  void expire_tokens(clock::time_point now);
  void token_bytes(TCustomWinSocket* socket);
  void stop_waiting(TCustomWinSocket* socket);
  void link(TCustomWinSocket* socket, std::uint32_t token);
  void thread_ended(TServerClientThread* thread);

  TServerSocket* const client_server_socket_;
  TServerSocket* const server_client_socket_;
  mutable std::mutex tokens_lock_;
  std::unordered_map<std::uint32_t, issued> tokens_;
  std::mt19937 random_;
  std::vector<awaited> awaited_;                                        // main thread
  std::unordered_map<TServerClientThread*, TCustomWinSocket*> linked_;  // main thread
};

}  // namespace xum

#endif  // XUM_NET_XUMSERVER_H
