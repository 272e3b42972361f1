// xum net: the request/response protocol at work on the loopback
// interface. `serve` runs a server of the demonstration protocol and prints
// what its clients ask; `call` connects to it, answers its ping and sends
// requests.
#include <atomic>
#include <charconv>
#include <chrono>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>

#include "core/xutf.h"
#include "framework/xmain_loop.h"
#include "net/xumclient.h"
#include "net/xumdemoprotocol.h"
#include "net/xumserver.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

constexpr const char* loopback = "127.0.0.1";
// How long the server waits for a client's answer to its ping, and a
// client for the server's ping and for the link.
constexpr int answer_ms = 5000;

int parse_number(const std::string& text, const char* what, long long low, long long high) {
  long long n = 0;
  const char* end = text.data() + text.size();
  const auto r = std::from_chars(text.data(), end, n);
  if (r.ec != std::errc() || r.ptr != end || n < low || n > high)
    throw cli::usage_error(std::string(what) + " '" + text + "' is not a number in " +
                           std::to_string(low) + "-" + std::to_string(high));
  return static_cast<int>(n);
}

int port_option(cli::arguments& a, const char* name, int low) {
  const auto v = a.option(name);
  if (!v) throw cli::usage_error(std::string("missing ") + name + " PORT");
  return parse_number(*v, name, low, 65535);
}

// Lines from the server's connection threads and its main thread.
std::mutex print_lock;
void say(const std::string& line) {
  std::lock_guard guard(print_lock);
  std::cout << line << std::endl;
}

// The server's protocol object: pings its client once linked.
class served_client final : public TxumDemoProtocol {
 public:
  explicit served_client(int id) : id_(id) {
    OnLog = [id](const std::string& line) { say("client " + std::to_string(id) + ": " + line); };
  }
  int id() const noexcept { return id_; }

  ~served_client() override { *alive_ = false; }

  void Initialized() override {
    TxumDemoProtocol::Initialized();
    // After the accept handler has returned, on the main thread, unless
    // the client has gone (and this object with it) by then.
    xmain_loop::instance().post([this, alive = alive_] {
      if (!*alive) return;
      try {
        const int n = 1000 + id_;
        const int back = Ping(n, answer_ms);
        say("client " + std::to_string(id_) + ": ping " + std::to_string(n) +
            (back == n ? " answered" : " answered wrongly with " + std::to_string(back)));
      } catch (const ESocketError& e) {
        say("client " + std::to_string(id_) + ": ping failed: " + e.what());
      }
    });
  }

 private:
  const int id_;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

int serve(cli::arguments& a) {
  const int p1 = port_option(a, "--port", 0), p2 = port_option(a, "--port2", 0);
  const auto clients = a.option("--clients");
  const auto seconds = a.option("--seconds");
  a.positionals(0, 0);
  const int limit = clients ? parse_number(*clients, "--clients", 1, 1 << 30) : 0;
  const int time_limit = seconds ? parse_number(*seconds, "--seconds", 1, 1 << 30) : 0;

  std::atomic<int> next{0};
  int gone = 0;
  auto server = std::make_unique<TxumServer>(nullptr);
  server->ClientServerSocket()->SetAddress(xutf8_to_utf16(loopback));
  server->ServerClientSocket()->SetAddress(xutf8_to_utf16(loopback));
  server->SetClientServerPort(p1);
  server->SetServerClientPort(p2);
  server->OnCreateProtocol = [&next](TObject*, TxumBaseProtocol*& p) {
    p = new served_client(++next);
  };
  server->OnProtocolEnd = [&gone](TObject*, TxumBaseProtocol* p) {
    auto* c = static_cast<served_client*>(p);  // every object is made above
    say("client " + std::to_string(c->id()) + ": gone");
    delete c;
    ++gone;
  };
  server->Listen();
  say("listening on " + std::string(loopback) + " ports " +
      std::to_string(server->ClientServerSocket()->LocalPort()) + " and " +
      std::to_string(server->ServerClientSocket()->LocalPort()));
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(time_limit);
  xmain_loop& loop = xmain_loop::instance();
  while ((limit == 0 || gone < limit) &&
         (time_limit == 0 || std::chrono::steady_clock::now() < end))
    loop.run_once(100);
  server.reset();
  say("stopped after " + std::to_string(gone) + " client(s)");
  return cli::exit_ok;
}

int call(cli::arguments& a) {
  const int p1 = port_option(a, "--port", 1), p2 = port_option(a, "--port2", 1);
  const auto echo = a.option("--echo");
  const auto add = a.option("--add");
  const auto transfer = a.option("--transfer");
  a.positionals(0, 0);
  int x = 0, y = 0;
  if (add) {
    const std::size_t comma = add->find(',');
    if (comma == std::string::npos) throw cli::usage_error("--add takes A,B");
    x = parse_number(add->substr(0, comma), "--add", -2147483648LL, 2147483647LL);
    y = parse_number(add->substr(comma + 1), "--add", -2147483648LL, 2147483647LL);
  }
  const int size =
      transfer ? parse_number(*transfer, "--transfer", 0, TxumDemoProtocol::MaxTransfer) : 0;
  const bool all = !echo && !add && !transfer;

  bool pinged = false;
  auto client = std::make_unique<TxumClient>(nullptr);
  client->SetAddress(xutf8_to_utf16(loopback));
  client->SetClientServerPort(p1);
  client->SetServerClientPort(p2);
  client->OnCreateProtocol = [&pinged](TObject*, TxumBaseProtocol*& p) {
    auto* made = new TxumDemoProtocol();
    made->OnLog = [&pinged](const std::string& line) {
      if (line.rfind("ping", 0) == 0) pinged = true;
      say("server: " + line);
    };
    p = made;
  };
  client->Connect();
  xmain_loop& loop = xmain_loop::instance();
  const auto until = [&loop](const auto& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(answer_ms);
    while (!done() && std::chrono::steady_clock::now() < end) loop.run_once(20);
    return done();
  };
  if (!until([&] { return client->Protocol() != nullptr || !client->Connecting(); }) ||
      !client->Protocol()) {
    std::cerr << "xum net call: no link with " << loopback << " ports " << p1 << " and " << p2
              << '\n';
    return cli::exit_failure;
  }
  auto* p = static_cast<TxumDemoProtocol*>(client->Protocol());
  // The server pings every client it links; answer that first.
  if (!until([&] { return pinged || client->Protocol() == nullptr; }))
    std::cerr << "xum net call: the server did not ping within " << answer_ms << " ms\n";
  if (client->Protocol() == nullptr) {
    std::cerr << "xum net call: the server closed the link\n";
    return cli::exit_failure;
  }
  bool ok = pinged;
  if (echo || all) {
    const UnicodeString text = xutf8_to_utf16(echo ? *echo : "hello");
    const UnicodeString back = p->Echo(text);
    // A text frame carries as many bytes as code units: the first half
    // of the text comes back whole.
    const bool same = back.size() == text.size() &&
                      back.substr(0, text.size() / 2) == text.substr(0, text.size() / 2);
    say(std::string("echo: ") + (same ? "answered" : "answered wrongly"));
    ok = ok && same;
  }
  if (add || all) {
    if (all) x = 2, y = 3;
    const int sum = p->Add(x, y);
    say("add: " + std::to_string(x) + " + " + std::to_string(y) + " = " + std::to_string(sum));
    ok = ok && sum == static_cast<int>(static_cast<unsigned>(x) + static_cast<unsigned>(y));
  }
  if (transfer || all) {
    std::string bytes(static_cast<std::size_t>(all ? 1 << 20 : size), '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 131 + i / 7);
    const auto start = std::chrono::steady_clock::now();
    const std::string back = p->Transfer(bytes);
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    say("transfer: " + std::to_string(bytes.size()) + " bytes there and back " +
        (back == bytes ? "intact" : "damaged") + " in " + std::to_string(static_cast<int>(ms)) +
        " ms");
    ok = ok && back == bytes;
  }
  client.reset();
  return ok ? cli::exit_ok : cli::exit_failure;
}

}  // namespace

cli::command net_command() {
  cli::command serve_c;
  serve_c.name = "serve";
  serve_c.summary = "Run a server of the demonstration protocol on the loopback interface";
  serve_c.usage = "--port P1 --port2 P2 [--clients N] [--seconds S]";
  serve_c.help =
      "Listens on 127.0.0.1: port P1 carries each client's requests (served on a\n"
      "thread per client), port P2 the server's requests to the client; 0 lets\n"
      "the system pick, and the first line says which ports it listens on.\n"
      "Pings every client once it is linked and prints every request served.\n"
      "\n"
      "Options:\n"
      "  --port P1     the client-to-server port (0-65535)\n"
      "  --port2 P2    the server-to-client port (0-65535)\n"
      "  --clients N   stop after N clients have come and gone\n"
      "  --seconds S   stop after S seconds\n"
      "Without --clients and --seconds it serves until interrupted.\n";
  serve_c.run = serve;

  cli::command call_c;
  call_c.name = "call";
  call_c.summary = "Connect to `xum net serve`, answer its ping and send requests";
  call_c.usage = "--port P1 --port2 P2 [--echo TEXT] [--add A,B] [--transfer BYTES]";
  call_c.help =
      "Connects to the server on 127.0.0.1 ports P1 and P2, waits for its ping\n"
      "and answers it, then sends the requests asked for (all three, with\n"
      "\"hello\", 2,3 and 1 MiB, when none is). A text travels as the protocol's\n"
      "text frame, whose byte count equals its length in UTF-16 code units, so\n"
      "only the first half of an echoed text comes back intact.\n"
      "\n"
      "Options:\n"
      "  --echo TEXT       send TEXT and check the answer\n"
      "  --add A,B         have the server add two 32-bit integers\n"
      "  --transfer BYTES  send BYTES bytes (at most 64 MiB) and check the copy\n"
      "                    that comes back\n"
      "Exit status 1 when the link fails or any answer is wrong.\n";
  call_c.run = call;

  cli::command c;
  c.name = "net";
  c.summary = "Run or call a server of the request/response protocol on the loopback interface";
  c.children.push_back(serve_c);
  c.children.push_back(call_c);
  return c;
}

}  // namespace xum::tool
