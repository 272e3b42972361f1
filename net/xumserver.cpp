#include "net/xumserver.h"

#include <algorithm>

#include "core/xle.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"

namespace xum {

namespace {

// The longest wait for the 4 token bytes of a second connection; they
// usually come within a millisecond.
constexpr int token_wait_ms = 1000;
// A token whose second connection has not come by then is withdrawn.
constexpr std::chrono::seconds token_lifetime(10);

}  // namespace

TxumServer::TxumServer(TComponent* AOwner)
    : TxumSocketsCommonProps(AOwner),
      client_server_socket_(new TServerSocket(this)),
      server_client_socket_(new TServerSocket(this)),
      random_(std::random_device{}()) {
  client_server_socket_->SetServerType(stThreadBlocking);
  client_server_socket_->SetThreadCacheSize(0);
  client_server_socket_->OnGetThread = [this](TObject* Sender, TServerClientWinSocket* Socket,
                                              TServerClientThread*& Thread) {
    InServerGetThread(Sender, Socket, Thread);
  };
  client_server_socket_->OnThreadEnd = [this](TObject*, TServerClientThread* Thread) {
    thread_ended(Thread);
  };
  server_client_socket_->SetServerType(stNonBlocking);
  server_client_socket_->OnAccept = [this](TObject* Sender, TCustomWinSocket* Socket) {
    OutServerAccept(Sender, Socket);
  };
}

TxumServer::~TxumServer() {
  // While the server is still whole: every thread ends and OnProtocolEnd
  // runs for it, then the second connections go.
  client_server_socket_->Close();
  while (!awaited_.empty()) stop_waiting(awaited_.back().socket);
  server_client_socket_->Close();
}

void TxumServer::Listen() {
  client_server_socket_->SetPort(client_server_port_);
  server_client_socket_->SetPort(server_client_port_);
  client_server_socket_->Open();
  server_client_socket_->Open();
}

void TxumServer::InServerGetThread(TObject*, TServerClientWinSocket* ClientSocket,
                                   TServerClientThread*& SocketThread) {
  TxumBaseProtocol* protocol = nullptr;
  if (OnCreateProtocol) OnCreateProtocol(this, protocol);
  if (protocol == nullptr) protocol = new TxumBaseProtocol();  // the server never destroys it
  protocol->InChannel.Socket = ClientSocket;
  protocol->InChannel.Position = protocol->InChannel.Filled = 0;
  auto* thread = new TxumServerClientThread(ClientSocket, protocol);
  protocol->ServingThread = thread;
  SocketThread = thread;
  unsigned char bytes[4];
  le::store<std::uint32_t>(bytes, issue(protocol, thread));
  try {
    ClientSocket->SendBuf(bytes, 4);
  } catch (const ESocketError&) {
    // The client has gone already: its thread sees that at once and ends,
    // which withdraws the token.
  }
}

std::uint32_t TxumServer::issue(TxumBaseProtocol* protocol, TxumServerClientThread* thread) {
  std::lock_guard guard(tokens_lock_);
  const clock::time_point now = clock::now();
  expire_tokens(now);
  std::uint32_t token;
  do {
    token = static_cast<std::uint32_t>(random_());
  } while (token == 0 || tokens_.count(token) != 0);
  tokens_.emplace(token, issued{protocol, thread, now});
  return token;
}

void TxumServer::expire_tokens(clock::time_point now) {
  std::erase_if(tokens_,
                [now](const auto& entry) { return now - entry.second.when > token_lifetime; });
}

int TxumServer::TokenCount() const {
  std::lock_guard guard(tokens_lock_);
  return static_cast<int>(tokens_.size());
}

void TxumServer::OutServerAccept(TObject*, TCustomWinSocket* Socket) {
  // The 4 token bytes are awaited in the main loop, not by blocking it: a
  // slow or silent connection holds up nobody else.
  xmain_loop& loop = xmain_loop::instance();
  awaited a{Socket, {}, 0, 0, 0};
  a.watch = loop.watch(Socket->Handle(), xmain_loop::watch_in,
                       [this, Socket](unsigned) { token_bytes(Socket); });
  a.timer = loop.add_timer(token_wait_ms, [this, Socket] {
    stop_waiting(Socket);
    server_client_socket_->CloseConnection(Socket);
  });
  awaited_.push_back(a);
}

void TxumServer::stop_waiting(TCustomWinSocket* socket) {
  const auto it = std::find_if(awaited_.begin(), awaited_.end(),
                               [socket](const awaited& a) { return a.socket == socket; });
  if (it == awaited_.end()) return;
  xmain_loop::instance().unwatch(it->watch);
  xmain_loop::instance().remove_timer(it->timer);
  awaited_.erase(it);
}

void TxumServer::token_bytes(TCustomWinSocket* socket) {
  const auto it = std::find_if(awaited_.begin(), awaited_.end(),
                               [socket](const awaited& a) { return a.socket == socket; });
  if (it == awaited_.end()) return;
  int n = 0;
  try {
    n = socket->ReceiveBuf(it->bytes + it->got, 4 - it->got);
  } catch (const ESocketError&) {
    n = 0;
  }
  if (n <= 0) {
    // Readable with nothing to read: the client closed before its token.
    stop_waiting(socket);
    server_client_socket_->CloseConnection(socket);
    return;
  }
  it->got += n;
  if (it->got < 4) return;
  const std::uint32_t token = le::load<std::uint32_t>(it->bytes);
  stop_waiting(socket);
  link(socket, token);
}

void TxumServer::link(TCustomWinSocket* socket, std::uint32_t token) {
  issued found{};
  {
    std::lock_guard guard(tokens_lock_);
    expire_tokens(clock::now());
    const auto it = tokens_.find(token);
    if (it != tokens_.end()) {
      found = it->second;
      tokens_.erase(it);  // single use, whatever happens next
    }
  }
  if (found.protocol == nullptr) {
    server_client_socket_->CloseConnection(socket);
    return;
  }
  TxumBaseProtocol* protocol = found.protocol;
  protocol->OutChannel.Socket = socket;
  protocol->OutChannel.Position = protocol->OutChannel.Filled = 0;
  linked_[found.thread] = socket;
  try {
    protocol->Initialized();
  } catch (...) {
    xhandle_exception(this);
  }
}

void TxumServer::thread_ended(TServerClientThread* Thread) {
  auto* thread = dynamic_cast<TxumServerClientThread*>(Thread);
  if (thread == nullptr) return;
  {
    std::lock_guard guard(tokens_lock_);
    std::erase_if(tokens_, [thread](const auto& entry) { return entry.second.thread == thread; });
  }
  if (const auto it = linked_.find(thread); it != linked_.end()) {
    server_client_socket_->CloseConnection(it->second);
    linked_.erase(it);
  }
  TxumBaseProtocol* protocol = thread->Protocol();
  protocol->InChannel.Socket = nullptr;
  protocol->OutChannel.Socket = nullptr;
  protocol->ServingThread = nullptr;
  if (OnProtocolEnd) OnProtocolEnd(this, protocol);
}

}  // namespace xum
