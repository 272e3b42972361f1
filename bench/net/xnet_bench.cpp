// The request/response protocol on loopback against a raw blocking-socket
// ping-pong in the same run (and ZeroMQ REQ/REP when it was found at
// build time). Every loop is bounded in count and in time.
//
//   build/default/bench/xnet_bench            # prints a table at the end
//
// Measured:
//  - one client, 64-byte request and reply: round trips per second, p50 and
//    p99 latency (protocol: the demonstration protocol's transfer request
//    from a TxumClient, answered on the server's connection thread);
//  - 64 KiB sent and returned: MB/s moved (both directions counted);
//  - 200 clients on threads of their own, each doing round trips: total rate;
//  - the server's CPU use while 1,000 linked clients are idle;
//  - connection setup: Connect until both sides are linked, per second.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#ifdef XUM_HAVE_ZMQ
#include <zmq.h>
#endif

#include "core/xle.h"
#include "framework/xmain_loop.h"
#include "net/tcustomwinsocket.h"
#include "net/xumclient.h"
#include "net/xumdemoprotocol.h"
#include "net/xumserver.h"
#include "platform/xos.h"

namespace {

using clock_type = std::chrono::steady_clock;
using xum::TCustomWinSocket;
using xum::TxumDemoProtocol;

constexpr int max_round_trips = 50000;
constexpr auto phase_time = std::chrono::seconds(2);

struct row {
  std::string what, baseline, subject, ratio;
};
std::vector<row> table;

std::string fmt(const char* f, double v) {
  char b[64];
  std::snprintf(b, sizeof b, f, v);
  return b;
}

void loop_until(const std::function<bool()>& done, int ms = 10000) {
  const auto end = clock_type::now() + std::chrono::milliseconds(ms);
  while (!done() && clock_type::now() < end) xum::xmain_loop::instance().run_once(5);
}

std::unique_ptr<TCustomWinSocket> dial(int port) {
  xum::platform::os_error error;
  return std::make_unique<TCustomWinSocket>(
      xum::platform::os().tcp_connect("127.0.0.1", port, true, error));
}

// Exactly n bytes, waiting as long as it takes; false when the peer closed.
bool read_all(TCustomWinSocket& s, char* out, int n) {
  int got = 0;
  while (got < n) {
    s.WaitForData(-1);
    const int k = s.ReceiveBuf(out + got, n - got);
    if (k == 0 && !s.Connected()) return false;
    got += k;
  }
  return true;
}

// The raw baseline: a thread echoes every `size` bytes it receives.
struct raw_pair {
  std::unique_ptr<TCustomWinSocket> client;
  std::thread echo;
  explicit raw_pair(int size) {
    xum::platform::os_error error;
    const int listener = xum::platform::os().tcp_listen("127.0.0.1", 0, false, error);
    client = dial(xum::platform::os().socket_port(listener));
    const int fd = xum::platform::os().tcp_accept(listener, error);
    xum::platform::os().close_socket(listener);
    echo = std::thread([fd, size] {
      TCustomWinSocket s(fd);
      std::string b(static_cast<std::size_t>(size), '\0');
      while (read_all(s, b.data(), size)) s.SendBuf(b.data(), size);
    });
  }
  ~raw_pair() {
    client->Close();
    echo.join();
  }
};

struct timing {
  double per_second = 0;
  double p50_us = 0, p99_us = 0;
};

// Runs `once` until max_round_trips or phase_time, timing each call.
timing summarize(std::vector<double>& us, double seconds) {
  std::sort(us.begin(), us.end());
  timing r;
  r.per_second = static_cast<double>(us.size()) / seconds;
  r.p50_us = us[us.size() / 2];
  r.p99_us = us[us.size() * 99 / 100];
  return r;
}

timing measure(const std::function<void()>& once, int limit = max_round_trips) {
  std::vector<double> us;
  us.reserve(static_cast<std::size_t>(limit));
  const auto start = clock_type::now();
  while (static_cast<int>(us.size()) < limit && clock_type::now() - start < phase_time) {
    const auto t = clock_type::now();
    once();
    us.push_back(std::chrono::duration<double, std::micro>(clock_type::now() - t).count());
  }
  return summarize(us, std::chrono::duration<double>(clock_type::now() - start).count());
}

// Runs the baseline and the subject in alternating slices of 200 calls, so
// that load from elsewhere on the machine falls on both alike.
std::pair<timing, timing> measure_pair(const std::function<void()>& base,
                                       const std::function<void()>& ours,
                                       int limit = max_round_trips) {
  std::vector<double> us[2];
  double seconds[2] = {0, 0};
  const std::function<void()>* f[2] = {&base, &ours};
  const auto start = clock_type::now();
  while (static_cast<int>(us[1].size()) < limit && clock_type::now() - start < 2 * phase_time) {
    for (int side = 0; side < 2; ++side) {
      const auto slice = clock_type::now();
      for (int i = 0; i < 200; ++i) {
        const auto t = clock_type::now();
        (*f[side])();
        us[side].push_back(
            std::chrono::duration<double, std::micro>(clock_type::now() - t).count());
      }
      seconds[side] += std::chrono::duration<double>(clock_type::now() - slice).count();
    }
  }
  return {summarize(us[0], seconds[0]), summarize(us[1], seconds[1])};
}

// A protocol client on the wire, without the client component: links to
// the server as TxumClient does, and serves nothing (for client threads).
struct wire_client {
  std::unique_ptr<TCustomWinSocket> p1, p2;
  TxumDemoProtocol protocol;
  bool link(int port1, int port2) {
    p1 = dial(port1);
    unsigned char token[4];
    if (!p1->ReceiveExactly(token, 4, 1000)) return false;
    p2 = dial(port2);
    p2->SendBuf(token, 4);
    protocol.OutChannel.Socket = p1.get();
    protocol.InChannel.Socket = p2.get();
    return true;
  }
};

}  // namespace

int main() {
  std::atomic<int> linked{0};
  auto server = std::make_unique<xum::TxumServer>(nullptr);
  server->ClientServerSocket()->SetAddress(u"127.0.0.1");
  server->ServerClientSocket()->SetAddress(u"127.0.0.1");
  server->OnCreateProtocol = [&linked](xum::TObject*, xum::TxumBaseProtocol*& p) {
    auto* d = new TxumDemoProtocol();
    d->OnLog = [&linked](const std::string& line) {
      if (line == "linked") ++linked;
    };
    p = d;
  };
  server->OnProtocolEnd = [](xum::TObject*, xum::TxumBaseProtocol* p) { delete p; };
  server->Listen();
  const int p1 = server->ClientServerSocket()->LocalPort(),
            p2 = server->ServerClientSocket()->LocalPort();

  auto client = std::make_unique<xum::TxumClient>(nullptr);
  client->SetAddress(u"127.0.0.1");
  client->SetClientServerPort(p1);
  client->SetServerClientPort(p2);
  client->OnCreateProtocol = [](xum::TObject*, xum::TxumBaseProtocol*& p) {
    p = new TxumDemoProtocol();
  };
  client->Connect();
  loop_until([&] { return client->Protocol() != nullptr && linked.load() == 1; });
  auto* protocol = static_cast<TxumDemoProtocol*>(client->Protocol());

  // 1. 64-byte round trips.
  {
    const std::string request(64, 'r');
    raw_pair raw(64);
    char reply[64];
    const auto [base, ours] = measure_pair(
        [&] {
          raw.client->SendBuf(request.data(), 64);
          read_all(*raw.client, reply, 64);
        },
        [&] { protocol->Transfer(request); });
    std::printf(
        "64-byte round trips: raw %.0f/s (p50 %.1f us, p99 %.1f us), protocol %.0f/s (p50 %.1f us, "
        "p99 %.1f us)\n",
        base.per_second, base.p50_us, base.p99_us, ours.per_second, ours.p50_us, ours.p99_us);
    table.push_back({"64 B round trips / s", fmt("%.0f", base.per_second),
                     fmt("%.0f", ours.per_second),
                     fmt("%.0f%%", 100 * ours.per_second / base.per_second)});
    table.push_back(
        {"64 B p50 latency (us)", fmt("%.1f", base.p50_us), fmt("%.1f", ours.p50_us), ""});
    table.push_back(
        {"64 B p99 latency (us)", fmt("%.1f", base.p99_us), fmt("%.1f", ours.p99_us), ""});
  }

  // 2. 64 KiB there and back.
  {
    constexpr int size = 64 << 10;
    const std::string block(size, 'b');
    std::string back(size, '\0');
    raw_pair raw(size);
    const auto [base, ours] = measure_pair(
        [&] {
          raw.client->SendBuf(block.data(), size);
          read_all(*raw.client, back.data(), size);
        },
        [&] { protocol->Transfer(block); }, 5000);
    const double mb = 2.0 * size / 1e6;
    std::printf("64 KiB there and back: raw %.0f MB/s, protocol %.0f MB/s\n", base.per_second * mb,
                ours.per_second * mb);
    table.push_back({"64 KiB transfers (MB/s)", fmt("%.0f", base.per_second * mb),
                     fmt("%.0f", ours.per_second * mb),
                     fmt("%.0f%%", 100 * ours.per_second / base.per_second)});
  }

#ifdef XUM_HAVE_ZMQ
  // ZeroMQ REQ/REP with 64-byte messages, for comparison.
  {
    void* context = zmq_ctx_new();
    void* rep = zmq_socket(context, ZMQ_REP);
    zmq_bind(rep, "tcp://127.0.0.1:*");
    char endpoint[128];
    size_t length = sizeof endpoint;
    zmq_getsockopt(rep, ZMQ_LAST_ENDPOINT, endpoint, &length);
    std::thread replier([rep] {
      char b[64];
      while (zmq_recv(rep, b, sizeof b, 0) >= 0)
        if (zmq_send(rep, b, 64, 0) < 0) break;
    });
    void* req = zmq_socket(context, ZMQ_REQ);
    zmq_connect(req, endpoint);
    char b[64] = {};
    const timing z = measure([&] {
      zmq_send(req, b, 64, 0);
      zmq_recv(req, b, 64, 0);
    });
    zmq_close(req);
    // The replier's wait ends with ETERM; its socket is closed by the
    // thread that is left using it once that thread is done.
    zmq_ctx_shutdown(context);
    replier.join();
    zmq_close(rep);
    zmq_ctx_term(context);
    std::printf("ZeroMQ REQ/REP 64 bytes: %.0f/s (p50 %.1f us, p99 %.1f us)\n", z.per_second,
                z.p50_us, z.p99_us);
    table.push_back({"ZeroMQ REQ/REP 64 B / s", "", fmt("%.0f", z.per_second), ""});
    table.push_back(
        {"ZeroMQ p50 / p99 (us)", "", fmt("%.1f", z.p50_us) + " / " + fmt("%.1f", z.p99_us), ""});
  }
#endif

  // 3. 200 clients at once.
  {
    constexpr int clients = 200;
    std::vector<std::unique_ptr<wire_client>> wires;
    const int before = linked.load();
    for (int i = 0; i < clients; ++i) {
      wires.push_back(std::make_unique<wire_client>());
      wires.back()->link(p1, p2);
    }
    loop_until([&] { return linked.load() == before + clients; });
    std::atomic<long> total{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    const auto start = clock_type::now();
    for (auto& w : wires)
      threads.emplace_back([&w, &total, &stop] {
        long n = 0;
        for (int i = 0; i < max_round_trips && !stop.load(); ++i, ++n) w->protocol.Add(i, 1);
        total += n;
      });
    std::this_thread::sleep_for(phase_time);
    stop = true;
    for (auto& t : threads) t.join();
    const double rate = static_cast<double>(total.load()) /
                        std::chrono::duration<double>(clock_type::now() - start).count();
    std::printf("200 concurrent clients: %.0f round trips/s in all\n", rate);
    table.push_back({"200 clients, round trips / s", "", fmt("%.0f", rate), ""});
    wires.clear();
  }

  // 4. CPU while 1,000 linked clients are idle.
  {
    constexpr int clients = 1000;
    std::vector<std::unique_ptr<wire_client>> wires;
    const int before = linked.load();
    for (int i = 0; i < clients; ++i) {
      wires.push_back(std::make_unique<wire_client>());
      wires.back()->link(p1, p2);
      if (i % 50 == 0) xum::xmain_loop::instance().run_once(0);
    }
    loop_until([&] { return linked.load() == before + clients; }, 20000);
    const int served = linked.load() - before;
    const std::clock_t cpu = std::clock();
    const auto start = clock_type::now();
    xum::platform::os().sleep_ms(3000);
    const double used = static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC;
    const double share =
        100 * used / std::chrono::duration<double>(clock_type::now() - start).count();
    std::printf("%d idle clients: %.2f%% of one core\n", served, share);
    table.push_back(
        {std::to_string(served) + " idle clients, CPU of one core", "", fmt("%.2f%%", share), ""});
    wires.clear();
  }

  // 5. Connection setup.
  {
    client.reset();
    int links = 0;
    const auto start = clock_type::now();
    while (links < 2000 && clock_type::now() - start < phase_time) {
      auto c = std::make_unique<xum::TxumClient>(nullptr);
      c->SetAddress(u"127.0.0.1");
      c->SetClientServerPort(p1);
      c->SetServerClientPort(p2);
      const int before = linked.load();
      c->Connect();
      loop_until([&] { return c->Protocol() != nullptr && linked.load() > before; });
      ++links;
    }
    const double seconds = std::chrono::duration<double>(clock_type::now() - start).count();
    std::printf("connection setup: %.0f links/s, %.3f ms each\n", links / seconds,
                1000 * seconds / links);
    table.push_back({"connection setup (ms each)", "", fmt("%.3f", 1000 * seconds / links), ""});
  }
  server.reset();

  std::printf(
      "\n| measure | raw blocking sockets | protocol | protocol / raw |\n|---|---|---|---|\n");
  for (const row& r : table)
    std::printf("| %s | %s | %s | %s |\n", r.what.c_str(), r.baseline.c_str(), r.subject.c_str(),
                r.ratio.c_str());
  return 0;
}
