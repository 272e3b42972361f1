#include "net/xumserverclientthread.h"

#include "platform/xos.h"

namespace xum {

namespace {

// How long one wait for a request lasts before Terminated is looked at
// again; the server's own shutdown wakes the wait at once.
constexpr int request_wait_ms = 1000;

}  // namespace

TxumServerClientThread::TxumServerClientThread(TServerClientWinSocket* ASocket,
                                               TxumBaseProtocol* AProtocol)
    : TServerClientThread(ASocket), protocol_(AProtocol) {}

TxumServerClientThread::~TxumServerClientThread() { Stop(); }

void TxumServerClientThread::ClientExecute() {
  platform::os().set_current_thread_name("xum client");
  TServerClientWinSocket* socket = ClientSocket();
  try {
    while (!Terminated() && socket->Connected()) {
      if (!socket->WaitForData(request_wait_ms) || Terminated()) continue;
      // Readable with nothing to read means the peer has closed: the
      // request's first read finds that out and ends the loop below.
      protocol_->ProcessRequest();
    }
  } catch (const ESocketError&) {
    // The connection failed or ended in the middle of a request: this
    // connection is over, nothing else is.
  }
}

}  // namespace xum
