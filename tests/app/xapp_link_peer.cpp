// A second program for the application-link tests:
//   xapp_link_peer listen TITLE COUNT READY_FILE   receives COUNT messages,
//       printing "<code> <size> <bytes as text>" for each; writes READY_FILE
//       once it listens; exit 2 when the title cannot be taken
//   xapp_link_peer send TITLE CODE TEXT            exit 0 when delivered
//   xapp_link_peer package                         prints the package's
//       load-time error (the package start-up tests run it from a copy)
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "app/tapp_link.h"
#include "core/xexceptions.h"
#include "framework/xmain_loop.h"
#include "localization/xpackage.h"

namespace {

class text_link final : public xum::TAppLink {
 public:
  std::string text;
  void BeforeTransfer() override {}
  void Exchange(xum::xstream& s, xum::xstream_mode mode, int) override {
    if (mode == xum::xstream_write) {
      if (!text.empty()) s.write_buffer(text.data(), static_cast<int>(text.size()));
    } else {
      text.assign(static_cast<std::size_t>(s.get_size()), '\0');
      if (!text.empty()) s.read_buffer(text.data(), static_cast<int>(text.size()));
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "listen" && argc == 5) {
    xum::xmain_loop& loop = xum::xmain_loop::instance();
    loop.bind_to_current_thread();
    text_link link;
    xum::TAppLinkReceiver receiver(nullptr);
    const long wanted = std::atol(argv[3]);
    long got = 0;
    receiver.OnMessage = [&](const xum::xcopy_data& d) {
      const unsigned code = link.ProcessMessage(d);
      std::cout << code << ' ' << d.size << ' ' << link.text << std::endl;
      ++got;
    };
    try {
      receiver.Open(argv[2]);
    } catch (const std::exception& e) {
      std::cerr << e.what() << '\n';
      return 2;
    }
    std::ofstream(argv[4]) << "ready\n";
    while (got < wanted) loop.run_once(-1);
    std::cout << "dropped " << receiver.Dropped() << std::endl;
    return 0;
  }
  if (mode == "send" && argc == 5) {
    text_link link;
    link.text = argv[4];
    link.Init(nullptr, argv[2]);
    link.Prepare();
    return link.Send(static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10))) ? 0 : 1;
  }
  if (mode == "package") {
    std::cout << "load error: " << xum::xpackage_load_error().view() << std::endl;
    return 0;
  }
  std::cerr << "usage: xapp_link_peer listen TITLE COUNT READY_FILE | send TITLE CODE TEXT | package\n";
  return 1;
}
