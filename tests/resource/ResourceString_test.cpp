#include "ResourceFixture.h"
#include "resource/T_resource_string.h"

#include <memory>

TEST(ResourceString, ComparesLengthAndText) {
  const T_resource_string text("Alto");
  EXPECT_TRUE(text.compare(T_resource_string("Alto")));
  EXPECT_FALSE(text.compare(T_resource_string("alto")));
  EXPECT_FALSE(text.compare(T_resource_string("Alto ")));
  EXPECT_FALSE(text.compare(T_resource_string("Alto", 6))) << "same text, other length";
  EXPECT_TRUE(T_resource_string(nullptr).compare(T_resource_string("")));
}

TEST(ResourceString, KeepsTheLengthGivenAndTheTextUpToItsEnd) {
  const T_resource_string cut("abcdef", 3);
  EXPECT_STREQ(cut.chars, "abc");
  const T_resource_string padded("ab", 5);
  EXPECT_EQ(padded.length, 5U);
  EXPECT_STREQ(padded.chars, "ab");
  const std::unique_ptr<T_resource_string> copy(padded.string_copy());
  EXPECT_TRUE(copy->compare(padded));
}

TEST(ResourceString, CanBeSetFromItsOwnText) {
  T_resource_string text("one two");
  text.init_string(text.chars + 4);
  EXPECT_STREQ(text.chars, "two");
  EXPECT_EQ(text.length, 3U);
}
