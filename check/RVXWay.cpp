#include "check/RVXWay.h"

#include <algorithm>

RVXWay RVXWay::of(std::string_view name) {
  RVXWay way;
  while (!name.empty()) {
    const std::string_view component = name.substr(0, name.find('/'));
    name.remove_prefix(std::min(name.size(), component.size() + 1));
    if (component.empty() || component == ".") continue;
    if (component != "..") {
      way.down.push_back(component);
    } else if (way.down.empty()) {
      ++way.up;
    } else {
      way.down.pop_back();
    }
  }
  return way;
}

std::string RVXWay::text() const {
  std::string text;
  for (size_t i = 0; i < up; ++i) text += "../";
  for (const std::string_view name : down) text.append(name).append("/");
  if (!text.empty()) text.pop_back();
  return text;
}
