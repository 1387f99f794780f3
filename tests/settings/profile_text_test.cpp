#include "settings/profile_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "meter/profile.h"

namespace vantoscope {
namespace {

using namespace std::string_literals;

TEST(FindProfileValue, FindsTheFirstKeyOfTheSection) {
  struct Row {
    const char* name;
    std::string text;
    std::optional<std::string> value;  ///< of key Math in section Tank3
  };
  const Row rows[] = {
      {"no line end", "[Tank3]\nMath=#0", "#0"},
      {"CRLF", "[Tank3]\r\nMath=#0\r\n", "#0"},
      {"byte order mark", "\xEF\xBB\xBF[Tank3]\nMath=#0\n", "#0"},
      {"case of names", "[tANK3]\nMATH=#0\n", "#0"},
      {"blanks", " [ Tank3\t]\n\tMath = #0 \t\n", "#0"},
      {"quotes stay", "[Tank3]\nMath=\"#0\"\n", "\"#0\""},
      {"second = belongs to the value", "[Tank3]\nMath=a=b\n", "a=b"},
      {"what looks like a comment belongs to the value", "[Tank3]\nMath=#0 ; x\n", "#0 ; x"},
      {"empty value", "[Tank3]\nMath=\nCaption=x\n", ""},
      {"blank value", "[Tank3]\nMath=  \r\n", ""},
      {"zero byte and foreign bytes", "[Tank3]\nMath=a\0\xFF\xC3\n"s, "a\0\xFF\xC3"s},
      {"key twice", "[Tank3]\nMath=1\nMath=2\n", "1"},
      {"section twice", "[Tank3]\nMath=1\n[B]\n[Tank3]\nMath=2\n", "1"},
      {"section twice, key in the second", "[Tank3]\nx=1\n[B]\nMath=3\n[tank3]\nMath=2\n", "2"},
      {"comment", "[Tank3]\n;Math=1\n# Math=2\nMath=3\n", "3"},
      {"comment behind the section name", "[Tank3] ; main tank\nMath=1\n", "1"},
      {"other section", "[Tank33]\nMath=1\n[Tank]\nMath=2\n", std::nullopt},
      {"before any section", "Math=1\n[Tank3]\n", std::nullopt},
      {"after the section", "[Tank3]\n[B]\nMath=1\n", std::nullopt},
      {"key without =", "[Tank3]\nMath\n", std::nullopt},
      {"name not closed", "[Tank3\nMath=1\n", std::nullopt},
      {"longer key", "[Tank3]\nMathUnit=1\n", std::nullopt},
      {"empty file", "", std::nullopt},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(FindProfileValue(row.text, "Tank3", "Math"), row.value) << row.name;
  }
}

TEST(WithProfileValue, ChangesOneValueAndNothingElse) {
  struct Row {
    const char* name;
    std::string before;
    std::string after;  ///< with key Math of section Tank3 set to "new"
  };
  const Row rows[] = {
      {"empty file", "", "[Tank3]\nMath=new\n"},
      {"value", "; mine\n[Tank3]\nMath=old\nx=1", "; mine\n[Tank3]\nMath=new\nx=1"},
      {"spelling and blanks stay", "[TANK3]\r\n math =  old \r\n", "[TANK3]\r\n math =  new \r\n"},
      {"empty value", "[Tank3]\nMath=\r\nx=1\n", "[Tank3]\nMath=new\r\nx=1\n"},
      {"first of two", "[Tank3]\nMath=1\nMath=2\n", "[Tank3]\nMath=new\nMath=2\n"},
      {"the one that a read sees", "[Tank3]\nx=1\n[Tank3]\nMath=2\n",
       "[Tank3]\nx=1\n[Tank3]\nMath=new\n"},
      {"new key behind the last one", "[Tank3]\nx=1\n\n; of B\n[B]\nMath=1\n",
       "[Tank3]\nx=1\nMath=new\n\n; of B\n[B]\nMath=1\n"},
      {"new key in an empty section", "[Tank3]\n[B]\n", "[Tank3]\nMath=new\n[B]\n"},
      {"new key in the first of two", "[Tank3]\nx=1\n[Tank3]\ny=1\n",
       "[Tank3]\nx=1\nMath=new\n[Tank3]\ny=1\n"},
      {"new key, CRLF", "; unix\n[Tank3]\r\nx=1\r\n", "; unix\n[Tank3]\r\nx=1\r\nMath=new\r\n"},
      {"new key, no line end", "[Tank3]\nx=1", "[Tank3]\nx=1\nMath=new\n"},
      {"new key, no line end behind the name", "[B]\r\n[Tank3]", "[B]\r\n[Tank3]\r\nMath=new\r\n"},
      {"new section", "[B]\nMath=1\n", "[B]\nMath=1\n[Tank3]\nMath=new\n"},
      {"foreign bytes", "\0\xFF[\n=\n[B\n]\r\r\n"s, "\0\xFF[\n=\n[B\n]\r\r\n[Tank3]\nMath=new\n"s},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(WithProfileValue(row.before, "Tank3", "Math", "new"), row.after) << row.name;
    EXPECT_EQ(WithProfileValue(row.after, "Tank3", "Math", " new\t"), std::nullopt) << row.name;
  }
}

TEST(WithProfileValue, NothingFromOutsideOpensALine) {
  EXPECT_EQ(WithProfileValue("", "A", "k", "1\n[B]\r\nk=2"), "[A]\nk=1 [B]  k=2\n");
  EXPECT_EQ(WithProfileValue("", "A]\n[B", "k", "1"), "[A] [B]\nk=1\n");
  for (const char* key : {"", " ", "a=b", "a\nb", "[a", ";a", "#a"}) {
    EXPECT_THROW(WithProfileValue("", "A", key, "1"), std::invalid_argument) << key;
  }
}

// Names come from the command line of the meter. Whatever they hold, the second write must find
// what the first one wrote.
TEST(WithProfileValue, EverySectionNameIsFoundAgain) {
  for (const std::string name :
       {"", "a]", "]", "[a]", "a] ; b]", " a ", ";a", "#a", "a=b", "\xFF", "Beh\xC3\xA4lter 1"}) {
    const std::string other = "[a]\nk=0\n[b]\nk=0\n";
    const auto text = WithProfileValue(other, name, "x", "1");
    ASSERT_TRUE(text) << name;
    EXPECT_EQ(FindProfileValue(*text, name, "x"), "1") << name;
    EXPECT_EQ(WithProfileValue(*text, name, "x", "1"), std::nullopt) << name;
  }
}

TEST(CutToBytes, CutsNoCharacterInTwo) {
  const std::string a252(252, 'a');
  struct Row {
    const char* name;
    std::string value;
    std::size_t length;
  };
  const Row rows[] = {
      {"exactly full", a252 + "\xC3\xA4", 254},
      {"two bytes over the edge", a252 + "a\xC3\xA4", 253},
      {"three bytes, two inside", a252 + "\xE2\x82\xAC", 252},
      {"four bytes, one inside", a252 + "a\xF0\x9F\x98\x80", 253},
      {"no UTF-8", std::string(300, '\x80'), 254},
      {"more bytes than a character has", a252.substr(2) + "\xF6\x80\x80\x80\x80\x80", 254},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(CutToBytes(row.value, kProfileValueLimit).size(), row.length) << row.name;
  }
}

}  // namespace
}  // namespace vantoscope
