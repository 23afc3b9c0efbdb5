#pragma once

#include <array>
#include <concepts>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

// What a fuzz target expects of every input. An expectation that is not met is printed and aborts the
// program: that makes the fuzzer keep the input.

// Bytes as a text that a terminal shows unharmed.
inline std::string shown(const std::string& bytes) {
  std::string text = "\"";
  for (const char byte : bytes) {
    if (byte >= ' ' && byte <= '~' && byte != '"' && byte != '\\') {
      text += byte;
    } else {
      std::array<char, 8> escaped{};
      std::snprintf(escaped.data(), escaped.size(), "\\x%02x", static_cast<unsigned>(byte) & 0xFFU);
      text += escaped.data();
    }
  }
  return text + "\"";
}

inline std::string shown(std::integral auto number) {
  return std::to_string(number);
}

template <typename Value>
std::string shown(const std::optional<Value>& value) {
  return value ? shown(*value) : "(none)";
}

template <typename Value>
std::string shown(const std::vector<Value>& values) {
  std::string text = "[";
  for (const Value& value : values) text += shown(value) + " ";
  return text + "]";
}

inline std::string shown(const std::map<std::string, std::string>& values) {
  std::string text = "{";
  for (const auto& [key, value] : values) text += shown(key) + ": " + shown(value) + " ";
  return text + "}";
}

template <typename Value>
void expectEqual(const char* what, const Value& actual, const Value& expected) {
  if (actual == expected) return;
  std::fprintf(stderr, "%s:\n  expected %s\n  but got  %s\n", what, shown(expected).c_str(),
               shown(actual).c_str());
  std::abort();
}

inline void expectTrue(const char* what, bool holds) {
  expectEqual(what, holds, true);
}
