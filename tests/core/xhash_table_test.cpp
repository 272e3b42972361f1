#include "core/xhash_table.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xstrings_merger.h"

namespace xum {
namespace {

// Expected values computed with an independent script of the published
// step: h = ((w + h) * 0x0C639675 mod 2^64) >> 12, truncated to 32 bits.
TEST(XcalculateBufferHash, MatchesIndependentlyComputedValues) {
  // Bytes, seed, hash.
  const std::tuple<std::string, unsigned, unsigned> rows[] = {
      {"", 0, 0},
      {"", 0x12345678, 0x12345678},  // no bytes: the seed itself
      {"abcd", 0, 0x60bb493c},
      {"abcde", 0, 0x8baf7fff},
      {"hello world", 1, 0x75f8fbf9},
      // w + h overflows 32 bits: without the carry the result is 0x674e738d.
      {"\xff\xff\xff\xff", 0xffffffff, 0xce9e738d},
      {std::string(3, '\0'), 7, 0x00056b91},
  };
  for (const auto& [bytes, seed, hash] : rows) {
    SCOPED_TRACE(bytes);
    EXPECT_EQ(xcalculate_buffer_hash(bytes.data(), static_cast<int>(bytes.size()), seed), hash);
  }
  // Exactly `length` bytes count.
  EXPECT_EQ(xcalculate_buffer_hash("abcdX", 4, 0), 0x60bb493cu);
}

// One shared block per text, case counting; given texts are indexed too.
TEST(XstringsMerger, KeepsOneSharedCopyPerText) {
  xvector<xstr> v;
  v.push_back("one");
  v.push_back("OK");
  xstrings_merger merge(v);
  xstr b = xstr("O") + "K", c = "ok";
  EXPECT_EQ(&merge(b), &b);
  EXPECT_EQ(b.get_text(), merge.strings()[1].get_text());
  merge(c);
  EXPECT_EQ(merge.strings().size(), 3);
  EXPECT_THROW(merge.reindex(3), xexception);
}

}  // namespace
}  // namespace xum
