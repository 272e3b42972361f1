#include "net/xumserver.h"

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/xle.h"
#include "framework/xmain_loop.h"
#include "net/xumclient.h"
#include "net/xumdemoprotocol.h"
#include "net_test_support.h"
#include "platform/xos.h"

namespace xum {
namespace {

using net_test::closed_by_peer;
using net_test::dial;
using net_test::run_until;

// A server and a client of the demonstration protocol on loopback ports the
// system picks. The server's protocol objects are ended through
// OnProtocolEnd, as an application ends them; their log line "linked"
// counts the Initialized calls on the server.
class NetServerClientLinked : public ::testing::Test {
 protected:
  void SetUp() override {
    server = std::make_unique<TxumServer>(nullptr);
    server->ClientServerSocket()->SetAddress(u"127.0.0.1");
    server->ServerClientSocket()->SetAddress(u"127.0.0.1");
    server->OnCreateProtocol = [this](TObject* Sender, TxumBaseProtocol*& p) {
      EXPECT_EQ(Sender, server.get());
      auto* made = new TxumDemoProtocol();
      made->OnNote = [this](const UnicodeString& text) {
        notes_on_main += xmain_loop::instance().in_main_thread() ? 1 : 0;
        last_note = text;
      };
      made->OnLog = [this, made](const std::string& line) {
        if (line == "linked") {
          ++linked_count;
          server_side = made;
        }
      };
      p = made;
      ++created;
    };
    server->OnProtocolEnd = [this](TObject*, TxumBaseProtocol* p) {
      delete p;
      ++ended;
    };
    server->Listen();
    client = make_client();
  }

  void TearDown() override {
    client.reset();
    server.reset();
    EXPECT_EQ(created.load(), ended.load());
  }

  std::unique_ptr<TxumClient> make_client(bool derived = true) {
    auto c = std::make_unique<TxumClient>(nullptr);
    c->SetAddress(u"127.0.0.1");
    c->SetClientServerPort(p1());
    c->SetServerClientPort(p2());
    if (derived)
      c->OnCreateProtocol = [](TObject*, TxumBaseProtocol*& p) { p = new TxumDemoProtocol(); };
    return c;
  }

  int p1() const { return server->ClientServerSocket()->LocalPort(); }
  int p2() const { return server->ServerClientSocket()->LocalPort(); }

  // Connects `c` and turns the loop until both sides are linked.
  bool link(TxumClient& c) {
    const int before = linked_count;
    c.Connect();
    return run_until([&] { return c.Protocol() != nullptr && linked_count > before; });
  }

  TxumDemoProtocol* demo(TxumClient& c) { return dynamic_cast<TxumDemoProtocol*>(c.Protocol()); }

  std::unique_ptr<TxumServer> server;
  std::unique_ptr<TxumClient> client;
  std::atomic<int> created{0}, ended{0};
  int linked_count = 0;  // server-side protocols that received Initialized
  int notes_on_main = 0;
  UnicodeString last_note;
  TxumDemoProtocol* server_side = nullptr;
};

TEST_F(NetServerClientLinked, DerivedProtocolsOnBothSidesAreInitializedAndServeRequests) {
  ASSERT_TRUE(link(*client));
  TxumDemoProtocol* mine = demo(*client);
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ(mine->InitializedCount.load(), 1);
  EXPECT_EQ(server_side->InitializedCount.load(), 1);
  // The crossing: each side's OutChannel is the other side's InChannel.
  EXPECT_EQ(mine->OutChannel.Socket, client->ClientServerSocket()->Socket());
  EXPECT_EQ(mine->InChannel.Socket, client->ServerClientSocket()->Socket());
  EXPECT_EQ(server_side->OutChannel.Socket->LocalPort(), p2());
  EXPECT_EQ(server_side->InChannel.Socket->LocalPort(), p1());
  EXPECT_NE(server_side->ServingThread, nullptr);
  // Client to server, answered on the connection thread.
  // (Each request's answers, over 3 MB transfers too: tests/tools, xum net.)
  EXPECT_EQ(mine->Add(2, 40), 42);
  EXPECT_EQ(mine->Echo(u"hello"), std::u16string(u"hel\0\0", 5));
  // Server to client, handled on the client's read event.
  server_side->Note(u"hi");
  ASSERT_TRUE(run_until([&] { return mine->Served.load() == 1; }));
  // A one-way request; the server hands the note to the main thread.
  mine->Note(u"");
  ASSERT_TRUE(run_until([&] { return server_side->Served.load() == 3 && notes_on_main == 1; }));
  EXPECT_EQ(server_side->Unknown.load() + mine->Unknown.load(), 0);
}

// Each round connects twice while connecting, which opens one connection.
TEST_F(NetServerClientLinked, ReconnectsAfterTheServerEndsTheLink) {
  for (int round = 1; round <= 3; ++round) {
    SCOPED_TRACE(round);
    client->Connect();
    ASSERT_TRUE(link(*client));
    EXPECT_EQ(demo(*client)->Add(round, round), 2 * round);
    server_side->Close();  // ends the server-to-client connection
    ASSERT_TRUE(run_until([&] { return !client->Connecting() && ended.load() == round; }));
    EXPECT_EQ(client->Protocol(), nullptr);
    EXPECT_EQ(created.load(), round);
    EXPECT_EQ(server->TokenCount(), 0);
  }
}

TEST_F(NetServerClientLinked, WithoutTheEventTheClientMakesAPlainProtocol) {
  auto plain = make_client(false);
  ASSERT_TRUE(link(*plain));
  TxumBaseProtocol* first = plain->Protocol();
  EXPECT_EQ(typeid(*first), typeid(TxumBaseProtocol));
}

// A first port that sends no token (nobody listening: tests/tools).
TEST_F(NetServerClientLinked, FailedConnectRaisesAndClearsConnecting) {
  auto c = make_client();
  c->SetClientServerPort(p2());
  EXPECT_THROW(c->Connect(), ESocketError);
  EXPECT_FALSE(c->Connecting());
  EXPECT_FALSE(c->ClientServerSocket()->Active());
  c->SetClientServerPort(p1());
  EXPECT_TRUE(link(*c));  // and connects once the port is right
}

// --- Peers that misbehave ------------------------------------------------------

class NetFaults : public NetServerClientLinked {
 protected:
  // The token a raw first connection receives.
  std::uint32_t token_of(TCustomWinSocket& first) {
    unsigned char b[4] = {};
    EXPECT_TRUE(first.ReceiveExactly(b, 4, 2000));
    return le::load<std::uint32_t>(b);
  }
  // A raw second connection that sends `bytes`.
  std::unique_ptr<TCustomWinSocket> second(const std::string& bytes) {
    auto s = dial(p2());
    if (!bytes.empty()) s->SendBuf(bytes.data(), static_cast<int>(bytes.size()));
    return s;
  }
  static std::string le32(std::uint32_t v) {
    unsigned char b[4];
    le::store<std::uint32_t>(b, v);
    return std::string(reinterpret_cast<char*>(b), 4);
  }
  // The well-behaved client still gets answers.
  void expect_serving() {
    if (client->Protocol() == nullptr) {
      ASSERT_TRUE(link(*client));
    }
    EXPECT_EQ(demo(*client)->Add(20, 22), 42);
  }
};

TEST_F(NetFaults, BadTokensCloseOnlyTheirOwnConnection) {
  auto first = dial(p1());
  const std::uint32_t good = token_of(*first);
  std::mt19937 random(7);
  const struct {
    const char* name;
    std::string bytes;
    int within_ms;  // 0: the test closes it
  } rows[] = {
      {"random token", le32(good ^ (random() | 1)), 500},
      {"no token at all, then close", "", 0},
      {"short token", le32(good).substr(0, 3), 2500},
      {"zero token", le32(0), 500},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    auto s = second(r.bytes);
    if (r.within_ms == 0)
      s->Close();
    else
      EXPECT_TRUE(closed_by_peer(*s, r.within_ms));
    expect_serving();
  }
  // The good token still links after all that, once; a replay is refused.
  auto linked = second(le32(good));
  ASSERT_TRUE(run_until([&] { return linked_count == 2; }));
  auto replay = second(le32(good));
  EXPECT_TRUE(closed_by_peer(*replay, 500));
  EXPECT_EQ(server->TokenCount(), 0);
}

TEST_F(NetFaults, GarbageRequestsAndVanishingClientsEndOnlyTheirConnection) {
  // Each sent on a raw first connection, which then closes.
  const std::pair<const char*, std::string> rows[] = {
      {"unknown codes", le32(999) + le32(0x80000000u) + le32(0)},
      {"negative text length", le32(1) + le32(0xfffffff0u)},
      {"transfer too large", le32(4) + le32(0x7fffffffu)},
      {"transfer cut short", le32(4) + le32(100000) + std::string(5000, 'x')},
      {"half a code", std::string("\x02\x00", 2)},
  };
  int done = 0;
  for (const auto& [name, request] : rows) {
    SCOPED_TRACE(name);
    auto first = dial(p1());
    token_of(*first);
    first->SendBuf(request.data(), static_cast<int>(request.size()));
    run_until([] { return false; }, 20);
    first->Close();
    ++done;
    ASSERT_TRUE(run_until([&] { return ended.load() == done; }));
    expect_serving();
  }
}

TEST_F(NetFaults, ThousandConnectsAndDisconnectsLeaveNoThreadsOrDescriptors) {
  expect_serving();  // the loop, the server and one client are set up
  platform::xos& os = platform::os();
  const int threads = os.thread_count();
  const int fds = os.open_descriptor_count();
  ASSERT_GT(threads, 0);
  ASSERT_GT(fds, 0);
  const int rounds = 1000;
  for (int i = 0; i < rounds; ++i) {
    if (i % 2 == 0) {
      // A full client that links and goes.
      auto c = make_client();
      ASSERT_TRUE(link(*c)) << i;
    } else {
      // A raw first connection that takes its token and goes.
      auto first = dial(p1());
      token_of(*first);
    }
  }
  ASSERT_TRUE(run_until([&] { return ended.load() == rounds; }, 20000));
  ASSERT_TRUE(run_until(
      [&] { return os.thread_count() == threads && os.open_descriptor_count() == fds; }, 5000));
  EXPECT_EQ(server->TokenCount(), 0);
  expect_serving();
}

TEST_F(NetFaults, DestroyingTheServerEndsBusyAndIdleConnections) {
  ASSERT_TRUE(link(*client));
  auto idle = dial(p1());
  token_of(*idle);
  auto stuck = dial(p1());  // stopped in the middle of an argument
  token_of(*stuck);
  const std::string partial = le32(2) + "\x01";
  stuck->SendBuf(partial.data(), static_cast<int>(partial.size()));
  run_until([] { return false; }, 20);
  ASSERT_TRUE(run_until([&] { return created.load() == 3; }));
  const int threads = platform::os().thread_count();
  server.reset();
  EXPECT_EQ(ended.load(), 3);
  EXPECT_EQ(created.load(), 3);
  // Three connections and the acceptor; an ended thread may leave the
  // system's list a moment after the server let it go.
  EXPECT_TRUE(run_until([&] { return platform::os().thread_count() <= threads - 4; }))
      << platform::os().thread_count() << " threads, " << threads << " before";
  EXPECT_TRUE(closed_by_peer(*idle, 1000));
  ASSERT_TRUE(run_until([&] { return client->Protocol() == nullptr; }));
}

}  // namespace
}  // namespace xum
