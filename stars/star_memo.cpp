// The frame memo's generations: a new key makes every entry stale without touching them.
#include "stars/star_memo.h"

#include <cstddef>
#include <new>

bool StarDrawMemo::open(const StarFrameKey& k, int numStars) {
  if (numStars < 0) numStars = 0;
  const bool resized = entries.size() != (size_t)numStars;
  if (!resized && k == key) return true;
  try {
    if (resized) entries.resize((size_t)numStars);
    // A frame notes at most every star for its second pass, and must not allocate while it draws.
    pointsAfter.reserve((size_t)numStars);
  } catch (const std::bad_alloc&) {
    entries.clear();
    key = StarFrameKey{};
    return false;
  }
  key = k;
  // Generation 0 is no generation: a fresh entry holds it. When the count wraps, every entry is
  // marked stale by hand, so that no old entry can pass for the new generation.
  if (++gen > kLastGen) {
    for (StarMemoEntry& e : entries) e.gen = 0;
    gen = 1;
  }
  return true;
}
