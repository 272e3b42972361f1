#include "net/xumbaseprotocol.h"

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xle.h"
#include "net_test_support.h"
#include "platform/testing/xfault_os.h"
#include "platform/testing/xos_wrapper.h"

namespace xum {
namespace {

using net_test::loopback_pair;

// Records the size of every socket write.
class counting_os final : public platform::xos_wrapper {
 public:
  using xos_wrapper::xos_wrapper;
  int socket_send(int socket, const void* data, int count,
                  platform::os_error* error) noexcept override {
    std::lock_guard guard(lock);
    sizes.push_back(count);
    return xos_wrapper::socket_send(socket, data, count, error);
  }
  std::mutex lock;
  std::vector<int> sizes;
};

std::string pattern(int n) {
  std::string s(static_cast<std::size_t>(n), '\0');
  for (int i = 0; i < n; ++i) s[static_cast<std::size_t>(i)] = static_cast<char>(i * 7 + i / 251);
  return s;
}

// Everything the peer end has received, read until `n` bytes are in.
std::string drain(TCustomWinSocket& s, std::size_t n) {
  std::string got;
  char piece[4096];
  while (got.size() < n && s.WaitForData(2000)) {
    const int k = s.ReceiveBuf(piece, sizeof piece);
    if (k == 0) break;
    got.append(piece, static_cast<std::size_t>(k));
  }
  return got;
}

TEST(NetChannel, WritesWholeBuffersAndOneFinalPartialOne) {
  struct row {
    const char* name;
    std::vector<int> sends;
    std::vector<int> writes;  // before EndSend | after it
    int before_end;
  };
  const row rows[] = {
      {"exactly one buffer", {8192}, {8192}, 1},
      {"one short, then one", {8191, 1}, {8192}, 1},
      {"small pieces", {1, 2, 3}, {6}, 0},
      {"nothing", {0}, {}, 0},
      {"two buffers and one byte", {16385}, {8192, 8192, 1}, 2},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    counting_os counting(platform::os());
    platform::scoped_os use(counting);
    auto [near, far] = loopback_pair();
    TxumBaseInterface channel;
    channel.Socket = near.get();
    std::string sent;
    for (const int n : r.sends) {
      const std::string piece = pattern(n);
      channel.SendBuf(piece.data(), n);
      sent += piece;
    }
    EXPECT_EQ(static_cast<int>(counting.sizes.size()), r.before_end);
    channel.EndSend();
    channel.EndSend();  // nothing left: writes nothing
    EXPECT_EQ(counting.sizes, r.writes);
    EXPECT_EQ(drain(*far, sent.size()), sent);
  }
}

TEST(NetChannel, TextFramesCarryAsManyBytesAsCodeUnits) {
  struct row {
    std::u16string text;
    std::vector<unsigned char> wire;
    std::u16string received;
  };
  const row rows[] = {
      {u"", {0, 0, 0, 0}, u""},
      {u"abc", {3, 0, 0, 0, 'a', 0, 'b'}, std::u16string(u"ab\0", 3)},
      {u"\u20ac", {1, 0, 0, 0, 0xac}, u"\u00ac"},  // half a code unit
      {u"\u00e9x", {2, 0, 0, 0, 0xe9, 0}, std::u16string(u"\u00e9\0", 2)},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::string(r.text.begin(), r.text.end()));
    auto [near, far] = loopback_pair();
    TxumBaseInterface out, in;
    out.Socket = near.get();
    in.Socket = far.get();
    out.SendText(r.text);
    out.EndSend();
    std::string wire = drain(*far, r.wire.size());
    EXPECT_EQ(std::vector<unsigned char>(wire.begin(), wire.end()), r.wire);
    // Send the same bytes again and read them as a frame.
    near->SendBuf(wire.data(), static_cast<int>(wire.size()));
    EXPECT_EQ(in.ReceiveText(), r.received);
  }
}

TEST(NetChannel, ReceivesAcrossBufferBoundariesInAnyPieces) {
  auto [near, far] = loopback_pair();
  const std::string sent = pattern(50000);
  near->SendBuf(sent.data(), static_cast<int>(sent.size()));
  TxumBaseInterface in;
  in.Socket = far.get();
  std::string got;
  for (const int piece : {1, 7, 8192, 8191, 3}) {
    std::string part(static_cast<std::size_t>(piece), '\0');
    in.ReceiveBuf(part.data(), piece);
    got += part;
    EXPECT_LE(in.Filled, TxumBaseInterface::BufferSize);
  }
  void* rest = in.AllocAndReceive(static_cast<int>(sent.size() - got.size()));
  got.append(static_cast<char*>(rest), sent.size() - got.size());
  std::free(rest);
  EXPECT_EQ(got, sent);
}

TEST(NetChannel, PeerClosingMidRequestOrANegativeTextLengthEndsTheWaitWithAnError) {
  auto [near, far] = loopback_pair();
  TxumBaseInterface in, frame, none;
  in.Socket = frame.Socket = far.get();
  near->SendBuf("abcd", 4);
  near->Close();
  char eight[8];
  EXPECT_THROW(in.ReceiveBuf(eight, 8), ESocketError);
  EXPECT_THROW(frame.ReceiveText(), ESocketError);
  EXPECT_THROW(none.SendBuf("x", 1), ESocketError);
  auto [near2, far2] = loopback_pair();
  near2->SendBuf("\xff\xff\xff\xff", 4);  // length -1
  TxumBaseInterface negative;
  negative.Socket = far2.get();
  EXPECT_THROW(negative.ReceiveText(), ESocketError);
}

TEST(NetChannel, ConnectionBreakingMidSendRaisesInsteadOfGoingOn) {
  platform::xfault_os faults(platform::os());
  platform::scoped_os use(faults);
  auto [near, far] = loopback_pair();
  TxumBaseInterface channel;
  channel.Socket = near.get();
  faults.fill_after(10000);  // the second 8192-byte write breaks
  const std::string block = pattern(20000);
  EXPECT_THROW(channel.SendBuf(block.data(), 20000), ESocketError);
  EXPECT_EQ(faults.writes(), 2);
}

TEST(NetChannel, SendingAfterReceivingStartsWithAnEmptyBuffer) {
  auto [near, far] = loopback_pair();
  TxumBaseInterface channel;
  channel.Socket = far.get();
  near->SendBuf("requestX", 8);
  char request[7];
  channel.ReceiveBuf(request, 7);  // one byte left unread
  channel.SendBuf("answer", 6);
  channel.EndSend();
  EXPECT_EQ(drain(*near, 6), "answer");
}

// Records the request codes it is given and reads one int32 argument.
class recorder : public TxumBaseProtocol {
 public:
  void DispatchRequest(int Code) override {
    unsigned char arg[4];
    InChannel.ReceiveBuf(arg, 4);
    codes.push_back(Code);
    args.push_back(le::load<std::int32_t>(arg));
  }
  std::vector<int> codes, args;
};

std::string request(std::int32_t code, std::int32_t arg) {
  unsigned char b[8];
  le::store<std::int32_t>(b, code);
  le::store<std::int32_t>(b + 4, arg);
  return std::string(reinterpret_cast<char*>(b), 8);
}

TEST(NetProtocol, ProcessRequestDiscardsWhatWasBufferedBeyondOneRequest) {
  auto [near, far] = loopback_pair();
  recorder p;
  p.InChannel.Socket = far.get();
  const std::string two = request(1, 10) + request(2, 20);
  near->SendBuf(two.data(), 16);
  ASSERT_TRUE(far->WaitForData(2000));
  while (far->ReceiveLength() < 16) far->WaitForData(10);
  p.ProcessRequest();
  const std::string third = request(3, 30);
  near->SendBuf(third.data(), 8);
  p.ProcessRequest();
  EXPECT_EQ(p.codes, (std::vector<int>{1, 3}));
  EXPECT_EQ(p.args, (std::vector<int>{10, 30}));
  // The base protocol's dispatch reads nothing past the code.
  TxumBaseProtocol base;
  base.InChannel.Socket = far.get();
  near->SendBuf(third.data(), 8);
  while (far->ReceiveLength() < 8) far->WaitForData(10);
  base.ProcessRequest();
  EXPECT_EQ(base.InChannel.Position, 4);
  EXPECT_EQ(base.InChannel.Filled, 8);
}

TEST(NetProtocol, SynchronizeWithoutAThreadDoesNotCallTheMethod) {
  TxumBaseProtocol p;
  bool called = false;
  p.Synchronize([&] { called = true; });
  EXPECT_FALSE(called);
  p.Close();  // no connection: nothing to close
}

TEST(NetProtocol, CloseEndsTheOutgoingConnectionOnly) {
  auto [near, far] = loopback_pair();
  auto [in_near, in_far] = loopback_pair();
  TxumBaseProtocol p;
  p.OutChannel.Socket = near.get();
  p.InChannel.Socket = in_far.get();
  p.Close();
  EXPECT_FALSE(near->Connected());
  EXPECT_TRUE(far->WaitForData(2000));
  EXPECT_EQ(far->ReceiveLength(), 0);
  EXPECT_TRUE(in_far->Connected());
}

}  // namespace
}  // namespace xum
