#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/mhl/RVXMediaHash.h"
#include "formats/mhl/RVXMediaHashDialect.h"
#include "platform/files/RVXOutcome.h"
#include "platform/xml/RVXXMLParser.h"

// Reads media hash lists: MHL 1.x, and manifests and chains of ASC MHL 2.0. Elements may come in any order;
// unknown ones are passed over. It goes on after an entry that it can't use, and where RVXXMLParser refuses a
// document, what stands before that place counts. Of a list of any size only one entry is held at a time.
class RVXMediaHashListReader : private RVXXMLParser::Handler {
 public:
  // Takes what a list holds, in its order, on the reading thread.
  class Receiver {
   public:
    virtual ~Receiver() = default;
    virtual void entry(RVXMediaHash&& entry) = 0;
    // What is wrong with the entry of that line, or with the list at that line or, line 0, as a whole.
    virtual void badLine(uint32_t line, const char* problem) = 0;
    // A gitignore line.
    virtual void ignorePattern(const std::string& pattern) = 0;
  };

  using Expected = RVXMediaHashDialect::Expected;

  static constexpr size_t kLongestText = 4095;  // bytes of a path or pattern
  static constexpr const char* kTooLong = "path of more than 4095 bytes";

  // The failure where the list, or the rest of it, can't be read.
  static RVXOutcome<> read(const std::string& path, Expected expected, Receiver& receiver);

  RVXMediaHashListReader(Expected expected, Receiver& receiver);

  // The next bytes; false: no more are wanted. At last finish() is to be called, in either case.
  bool take(std::string_view bytes) { return mParser.feed(bytes); }
  void finish();

 private:
  using Element = RVXMediaHashElement;

  void startElement(std::string_view space, std::string_view name,
                    const RVXXMLAttributes& attributes) override;
  void text(std::string_view piece) override;
  void endElement() override;

  void startRoot(std::string_view space, std::string_view name, const RVXXMLAttributes& attributes);
  void start(Element element, std::string_view name, const RVXXMLAttributes& attributes);
  void takePath();
  void takeSize(std::string_view text);
  void takeDigest();
  void takePattern();
  void addProblem(const char* problem);
  void endEntry();

  Receiver& mReceiver;
  const Expected mExpected;
  RVXXMLParser mParser;
  const RVXMediaHashDialect* mDialect = nullptr;  // null before the root
  std::vector<Element> mOpen;
  std::string mText;  // of the element that is open, as far as it may be long
  const RVXMediaHashDigestName* mDigestName = nullptr;  // of the digest that was opened last
  bool mIsFailed = false;                               // that digest is of a check that failed
  RVXMediaHash mEntry;
  std::vector<const char*> mProblems;  // of the entry, each once
};
