// Runs every reader of the text tokenizer over arbitrary bytes, after
// checking the fast line reader against the layered one. The first
// byte gives the number of operations and the next ones pick them (and their
// arguments); the rest is the text. Reports through xerror (thrown as
// XException) and the end of the text are expected; a crash, a hang, a
// broken invariant or any other exception is a finding.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/xexceptions.h"
#include "formats/xtext_format.h"
#include "streams/xmemory_stream.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t ops = data[0] % 32;
  if (size < 1 + ops) return 0;
  const std::uint8_t* script = data + 1;
  const char* text = reinterpret_cast<const char*>(data + 1 + ops);
  const int length = static_cast<int>(size - 1 - ops);

  // The line reader scans in place and takes the usual breaks in one step;
  // it must match the layered symbol reader and next_line exactly.
  {
    xum::xbuffer_stream in_fast(text, length), in_ref(text, length);
    xum::xtext_format fast(in_fast, xum::xstream_read, false);
    xum::xtext_format ref(in_ref, xum::xstream_read, false);
    for (int round = 0;; ++round) {
      check(round <= 2 * length + 2);
      std::string_view line;
      const bool more = fast.read_line_view(line, true);
      std::string expected;
      char c;
      while (ref.read_symbol(c, true)) expected += c;
      const bool ref_more = ref.next_line() || !expected.empty();
      check(more == ref_more && line == expected);
      check(fast.line_number() == ref.line_number() && fast.bytes_consumed() == ref.bytes_consumed());
      if (!more) break;
    }
  }

  xum::xbuffer_stream in(text, length);
  xum::xtext_format t(in, xum::xstream_read, false);
  for (std::size_t i = 0; i < ops; ++i) {
    const std::uint8_t op = script[i];
    const std::int64_t before = t.bytes_consumed();
    try {
      char c = 0;
      xum::xstr s;
      std::string_view v;
      long double d = 0;
      switch (op % 22) {
        case 0: t.read_byte(c, op & 32); break;
        case 1: t.read_symbol(c, op & 32); break;
        case 2: t.next_line(); break;
        case 3: t.skip_lines(op >> 5); break;
        case 4: t.read_line(s, op & 32); break;
        case 5: t.line(); break;
        case 6: t.read_line_view(v, op & 32); break;
        case 7: t.read_token(s, op & 32); break;
        case 8: t.token(op & 32); break;
        case 9: t.token_l(); break;
        case 10: t.register_character_tokens(xum::xstr(std::string_view(text, length < 3 ? length : 3))); break;
        case 11: t.push_token(op & 32 ? xum::xstr("x") : xum::xstr()); break;
        case 12: t.read_number_token(s); break;
        case 13: t._read_number(d); break;
        case 14: t.number(); break;
        case 15: t.integer(); break;
        case 16: t.goto_next_token(); break;
        case 17: t.quotated_string(); break;
        case 18: t.read_to_delimiter(static_cast<char>(op)); break;
        case 19: t.set_comma(op & 32); break;
        case 20: t.close(); t.open_stream(in, xum::xstream_read, false); in.seek(0, xum::xseek_begin); break;
        default: while (t.read_line_view(v, true)) {} break;  // to the end
      }
    } catch (const xum::Exception&) {
      // A report through xerror: "Unexpected end of text !", "Number expected !".
    }
    check(t.bytes_consumed() <= length);
    check(op % 22 == 20 || t.bytes_consumed() >= before);
    check(t.line_number() >= 1);
  }
  return 0;
}
