// The binary form ("BSF") of the structured format: every kind byte for
// byte, the reader's behaviour on odd input, and exactly the trees that fit
// the form's limits saved (a misfit named by its first key).
#include <cstdint>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using namespace std::string_literals;
using test::bytes_of;
using test::error_of;
using describe_fn = std::function<void(xstruct_format&)>;

// Saves what `describe` writes in the binary form.
std::string binary_of(const describe_fn& describe) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  f.set_binary(true);
  describe(f);
  f.close();
  return bytes_of(m);
}

// Loads `file` (errors go to the caller) and keeps its stream.
struct loaded {
  std::string file;
  xbuffer_stream in;
  xstruct_format f;
  explicit loaded(std::string bytes) : file(std::move(bytes)) {
    in.open(file.data(), static_cast<int>(file.size()));
    f.open_stream(in, xstream_read, false);
  }
};

// The root body of a file with one label "K" and one value under it.
std::string one_value(const std::string& kind_and_payload) {
  return "BSF\0\1\0\0\0\1K\1\0\0\0"s + kind_and_payload + "\0\0"s;
}

TEST(XstructBinary, EachKindByteForByte) {
  const auto with = [](std::int64_t v) {
    return [=](xstruct_format& f) { f.prop_int64("K", v, 0, true); };
  };
  const std::string long_text(256, 'L');
  const std::pair<describe_fn, std::string> rows[] = {
      // Integers take the smallest kind and flag their sign.
      {with(0), one_value("\0"s)},
      {with(1), one_value("\1"s)},
      {with(5), one_value("\2\5"s)},
      {with(-1), one_value("\x12\1"s)},
      {with(65535), one_value("\3\xFF\xFF"s)},
      {with(65536), one_value("\5\0\0\1\0"s)},
      {with(-(1LL << 32)), one_value("\x19\0\0\0\0\1\0\0\0"s)},
      {[](xstruct_format& f) { f.prop_int64("Count", 5, 5, false); }, "BSF\0\0\0\0\0\0\0\0\0"s},
      {[](xstruct_format& f) { f.str_prop("K", "", "x", false); }, one_value("\6"s)},
      {[](xstruct_format& f) { f.str_prop("K", "ab", "", false); }, one_value("\7\2ab"s)},
      {[](xstruct_format& f) { f.real_prop("K", 1.0, 0.0, false); },
       one_value("\x08\0\0\0\0\0\0\xF0\x3F"s)},
      // A text of 256 bytes or more has no kind byte before its 32-bit length.
      {[&](xstruct_format& f) { f.str_prop("K", long_text.c_str(), "", false); },
       one_value("\0\1\0\0"s + long_text)},
      // An anonymous value keeps its negative code and needs no label.
      {[](xstruct_format& f) { f.prop_int64("", 1, 0, false); },
       "BSF\0\0\0\0\0\1\0\xFF\xFF\1\0\0"s},
      // The format note's example.
      {[](xstruct_format& f) {
         f.identifier("Id");
         f.prop_int64("Width", 100, 0, false);
         f.begin_section("S");
         f.end_section();
       },
       "BSF\2Id\2\0\0\0\5Width\1S\1\0\0\0\2\x64\1\0\1\0\0\0\0\0"s},
  };
  for (const auto& [describe, bytes] : rows) {
    SCOPED_TRACE(::testing::PrintToString(bytes.substr(0, 24)));
    EXPECT_EQ(binary_of(describe), bytes);
  }
}

TEST(XstructBinary, OddKindsAndLyingCountsReadAsTheFormSays) {
  // A float value exists only in files; kinds 12 and 17 are unknown and
  // consume nothing; kind 11 is a text with a 32-bit length.
  loaded odd("BSF\2Id\3\0\0\0\1F\1A\1B\4\0"s + "\0\0\4\0\0\xC0\x3F"s +  // F = 1.5f
             "\1\0\x0C"s + "\2\0\x0B\3\0\0\0xyz"s + "\1\0\x11"s + "\0\0"s);
  odd.f.identifier("Id");
  EXPECT_EQ(odd.f.real_prop("F", 0.0, 0.0, false), 1.5);
  EXPECT_EQ(odd.f.str_prop("B", "", "-", false), "xyz");
  EXPECT_EQ(odd.f.str_prop("A", "", "-", false), "-");
  EXPECT_EQ(odd.f.root().value_count(), 2);
  // Counts that the bytes cannot back are refused without growing.
  for (const std::string& lying : {"BSF\0\xFF\xFF\xFF\x7F\1A"s,     // 2^31 labels
                                   "BSF\0\0\0\0\0\xFF\x7F\0\0\1"s,  // 32767 values
                                   "BSF\0\0\0\0\0\0\0\xFF\x7F\0\0"s}) {
    EXPECT_EQ(error_of([&] { loaded l(lying); }), "Data reading error ! \nbuffer stream");
  }
}

TEST(XstructBinary, AnOverlongNameOrIdentifierOnASaveIsBadDataNamingTheKey) {
  const std::string long_name(300, 'n');
  const std::pair<describe_fn, std::string> rows[] = {
      {[&](xstruct_format& f) { f.str_prop(long_name.c_str(), "v", "", false); },
       "Key: " + std::string(64, 'n') + "...\nThe name is longer than 255 bytes (300)."},
      {[&](xstruct_format& f) { f.identifier(long_name.c_str()); },
       "The identifier is longer than 255 bytes (300)."},
  };
  for (const auto& [describe, error] : rows) {
    SCOPED_TRACE(error);
    xmemory_stream m;
    xstruct_format f;
    f.open_stream(m, xstream_write, false);
    f.set_binary(true);
    describe(f);
    EXPECT_EQ(error_of([&] { f.close(); }), "Invalid data format !\n" + error + "\nMemory stream.");
    EXPECT_EQ(m.size(), 0);  // refused before the first byte
  }
}

// The text form of what `f` holds; `f` is closed.
std::string text_of(xstruct_format& f) {
  xmemory_stream t;
  f.save_to_stream(t);
  f.close();
  return bytes_of(t);
}

TEST(XstructBinary, ExactlyTheTreesThatFitReadBack) {
  const auto many = [](int n, bool sections) {
    return [=](xstruct_format& f) {
      f.begin_section("S");
      for (int i = 0; i < n; ++i) {
        const std::string name = "k" + std::to_string(i);
        if (sections) {
          f.begin_section(name.c_str());
          f.end_section();
        } else {
          f.prop_int64(name.c_str(), i, -1, false);
        }
      }
    };
  };
  const auto text = [](const std::string& key, const std::string& value) {
    return [=](xstruct_format& f) { f.str_prop(key.c_str(), value.c_str(), "", false); };
  };
  struct row {
    const char* what;
    describe_fn describe;
    std::string path, reason;  // reason "": fits
  };
  const row rows[] = {
      {"255-byte text", text("T", std::string(255, 't')), "", ""},
      {"256-byte text", text("T", std::string(256, 't')), "T",
       "A text of 256 bytes; the binary form reads back texts of at most 255 bytes."},
      {"255-byte name", text(std::string(255, 'k'), "v"), "", ""},
      {"32767 values", many(32767, false), "", ""},
      {"32768 values", many(32768, false), "S",
       "The section holds 32768 values; the binary form keeps 32767."},
      {"32768 sections", many(32768, true), "S",
       "The section holds 32768 sections; the binary form keeps 32767."},
      {"#32767", text("#32767", "v"), "", ""},
      {"#32768", text("#32768", "v"), "#32768",
       "Anonymous entries of the binary form end at #32767."},
      {"label 32769",
       [](xstruct_format& f) {
         for (int i = 0; i < 32768; ++i) f.code_by_label(("l" + std::to_string(i)).c_str());
         f.str_prop("last", "v", "", false);
       },
       "last", "The name is label 32769 of the file; the binary form reaches the first 32767."},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    xmemory_stream unused;
    xstruct_format f;
    f.open_stream(unused, xstream_write, false);
    r.describe(f);
    const auto misfit = f.first_misfit(xstruct_form::binary);
    EXPECT_EQ(misfit ? std::string(misfit->reason.view()) : "", r.reason);
    EXPECT_EQ(misfit ? std::string(misfit->path.view()) : "", r.path);
    const std::string before = text_of(f);
    const std::string saved = binary_of(r.describe);
    xbuffer_stream in(saved.data(), static_cast<int>(saved.size()));
    xstruct_format g;
    const bool loads = error_of([&] { g.open_stream(in, xstream_read, false); }) == "(no error)";
    EXPECT_EQ(loads && text_of(g) == before, r.reason.empty());
  }
}

}  // namespace
}  // namespace xum
