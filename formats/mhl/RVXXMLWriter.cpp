#include "formats/mhl/RVXXMLWriter.h"

#include "formats/mhl/XMLText.h"

namespace {

std::string endTag(std::string_view name) {
  return std::string("</").append(name).append(">\n");
}

std::string indentation(size_t level) {
  return std::string(level * 2, ' ');
}

}  // namespace

RVXXMLWriter::RVXXMLWriter(Sink sink) : mSink(std::move(sink)) {
  mSink("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

void RVXXMLWriter::open(std::string_view name, Attributes attributes) {
  mSink(startTag(name, attributes) + "\n");
  mOpen.emplace_back(name);
}

void RVXXMLWriter::close() {
  const std::string name = std::move(mOpen.back());
  mOpen.pop_back();
  mSink(indentation(mOpen.size()) + endTag(name));
}

void RVXXMLWriter::add(std::string_view name, std::string_view text, Attributes attributes) {
  mSink(startTag(name, attributes) + xmlEscaped(text) + endTag(name));
}

std::string RVXXMLWriter::startTag(std::string_view name, Attributes attributes) const {
  std::string tag = indentation(mOpen.size()) + "<" + std::string(name);
  for (const auto& [attribute, value] : attributes) {
    tag.append(" ").append(attribute).append("=\"").append(xmlEscaped(value)).append("\"");
  }
  return tag + ">";
}
