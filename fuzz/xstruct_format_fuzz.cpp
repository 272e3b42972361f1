// Loads arbitrary bytes as a structured property file in the text form. Reports go through a
// hook that returns, so loading goes on past bad lines as the format allows.
// A loaded tree is saved in the text form, loaded and saved again: the
// second text must equal the first (the writer's output is a fixed point of
// load and save). A crash, a hang or any exception is a finding, and so is
// memory beyond a small multiple of the input: run with large inputs and
// an RSS limit, for example
//   build/fuzz/fuzz/xstruct_format_fuzz -max_len=1048576 -rss_limit_mb=512 \
//       -max_total_time=300 build/fuzz/fuzz/corpus/xstruct_format_fuzz fuzz/corpus/xstruct_format_fuzz
// Nesting is limited to 128 levels, so the indented text of any loaded tree
// stays within a bounded multiple of the input and every tree is saved.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

std::string load_and_save(const char* data, int size) {
  xum::xstruct_format f;
  xum::xbuffer_stream in(data, size);
  f.open_stream(in, xum::xstream_read, false);
  // Read a little through the cursor as applications do.
  f.identifier("id");
  if (f.begin_section("")) {
    while (f.get_keys_left()) f.str_prop("", "", "", false);
  }
  f.end_section();
  f.start_reading();
  xum::xmemory_stream out;
  f.save_to_stream(out);
  f.close();
  return std::string(reinterpret_cast<const char*>(out.data()), static_cast<std::size_t>(out.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  xum::xerror_handler = [](const xum::xstr&) {};
  // "BSF" starts the binary form, whose labels and texts may hold what the
  // text form cannot carry; xstruct_binary_fuzz covers it.
  if (size >= 3 && std::memcmp(data, "BSF", 3) == 0) return 0;
  const char* text = reinterpret_cast<const char*>(data);
  const std::string first = load_and_save(text, static_cast<int>(size));
  const std::string second = load_and_save(first.data(), static_cast<int>(first.size()));
  check(first == second);
  return 0;
}
