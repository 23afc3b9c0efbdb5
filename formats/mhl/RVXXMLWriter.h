#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Writes an XML 1.0 document in UTF-8, an element a line, indented by two blanks for each level. Requires
// texts that isXMLText() takes; they are escaped.
class RVXXMLWriter {
 public:
  // Takes the document piece by piece.
  using Sink = std::function<void(std::string_view)>;
  using Attributes = std::initializer_list<std::pair<std::string_view, std::string>>;

  // Writes the declaration.
  explicit RVXXMLWriter(Sink sink);

  // An element with others in it, until close().
  void open(std::string_view name, Attributes attributes = {});
  void close();
  // An element with a text.
  void add(std::string_view name, std::string_view text, Attributes attributes = {});

 private:
  [[nodiscard]] std::string startTag(std::string_view name, Attributes attributes) const;

  Sink mSink;
  std::vector<std::string> mOpen;
};
