// Drives a memory stream, a section stream and an XOR stream with a random
// sequence of reads, writes, seeks and size changes, and checks every
// result, position and size against a plain model built on std::vector.
//
// Input: a stream of operations, each one byte (which stream, which
// operation) followed by two bytes of argument; offsets and counts stay
// within a few KiB so that runs are fast. Any difference stops the run with
// __builtin_trap().
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "streams/xmemory_stream.h"
#include "streams/xsection_stream.h"
#include "streams/xxor_stream.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

// A memory stream as a vector and a position: 32-bit offsets, seeking past
// the end resizes (and the resize moves the position to 0 first).
struct memory_model {
  std::vector<std::uint8_t> bytes;
  std::int64_t pos = 0;

  std::int64_t size() const { return static_cast<std::int64_t>(bytes.size()); }

  int read(std::uint8_t* out, int n) {
    const int k = static_cast<int>(std::min<std::int64_t>(n, size() - pos));
    std::copy_n(bytes.begin() + pos, k, out);
    pos += k;
    return k;
  }
  int write(const std::uint8_t* in, int n) {
    if (n == 0) return 0;
    if (pos + n > size()) bytes.resize(static_cast<std::size_t>(pos + n), 0);
    std::copy_n(in, n, bytes.begin() + pos);
    pos += n;
    return n;
  }
  void set_size(std::int64_t n) {
    bytes.resize(static_cast<std::size_t>(n), 0);
    pos = 0;
  }
  std::int64_t seek(std::int64_t offset, xum::xseek_origin origin) {
    const std::int64_t low = static_cast<std::int32_t>(offset);
    std::int64_t target = origin == xum::xseek_begin ? low : origin == xum::xseek_current ? pos + low : size() + low;
    if (target < 0) target = 0;
    if (target > size()) {
      set_size(target);
      pos = size();
    } else {
      pos = target;
    }
    return pos;
  }
};

// A window [base, base + size) of a memory model, clamped on seek.
struct section_model {
  memory_model* under;
  std::int64_t base, size, pos = 0;

  int read(std::uint8_t* out, int n) {
    const std::int64_t k = std::min<std::int64_t>(n, size - pos);
    if (k == 0) return 0;
    const int r = under->read(out, static_cast<int>(k));
    pos += r;
    return r;
  }
  int write(const std::uint8_t* in, int n) {
    const std::int64_t k = std::min<std::int64_t>(n, size - pos);
    if (k == 0) return 0;
    const int r = under->write(in, static_cast<int>(k));
    pos += r;
    return r;
  }
  std::int64_t seek(std::int64_t offset, xum::xseek_origin origin) {
    std::int64_t target = origin == xum::xseek_begin ? offset : origin == xum::xseek_current ? pos + offset : size + offset;
    pos = std::clamp<std::int64_t>(target, 0, size);
    under->seek(base + pos, xum::xseek_begin);
    return pos;
  }
};

// The XOR stream: byte i of a transfer uses key[(phase + i) mod 8]; the
// phase starts at 0 and becomes the absolute position after a seek.
struct xor_model {
  static constexpr std::uint8_t key[8] = {0x5c, 0x13, 0xa7, 0xe2, 0x09, 0xbd, 0x44, 0x6f};
  memory_model* under;
  std::int64_t phase = 0;

  int read(std::uint8_t* out, int n) {
    const int r = under->read(out, n);
    for (int i = 0; i < r; ++i) out[i] ^= key[(static_cast<std::uint32_t>(phase) + i) % 8];
    phase += r;
    return r;
  }
  int write(const std::uint8_t* in, int n) {
    std::vector<std::uint8_t> scrambled(in, in + n);
    for (int i = 0; i < n; ++i) scrambled[static_cast<std::size_t>(i)] ^= key[(static_cast<std::uint32_t>(phase) + i) % 8];
    const int w = under->write(scrambled.data(), n);
    phase += w;
    return w;
  }
  std::int64_t seek(std::int64_t offset, xum::xseek_origin origin) {
    phase = under->seek(offset, origin);
    return phase;
  }
};

// The base stream's position and size queries, which go through `seek` and
// so move the section's underlying stream and the XOR stream's phase too.
template <class Model>
std::int64_t position_of(Model& m) {
  return m.seek(0, xum::xseek_current);
}
template <class Model>
std::int64_t size_of(Model& m) {
  const std::int64_t position = m.seek(0, xum::xseek_current);
  const std::int64_t size = m.seek(0, xum::xseek_end);
  m.seek(position, xum::xseek_begin);
  return size;
}

struct input {
  const std::uint8_t* data;
  std::size_t size, at = 0;
  std::uint8_t byte() { return at < size ? data[at++] : 0; }
  int arg() { return byte() | (byte() << 8); }  // 0..65535
  bool done() const { return at >= size; }
};

xum::xseek_origin origin_of(int v) { return static_cast<xum::xseek_origin>(v % 3); }
// Offsets within [-8192, 8191], counts within [0, 8191]: past both ends of
// the streams, and across the XOR stream's 4096-byte chunks.
std::int64_t offset_of(int v) { return (v % 16384) - 8192; }
int count_of(int v) { return v % 8192; }

template <class Stream, class Model>
void step(Stream& s, Model& m, int op, input& in, std::vector<std::uint8_t>& a,
          std::vector<std::uint8_t>& b) {
  switch (op) {
    case 0: {  // read
      const int n = count_of(in.arg());
      const int got = s.read(a.data(), n);
      const int want = m.read(b.data(), n);
      check(got == want && std::equal(a.begin(), a.begin() + got, b.begin()));
      break;
    }
    case 1: {  // write a pattern derived from the input
      const int n = count_of(in.arg());
      const std::uint8_t seed = in.byte();
      for (int i = 0; i < n; ++i) a[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(seed + i * 13);
      check(s.write(a.data(), n) == m.write(a.data(), n));
      break;
    }
    default: {  // seek
      const int v = in.arg();
      const xum::xseek_origin origin = origin_of(in.byte());
      check(s.seek(offset_of(v), origin) == m.seek(offset_of(v), origin));
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  input in{data, size};
  std::vector<std::uint8_t> a(8192), b(8192);

  // The memory stream on its own.
  xum::xmemory_stream mem;
  memory_model mem_m;

  // A section over a memory stream of 1 KiB, opened at some offset with
  // some size, both possibly past the end of the underlying bytes.
  xum::xmemory_stream under_s;
  memory_model under_sm;
  {
    std::vector<std::uint8_t> initial(1024);
    for (std::size_t i = 0; i < initial.size(); ++i) initial[i] = static_cast<std::uint8_t>(i);
    under_s.write(initial.data(), 1024);
    under_sm.write(initial.data(), 1024);
  }
  const std::int64_t base = in.arg() % 2048;
  const std::int64_t section_size = in.arg() % 2048;
  check(under_s.seek(base, xum::xseek_begin) == under_sm.seek(base, xum::xseek_begin));
  xum::xsection_stream sec(under_s, section_size, false);
  section_model sec_m{&under_sm, base, section_size};

  // An XOR stream opened after a plain header of a few bytes.
  xum::xmemory_stream under_x;
  memory_model under_xm;
  const int header = in.byte() % 16;
  for (int i = 0; i < header; ++i) {
    const std::uint8_t h = static_cast<std::uint8_t>(i);
    under_x.write(&h, 1);
    under_xm.write(&h, 1);
  }
  xum::xxor_stream x(under_x, false);
  xor_model x_m{&under_xm};

  for (int steps = 0; !in.done() && steps < 256; ++steps) {
    const int code = in.byte();
    const int op = (code >> 2) % 4;
    switch (code % 3) {
      case 0:
        if (op == 3) {
          const int n = count_of(in.arg());
          mem.set_size(n);
          mem_m.set_size(n);
        } else {
          step(mem, mem_m, op, in, a, b);
        }
        break;
      case 1:
        step(sec, sec_m, op, in, a, b);
        break;
      default:
        if (op == 3) {  // forwarded to the underlying stream; the phase stays
          const int n = count_of(in.arg());
          x.set_size(n);
          under_xm.set_size(n);
        } else {
          step(x, x_m, op, in, a, b);
        }
        break;
    }
    check(mem.get_position() == position_of(mem_m) && mem.get_size() == size_of(mem_m));
    check(sec.get_position() == position_of(sec_m) && sec.get_size() == size_of(sec_m));
    check(under_s.get_size() == under_sm.size() && under_s.get_position() == under_sm.pos);
    check(x.get_position() == position_of(x_m) && under_x.get_size() == under_xm.size());
    check(std::equal(under_xm.bytes.begin(), under_xm.bytes.end(), under_x.data()));
  }
  check(std::equal(mem_m.bytes.begin(), mem_m.bytes.end(), mem.data()));
  check(std::equal(under_sm.bytes.begin(), under_sm.bytes.end(), under_s.data()));
  return 0;
}
