#include "ResourceFixture.h"
#include "resource/T_resource_string.h"

#include <memory>

TEST(ResourceString, ComparesLengthAndText) {
  const T_resource_string text("Alto");
  EXPECT_TRUE(text.compare(T_resource_string("Alto")));
  EXPECT_FALSE(text.compare(T_resource_string("alto")));
  EXPECT_FALSE(text.compare(T_resource_string("Alto", 6))) << "same text, other length";
  EXPECT_TRUE(T_resource_string(nullptr).compare(T_resource_string("")));
}

TEST(ResourceString, KeepsTheLengthGivenAndTheTextUpToItsEnd) {
  EXPECT_STREQ(T_resource_string("abcdef", 3).chars, "abc");
  T_resource_string text("one two", 9);
  EXPECT_STREQ(text.chars, "one two");
  EXPECT_TRUE(std::unique_ptr<T_resource_string>(text.string_copy())->compare(text));
  text.init_string(text.chars + 4);
  EXPECT_STREQ(text.chars, "two");
  EXPECT_EQ(text.length, 3U);
}
