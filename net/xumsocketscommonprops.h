// What the protocol server and client components share: the two ports,
// the connecting state and current protocol object of a client, and the
// event through which an application supplies protocol objects of its own
// class.
//
//   server->OnCreateProtocol = [](xum::TObject*, xum::TxumBaseProtocol*& p) { p = new mine; };
//
// The two ports are the same on both sides: ClientServerPort carries the
// client's requests to the server, ServerClientPort the server's requests
// to the client.
//
// Thread safety: a component of the main thread (the server runs
// OnCreateProtocol on its accepting thread; see xumserver.h).
#ifndef XUM_NET_XUMSOCKETSCOMMONPROPS_H
#define XUM_NET_XUMSOCKETSCOMMONPROPS_H

#include <functional>
#include <memory>

#include "core/xexport.h"
#include "framework/tcomponent.h"
#include "net/xumbaseprotocol.h"

namespace xum {

using TCreateProtocolEvent = std::function<void(TObject* Sender, TxumBaseProtocol*& Protocol)>;

class XUM_API TxumSocketsCommonProps : public TComponent {
 public:
  explicit TxumSocketsCommonProps(TComponent* AOwner);
  ~TxumSocketsCommonProps() override;

  int ClientServerPort() const noexcept { return client_server_port_; }
  void SetClientServerPort(int Value) noexcept { client_server_port_ = Value; }
  int ServerClientPort() const noexcept { return server_client_port_; }
  void SetServerClientPort(int Value) noexcept { server_client_port_ = Value; }
  // Client: a connection has been started and not yet ended.
  bool Connecting() const noexcept { return connecting_; }
  // Client: the current protocol object, owned; null before the first link
  // and after a disconnect.
  TxumBaseProtocol* Protocol() const noexcept { return protocol_.get(); }

  // Lets the application make the protocol object (of a derived class);
  // leaving it null makes a plain TxumBaseProtocol. Sender is the server
  // or the client.
  TCreateProtocolEvent OnCreateProtocol;

 protected:
  int client_server_port_ = 0;
  int server_client_port_ = 0;
  bool connecting_ = false;
  std::unique_ptr<TxumBaseProtocol> protocol_;
};

}  // namespace xum

#endif  // XUM_NET_XUMSOCKETSCOMMONPROPS_H
