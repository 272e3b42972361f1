// Runs a fixed record description over arbitrary bytes with xbin_format:
// identifier, version, strings of both widths, numbers, a string vector,
// a vector_size count followed by short strings, XOR scrambling and a
// trailer that points back into the data. Reports go
// through a hook that returns, so every field is read whatever came before.
// Lying lengths and counts must be refused without allocating for them (the
// fuzzer's malloc limit catches that), and nothing may crash or hang. When
// the input reads without a report, writing the record back must give the
// same fields.
#include <cstddef>
#include <cstdint>

#include "core/xstr.h"
#include "core/xvector.h"
#include "formats/xbin_format.h"
#include "streams/xmemory_stream.h"

namespace {

int reports = 0;

void check(bool condition) {
  if (!condition) __builtin_trap();
}

struct record {
  xum::xstr name, title, tail;
  std::int64_t count = 0;
  double ratio = 0;
  std::uint16_t flags = 0;
  xum::xvector<xum::xstr> list, hidden, names;

  void describe(xum::xbin_format& f) {
    f.identifier("REC");
    f.set_version(3);
    f.short_str(name);
    f(title);
    f(count);
    f(ratio);
    f(flags);
    f.vector(list);
    f.vector_size(names);  // the count may run past the bytes left
    for (int i = 0; i < names.size(); ++i) f.short_str(names[i]);
    f.start_encoding();
    f.vector(hidden);
    f(tail);
  }
};


bool same(const record& a, const record& b) {
  if (a.name != b.name || a.title != b.title || a.tail != b.tail || a.count != b.count || a.flags != b.flags)
    return false;
  if (!(a.ratio == b.ratio) && !(a.ratio != a.ratio && b.ratio != b.ratio)) return false;  // NaN equals NaN here
  if (a.list.size() != b.list.size() || a.hidden.size() != b.hidden.size() || a.names.size() != b.names.size())
    return false;
  for (int i = 0; i < a.names.size(); ++i)
    if (a.names[i] != b.names[i]) return false;
  for (int i = 0; i < a.list.size(); ++i)
    if (a.list[i] != b.list[i]) return false;
  for (int i = 0; i < a.hidden.size(); ++i)
    if (a.hidden[i] != b.hidden[i]) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  xum::xerror_handler = [](const xum::xstr&) { ++reports; };
  reports = 0;
  record r;
  bool clean = false;
  {
    xum::xbuffer_stream in(data, static_cast<int>(size));
    xum::xbin_format f(in, xum::xstream_read, false);
    r.describe(f);
    clean = reports == 0;
    if (size >= 12) {
      // The trailer may point anywhere; reading from there must stay safe.
      const std::int64_t at = f.trailer();
      if (at >= 0 && at <= static_cast<std::int64_t>(size)) {
        xum::xstr s;
        f(s);
      }
    }
  }
  if (!clean) return 0;
  reports = 0;  // the trailer's reads may have reported
  xum::xmemory_stream m;
  {
    xum::xbin_format w(m, xum::xstream_write, false);
    record copy = r;
    copy.describe(w);
  }
  m.seek(0, xum::xseek_begin);
  record back;
  xum::xbin_format f(m, xum::xstream_read, false);
  back.describe(f);
  check(reports == 0 && same(r, back));
  return 0;
}
