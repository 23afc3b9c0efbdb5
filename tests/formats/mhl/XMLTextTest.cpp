#include <gtest/gtest.h>

#include "formats/mhl/XMLText.h"

TEST(XMLTextTest, WhatXMLCanHold) {
  for (const char* text : {"", "a b", "\t\n\r", "&<>\"'", "\u00e9 e\u0301", "\U0001F3AC", "\x7F", "\u0085",
                           "\uFFFD", "\uD7FF", "\uE000", "\U0010FFFF"}) {
    EXPECT_TRUE(isXMLText(text)) << text;
  }
}

TEST(XMLTextTest, WhatXMLCanNotHold) {
  using namespace std::string_view_literals;
  for (const std::string_view text :
       {"\0"sv, "a\x01"sv, "\x08"sv, "\x0B"sv, "\x0C"sv, "\x0E"sv, "\x1F"sv, "\x80"sv, "\xC3"sv, "\xC0\x80"sv,
        "\xED\xA0\x80"sv, "\xEF\xBF\xBE"sv, "a\xEF\xBF\xBF"sv, "\xF4\x90\x80\x80"sv}) {
    EXPECT_FALSE(isXMLText(text)) << testing::PrintToString(text);
  }
}

TEST(XMLTextTest, Escapes) {
  EXPECT_EQ(xmlEscaped("a & b <c> \"d\" 'e' ]]> \t\n\r \u00e9"),
            "a &amp; b &lt;c&gt; &quot;d&quot; 'e' ]]&gt; &#9;&#10;&#13; \u00e9");
}
