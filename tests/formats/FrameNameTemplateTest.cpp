#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "formats/FrameNameTemplate.h"

namespace {

struct Example {
  std::string nameTemplate;
  std::string name;
  int32_t frameNumber = 7;
};

void expectEach(const std::vector<Example>& examples) {
  constexpr int kWidestField = 4096;
  for (const auto& [nameTemplate, name, frameNumber] : examples) {
    EXPECT_EQ(frameNameFromTemplate(nameTemplate, frameNumber, kWidestField), name) << nameTemplate;
  }
}

}  // namespace

TEST(FrameNameTemplateTest, FirstIntegerConversionIsTheNumber) {
  expectEach({{"clip_%04i.dpx", "clip_0001.dpx", 1},
              {"clip_%04i.dpx", "clip_123456.dpx", 123456},
              {"x#%00i.dpx", "x#0.dpx", 0},
              {"%05i", "-0012", -12},
              {"%04i", "-2147483648", std::numeric_limits<int32_t>::min()},
              {"%d_%04i", "7_%04i"},
              {"%u", "255", 255},
              {"%x", "ff", 255},
              {"%X", "FF", 255},
              {"%o", "10", 8},
              {"[%+d]", "[+7]"},
              {"[% d]", "[ 7]"},
              {"[%-4d]", "[7   ]"},
              {"[%6.3d]", "[   007]"},
              {"[%#x]", "[0x7]"},
              {"%4096d", std::string(4095, ' ') + "7"},
              {"", ""},
              {"clip.dpx", "clip.dpx"},
              {"\xFF\xC3%04i\x80", "\xFF\xC3" + std::string("0007\x80")}});
  // None reads more than the number.
  for (const char* conversion : {"%hhd", "%hd", "%ld", "%lld", "%qd", "%jd", "%zd", "%td"}) {
    expectEach({{conversion, "-7", -7}});
  }
}

TEST(FrameNameTemplateTest, DoublePercentIsOne) {
  expectEach({{"100%%_%04i", "100%_0007"}, {"%04i_100%%", "0007_100%"}, {"%%%d", "%7"}});
}

TEST(FrameNameTemplateTest, WhatIsNoConversionOfAnIntegerStays) {
  for (const char* text : {"%s", "%n", "%p", "%f", "%c", "%ls", "%hhn", "%S", "%@", "%L", "%_", "%*d%.*d",
                           "%2$d%1$n", "%4097d", "%999999999d", "%.4097d", "%1.999999999d",
                           "%18446744073709551617d", "%.99999999999999999999999999d"}) {
    expectEach({{std::string(text) + "%04i", std::string(text) + "0007"}});
  }
  for (const char* end : {"%", "%0", "%5", "%5.", "%5.2", "%ll", "%-+ #0"}) {
    expectEach({{std::string("a") + end, std::string("a") + end}});
  }
  expectEach({{"%04i%s%n%d%", "0007%s%n%d%"}});
}
