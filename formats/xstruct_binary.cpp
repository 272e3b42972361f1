// The binary form ("BSF") of the structured format, written and read with
// xbin_format; see the format note in xstruct_format.h.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "formats/xbin_format.h"
#include "formats/xstruct_format.h"

namespace xum {

namespace {

// Kind bytes of the binary form.
enum : std::uint8_t {
  kind_zero = 0,
  kind_one = 1,
  kind_int8 = 2,
  kind_int16 = 3,
  kind_float = 4,
  kind_int32 = 5,
  kind_empty_text = 6,
  kind_short_text = 7,
  kind_double = 8,
  kind_int64 = 9,
  kind_extended = 10,
  kind_long_text = 11,
  kind_negative = 16,
};

void write_kind(xbin_format& b, std::uint8_t kind) { b(kind); }

void write_integer(xbin_format& b, std::int64_t v) {
  if (v == 0 || v == 1) {
    write_kind(b, static_cast<std::uint8_t>(v));
    return;
  }
  // The magnitude in unsigned arithmetic, so that the lowest value works.
  const std::uint64_t magnitude = v < 0 ? 0 - static_cast<std::uint64_t>(v) : static_cast<std::uint64_t>(v);
  const std::uint8_t negative = v < 0 ? kind_negative : 0;
  unsigned char bytes[8];
  le::store<std::uint64_t>(bytes, magnitude);
  std::uint8_t kind;
  if (magnitude < 0x100)
    kind = kind_int8;
  else if (magnitude < 0x10000)
    kind = kind_int16;
  else if ((magnitude >> 32) != 0)
    kind = kind_int64;
  else
    kind = kind_int32;
  write_kind(b, kind | negative);
  b.buffer(bytes, kind - 1);  // the kinds are chosen so that kind - 1 is the width
}

void write_value(xbin_format& b, const xstruct_value& v) {
  switch (v.kind()) {
    case xvalue_kind::int64:
      write_integer(b, v.int64_payload());
      return;
    case xvalue_kind::float32: {
      float f = v.float_payload();
      write_kind(b, kind_float);
      b(f);
      return;
    }
    case xvalue_kind::real64: {
      double d = v.double_payload();
      write_kind(b, kind_double);
      b(d);
      return;
    }
    case xvalue_kind::extended: {
      unsigned char bytes[10];
      v.extended_bytes(bytes);
      write_kind(b, kind_extended);
      b.buffer(bytes, 10);
      return;
    }
    case xvalue_kind::text:
      break;
  }
  // The bytes of short_str and of a 32-bit length string, written from the
  // value's text in place (a loaded text is no xstr of its own).
  const std::string_view text = v.text_view();
  char* bytes = const_cast<char*>(text.data());  // only read when writing
  if (text.empty()) {
    write_kind(b, kind_empty_text);
  } else if (text.size() < 256) {
    write_kind(b, kind_short_text);
    std::uint8_t n = static_cast<std::uint8_t>(text.size());
    b(n);
    b.buffer(bytes, n);
  } else {
    std::int32_t n = static_cast<std::int32_t>(text.size());
    b(n);  // no kind byte: see the format note
    b.buffer(bytes, n);
  }
}

// Reads a value of kind `kind` with `code` into `section`; unknown kinds
// add nothing. Short texts go to the tree's arena, as the text form's do.
void read_value(xbin_format& b, xstruct_section& section, int code, std::uint8_t kind, xtext_arena& texts) {
  switch (kind) {
    case kind_zero:
    case kind_one:
      section.add_value(xstruct_value::int64(code, kind));
      return;
    case kind_int8:
    case kind_int16:
    case kind_int32:
    case kind_int64:
    case kind_int8 | kind_negative:
    case kind_int16 | kind_negative:
    case kind_int32 | kind_negative:
    case kind_int64 | kind_negative: {
      unsigned char bytes[8] = {};
      b.buffer(bytes, (kind & ~kind_negative) - 1);
      const std::uint64_t magnitude = le::load<std::uint64_t>(bytes);
      const std::uint64_t v = (kind & kind_negative) ? 0 - magnitude : magnitude;
      section.add_value(xstruct_value::int64(code, static_cast<std::int64_t>(v)));
      return;
    }
    case kind_float: {
      float f = 0;
      b(f);
      section.add_value(xstruct_value::float32(code, f));
      return;
    }
    case kind_double: {
      double d = 0;
      b(d);
      section.add_value(xstruct_value::real64(code, d));
      return;
    }
    case kind_extended: {
      unsigned char bytes[10] = {};
      b.buffer(bytes, 10);
      section.add_value(xstruct_value::extended(code, bytes));
      return;
    }
    case kind_empty_text:
      section.add_value(xstruct_value(code, xstr()));
      return;
    case kind_short_text: {
      // The bytes short_str reads, without a string of their own.
      std::uint8_t n = 0;
      b(n);
      if (n == 0) {
        section.add_value(xstruct_value(code, xstr()));
        return;
      }
      char bytes[xbin_format::short_str_max] = {};
      b.buffer(bytes, n);
      section.add_value(code, xstruct_value::arena_ref{texts.add(std::string_view(bytes, n))});
      return;
    }
    case kind_long_text: {
      xstr text;
      b(text);
      section.add_value(xstruct_value(code, std::move(text)));
      return;
    }
    default:
      return;
  }
}

}  // namespace

bool xstruct_format::write_binary() {
  // What would stop the writer half-way is refused before the first byte.
  if (const auto m = misfit(xstruct_form::binary, false)) {
    refuse(*m);
    return false;
  }
  xbin_format b;
  b.open_exclusive(*stream_, mode_);
  b.identifier(xstr(binary_signature));
  xstr id = identifier_;
  b.short_str(id);
  std::int32_t count = labels_.size();
  b(count);
  for (int i = 0; i < labels_.size(); ++i) {
    // A label in use fits (see above); one that no entry uses keeps its
    // place in the table, empty when it does not fit.
    const std::string_view text = labels_[i];
    xstr label = text.size() > static_cast<std::size_t>(binary_max_bytes) ? xstr() : xstr(text);
    b.short_str(label);
  }
  // Depth first; a section's body is its values, its child count and then
  // each child's code and body.
  const auto open_body = [&](const xstruct_section& s) {
    std::int16_t n = static_cast<std::int16_t>(s.value_count());
    b(n);
    for (int i = 0; i < s.value_count(); ++i) {
      std::int16_t code = static_cast<std::int16_t>(s.value(i).code());
      b(code);
      write_value(b, s.value(i));
    }
    n = static_cast<std::int16_t>(s.child_count());
    b(n);
  };
  open_body(root_);
  root_.walk([&](const xstruct_section& child, xstruct_section::path) {
    std::int16_t code = static_cast<std::int16_t>(child.code());
    b(code);
    open_body(child);
    return true;
  });
  b.close();
  return true;
}

void xstruct_format::read_binary() {
  xbin_format b;
  b.open_exclusive(*stream_, mode_);
  b.short_str(identifier_);
  std::int32_t count = 0;
  b(count);
  labels_.clear();
  next_label_ = std::vector<int>();
  last_label_ = -1;
  // Every label takes at least its length byte.
  if (count < 0 || !b.has_bytes(count)) return;
  // Codes reach the first 32,768 labels (0 to 32767, and what the low 16
  // bits of larger ones read back as is negative); the others are read
  // past, so that a long table of nothing costs no memory.
  const int kept = count < binary_max_count + 1 ? count : binary_max_count + 1;
  xstr label;
  for (int i = 0; i < count; ++i) {
    b.short_str(label);
    if (i >= kept) continue;
    // A label given twice is found at its first place, as lookups would.
    labels_.append(label.view());
    next_label_.push_back(-1);
  }
  // Where the 2-byte field just read begins, for the reports below.
  const auto field_at = [&] {
    const std::int64_t at = b.offset();
    return at < 0 ? at : at - 2;
  };
  const auto code_ok = [&](int code) {
    if (code < labels_.size()) return true;
    xerror(xerror_category::bad_data, msg::eInvalidFormat.text + "\n" + stream_description(), {.offset = field_at()});
    return false;
  };
  // Each frame is a section whose children are still to be read: `left`
  // of them. Counts are checked against the bytes left (a value takes at
  // least 3 bytes, a child 4) before anything is read for them.
  struct frame {
    xstruct_section* section;
    int left;
  };
  std::vector<frame> frames;
  const auto read_body = [&](xstruct_section& s) -> bool {
    std::int16_t n = 0;
    b(n);
    if (!b.has_bytes(std::int64_t{n} * 3)) return false;
    for (int i = 0; i < n; ++i) {
      std::int16_t code = 0;
      std::uint8_t kind = 0;
      b(code);
      if (!code_ok(code)) return false;
      b(kind);
      read_value(b, s, code, kind, value_texts_);
    }
    b(n);
    if (!b.has_bytes(std::int64_t{n} * 4)) return false;
    // `s` lies as deep as the sections above it: its children may not pass
    // max_depth.
    if (n > 0 && static_cast<int>(frames.size()) >= max_depth) {
      xerror(xerror_category::bad_data,
             msg::eInvalidFormat.text + "\nSections are nested more than " + xstr(std::to_string(max_depth)) +
                 " deep.\n" + stream_description(),
             {.offset = field_at()});
      return false;
    }
    frames.push_back({&s, n < 0 ? 0 : n});
    return true;
  };
  if (!read_body(root_)) return;
  while (!frames.empty()) {
    frame& top = frames.back();
    if (top.left == 0) {
      frames.pop_back();
      continue;
    }
    --top.left;
    xstruct_section* parent = top.section;
    std::int16_t code = 0;
    b(code);
    if (!code_ok(code)) return;
    if (!read_body(parent->add_child(code))) return;
  }
}

}  // namespace xum
