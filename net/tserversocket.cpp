#include "net/tserversocket.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/xutf.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"
#include "platform/xos.h"

namespace xum {

TServerSocket::TServerSocket(TComponent* AOwner) : TComponent(AOwner) {
  // The main loop belongs to the thread that makes it: make sure that is
  // this one, not the accepting thread.
  xmain_loop::instance();
}

TServerSocket::~TServerSocket() { Close(); }

void TServerSocket::Open() {
  if (Active()) return;
  platform::xos& os = platform::os();
  platform::os_error error;
  const std::string address = xutf16_to_utf8(address_);
  const int fd = os.tcp_listen(address.c_str(), port_, type_ == stNonBlocking, error);
  if (fd < 0)
    throw ESocketError(xutf8_to_utf16("Cannot listen on " +
                                      (address.empty() ? std::string("*") : address) + ":" +
                                      std::to_string(port_) + ": " + error.text));
  listener_ = fd;
  link_ = std::make_shared<link>(link{this});
  if (type_ == stNonBlocking) {
    watch_ = xmain_loop::instance().watch(fd, xmain_loop::watch_in,
                                          [this](unsigned) { accept_ready(); });
    return;
  }
  if (!os.make_wake_pipe(wake_)) {
    Close();
    throw ESocketError(u"Cannot listen: no wake-up pipe for the accepting thread");
  }
  acceptor_ = std::make_unique<TThread>([this](TThread& self) { accept_loop(self); });
  try {
    acceptor_->Start();
  } catch (...) {
    Close();
    throw;
  }
}

void TServerSocket::accept_loop(TThread& self) {
  platform::xos& os = platform::os();
  os.set_current_thread_name("xum accept");
  while (!self.Terminated()) {
    platform::poll_entry entries[2] = {{listener_, platform::poll_in, 0},
                                       {wake_[0], platform::poll_in, 0}};
    if (os.poll(entries, 2, -1) <= 0) continue;
    if (entries[1].revents) os.drain_pipe(wake_[0]);
    if (self.Terminated() || !entries[0].revents) continue;
    platform::os_error error;
    const int fd = os.tcp_accept(listener_, error);
    if (fd >= 0) {
      accept_blocking(fd);
    } else if (error) {
      // Out of descriptors, say: give the system a moment rather than spin.
      os.sleep_ms(10);
    }
  }
}

void TServerSocket::accept_blocking(int fd) {
  auto socket = std::make_unique<TServerClientWinSocket>(fd);
  TServerClientThread* thread = nullptr;
  try {
    if (OnGetThread) OnGetThread(this, socket.get(), thread);
  } catch (...) {
    // No main thread to report to from here: the connection is refused.
    delete thread;
    return;
  }
  if (thread == nullptr) return;  // nobody serves it: closed
  std::shared_ptr<link> l = link_;
  thread->ended_ = [l](TServerClientThread* t) {
    xmain_loop::instance().post([l, t] {
      if (l->owner != nullptr) l->owner->release(t);
    });
  };
  {
    std::lock_guard guard(lock_);
    connections_.push_back({std::move(socket), thread});
  }
  try {
    thread->Start();
  } catch (...) {
    std::lock_guard guard(lock_);
    // Never started: ended_ will not run, so it is released here.
    const auto it = std::find_if(connections_.begin(), connections_.end(),
                                 [thread](const connection& c) { return c.thread == thread; });
    delete thread;
    if (it != connections_.end()) connections_.erase(it);
  }
}

void TServerSocket::accept_ready() {
  platform::xos& os = platform::os();
  // A bounded batch per turn keeps the loop responsive under a flood.
  for (int i = 0; i < 64; ++i) {
    platform::os_error error;
    const int fd = os.tcp_accept(listener_, error);
    if (fd < 0) return;
    auto socket = std::make_unique<TServerClientWinSocket>(fd);
    TServerClientWinSocket* s = socket.get();
    {
      std::lock_guard guard(lock_);
      connections_.push_back({std::move(socket), nullptr});
    }
    try {
      if (OnAccept) OnAccept(this, s);
    } catch (...) {
      xhandle_exception(this);
    }
  }
}

void TServerSocket::finish(connection& c) noexcept {
  if (c.thread != nullptr) {
    if (OnThreadEnd) {
      try {
        OnThreadEnd(this, c.thread);
      } catch (...) {
        xhandle_exception(this);
      }
    }
    delete c.thread;  // waits until the thread has ended
  }
  c.socket.reset();
}

void TServerSocket::release(TServerClientThread* thread) noexcept {
  connection c;
  {
    std::lock_guard guard(lock_);
    const auto it = std::find_if(connections_.begin(), connections_.end(),
                                 [thread](const connection& e) { return e.thread == thread; });
    if (it == connections_.end()) return;  // Close took it already
    c = std::move(*it);
    connections_.erase(it);
  }
  finish(c);
}

void TServerSocket::CloseConnection(TCustomWinSocket* Socket) {
  connection c;
  {
    std::lock_guard guard(lock_);
    const auto it = std::find_if(
        connections_.begin(), connections_.end(),
        [Socket](const connection& e) { return e.socket.get() == Socket && e.thread == nullptr; });
    if (it == connections_.end()) return;
    c = std::move(*it);
    connections_.erase(it);
  }
  c.socket.reset();
}

int TServerSocket::ActiveConnections() const {
  std::lock_guard guard(lock_);
  return static_cast<int>(connections_.size());
}

int TServerSocket::LocalPort() const noexcept {
  return listener_ < 0 ? -1 : platform::os().socket_port(listener_);
}

void TServerSocket::Close() noexcept {
  if (!Active()) return;
  platform::xos& os = platform::os();
  if (link_) link_->owner = nullptr;  // calls already posted find nobody
  if (watch_ != 0) xmain_loop::instance().unwatch(watch_);
  watch_ = 0;
  if (acceptor_) {
    acceptor_->Terminate();
    os.wake_pipe(wake_[1]);
    acceptor_.reset();  // joins it: nothing is accepted any more
  }
  os.close_fd(wake_[0]);
  os.close_fd(wake_[1]);
  wake_[0] = wake_[1] = -1;
  os.close_socket(listener_);
  listener_ = -1;
  // Wake every connection thread at once, then wait for each in turn.
  {
    std::lock_guard guard(lock_);
    for (connection& c : connections_) {
      if (c.thread == nullptr) continue;
      c.thread->Terminate();
      c.socket->Shutdown();
    }
  }
  for (;;) {
    connection c;
    {
      std::lock_guard guard(lock_);
      if (connections_.empty()) break;
      c = std::move(connections_.back());
      connections_.pop_back();
    }
    if (c.thread != nullptr) c.thread->Stop();
    finish(c);
  }
}

}  // namespace xum
