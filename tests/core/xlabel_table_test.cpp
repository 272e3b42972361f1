#include "core/xlabel_table.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xhash_table.h"

namespace xum {
namespace {

using namespace std::string_literals;

std::uint32_t hash_of(const std::string& s) {
  return xcalculate_buffer_hash(s.data(), static_cast<int>(s.size()), 0);
}

// Pairs of texts with one hash: the hash pads a last partial word with zero
// bytes, so "ab" and "ab\0" collide, and the others were found by a search
// (equal lengths, kept in the slot and kept in the arena).
const std::pair<std::string, std::string> collisions[] = {
    {"ab", "ab\0"s},
    {std::string(16, 'x') + "ab", std::string(16, 'x') + "ab\0"s},
    {"k10430871", "k11106010"},
    {"a_long_prefix_of_20_0600740", "a_long_prefix_of_20_2009002"},
};

// Texts that break a table comparing less than every byte: the empty text,
// zero bytes, lengths around the slot's inline limit and the collisions.
std::vector<std::string> edge_texts() {
  const std::string x15(15, 'x'), x16(16, 'x');
  std::vector<std::string> texts = {
      "", "\0"s, "a\0b"s, x15, x15 + "\0"s, x16, std::string(300, 'L')};
  for (const auto& [a, b] : collisions) {
    texts.push_back(a);
    texts.push_back(b);
  }
  for (int i = 0; i < 40; ++i) texts.push_back("Property" + std::to_string(i));
  return texts;
}

TEST(XlabelTable, CodesFollowFirstAdditionAndEveryByteCounts) {
  for (const auto& [a, b] : collisions) ASSERT_EQ(hash_of(a), hash_of(b)) << a;
  const std::vector<std::string> texts = edge_texts();
  xlabel_table t;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(t.find(texts[i]), -1);
    EXPECT_EQ(t.find_or_add(texts[i]), static_cast<int>(i));
  }
  // Added past several doublings of the index: all still found, in place.
  ASSERT_EQ(t.size(), static_cast<int>(texts.size()));
  for (std::size_t i = 0; i < texts.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(t.find(texts[i]), static_cast<int>(i));
    EXPECT_EQ(t.find_or_add(texts[i]), static_cast<int>(i));
    EXPECT_EQ(std::string(t[static_cast<int>(i)]), texts[i]);
  }
  EXPECT_EQ(t.find("Property40"), -1);
  EXPECT_EQ(t.find(std::string(300, 'L') + "L"), -1);
  t.clear();  // no slots left
  EXPECT_EQ(t.size(), 0);
  EXPECT_EQ(t.find(texts[3]), -1);
}

TEST(XlabelTable, AppendedRepeatsKeepTheirCodesAndLookupsFindTheFirst) {
  xlabel_table t;
  const std::string long_text(40, 'q');
  for (int i = 0; i < 4; ++i) EXPECT_EQ(t.append(i % 2 ? long_text : "K"), i);
  // Enough new texts to move every slot, and the repeats' codes with them.
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(t.append("n" + std::to_string(i)), 4 + i);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(t.find(i % 2 ? long_text : "K"), i % 2);
    EXPECT_EQ(t[i], i % 2 ? long_text : "K");
  }
}

}  // namespace
}  // namespace xum
