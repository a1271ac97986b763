// Tests of the view record.
#include "coords/view.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "coords/constants.h"

namespace {

TEST(ViewTest, PlainRecordCopiedByValue) {
  static_assert(std::is_trivially_copyable_v<View>);
  View a;
  a.viewPos.x = 1;
  a.viewPos.s = kParsecExponent;
  a.viewDir[0] = 0;
  a.viewDir[1] = 0;
  a.viewDir[2] = -1;
  a.viewUp[1] = 1;
  a.fovy = 45;
  a.aspect = 1.5;
  View b = a;  // a copy, nothing shared
  b.viewDir[2] = 1;
  b.viewPos.s = 0;
  b.fovy = 30;
  EXPECT_EQ(a.viewDir[2], -1);
  EXPECT_EQ(a.viewPos.s, kParsecExponent);
  EXPECT_EQ(a.fovy, 45);
  EXPECT_EQ(b.aspect, 1.5);
  EXPECT_EQ(b.viewUp[1], 1);
  EXPECT_EQ(b.viewPos.x, 1);
}

TEST(ViewTest, StartsZeroed) {
  View v;
  EXPECT_EQ(v.viewPos.x, 0);
  EXPECT_EQ(v.viewPos.s, 0);
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(v.viewDir[i], 0);
    EXPECT_EQ(v.viewUp[i], 0);
  }
  EXPECT_EQ(v.fovy, 0);
  EXPECT_EQ(v.aspect, 0);
}

}  // namespace
