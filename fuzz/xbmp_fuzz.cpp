// Loads arbitrary bytes as a BMP (xbmp::load) or as an icon
// (xbmp::load_icon32), chosen by the first byte, with either the default
// throwing error report or a hook that returns. Only the library's own
// exceptions may escape; the reader must refuse headers whose sizes the
// bytes present cannot justify before it allocates (the fuzzer's malloc
// limit catches that), and never crash or read out of bounds. An image
// that loads must save to exactly what it holds and load back the same,
// and its pixels and conversions must stay inside its rows.
#include <cstddef>
#include <cstdint>
#include <exception>

#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xstr.h"
#include "imaging/xbmp.h"
#include "streams/xmemory_stream.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

void returning_hook(const xum::xstr&) {}

void exercise(xum::xbmp& b) {
  if (b.empty()) return;
  check(b.bit_count() == 24 || b.bit_count() == 32);
  check(b.row_count() == b.abs_height());
  const int w = b.width(), h = b.abs_height();
  const unsigned corners = b.get_pixel(0, 0) ^ b.get_pixel(w - 1, h - 1);
  xum::xmemory_stream saved;
  b.save(saved);
  saved.seek(0, xum::xseek_begin);
  xum::xbmp again;
  again.load(saved);
  check((again.get_pixel(0, 0) ^ again.get_pixel(w - 1, h - 1)) == corners);
  b.make32bit_rgba();
  check(b.bytes_per_pixel() == 4);
  b.set_pixel(w - 1, h - 1, 0x12345678);
  check(b.get_pixel(w - 1, h - 1) == 0x12345678);
  xum::xbmp small;
  small.create(3, 3, 4);
  small.copy_from(b, -1, -1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::uint8_t mode = data[0];
  xum::xerror_handler = (mode & 2) ? returning_hook : nullptr;
  xum::xbuffer_stream s(data + 1, static_cast<int>(size - 1));
  xum::xbmp b;
  try {
    if (mode & 1)
      b.load_icon32(s);
    else
      b.load(s);
    // Pixel sizes this large take the fuzzer too long to check, not the reader.
    if (static_cast<std::int64_t>(b.width()) * b.abs_height() <= (1 << 22)) exercise(b);
  } catch (const xum::Exception&) {
  } catch (const xum::xexception&) {
  }
  xum::xerror_handler = nullptr;
  return 0;
}
