#include "net/xumclient.h"

#include <string>

#include "core/xutf.h"

namespace xum {

namespace {

// The longest wait for the server's token; it usually comes within a
// millisecond of the connection.
constexpr int token_wait_ms = 1000;

}  // namespace

TxumClient::TxumClient(TComponent* AOwner)
    : TxumSocketsCommonProps(AOwner),
      server_client_socket_(new TClientSocket(this)),
      client_server_socket_(new TClientSocket(this)) {
  server_client_socket_->SetClientType(ctNonBlocking);
  server_client_socket_->OnConnect = [this](TObject* Sender, TCustomWinSocket* Socket) {
    InClientConnect(Sender, Socket);
  };
  server_client_socket_->OnRead = [this](TObject* Sender, TCustomWinSocket* Socket) {
    InClientRead(Sender, Socket);
  };
  server_client_socket_->OnDisconnect = [this](TObject* Sender, TCustomWinSocket* Socket) {
    InClientDisconnect(Sender, Socket);
  };
  server_client_socket_->OnError = [this](TObject*, TCustomWinSocket*, const UnicodeString&) {
    // The second connection could not be made: the attempt is over.
    client_server_socket_->Close();
    client_server_connection_ = nullptr;
    connecting_ = false;
  };
  client_server_socket_->SetClientType(ctBlocking);
  client_server_socket_->OnConnect = [this](TObject* Sender, TCustomWinSocket* Socket) {
    OutClientConnect(Sender, Socket);
  };
}

TxumClient::~TxumClient() {
  // The protocol object goes while the connections it names still exist.
  protocol_.reset();
  server_client_socket_->Close();
  client_server_socket_->Close();
}

void TxumClient::Connect() {
  if (connecting_) return;
  connecting_ = true;
  client_server_socket_->SetPort(client_server_port_);
  client_server_socket_->SetAddress(address_);
  try {
    client_server_socket_->Open();
  } catch (...) {
    client_server_socket_->Close();
    client_server_connection_ = nullptr;
    connecting_ = false;
    throw;
  }
}

void TxumClient::OutClientConnect(TObject*, TCustomWinSocket* Socket) {
  client_server_connection_ = Socket;
  if (!Socket->ReceiveExactly(token_, 4, token_wait_ms))
    throw ESocketError(xutf8_to_utf16("No connection token from " + xutf16_to_utf8(address_) + ":" +
                                      std::to_string(client_server_port_) + " within " +
                                      std::to_string(token_wait_ms) + " ms"));
  server_client_socket_->SetPort(server_client_port_);
  server_client_socket_->SetAddress(address_);
  server_client_socket_->Open();
}

void TxumClient::InClientConnect(TObject*, TCustomWinSocket* Socket) {
  if (OnCreateProtocol) {
    protocol_.reset();
    TxumBaseProtocol* made = nullptr;
    OnCreateProtocol(this, made);
    protocol_.reset(made);
  }
  if (!protocol_) protocol_ = std::make_unique<TxumBaseProtocol>();
  protocol_->OutChannel.Socket = client_server_connection_;
  protocol_->OutChannel.Position = protocol_->OutChannel.Filled = 0;
  protocol_->InChannel.Socket = Socket;
  protocol_->InChannel.Position = protocol_->InChannel.Filled = 0;
  Socket->SendBuf(token_, 4);
  protocol_->Initialized();
}

void TxumClient::InClientRead(TObject* Sender, TCustomWinSocket* Socket) {
  if (!protocol_) {
    // Bytes before the link is complete have nobody to go to.
    unsigned char drop[256];
    while (Socket->ReceiveBuf(drop, sizeof drop) > 0) {
    }
    return;
  }
  try {
    protocol_->ProcessRequest();
  } catch (const ESocketError&) {
    // The server went away in the middle of a request.
    InClientDisconnect(Sender, Socket);
    server_client_socket_->Close();
  }
}

void TxumClient::InClientDisconnect(TObject*, TCustomWinSocket*) {
  protocol_.reset();
  client_server_socket_->Close();
  client_server_connection_ = nullptr;
  connecting_ = false;
}

}  // namespace xum
