// xum link: the application link between two programs. `listen` receives
// under a title and prints each message's code and size; `send` delivers a
// code and a file's bytes to the program that receives a title.
#include <charconv>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "app/tapp_link.h"
#include "core/xcatalogue.h"
#include "framework/xmain_loop.h"
#include "streams/xfile_stream.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

long long parse_number(const std::string& text, const char* what, long long low, long long high) {
  long long n = 0;
  const char* end = text.data() + text.size();
  const auto r = std::from_chars(text.data(), end, n);
  if (r.ec != std::errc() || r.ptr != end || n < low || n > high)
    throw cli::usage_error(std::string(what) + " '" + text + "' is not a number in " +
                           std::to_string(low) + "-" + std::to_string(high));
  return n;
}

// A link whose block is a byte string.
class bytes_link final : public TAppLink {
 public:
  std::vector<char> bytes;
  void BeforeTransfer() override {}
  void Exchange(xstream& s, xstream_mode mode, int) override {
    if (mode == xstream_write) {
      if (!bytes.empty()) s.write_buffer(bytes.data(), static_cast<int>(bytes.size()));
    } else {
      bytes.resize(static_cast<std::size_t>(s.get_size()));
      if (!bytes.empty()) s.read_buffer(bytes.data(), static_cast<int>(bytes.size()));
    }
  }
};

std::vector<char> read_input(const std::string& name) {
  std::vector<char> bytes;
  if (name == "-") {
    std::vector<char> block(1 << 16);
    for (std::size_t n; (n = std::fread(block.data(), 1, block.size(), stdin)) > 0;)
      bytes.insert(bytes.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n));
    if (std::ferror(stdin))
      xerror(msg::eReadError.text + "\n" + msg::FileName.text + "standard input");
    return bytes;
  }
  xfile_stream in(xstr(name), xfile_read);
  const std::int64_t size = in.get_size();
  if (size > (64 << 20)) xerror("File too large !\n" + msg::FileName.text + xstr(name));
  bytes.resize(static_cast<std::size_t>(size));
  if (size > 0) in.read_buffer(bytes.data(), static_cast<int>(size));
  return bytes;
}

int listen(cli::arguments& a) {
  const auto count = a.option("--count");
  const auto seconds = a.option("--seconds");
  const auto args = a.positionals(1, 1);
  const long long limit = count ? parse_number(*count, "--count", 1, 1LL << 40) : 0;
  const long long time_limit = seconds ? parse_number(*seconds, "--seconds", 1, 1 << 30) : 0;
  xmain_loop& loop = xmain_loop::instance();
  loop.bind_to_current_thread();
  bytes_link link;
  TAppLinkReceiver receiver(nullptr);
  long long got = 0;
  receiver.OnMessage = [&](const xcopy_data& d) {
    const unsigned code = link.ProcessMessage(d);
    std::cout << "code " << code << ", " << link.bytes.size() << " bytes" << std::endl;
    ++got;
  };
  receiver.Open(xstr(args[0]));
  std::cout << "listening as \"" << args[0] << "\"" << std::endl;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(time_limit);
  while ((limit == 0 || got < limit) &&
         (time_limit == 0 || std::chrono::steady_clock::now() < end))
    loop.run_once(100);
  receiver.Close();
  std::cout << "received " << got << " message(s), dropped " << receiver.Dropped()
            << " bad connection(s)" << std::endl;
  cli::check_output(std::cout);
  return cli::exit_ok;
}

int send(cli::arguments& a) {
  const auto args = a.positionals(2, 3);
  const unsigned code = static_cast<unsigned>(parse_number(args[1], "CODE", 0, 4294967295LL));
  bytes_link link;
  if (args.size() == 3) link.bytes = read_input(args[2]);
  link.Init(nullptr, xstr(args[0]));
  link.Prepare();
  if (!link.Send(code)) {
    std::cerr << "xum link send: nobody receives the link \"" << args[0] << "\"\n";
    return cli::exit_failure;
  }
  std::cout << "delivered code " << code << " and " << (link.bytes.empty() ? 4 : link.bytes.size())
            << " bytes to \"" << args[0] << "\"\n";
  cli::check_output(std::cout);
  return cli::exit_ok;
}

}  // namespace

cli::command link_command() {
  cli::command listen_c;
  listen_c.name = "listen";
  listen_c.summary = "Receive application-link messages under a title and print them";
  listen_c.usage = "[--count N] [--seconds S] TITLE";
  listen_c.help =
      "Takes TITLE (refused when another program receives it; a socket left\n"
      "by a receiver that died is taken over) and prints \"code C, N bytes\"\n"
      "for each message, then a summary when it stops.\n"
      "\n"
      "Options:\n"
      "  --count N    stop after N messages\n"
      "  --seconds S  stop after S seconds\n"
      "Without them it receives until interrupted.\n";
  listen_c.run = listen;

  cli::command send_c;
  send_c.name = "send";
  send_c.summary = "Send a code and a file's bytes to the program that receives a title";
  send_c.usage = "TITLE CODE [FILE|-]";
  send_c.help =
      "Delivers CODE (0-4294967295) and the bytes of FILE (\"-\": standard\n"
      "input; none: an empty block, which travels as four zero bytes) and\n"
      "returns once the receiver has processed them. Exit status 1 when\n"
      "nobody receives TITLE.\n";
  send_c.run = send;

  cli::command c;
  c.name = "link";
  c.summary = "Send messages between programs over the application link";
  c.children.push_back(listen_c);
  c.children.push_back(send_c);
  return c;
}

}  // namespace xum::tool
