#include "net/tclientsocket.h"

#include <string>
#include <utility>

#include "core/xutf.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"
#include "platform/xos.h"

namespace xum {

TClientSocket::TClientSocket(TComponent* AOwner) : TComponent(AOwner) { xmain_loop::instance(); }

TClientSocket::~TClientSocket() { Close(); }

void TClientSocket::Open() {
  if (Active()) return;
  const std::string host = xutf16_to_utf8(address_);
  platform::os_error error;
  const bool blocking = type_ == ctBlocking;
  const int fd = platform::os().tcp_connect(host.c_str(), port_, blocking, error);
  if (fd < 0)
    throw ESocketError(xutf8_to_utf16("Cannot connect to " + host + ":" + std::to_string(port_) +
                                      ": " + error.text));
  socket_ = std::make_unique<TCustomWinSocket>(fd);
  if (blocking) {
    if (OnConnect) OnConnect(this, socket_.get());
    return;
  }
  watch_ = xmain_loop::instance().watch(fd, xmain_loop::watch_out,
                                        [this](unsigned) { connect_ready(); });
}

void TClientSocket::unwatch() noexcept {
  if (watch_ != 0) xmain_loop::instance().unwatch(watch_);
  watch_ = 0;
}

void TClientSocket::connect_ready() {
  unwatch();
  platform::os_error error;
  if (!platform::os().socket_connect_result(socket_->Handle(), error)) {
    const std::string host = xutf16_to_utf8(address_);
    lost(xutf8_to_utf16("Cannot connect to " + host + ":" + std::to_string(port_) + ": " +
                        error.text));
    return;
  }
  TCustomWinSocket* s = socket_.get();
  watch_ = xmain_loop::instance().watch(s->Handle(), xmain_loop::watch_in,
                                        [this](unsigned events) { read_ready(events); });
  try {
    if (OnConnect) OnConnect(this, s);
  } catch (...) {
    xhandle_exception(this);
  }
}

void TClientSocket::read_ready(unsigned) {
  TCustomWinSocket* s = socket_.get();
  if (s == nullptr) return;
  // Readable with nothing to read, or a hang-up: the peer has closed.
  if (s->ReceiveLength() == 0) {
    lost(UnicodeString());
    return;
  }
  try {
    if (OnRead) OnRead(this, s);
  } catch (...) {
    xhandle_exception(this);
  }
}

void TClientSocket::lost(const UnicodeString& error) {
  unwatch();
  // The socket goes first: a handler may open the next connection.
  std::unique_ptr<TCustomWinSocket> gone = std::move(socket_);
  gone->Close();
  try {
    if (!error.empty()) {
      if (OnError) OnError(this, gone.get(), error);
    } else if (OnDisconnect) {
      OnDisconnect(this, gone.get());
    }
  } catch (...) {
    xhandle_exception(this);
  }
}

void TClientSocket::Close() noexcept {
  unwatch();
  socket_.reset();
}

}  // namespace xum
