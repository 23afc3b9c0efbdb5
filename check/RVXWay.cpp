#include "check/RVXWay.h"

#include "include/SplitText.h"

RVXWay RVXWay::of(std::string_view name) {
  RVXWay way;
  for (const std::string_view component : splitAt(name, '/')) {
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
