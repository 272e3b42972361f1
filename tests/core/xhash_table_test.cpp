#include "core/xhash_table.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

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
  // Exactly `length` bytes count: a fifth zero byte is one more step.
  const char zeros[5] = {};
  EXPECT_NE(xcalculate_buffer_hash(zeros, 5, 7), xcalculate_buffer_hash(zeros, 4, 7));
  EXPECT_EQ(xcalculate_buffer_hash("abcdX", 4, 0), 0x60bb493cu);
}

// Growth doubles the slots at a quarter full (32 of 128, then 64 of 256):
// every item stays findable across each doubling, and clear frees them all.
TEST(XhashTableImpl, StartsWithoutSlotsKeepsItemsAcrossGrowthAndClears) {
  xhash_table_impl t;
  EXPECT_EQ(t.item_by_code(0), -1);
  EXPECT_EQ(t.size(), 0);
  for (int i = 0; i < 65; ++i) t.insert(static_cast<unsigned>(i * 7919), i);
  EXPECT_EQ(t.size(), 512);  // the 33rd and the 65th insert doubled
  EXPECT_EQ(t.count(), 65);
  for (int i = 0; i < 65; ++i) EXPECT_EQ(t.value(t.item_by_code(static_cast<unsigned>(i * 7919))), i) << i;
  EXPECT_EQ(t.item_by_code(12345), -1);
  t.clear();
  EXPECT_EQ(t.count(), 0);
  EXPECT_EQ(t.item_by_code(0), -1);
}

TEST(XstringsMerger, KeepsOneSharedCopyPerText) {
  xstrings_merger merge;
  xstr a = "OK";
  xstr b = xstr("O") + "K";
  merge(a);
  EXPECT_EQ(&merge(b), &b);
  EXPECT_EQ(merge.strings().size(), 1);
  EXPECT_EQ(b.get_text(), a.get_text());  // one block
  xstr c = "ok";                          // case matters
  merge(c);
  EXPECT_EQ(merge.strings().size(), 2);
  // Constructed from texts, it indexes them.
  xvector<xstr> v;
  v.push_back("one");
  v.push_back("two");
  xstrings_merger given(v);
  xstr t = xstr("tw") + "o";
  given(t);
  EXPECT_EQ(given.strings().size(), 2);
  EXPECT_EQ(t.get_text(), given.strings()[1].get_text());
  EXPECT_THROW(given.reindex(2), xexception);
}

}  // namespace
}  // namespace xum
