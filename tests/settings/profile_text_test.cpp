#include "settings/profile_text.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "meter/profile.h"

namespace vantoscope {

using namespace std::string_literals;

TEST(ProfileTextTest, FindsTheFirstKeyOfTheSection) {
  // What stands for key Math in section Tank3.
  const std::pair<std::string, std::optional<std::string>> rows[] = {
      {"[Tank3]\nMath=#0", "#0"},
      {"[Tank3]\r\nMath=#0\r\n", "#0"},
      {"\xEF\xBB\xBF[tANK3]\nMATH=#0\n", "#0"},
      {" [ Tank3\t]\n\tMath = #0 \t\n", "#0"},
      {"[Tank3]\nMath=\"a=b\" ; x\n", "\"a=b\" ; x"},
      {"[Tank3]\nMath=\nCaption=x\n", ""},
      {"[Tank3]\nMath=  \r\n", ""},
      {"[Tank3]\nMath=a\0\xFF\xC3\n"s, "a\0\xFF\xC3"s},
      {"[Tank3]\nMath=1\nMath=2\n[B]\n[Tank3]\nMath=3\n", "1"},
      {"[Tank3]\nx=1\n[B]\nMath=3\n[tank3]\nMath=2\n", "2"},
      {"[Tank3]\n;Math=1\n# Math=2\nMath=3\n", "3"},
      {"[Tank3] ; main tank\nMath=1\n", "1"},
      {"[Tank33]\nMath=1\n[Tank]\nMath=2\n", std::nullopt},
      {"Math=1\n[Tank3]\n[B]\nMath=1\n", std::nullopt},
      {"[Tank3]\nMath\nMathUnit=1\n", std::nullopt},
      {"[Tank3\nMath=1\n", std::nullopt},
      {"", std::nullopt}};
  for (const auto& [text, value] : rows)
    EXPECT_EQ(FindProfileValue(text, "Tank3", "Math"), value) << text;
}

TEST(ProfileTextTest, ChangesOneValueAndNothingElse) {
  // Key Math of section Tank3 becomes "new".
  const std::pair<std::string, std::string> rows[] = {
      {"", "[Tank3]\nMath=new\n"},
      {"; mine\n[Tank3]\nMath=old\nx=1", "; mine\n[Tank3]\nMath=new\nx=1"},
      {"[TANK3]\r\n math =  old \r\n", "[TANK3]\r\n math =  new \r\n"},
      {"[Tank3]\nMath=\r\nx=1\n", "[Tank3]\nMath=new\r\nx=1\n"},
      {"[Tank3]\nMath=1\nMath=2\n", "[Tank3]\nMath=new\nMath=2\n"},
      {"[Tank3]\nx=1\n[Tank3]\nMath=2\n", "[Tank3]\nx=1\n[Tank3]\nMath=new\n"},
      // A new key goes behind the last one of the first section of that name.
      {"[Tank3]\nx=1\n\n; of B\n[B]\nMath=1\n", "[Tank3]\nx=1\nMath=new\n\n; of B\n[B]\nMath=1\n"},
      {"[Tank3]\n[B]\n", "[Tank3]\nMath=new\n[B]\n"},
      {"[Tank3]\nx=1\n[Tank3]\ny=1\n", "[Tank3]\nx=1\nMath=new\n[Tank3]\ny=1\n"},
      {"; unix\n[Tank3]\r\nx=1\r\n", "; unix\n[Tank3]\r\nx=1\r\nMath=new\r\n"},
      {"[Tank3]\nx=1", "[Tank3]\nx=1\nMath=new\n"},
      {"[B]\r\n[Tank3]", "[B]\r\n[Tank3]\r\nMath=new\r\n"},
      {"[B]\nMath=1\n", "[B]\nMath=1\n[Tank3]\nMath=new\n"},
      {"\0\xFF[\n=\n[B\n]\r\r\n"s, "\0\xFF[\n=\n[B\n]\r\r\n[Tank3]\nMath=new\n"s}};
  for (const auto& [before, after] : rows) {
    EXPECT_EQ(WithProfileValue(before, "Tank3", "Math", "new"), after);
    EXPECT_EQ(WithProfileValue(after, "Tank3", "Math", " new\t"), std::nullopt);
  }
}

TEST(ProfileTextTest, NothingFromOutsideOpensALine) {
  EXPECT_EQ(WithProfileValue("", "A", "k", "1\n[B]\r\nk=2"), "[A]\nk=1 [B]  k=2\n");
  EXPECT_EQ(WithProfileValue("", "A]\n[B", "k", "1"), "[A] [B]\nk=1\n");
  for (const char* key : {"", " ", "a=b", "a\nb", "[a", ";a", "#a"})
    EXPECT_THROW(WithProfileValue("", "A", key, "1"), std::invalid_argument) << key;
}

// Names come from the command line of the meter.
TEST(ProfileTextTest, EverySectionNameIsFoundAgain) {
  for (const char* name :
       {"", "a]", "]", "[a]", "a] ; b]", " a ", ";a", "#a", "a=b", "\xFF", "\u00E4 1"}) {
    const auto text = WithProfileValue("[a]\nk=0\n[b]\nk=0\n", name, "x", "1").value();
    EXPECT_EQ(FindProfileValue(text, name, "x"), "1") << name;
    EXPECT_EQ(WithProfileValue(text, name, "x", "1"), std::nullopt) << name;
  }
}

TEST(ProfileTextTest, ALongValueIsCutBetweenCharacters) {
  const std::string a252(252, 'a');
  const std::pair<std::string, std::size_t> rows[] = {
      {a252 + "aa", 254},
      {a252 + "aaa", 254},
      {a252 + "\u00E4", 254},
      {a252 + "a\u00E4", 253},
      {a252 + "\u20AC", 252},
      {a252 + "a\U0001F600", 253},
      {a252.substr(1) + "\U0001F600", 251},
      {std::string(300, '\x80'), 254},
      {a252.substr(2) + "\xF6\x80\x80\x80\x80\x80", 254}};  // no UTF-8
  for (const auto& [value, length] : rows)
    EXPECT_EQ(CutToBytes(value, kProfileValueLimit).size(), length) << value;
}

}  // namespace vantoscope
