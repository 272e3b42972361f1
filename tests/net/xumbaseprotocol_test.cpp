#include "net/xumbaseprotocol.h"

#include <cstring>
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
    sizes.push_back(count);
    return xos_wrapper::socket_send(socket, data, count, error);
  }
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
  const struct {
    const char* name;
    std::vector<int> sends, writes;  // writes: all, before_end of them before EndSend
    int before_end;
  } rows[] = {
      {"exactly one buffer", {8192}, {8192}, 1},
      {"one short, then one", {8191, 1}, {8192}, 1},
      {"small pieces", {1, 2, 3}, {6}, 0},
      {"nothing", {0}, {}, 0},
      {"two buffers and one byte", {16385}, {8192, 8192, 1}, 2},
  };
  for (const auto& r : rows) {
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
  const struct {
    std::u16string text, received;
    std::vector<unsigned char> wire;
  } rows[] = {
      {u"", u"", {0, 0, 0, 0}},
      {u"abc", std::u16string(u"ab\0", 3), {3, 0, 0, 0, 'a', 0, 'b'}},
      {u"\u20ac", u"\u00ac", {1, 0, 0, 0, 0xac}},  // half a code unit
      {u"\u00e9x", std::u16string(u"\u00e9\0", 2), {2, 0, 0, 0, 0xe9, 0}},
  };
  for (const auto& r : rows) {
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
}

}  // namespace
}  // namespace xum
