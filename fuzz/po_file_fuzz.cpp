// The .po reader of `xum loc import` over arbitrary bytes: every input
// gives messages or a reported error, never a crash or a hang. Each text
// read back is quoted again and must read back to itself, so the writer
// and the reader agree on every escape.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/xexceptions.h"
#include "tools/xum/xpo_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    for (const auto& e : xum::tool::parse_po(text, "fuzz.po")) {
      for (const std::string* s : {&e.context, &e.id, &e.str}) {
        if (xum::tool::po_unquote(xum::tool::po_quote(*s), "fuzz.po", 1) != *s) std::abort();
      }
    }
  } catch (const std::exception&) {
    // A reported error: what the reader must do with what it cannot read.
  }
  return 0;
}
