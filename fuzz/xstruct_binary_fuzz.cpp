// Loads arbitrary bytes as the binary form ("BSF" is put in front) of the
// structured property file, with a hook that returns, so the loader goes on
// past every report. A loaded tree is saved in the binary form, loaded and
// saved again: both saves must be equal, unless the tree holds a text of
// 256 bytes or more, which the form does not read back. Small trees are
// also saved in the text form. A crash, a hang, an exception or memory
// beyond a small multiple of the input is a finding: run with large inputs
// and an RSS limit, for example
//   build/fuzz/fuzz/xstruct_binary_fuzz -max_len=1048576 -rss_limit_mb=512 \
//       -max_total_time=300 build/fuzz/fuzz/corpus/xstruct_binary_fuzz fuzz/corpus/xstruct_binary_fuzz
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

bool has_long_text(const xum::xstruct_section& root) {
  std::vector<const xum::xstruct_section*> todo{&root};
  while (!todo.empty()) {
    const xum::xstruct_section* s = todo.back();
    todo.pop_back();
    for (int i = 0; i < s->value_count(); ++i)
      if (s->value(i).kind() == xum::xvalue_kind::text && s->value(i).text_view().size() >= 256) return true;
    for (int i = 0; i < s->child_count(); ++i) todo.push_back(&s->child(i));
  }
  return false;
}

std::string save(xum::xstruct_format& f, bool binary) {
  xum::xmemory_stream out;
  f.save_to_stream(out);
  f.set_binary(binary);
  f.close();
  return std::string(reinterpret_cast<const char*>(out.data()), static_cast<std::size_t>(out.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  xum::xerror_handler = [](const xum::xstr&) {};
  const std::string input = "BSF" + std::string(reinterpret_cast<const char*>(data), size);
  xum::xstruct_format f;
  xum::xbuffer_stream in(input.data(), static_cast<int>(input.size()));
  f.open_stream(in, xum::xstream_read, false);
  // Read through the cursor as applications do.
  f.identifier("id");
  if (f.begin_section("")) {
    while (f.get_keys_left()) f.prop_int64("", 0, 0, false);
  }
  f.end_section();
  const bool long_text = has_long_text(f.root());
  if (size < 8192) {
    f.start_reading();
    xum::xmemory_stream text;
    f.save_to_stream(text);
    f.close();  // writes the text and keeps the tree
  }
  const std::string first = save(f, true);
  if (long_text) return 0;
  xum::xstruct_format g;
  xum::xbuffer_stream again(first.data(), static_cast<int>(first.size()));
  g.open_stream(again, xum::xstream_read, false);
  check(save(g, true) == first);
  return 0;
}
