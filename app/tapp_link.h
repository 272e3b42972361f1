// The application link: one running program sends a numbered block of bytes
// to another, found by a title, and waits until the receiver has handled it.
//
//   class settings_link : public xum::TAppLink {       // both programs
//     void BeforeTransfer() override {}
//     void Exchange(xum::xstream& s, xum::xstream_mode m, int) override {
//       if (m == xum::xstream_write) s.write_buffer(text.data(), int(text.size()));
//       else text.assign(int(s.get_size()), '\0'), s.read_buffer(text.data(), int(text.size()));
//     }
//    public:
//     std::string text;
//   };
//   // receiver: its main loop delivers the messages
//   xum::TAppLinkReceiver receiver(nullptr);
//   receiver.OnMessage = [&](const xum::xcopy_data& d) { code = link.ProcessMessage(d); };
//   receiver.Open("Viewer");
//   // sender
//   link.Init(nullptr, "Viewer");
//   link.Prepare();                       // Exchange writes the block
//   if (!link.Send(7)) ...                // false: nobody receives "Viewer"
//
// A receiver listens on a Unix-domain socket named after its title in the
// user's run-time directory ($XDG_RUNTIME_DIR, else /tmp/xum-<uid>); the
// receiving side is a component of its own (TAppLinkReceiver) so that a
// program can receive under several titles or none. Send connects, writes
// the message and waits for the receiver's main loop to have processed it;
// a title without a receiver returns false at once. A Send to a title this
// process receives is handled directly when it is made from the main thread
// (as a synchronous message to one's own window is, so it cannot deadlock)
// and through the main loop from any other thread. An empty block travels
// as four zero bytes.
//
// Wire format of one message (little-endian):
//   request := "XAL1" code:u32 length:u32 bytes[length]   (length <= 64 MiB)
//   reply   := 0x01                                        after processing
// A connection that sends anything else, or closes before its message is
// whole, is dropped; the receiver goes on listening and other connections
// keep their partly received messages.
//
// Thread safety: TAppLink::Send may be called from any thread, one call at
// a time per link object; everything else, and every receiver, belongs to
// the main thread.
#ifndef XUM_APP_TAPP_LINK_H
#define XUM_APP_TAPP_LINK_H

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tcomponent.h"
#include "streams/xmemory_stream.h"

namespace xum {

// One received message: its code and its bytes (valid only while it is
// being handled).
struct xcopy_data {
  unsigned code = 0;
  int size = 0;
  const void* data = nullptr;
};

class XUM_API TAppLink {
 public:
  TAppLink() = default;
  virtual ~TAppLink();
  TAppLink(const TAppLink&) = delete;
  TAppLink& operator=(const TAppLink&) = delete;

  // Called first by Send and by ProcessMessage.
  virtual void BeforeTransfer() = 0;
  // Writes the link's data to `s` (mode xstream_write) or reads it back
  // (xstream_read); `reserved` is always 0.
  virtual void Exchange(xstream& s, xstream_mode mode, int reserved) = 0;

  // Stores the sender's handle (passed on for the receiver's use; may be
  // null) and the receiver's title.
  void Init(void* senderWindow, xstr receiverTitle);
  // Empties the outgoing block and lets Exchange write it.
  void Prepare();
  // Whether a program (this one included) receives the title.
  bool HasReceiver() const;
  // Sends `code` and the outgoing block to the receiver and returns once it
  // has been processed there: true. False, sending nothing, when nobody
  // receives the title, and when the connection broke before the message
  // was delivered.
  bool Send(unsigned code);
  // The receiver's handler: reads the block through Exchange from a stream
  // over the received bytes (not copied; Exchange copies what it keeps)
  // and returns the message's code.
  unsigned ProcessMessage(const xcopy_data& data);

  void* SenderWindow() const noexcept { return sender_; }
  const xstr& ReceiverTitle() const noexcept { return title_; }
  // The outgoing block that Prepare fills.
  xmemory_stream& Stream() noexcept { return out_; }

 private:
  void* sender_ = nullptr;
  xstr title_;
  xmemory_stream out_;
  xbuffer_stream in_;
};

// Receives the messages sent to one title, on the main loop.
class XUM_API TAppLinkReceiver : public TComponent {
 public:
  explicit TAppLinkReceiver(TComponent* AOwner);
  ~TAppLinkReceiver() override;

  // Starts receiving under `title` (closing a previous title first). Fails
  // through xerror with "Another program already receives the link
  // \"<title>\" !" when a live receiver holds the title (in this process or
  // another), or with the system's error and the socket file's name. A
  // socket left behind by a receiver that died is taken over.
  void Open(const xstr& title);
  // Stops receiving and removes the socket file.
  void Close();
  bool Active() const noexcept { return listener_ >= 0 || local_; }
  const xstr& Title() const noexcept { return title_; }

  // Called on the main thread for each message; a message is answered once
  // it returns (also when it throws: the exception then goes on to the
  // main loop's caller).
  std::function<void(const xcopy_data& data)> OnMessage;

  // Messages received so far, and connections dropped for garbage or for
  // closing before their message was whole.
  std::uint64_t Received() const noexcept { return received_; }
  std::uint64_t Dropped() const noexcept { return dropped_; }

  // Delivers a message as if it had arrived (the same-process path).
  void Deliver(const xcopy_data& data);

 private:
  struct connection {
    int watch = 0;
    std::vector<unsigned char> bytes;
  };
  void accept_waiting();
  void read_from(int fd);
  void drop(int fd, bool count);

  xstr title_;
  std::string path_;
  int listener_ = -1;
  int listen_watch_ = 0;
  bool local_ = false;
  std::map<int, connection> connections_;
  std::uint64_t received_ = 0;
  std::uint64_t dropped_ = 0;
};

// The socket file of `title`: the run-time directory, "xum-link-" and the
// title with every byte but letters, digits, '.', '_' and '-' written as
// %XX; a name too long for a socket ends in a hash of the title instead.
// Reports a run-time directory that cannot be made through xerror.
XUM_API std::string xapp_link_path(const xstr& title);

}  // namespace xum

#endif  // XUM_APP_TAPP_LINK_H
