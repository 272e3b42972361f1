#include "app/tapp_link.h"

#include <cstring>
#include <map>
#include <string>

#include "core/xle.h"
#include "framework/xmain_loop.h"
#include "platform/xos.h"

namespace xum {

namespace {

constexpr unsigned char magic[4] = {'X', 'A', 'L', '1'};
constexpr std::size_t header_size = 12;
constexpr std::uint32_t max_block = 64u << 20;
constexpr unsigned char four_zeros[4] = {0, 0, 0, 0};

// The titles this process receives, for the direct same-process path.
// Main thread only.
std::map<std::string, TAppLinkReceiver*>& local_receivers() {
  static std::map<std::string, TAppLinkReceiver*> receivers;
  return receivers;
}

TAppLinkReceiver* local_receiver(const xstr& title) {
  if (!xmain_loop::instance().in_main_thread()) return nullptr;
  const auto it = local_receivers().find(std::string(title.view()));
  return it == local_receivers().end() ? nullptr : it->second;
}

std::string hex64(std::uint64_t v) {
  static const char digits[] = "0123456789abcdef";
  std::string s(16, '0');
  for (int i = 15; i >= 0; --i, v >>= 4) s[i] = digits[v & 15];
  return s;
}

}  // namespace

std::string xapp_link_path(const xstr& title) {
  platform::os_error error;
  const std::string dir = platform::os().runtime_directory(error);
  if (dir.empty()) {
    xerror(xstr(("Cannot make the run-time directory for the application link: " + error.text)
                    .c_str()));
    return {};
  }
  std::string name;
  std::uint64_t hash = 14695981039346656037ull;  // FNV-1a over the title
  for (const char ch : title.view()) {
    const auto c = static_cast<unsigned char>(ch);
    hash = (hash ^ c) * 1099511628211ull;
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
        c == '_' || c == '-') {
      name += static_cast<char>(c);
    } else {
      static const char digits[] = "0123456789ABCDEF";
      name += '%';
      name += digits[c >> 4];
      name += digits[c & 15];
    }
  }
  std::string path = dir + "/xum-link-" + name;
  constexpr std::size_t max_path = 107;
  if (path.size() > max_path) {
    const std::string tail = "~" + hex64(hash);
    const std::size_t keep = max_path > dir.size() + 10 + tail.size()
                                 ? max_path - dir.size() - 10 - tail.size()
                                 : 0;
    path = dir + "/xum-link-" + name.substr(0, keep) + tail;
  }
  return path;
}

// --- TAppLink --------------------------------------------------------------------

TAppLink::~TAppLink() = default;

void TAppLink::Init(void* senderWindow, xstr receiverTitle) {
  sender_ = senderWindow;
  title_ = std::move(receiverTitle);
}

void TAppLink::Prepare() {
  out_.set_size(0);
  Exchange(out_, xstream_write, 0);
}

bool TAppLink::HasReceiver() const {
  if (local_receiver(title_) != nullptr) return true;
  const std::string path = xapp_link_path(title_);
  if (path.empty()) return false;
  platform::os_error error;
  const int fd = platform::os().local_connect(path.c_str(), error);
  if (fd < 0) return false;
  platform::os().close_socket(fd);
  return true;
}

bool TAppLink::Send(unsigned code) {
  BeforeTransfer();
  xcopy_data record;
  record.code = code;
  if (out_.size() == 0) {
    record.size = 4;
    record.data = four_zeros;
  } else {
    record.size = static_cast<int>(out_.size());
    record.data = out_.data();
  }
  if (TAppLinkReceiver* receiver = local_receiver(title_)) {
    receiver->Deliver(record);
    return true;
  }
  const std::string path = xapp_link_path(title_);
  if (path.empty()) return false;
  platform::xos& os = platform::os();
  platform::os_error error;
  const int fd = os.local_connect(path.c_str(), error);
  if (fd < 0) return false;
  unsigned char header[header_size];
  std::memcpy(header, magic, 4);
  le::store<std::uint32_t>(header + 4, code);
  le::store<std::uint32_t>(header + 8, static_cast<std::uint32_t>(record.size));
  bool done = os.socket_send(fd, header, header_size) == static_cast<int>(header_size) &&
              os.socket_send(fd, record.data, record.size) == record.size;
  if (done) {
    // Wait for the receiver's main loop to have processed the message.
    done = false;
    for (;;) {
      platform::poll_entry e{fd, platform::poll_in, 0};
      if (os.poll(&e, 1, -1) <= 0) continue;
      unsigned char reply = 0;
      platform::os_error failure;
      const int n = os.socket_receive(fd, &reply, 1, &failure);
      if (n < 0 && !failure) continue;  // woken without data
      done = n == 1 && reply == 1;
      break;
    }
  }
  os.close_socket(fd);
  return done;
}

unsigned TAppLink::ProcessMessage(const xcopy_data& data) {
  BeforeTransfer();
  in_.close();
  in_.open(data.data, data.size);
  Exchange(in_, xstream_read, 0);
  return data.code;
}

// --- TAppLinkReceiver ------------------------------------------------------------

TAppLinkReceiver::TAppLinkReceiver(TComponent* AOwner) : TComponent(AOwner) {}

TAppLinkReceiver::~TAppLinkReceiver() { Close(); }

void TAppLinkReceiver::Open(const xstr& title) {
  Close();
  const std::string key(title.view());
  const xstr taken = "Another program already receives the link \"" + title + "\" !";
  if (local_receivers().count(key) != 0) {
    xerror(taken);
    return;
  }
  const std::string path = xapp_link_path(title);
  if (path.empty()) return;
  platform::xos& os = platform::os();
  platform::os_error error;
  const int fd = os.local_listen(path.c_str(), error);
  if (fd < 0) {
    const int probe = os.local_connect(path.c_str(), error);
    if (probe >= 0) {
      os.close_socket(probe);
      xerror(taken);
    } else {
      xerror(xstr((error.text + " !\nFile: " + path).c_str()));
    }
    return;
  }
  listener_ = fd;
  path_ = path;
  title_ = title;
  local_ = true;
  local_receivers()[key] = this;
  listen_watch_ = xmain_loop::instance().watch(fd, xmain_loop::watch_in,
                                               [this](unsigned) { accept_waiting(); });
}

void TAppLinkReceiver::Close() {
  if (!Active()) return;
  xmain_loop& loop = xmain_loop::instance();
  for (auto& [fd, c] : connections_) {
    loop.unwatch(c.watch);
    platform::os().close_socket(fd);
  }
  connections_.clear();
  if (listener_ >= 0) {
    loop.unwatch(listen_watch_);
    platform::os().close_socket(listener_);
    platform::os().local_remove(path_.c_str());
  }
  listener_ = -1;
  local_receivers().erase(std::string(title_.view()));
  local_ = false;
  title_ = xstr();
  path_.clear();
}

void TAppLinkReceiver::Deliver(const xcopy_data& data) {
  ++received_;
  if (OnMessage) OnMessage(data);
}

void TAppLinkReceiver::accept_waiting() {
  platform::xos& os = platform::os();
  for (;;) {
    platform::os_error error;
    const int fd = os.local_accept(listener_, error);
    if (fd < 0) return;
    connection& c = connections_[fd];
    c.watch = xmain_loop::instance().watch(fd, xmain_loop::watch_in,
                                           [this, fd](unsigned) { read_from(fd); });
  }
}

void TAppLinkReceiver::drop(int fd, bool count) {
  const auto it = connections_.find(fd);
  if (it == connections_.end()) return;
  xmain_loop::instance().unwatch(it->second.watch);
  platform::os().close_socket(fd);
  connections_.erase(it);
  if (count) ++dropped_;
}

void TAppLinkReceiver::read_from(int fd) {
  platform::xos& os = platform::os();
  unsigned char chunk[65536];
  for (;;) {
    auto it = connections_.find(fd);
    if (it == connections_.end()) return;
    std::vector<unsigned char>& bytes = it->second.bytes;
    platform::os_error error;
    const int n = os.socket_receive(fd, chunk, sizeof chunk, &error);
    if (n < 0 && !error) return;  // nothing more for now
    if (n <= 0) {                 // closed or failed before the message was whole
      drop(fd, !bytes.empty());
      return;
    }
    bytes.insert(bytes.end(), chunk, chunk + n);
    if (bytes.size() < header_size) continue;
    const std::uint32_t length = le::load<std::uint32_t>(bytes.data() + 8);
    if (std::memcmp(bytes.data(), magic, 4) != 0 || length > max_block ||
        bytes.size() > header_size + length) {
      drop(fd, true);
      return;
    }
    if (bytes.size() < header_size + length) continue;
    // Whole: hand it over outside the connection table, so that the handler
    // may close the receiver or run the loop.
    std::vector<unsigned char> message = std::move(bytes);
    xmain_loop::instance().unwatch(it->second.watch);
    connections_.erase(it);
    xcopy_data data;
    data.code = le::load<std::uint32_t>(message.data() + 4);
    data.size = static_cast<int>(length);
    data.data = length != 0 ? message.data() + header_size : nullptr;
    struct answer {
      int fd;
      ~answer() {
        const unsigned char done = 1;
        platform::os().socket_send(fd, &done, 1);
        platform::os().close_socket(fd);
      }
    } reply{fd};
    Deliver(data);
    return;
  }
}

}  // namespace xum
