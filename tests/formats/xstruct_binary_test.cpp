// The binary form ("BSF") of the structured format: every kind byte for
// byte, round trips of the tree, and the reader's behaviour on odd input.
#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include <cstdint>
#include <functional>
#include <string>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::error_of;
using test::bytes_of;

using namespace std::string_literals;

// Saves what `describe` writes in the binary form.
std::string binary_of(const auto& describe) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  f.set_binary(true);
  describe(f);
  f.close();
  return bytes_of(m);
}

// The root body of a file with one label "K" and one value under it.
std::string one_value(const std::string& kind_and_payload) {
  return "BSF\0\1\0\0\0\1K\1\0\0\0"s + kind_and_payload + "\0\0"s;
}

TEST(XstructBinary, IntegersTakeTheSmallestKindAndFlagTheirSign) {
  const auto with = [](std::int64_t v) { return binary_of([&](xstruct_format& f) { f.prop_int64("K", v, 0, true); }); };
  EXPECT_EQ(with(0), one_value("\0"s));
  EXPECT_EQ(with(1), one_value("\1"s));
  EXPECT_EQ(with(5), one_value("\2\5"s));
  EXPECT_EQ(with(-1), one_value("\x12\1"s));
  EXPECT_EQ(with(65535), one_value("\3\xFF\xFF"s));
  EXPECT_EQ(with(65536), one_value("\5\0\0\1\0"s));
  EXPECT_EQ(with(-(1LL << 32)), one_value("\x19\0\0\0\0\1\0\0\0"s));
  // Default suppression applies to the binary form too.
  EXPECT_EQ(binary_of([](xstruct_format& f) { f.prop_int64("Count", 5, 5, false); }), "BSF\0\0\0\0\0\0\0\0\0"s);
}

TEST(XstructBinary, OtherKindsByteForByte) {
  EXPECT_EQ(binary_of([](xstruct_format& f) { f.str_prop("K", "", "x", false); }), one_value("\6"s));
  EXPECT_EQ(binary_of([](xstruct_format& f) { f.str_prop("K", "ab", "", false); }), one_value("\7\2ab"s));
  EXPECT_EQ(binary_of([](xstruct_format& f) { f.real_prop("K", 1.0, 0.0, false); }),
            one_value("\x08\0\0\0\0\0\0\xF0\x3F"s));
  // A text of 256 bytes or more has no kind byte before its 32-bit length.
  const std::string long_text(256, 'L');
  EXPECT_EQ(binary_of([&](xstruct_format& f) { f.str_prop("K", long_text.c_str(), "", false); }),
            one_value("\0\1\0\0"s + long_text));
  // An anonymous value keeps its negative code and needs no label.
  EXPECT_EQ(binary_of([](xstruct_format& f) { f.prop_int64("", 1, 0, false); }),
            "BSF\0\0\0\0\0\1\0\xFF\xFF\1\0\0"s);
}

TEST(XstructBinary, FloatAndExtendedValuesReadFromFiles) {
  // Float and extended values exist only in files: give them as bytes.
  const std::string file = "BSF\2Id\2\0\0\0\1F\1E\2\0"s + "\0\0\4\0\0\xC0\x3F"s +           // F = 1.5f
                           "\1\0\x0A\0\0\0\0\0\0\0\xC0\xFF\x3F"s + "\0\0"s;              // E = 1.5L
  xbuffer_stream in(file.data(), static_cast<int>(file.size()));
  xstruct_format f;
  f.open_stream(in, xstream_read, false);
  f.identifier("Id");
  EXPECT_EQ(f.real_prop("F", 0.0, 0.0, false), 1.5);
  EXPECT_EQ(f.str_prop("E", "", "", false), "1.500000");
}

TEST(XstructBinary, LoadedTextsAreWrittenAsTheirPropertiesWouldBe) {
  const std::string texts[] = {"", "a", std::string(255, 's'), std::string(256, 'l')};
  std::string file = "TSFId\r\n";
  for (int i = 0; i < 4; ++i) file += "K" + std::to_string(i) + "=" + texts[i] + "\r\n";
  xbuffer_stream in(file.data(), static_cast<int>(file.size()));
  xstruct_format f;
  f.open_stream(in, xstream_read, false);
  xmemory_stream m;
  f.save_to_stream(m);
  f.set_binary(true);
  f.close();
  EXPECT_EQ(bytes_of(m), binary_of([&](xstruct_format& g) {
              g.identifier("Id");
              for (int i = 0; i < 4; ++i) g.str_prop(("K" + std::to_string(i)).c_str(), texts[i].c_str(), "-", true);
            }));
}

TEST(XstructBinary, UnknownKindsMakeNoValueAndLongTextsReadAfterKind11) {
  const std::string file = "BSF\0\2\0\0\0\1A\1B\3\0"s + "\0\0\x0C"s +  // A: kind 12, nothing consumed
                           "\1\0\x0B\3\0\0\0xyz"s +                     // B: kind 11, a 32-bit length
                           "\0\0\x11"s + "\0\0"s;                       // A again: kind 17 is unknown too
  xbuffer_stream in(file.data(), static_cast<int>(file.size()));
  xstruct_format f;
  f.open_stream(in, xstream_read, false);
  EXPECT_EQ(f.root().value_count(), 1);
  EXPECT_EQ(f.str_prop("B", "", "-", false), "xyz");
  EXPECT_EQ(f.str_prop("A", "", "-", false), "-");
}

TEST(XstructBinary, LyingCountsAndCodesAreReportedWithoutGrowing) {
  const auto load = [](const std::string& file) {
    return error_of([&] {
      xbuffer_stream in(file.data(), static_cast<int>(file.size()));
      xstruct_format f;
      f.open_stream(in, xstream_read, false);
    });
  };
  const std::string read_error = "Data reading error ! \nbuffer stream";
  EXPECT_EQ(load("BSF\0\xFF\xFF\xFF\x7F\1A"s), read_error);           // 2^31 labels
  EXPECT_EQ(load("BSF\0\0\0\0\0\xFF\x7F\0\0\1"s), read_error);         // 32767 values
  EXPECT_EQ(load("BSF\0\0\0\0\0\0\0\xFF\x7F\0\0"s), read_error);       // 32767 children
  // Counts past 32767 come back negative: such a section reads as empty.
  const std::string negative = "BSF\0\0\0\0\0\0\x80\0\0"s;
  xbuffer_stream in(negative.data(), static_cast<int>(negative.size()));
  xstruct_format f;
  f.open_stream(in, xstream_read, false);
  EXPECT_EQ(f.root().value_count(), 0);
}

TEST(XstructBinary, TheFormatNoteExampleIsWhatTheWriterWrites) {
  EXPECT_EQ(binary_of([](xstruct_format& f) {
              f.identifier("Id");
              f.prop_int64("Width", 100, 0, false);
              f.begin_section("S");
              f.end_section();
            }),
            "BSF\2Id\2\0\0\0\5Width\1S\1\0\0\0\2\x64\1\0\1\0\0\0\0\0"s);
}

TEST(XstructBinary, AnOverlongNameOrIdentifierOnASaveIsBadDataNamingTheKey) {
  const std::string long_name(300, 'n');
  const std::string cut = std::string(64, 'n') + "...";
  struct row {
    std::function<void(xstruct_format&)> describe;
    std::string error;
  };
  const row rows[] = {
      {[&](xstruct_format& f) { f.str_prop(long_name.c_str(), "v", "", false); },
       "Key: " + cut + "\nThe name is longer than 255 bytes (300)."},
      {[&](xstruct_format& f) { f.identifier(long_name.c_str()); }, "The identifier is longer than 255 bytes (300)."},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.error);
    xmemory_stream m;
    xstruct_format f;
    f.open_stream(m, xstream_write, false);
    f.set_binary(true);
    r.describe(f);
    EXPECT_EQ(error_of([&] { f.close(); }), "Invalid data format !\n" + r.error + "\nMemory stream.");
    EXPECT_EQ(m.size(), 0);  // refused before the first byte
  }
}

// Every section and value of the tree as "path/" and "path=text" lines, in
// file order.
std::string tree_of(xstruct_format& f) {
  std::string out;
  std::function<void(const xstruct_section&, const std::string&)> walk = [&](const xstruct_section& s,
                                                                            const std::string& path) {
    for (int i = 0; i < s.value_count(); ++i)
      out += path + std::string(f.label_by_code(s.value(i).code()).view()) + "=" + std::string(s.value(i).text().view()) + "\n";
    for (int i = 0; i < s.child_count(); ++i) {
      const std::string child = path + std::string(f.label_by_code(s.child(i).code()).view()) + "/";
      out += child + "\n";
      walk(s.child(i), child);
    }
  };
  walk(f.root(), "");
  return out;
}

TEST(XstructBinary, ExactlyTheTreesThatFitReadBack) {
  struct row {
    const char* what;
    std::function<void(xstruct_format&)> describe;
    std::string path, reason;  // reason "": fits
  };
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
  const row rows[] = {
      {"255-byte text", [](xstruct_format& f) { f.str_prop("T", std::string(255, 't').c_str(), "", false); }, "", ""},
      {"256-byte text", [](xstruct_format& f) { f.str_prop("T", std::string(256, 't').c_str(), "", false); }, "T",
       "A text of 256 bytes; the binary form reads back texts of at most 255 bytes."},
      {"255-byte name", [](xstruct_format& f) { f.str_prop(std::string(255, 'k').c_str(), "v", "", false); }, std::string(64, 'k') + "...", ""},
      {"32767 values", many(32767, false), "", ""},
      {"32768 values", many(32768, false), "S", "The section holds 32768 values; the binary form keeps 32767."},
      {"32768 sections", many(32768, true), "S", "The section holds 32768 sections; the binary form keeps 32767."},
      {"#32767", [](xstruct_format& f) { f.str_prop("#32767", "v", "", false); }, "", ""},
      {"#32768", [](xstruct_format& f) { f.str_prop("#32768", "v", "", false); }, "#32768",
       "Anonymous entries of the binary form end at #32767."},
      {"label 32769", [](xstruct_format& f) {
         for (int i = 0; i < 32768; ++i) f.code_by_label(("l" + std::to_string(i)).c_str());
         f.str_prop("last", "v", "", false);
       },
       "last", "The name is label 32769 of the file; the binary form reaches the first 32767."},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    xmemory_stream m;
    xstruct_format f;
    f.open_stream(m, xstream_write, false);
    f.set_binary(true);
    r.describe(f);
    const auto misfit = f.first_misfit(xstruct_form::binary);
    EXPECT_EQ(misfit ? std::string(misfit->reason.view()) : "", r.reason);
    if (misfit) {
      EXPECT_EQ(misfit->path, r.path.c_str());
    }
    f.start_reading();
    const std::string before = tree_of(f);
    f.save_to_stream(m);
    f.set_binary(true);
    f.close();
    m.seek(0, xseek_begin);
    xstruct_format g;
    const bool loads = error_of([&] { g.open_stream(m, xstream_read, false); }) == "(no error)";
    EXPECT_EQ(loads && tree_of(g) == before, r.reason.empty());
  }
}

}  // namespace
}  // namespace xum
