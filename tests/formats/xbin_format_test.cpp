#include "formats/xbin_format.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"
#include "streams/xxor_stream.h"

namespace xum {
namespace {

using test::error_of;

using bytes = std::vector<unsigned char>;

bytes contents(const xmemory_stream& m) { return bytes(m.data(), m.data() + m.size()); }

void put(xmemory_stream& m, const bytes& b) {
  m.set_size(0);
  m.write(b.data(), static_cast<int>(b.size()));
  m.seek(0, xseek_begin);
}

TEST(XBinFormat, FieldEncodingsByteForByte) {
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    xstr empty, abc = "abc", longer(std::string_view(std::string(255, 'x')));
    f.identifier("VFS");
    f.set_version(2);
    f.short_str(empty);
    f(empty);
    f.short_str(abc);
    f(abc);
    std::int16_t i16 = -2;
    std::uint64_t u64 = 0x0102030405060708ull;
    double d = 1.0;
    f(i16);
    f(u64);
    f(d);
    xvector<xstr> v;
    v.push_back("a");
    v.push_back("");
    f.vector(v);
    f.short_str(longer);  // 255 bytes are the limit, not past it
  }
  bytes want = {'V', 'F', 'S', 2, 0, 0, 0, 0, 0, 0, 0, 0, 3, 'a', 'b', 'c', 3, 0, 0, 0, 'a', 'b', 'c',
                0xFE, 0xFF, 8, 7, 6, 5, 4, 3, 2, 1, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F,
                2, 0, 0, 0, 1, 0, 0, 0, 'a', 0, 0, 0, 0, 255};
  want.insert(want.end(), 255, 'x');
  EXPECT_EQ(contents(m), want);

  // A 256-byte short string throws before writing anything.
  xbin_format f(m, xstream_write, false);
  xstr too_long(std::string_view(std::string(256, 'y')));
  const std::int64_t before = m.get_size();
  EXPECT_THROW(f.short_str(too_long), xexception);
  EXPECT_EQ(m.get_size(), before);

  // And everything reads back.
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  xstr a, b, c, e;
  r.identifier("VFS");
  r.set_version(2);
  r.short_str(a);
  r(b);
  r.short_str(c);
  r(e);
  std::int16_t i16 = 0;
  std::uint64_t u64 = 0;
  double d = 0;
  r(i16);
  r(u64);
  r(d);
  xvector<xstr> v;
  r.vector(v);
  EXPECT_TRUE(a.empty() && b.empty());
  EXPECT_EQ(c, "abc");
  EXPECT_EQ(e, "abc");
  EXPECT_EQ(i16, -2);
  EXPECT_EQ(u64, 0x0102030405060708ull);
  EXPECT_EQ(d, 1.0);
  ASSERT_EQ(v.size(), 2);
  EXPECT_EQ(v[0], "a");
  EXPECT_EQ(r.short_str_prop("ignored").length(), 255);
}

TEST(XBinFormat, SignatureAndVersionChecks) {
  xmemory_stream m;
  put(m, {'V', 'F', 'X', 3, 0, 0, 0});
  xbin_format f(m, xstream_read, false);
  EXPECT_EQ(error_of([&] { f.identifier("VFS"); }), "Invalid data format !\nMemory stream.");
  for (const auto& [stored, accepted] : {std::pair{2, true}, {3, true}, {4, false}}) {
    put(m, {static_cast<unsigned char>(stored), 0, 0, 0});
    xbin_format v(m, xstream_read, false);
    const std::string error = error_of([&] { v.set_version(3); });
    EXPECT_EQ(error, accepted ? "(no error)" : "Unsupported format version ! Program update needed !\nMemory stream.");
    EXPECT_EQ(v.version(), stored);
  }
}

TEST(XBinFormat, TrailerInBothSizesReadsBackExactly) {
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    m.set_size(100);
    m.seek(100, xseek_begin);
    EXPECT_EQ(f.trailer(), 100);
  }
  const bytes all = contents(m);
  ASSERT_EQ(all.size(), 104u);
  EXPECT_EQ(bytes(all.end() - 4, all.end()), (bytes{0x64, 0, 0, 0}));
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  EXPECT_EQ(r.trailer(), 100);

  // At 2^31 the position takes 8 bytes and 4 zero bytes (a sparse file).
  const std::string path = ::testing::TempDir() + "xbin_long_trailer.bin";
  {
    xbin_format f;
    f.open_file(path.c_str(), xfile_create);
    f.set_position(std::int64_t{1} << 31);
    f.trailer();
  }
  {
    xbin_format f;
    f.open_file(path.c_str(), xfile_read);
    EXPECT_EQ(f.get_size(), (std::int64_t{1} << 31) + 12);
    EXPECT_EQ(f.trailer(), std::int64_t{1} << 31);
  }
  std::remove(path.c_str());

  // The long form: 8 bytes of position and 4 zero bytes, read back when
  // the last word is zero.
  xmemory_stream l;
  put(l, {1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  l.seek(0, xseek_end);
  l.write("\x05\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00", 12);
  xbin_format lr(l, xstream_read, false);
  EXPECT_EQ(lr.trailer(), 5);
}

TEST(XBinFormat, StartEncodingScramblesTheRestAndReadsBack) {
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    f.identifier("ABC");
    f.start_encoding();
    std::uint32_t v = 0;
    f(v);
    f.trailer();
  }
  // The scrambled zeros are the key from phase 0. Asking the XOR stream for
  // its position (trailer) moves its phase to the absolute position 7, so
  // the trailer's bytes use key[7], key[0], key[1], key[2].
  EXPECT_EQ(contents(m), (bytes{'A', 'B', 'C', 0x5c, 0x13, 0xa7, 0xe2, 0x6f ^ 7, 0x5c, 0x13, 0xa7}));
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  r.identifier("ABC");
  r.start_encoding();
  std::uint32_t v = 1;
  r(v);
  EXPECT_EQ(v, 0u);
}

TEST(XBinFormat, LyingLengthsAndCountsAreRefusedWithoutAllocating) {
  xmemory_stream m;
  const std::string want = "Data reading error ! \nMemory stream.";
  put(m, {0xFF, 0xFF, 0xFF, 0x7F, 'a'});  // a 2 GiB string in 5 bytes
  xbin_format f(m, xstream_read, false);
  xstr s = "old";
  EXPECT_EQ(error_of([&] { f(s); }), want);
  put(m, {0, 0, 0, 0x80});  // a negative length
  xbin_format g(m, xstream_read, false);
  EXPECT_EQ(error_of([&] { g(s); }), want);
  put(m, {0, 0, 0, 0x40, 0, 0, 0, 0});  // 2^30 strings in 4 bytes
  xbin_format h(m, xstream_read, false);
  xvector<xstr> v;
  EXPECT_EQ(error_of([&] { h.vector(v); }), want);
  EXPECT_EQ(v.size(), 0);
  put(m, {3, 'a'});  // a short string that ends early
  xbin_format k(m, xstream_read, false);
  EXPECT_EQ(error_of([&] { k.short_str(s); }), want);
}

}  // namespace
}  // namespace xum
