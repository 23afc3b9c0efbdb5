#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct XML_ParserStruct;  // the library's parser

// The attributes of one element. Valid while it is told.
class RVXXMLAttributes {
 public:
  // Name and value by turns, ended by a null pointer.
  explicit RVXXMLAttributes(const char** attributes) : mAttributes(attributes) {}

  // The value of the attribute of that name, which has no namespace; null: there is none.
  [[nodiscard]] const char* find(std::string_view name) const;

 private:
  const char** mAttributes;
};

// Reads an XML 1.0 document (with namespaces; UTF-8, UTF-16, ISO-8859-1 or US-ASCII) piece by piece, and
// trusts it in nothing. Refused are a document type declaration, before any entity, more than kMostLevels
// elements in one another, what is not well-formed, and what takes more memory than kMostMemory. Used by one
// thread.
class RVXXMLParser {
 public:
  // Takes what the document holds, in its order, up to the place where it is refused.
  class Handler {
   public:
    virtual ~Handler() = default;
    // `space` is the namespace, empty for none.
    virtual void startElement(std::string_view space, std::string_view name,
                              const RVXXMLAttributes& attributes) = 0;
    // A piece of UTF-8; the text of one element may come in any number of them.
    virtual void text(std::string_view piece) = 0;
    virtual void endElement() = 0;
  };

  static constexpr int kMostLevels = 64;
  static constexpr size_t kMostMemory = size_t{8} * 1024 * 1024;

  explicit RVXXMLParser(Handler& handler);

  // Feeds the next bytes, or says that there are no more. False once the document is refused or stopped.
  // In what pieces it is fed makes no difference.
  bool feed(std::string_view bytes);
  bool finish() { return parse(mHeldBack, true); }

  // For the handler: it wants nothing more of this document.
  void stop() { stopFor(nullptr); }

  // Why the document was refused; null: it was not.
  [[nodiscard]] const char* problem() const { return mProblem; }

  // The line of what is being told, or of the place where the document was refused; counted from 1.
  [[nodiscard]] uint32_t line() const;

 private:
  struct Free {
    void operator()(XML_ParserStruct* parser) const;
  };
  struct Callbacks;

  bool parse(std::string_view bytes, bool isLast);
  void stopFor(const char* problem);

  Handler& mHandler;
  std::unique_ptr<XML_ParserStruct, Free> mParser;
  std::string mHeldBack;  // of the end of what was fed
  int mLevel = 0;
  bool mIsStopped = false;
  const char* mProblem = nullptr;
};
