// Loads arbitrary bytes as a page of the built-in web engine, through a
// data: address (plain, percent-encoded or base64, chosen by the first
// byte). The engine must finish every load exactly once, with the document
// or an error, take a title only from an HTML document, and never crash,
// hang or keep more than a small multiple of the address in memory.
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/xutf.h"
#include "ui/xweb_engine.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const char* const heads[] = {"data:text/html,", "data:text/html;base64,",
                                      "data:text/plain,", "data:"};
  const std::string url = heads[data[0] % 4] + std::string(reinterpret_cast<const char*>(data + 1), size - 1);

  // The address the engine sees: bytes that are not UTF-8 became U+FFFD.
  const xum::UnicodeString address = xum::xutf8_to_utf16(url);
  const std::size_t limit = xum::xutf16_to_utf8(address).size();

  xum::xlocal_web_engine engine(xum::xlocal_web_engine::synchronous);
  int finished = 0;
  bool titled = false;
  xum::xweb_engine_events events;
  events.finished = [&](const xum::UnicodeString&, const xum::UnicodeString&) { ++finished; };
  events.title_changed = [&](const xum::UnicodeString& title) {
    titled = true;
    check(title.size() <= limit);
  };
  engine.set_events(events);
  engine.load(address);
  check(finished == 1);
  check(engine.document().size() <= limit);
  if (data[0] % 4 == 2) check(!titled);  // text/plain has no title
  return 0;
}
