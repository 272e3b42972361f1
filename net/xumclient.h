// The protocol client: connects to a TxumServer over two connections and
// serves its protocol object from socket events on the main thread.
//
//   auto* client = new xum::TxumClient(nullptr);
//   client->SetAddress(u"127.0.0.1");
//   client->SetClientServerPort(7001);
//   client->SetServerClientPort(7002);
//   client->OnCreateProtocol = [](xum::TObject*, xum::TxumBaseProtocol*& p) { p = new mine; };
//   client->Connect();                    // returns once the token is in
//   while (!client->Protocol()) xum::xmain_loop::instance().run_once(100);
//
// Connect opens the connection to ClientServerPort and waits (at most
// 1000 ms, returning as soon as they arrive) for the server's 4-byte token;
// then OutClientConnect opens the connection to ServerClientPort without
// waiting. When that one is made, InClientConnect makes the protocol object
// (OnCreateProtocol, after destroying the previous one; without the event
// a plain TxumBaseProtocol, kept across reconnects), crosses the channels
// (OutChannel: the first connection, InChannel: the second), echoes the
// token and calls Initialized(). Every read event of the second connection
// then runs ProcessRequest once. When the server closes it,
// InClientDisconnect destroys the protocol object, closes the first
// connection and clears Connecting, after which Connect may start again.
//
// Connect raises ESocketError when the first connection is refused or the
// token does not come in time (Connecting is then clear again); a second
// connection that fails ends the attempt the same way, quietly. A second
// Connect while Connecting is set does nothing.
//
// Ownership: the client owns its protocol object (Protocol()).
//
// Thread safety: a component of the main thread.
#ifndef XUM_NET_XUMCLIENT_H
#define XUM_NET_XUMCLIENT_H

#include "core/xexport.h"
#include "net/tclientsocket.h"
#include "net/xumsocketscommonprops.h"

namespace xum {

class XUM_API TxumClient : public TxumSocketsCommonProps {
 public:
  explicit TxumClient(TComponent* AOwner);
  ~TxumClient() override;

  // The server's host name or address.
  const UnicodeString& Address() const noexcept { return address_; }
  void SetAddress(const UnicodeString& Value) { address_ = Value; }

  // Non-blocking, to ServerClientPort.
  TClientSocket* ServerClientSocket() const noexcept { return server_client_socket_; }
  // Blocking, to ClientServerPort.
  TClientSocket* ClientServerSocket() const noexcept { return client_server_socket_; }

  void Connect();

  // The socket events.
  void OutClientConnect(TObject* Sender, TCustomWinSocket* Socket);
  void InClientConnect(TObject* Sender, TCustomWinSocket* Socket);
  void InClientRead(TObject* Sender, TCustomWinSocket* Socket);
  void InClientDisconnect(TObject* Sender, TCustomWinSocket* Socket);

 private:
  UnicodeString address_;
  TClientSocket* const server_client_socket_;
  TClientSocket* const client_server_socket_;
  TCustomWinSocket* client_server_connection_ = nullptr;
  unsigned char token_[4] = {};
};

}  // namespace xum

#endif  // XUM_NET_XUMCLIENT_H
