#include "platform/xml/RVXXMLParser.h"

#include <expat.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "include/EndProcess.h"

namespace {

// Stands between namespace and name. In no name, and the last one ends the namespace.
constexpr char kSeparator = '\n';

// What the library holds on this thread. It would keep every name that it has met, and a tag of any length.
thread_local size_t tHeld = 0;

constexpr size_t kHeader = alignof(std::max_align_t);  // in front of each piece, with its size

void* withHeader(void* start, size_t size) {
  if (start == nullptr) return nullptr;
  tHeld += size;
  std::memcpy(start, &size, sizeof size);
  return static_cast<char*>(start) + kHeader;
}

void* startOf(void* piece) {
  void* const start = static_cast<char*>(piece) - kHeader;
  size_t size = 0;
  std::memcpy(&size, start, sizeof size);
  tHeld -= size;
  return start;
}

bool isTooMuch(size_t size) {
  return size > RVXXMLParser::kMostMemory || tHeld + size > RVXXMLParser::kMostMemory;
}

void* allocate(size_t size) {
  return isTooMuch(size) ? nullptr : withHeader(std::malloc(kHeader + size), size);
}

void release(void* piece) {
  if (piece != nullptr) std::free(startOf(piece));
}

void* reallocate(void* piece, size_t size) {
  void* const moved = allocate(size);
  if (moved == nullptr || piece == nullptr) return moved;
  size_t oldSize = 0;
  std::memcpy(&oldSize, static_cast<char*>(piece) - kHeader, sizeof oldSize);
  std::memcpy(moved, piece, oldSize < size ? oldSize : size);
  release(piece);
  return moved;
}

// The library's own words are finer, but depend on the pieces in which a document is fed.
const char* problemOf(XML_Error error) {
  switch (error) {
    case XML_ERROR_UNKNOWN_ENCODING:
      return "unknown encoding";
    case XML_ERROR_NO_MEMORY:
      return "needs too much memory";
    default:
      return "not well-formed";
  }
}

constexpr XML_Memory_Handling_Suite kMemory = {allocate, reallocate, release};

}  // namespace

const char* RVXXMLAttributes::find(std::string_view name) const {
  for (const char** attribute = mAttributes; *attribute != nullptr; attribute += 2) {
    if (*attribute == name) return attribute[1];
  }
  return nullptr;
}

struct RVXXMLParser::Callbacks {
  static void startElement(void* data, const char* fullName, const char** attributes) {
    RVXXMLParser& parser = *static_cast<RVXXMLParser*>(data);
    if (parser.mIsStopped) return;
    if (++parser.mLevel > kMostLevels) {
      parser.stopFor("more than 64 levels");
      return;
    }
    const std::string_view name = fullName;
    const size_t separator = name.rfind(kSeparator);
    const bool hasSpace = separator != std::string_view::npos;
    parser.mHandler.startElement(hasSpace ? name.substr(0, separator) : "",
                                 hasSpace ? name.substr(separator + 1) : name, RVXXMLAttributes(attributes));
  }

  static void endElement(void* data, const char* /*name*/) {
    RVXXMLParser& parser = *static_cast<RVXXMLParser*>(data);
    if (parser.mIsStopped) return;
    --parser.mLevel;
    parser.mHandler.endElement();
  }

  static void text(void* data, const char* piece, int length) {
    RVXXMLParser& parser = *static_cast<RVXXMLParser*>(data);
    if (!parser.mIsStopped) parser.mHandler.text({piece, static_cast<size_t>(length)});
  }

  static void documentType(void* data, const char* /*name*/, const char* /*systemId*/,
                           const char* /*publicId*/, int /*hasInternalSubset*/) {
    static_cast<RVXXMLParser*>(data)->stopFor("document type declaration");
  }
};

RVXXMLParser::RVXXMLParser(Handler& handler)
    : mHandler(handler), mParser(XML_ParserCreate_MM(nullptr, &kMemory, &kSeparator)) {
  if (!mParser) endProcessWithoutMemory();
  XML_SetUserData(mParser.get(), this);
  XML_SetElementHandler(mParser.get(), Callbacks::startElement, Callbacks::endElement);
  XML_SetCharacterDataHandler(mParser.get(), Callbacks::text);
  XML_SetStartDoctypeDeclHandler(mParser.get(), Callbacks::documentType);
}

uint32_t RVXXMLParser::line() const {
  return static_cast<uint32_t>(XML_GetCurrentLineNumber(mParser.get()));
}

void RVXXMLParser::Free::operator()(XML_ParserStruct* parser) const {
  XML_ParserFree(parser);
}

bool RVXXMLParser::feed(std::string_view bytes) {
  // Never a part of a carriage return and line feed (4 bytes in UTF-16): outside of the root the library
  // would count two lines for the two.
  constexpr size_t kMostHeldBack = 3;
  std::string joined;
  if (!mHeldBack.empty()) {
    joined = std::exchange(mHeldBack, "").append(bytes);
    bytes = joined;
  }
  const size_t tail = bytes.size() - std::min(bytes.size(), kMostHeldBack);
  const size_t end = std::min(bytes.find('\r', tail), bytes.size());
  mHeldBack = bytes.substr(end);
  return parse(bytes.substr(0, end), false);
}

bool RVXXMLParser::parse(std::string_view bytes, bool isLast) {
  if (mIsStopped) return false;
  const auto length = static_cast<int>(bytes.size());
  if (XML_Parse(mParser.get(), bytes.data(), length, isLast ? XML_TRUE : XML_FALSE) == XML_STATUS_OK)
    return true;
  if (!mIsStopped) mProblem = problemOf(XML_GetErrorCode(mParser.get()));
  mIsStopped = true;
  return false;
}

void RVXXMLParser::stopFor(const char* problem) {
  if (mIsStopped) return;
  mIsStopped = true;
  mProblem = problem;
  XML_StopParser(mParser.get(), XML_FALSE);
}
