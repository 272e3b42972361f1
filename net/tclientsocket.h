// A TCP client socket in one of the framework's two client types.
//
//   Blocking (ctBlocking): Open connects before it returns and runs the
//   connect event inside Open; the program then sends and receives on
//   Socket() itself.
//   Non-blocking (ctNonBlocking): Open starts connecting and returns; the
//   main loop (framework/xmain_loop.h) runs the connect event once the
//   connection is made, the read event whenever bytes arrive, the
//   disconnect event when the peer closes, and the error event when the
//   connection cannot be made.
//
//   auto* client = new xum::TClientSocket(owner);
//   client->SetAddress(u"127.0.0.1");
//   client->SetPort(port);
//   client->OnRead = [](xum::TObject*, xum::TCustomWinSocket* s) { consume(*s); };
//   client->Open();
//
// Open raises ESocketError when the connection fails at once (a refused
// blocking connection, an unknown host). Close ends the connection without
// a disconnect event. Exceptions of the events run by the main loop go to
// Application()->HandleException; those of a blocking connect event leave
// Open.
//
// Thread safety: a component of the main thread.
#ifndef XUM_NET_TCLIENTSOCKET_H
#define XUM_NET_TCLIENTSOCKET_H

#include <functional>
#include <memory>

#include "core/xexport.h"
#include "framework/tcomponent.h"
#include "net/tcustomwinsocket.h"

namespace xum {

enum TClientType { ctNonBlocking = 0, ctBlocking = 1 };

using TSocketEvent = std::function<void(TObject* Sender, TCustomWinSocket* Socket)>;
using TSocketErrorEvent =
    std::function<void(TObject* Sender, TCustomWinSocket* Socket, const UnicodeString& Message)>;

class XUM_API TClientSocket : public TComponent {
 public:
  explicit TClientSocket(TComponent* AOwner);
  ~TClientSocket() override;

  int Port() const noexcept { return port_; }
  void SetPort(int Value) noexcept { port_ = Value; }
  const UnicodeString& Address() const noexcept { return address_; }
  void SetAddress(const UnicodeString& Value) { address_ = Value; }
  TClientType ClientType() const noexcept { return type_; }
  void SetClientType(TClientType Value) noexcept { type_ = Value; }

  // Connects (see the types above); does nothing while open.
  void Open();
  void Close() noexcept;
  // Connected, or connecting without waiting.
  bool Active() const noexcept { return socket_ != nullptr; }
  // The connection; null when not open.
  TCustomWinSocket* Socket() const noexcept { return socket_.get(); }

  TSocketEvent OnConnect;
  TSocketEvent OnRead;
  TSocketEvent OnDisconnect;
  TSocketErrorEvent OnError;

 private:
  void connect_ready();
  void read_ready(unsigned events);
  void lost(const UnicodeString& error);
  void unwatch() noexcept;

  int port_ = 0;
  UnicodeString address_;
  TClientType type_ = ctNonBlocking;
  std::unique_ptr<TCustomWinSocket> socket_;
  int watch_ = 0;
};

}  // namespace xum

#endif  // XUM_NET_TCLIENTSOCKET_H
