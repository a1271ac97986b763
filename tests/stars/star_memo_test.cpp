// The frame memo's generations: when entries turn stale, and the count that wraps.
#include <gtest/gtest.h>

#include "stars/star_memo.h"

namespace {

StarFrameKey keyOf(double logScale) {
  StarFrameKey k;
  k.logScale = logScale;
  k.numStars = 3;
  return k;
}

}  // namespace

TEST(StarDrawMemo, AnEqualKeyKeepsTheEntriesAnotherMakesThemStale) {
  StarDrawMemo memo;
  ASSERT_TRUE(memo.open(keyOf(16), 3));
  ASSERT_EQ(memo.entries.size(), 3u);
  EXPECT_EQ(memo.gen, 1u);
  for (const StarMemoEntry& e : memo.entries) EXPECT_EQ(e.gen, 0u);  // never filled
  memo.entries[1].gen = memo.gen;
  ASSERT_TRUE(memo.open(keyOf(16), 3));
  EXPECT_EQ(memo.gen, 1u);
  EXPECT_EQ(memo.entries[1].gen, memo.gen);
  ASSERT_TRUE(memo.open(keyOf(17), 3));
  EXPECT_EQ(memo.gen, 2u);
  EXPECT_NE(memo.entries[1].gen, memo.gen);
  EXPECT_GE(memo.pointsAfter.capacity(), 3u);
}

TEST(StarDrawMemo, AKeyWithANumberThatIsNotANumberIsNeverTheSame) {
  StarDrawMemo memo;
  StarFrameKey k = keyOf(16);
  k.tuneValue = __builtin_nanf("");
  ASSERT_TRUE(memo.open(k, 3));
  ASSERT_TRUE(memo.open(k, 3));
  EXPECT_EQ(memo.gen, 2u);
}

TEST(StarDrawMemo, AnotherNumberOfStarsResizesTheEntries) {
  StarDrawMemo memo;
  ASSERT_TRUE(memo.open(keyOf(16), 3));
  StarFrameKey k = keyOf(16);
  k.numStars = 5;
  ASSERT_TRUE(memo.open(k, 5));
  EXPECT_EQ(memo.entries.size(), 5u);
  EXPECT_EQ(memo.entries[4].gen, 0u);
  EXPECT_EQ(memo.gen, 2u);
  k.numStars = 0;
  ASSERT_TRUE(memo.open(k, 0));
  EXPECT_TRUE(memo.entries.empty());
}

TEST(StarDrawMemo, WhenTheGenerationsWrapEveryEntryTurnsStale) {
  StarDrawMemo memo;
  ASSERT_TRUE(memo.open(keyOf(16), 3));
  memo.gen = StarDrawMemo::kLastGen;
  for (StarMemoEntry& e : memo.entries) e.gen = 1;  // filled long ago, under generation 1
  memo.entries[2].gen = StarDrawMemo::kLastGen;
  ASSERT_TRUE(memo.open(keyOf(18), 3));
  EXPECT_EQ(memo.gen, 1u);
  for (const StarMemoEntry& e : memo.entries) EXPECT_EQ(e.gen, 0u);
}
