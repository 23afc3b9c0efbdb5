#include "formats/mhl/RVXMediaHashListReader.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <utility>

#include "formats/DigestText.h"
#include "platform/files/FilePieces.h"

namespace {

using enum RVXMediaHashElement;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

// None where the text is no number of bytes.
std::optional<int64_t> sizeOf(std::string_view text) {
  int64_t size = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, size);
  const bool isNumber = read.ec == std::errc() && read.ptr == end && size >= 0 && text.front() != '-';
  return isNumber ? std::optional(size) : std::nullopt;
}

}  // namespace

RVXOutcome<> RVXMediaHashListReader::read(const std::string& path, Expected expected, Receiver& receiver) {
  RVXMediaHashListReader reader(expected, receiver);
  auto done = readInPieces(path, [&](std::string_view piece) { return reader.take(piece); });
  if (done.succeeded()) reader.finish();
  return done;
}

RVXMediaHashListReader::RVXMediaHashListReader(Expected expected, Receiver& receiver)
    : mReceiver(receiver), mExpected(expected), mParser(*this) {}

void RVXMediaHashListReader::finish() {
  mParser.finish();
  if (mParser.problem() != nullptr) mReceiver.badLine(mParser.line(), mParser.problem());
}

void RVXMediaHashListReader::startElement(std::string_view space, std::string_view name,
                                          const RVXXMLAttributes& attributes) {
  if (mDialect == nullptr) {
    startRoot(space, name, attributes);
    return;
  }
  const Element element = mDialect->elementOf(mOpen.back(), space, name);
  mOpen.push_back(element);
  if (element != passedOver) start(element, name, attributes);
}

void RVXMediaHashListReader::startRoot(std::string_view space, std::string_view name,
                                       const RVXXMLAttributes& attributes) {
  mDialect = RVXMediaHashDialect::of(mExpected, space, name, attributes.find("version"));
  mOpen.push_back(list);
  if (mDialect != nullptr) return;
  mReceiver.badLine(0, "no media hash list that is known");
  mParser.stop();
}

void RVXMediaHashListReader::start(Element element, std::string_view name,
                                   const RVXXMLAttributes& attributes) {
  mText.clear();
  if (element == entry || element == folder) {
    mEntry = {};
    mEntry.line = mParser.line();
    mEntry.isFolder = element == folder;
    mProblems.clear();
  } else if (element == path) {
    const char* const size = attributes.find("size");
    if (size != nullptr) takeSize(size);
  } else if (element == digest) {
    const char* const action = attributes.find("action");
    mDigestName = RVXMediaHashDigestName::find(name);
    mIsFailed = action != nullptr && std::strcmp(action, "failed") == 0 && !mDialect->isVersion1;
  }
}

void RVXMediaHashListReader::text(std::string_view piece) {
  if (mOpen.back() == passedOver || mText.size() > kLongestText) return;
  mText += piece.substr(0, kLongestText + 1 - mText.size());
}

void RVXMediaHashListReader::endElement() {
  const Element element = mOpen.back();
  mOpen.pop_back();
  if (element == path) takePath();
  if (element == previousPath) mEntry.previousPath = mText;
  if (element == size) takeSize(mText);
  if (element == digest && !mIsFailed) takeDigest();
  if (element == pattern && mText.size() <= kLongestText) mReceiver.ignorePattern(mText);
  if (element == entry || element == folder) endEntry();
}

void RVXMediaHashListReader::takePath() {
  if (!mEntry.path.empty()) addProblem("several paths");
  mEntry.path = mText;
  mEntry.mayHaveBackslashes =
      mDialect->isVersion1 && mText.find('/') == std::string::npos && mText.find('\\') != std::string::npos;
}

void RVXMediaHashListReader::takeSize(std::string_view text) {
  mEntry.size = sizeOf(trimmed(text));
  if (!mEntry.size) addProblem("size that is no number");
}

void RVXMediaHashListReader::takeDigest() {
  using Form = RVXMediaHashDigestName::Form;
  const std::string_view digits = trimmed(mText);
  auto bytes = mDigestName->form == Form::decimal ? digestOfDecimalText(digits)
                                                  : digestOfText(mDigestName->kind, digits);
  if (bytes) {
    mEntry.digests.push_back({mDigestName->kind, std::move(*bytes), mDigestName->form == Form::inAnyOrder});
  } else {
    addProblem("digest of a wrong form");
  }
}

void RVXMediaHashListReader::addProblem(const char* problem) {
  if (std::ranges::find(mProblems, problem) != mProblems.end()) return;
  mProblems.push_back(problem);
  mReceiver.badLine(mEntry.line, problem);
}

void RVXMediaHashListReader::endEntry() {
  if (mEntry.previousPath.size() > kLongestText) {
    addProblem(kTooLong);
    mEntry.previousPath.clear();
  }
  if (mEntry.path.empty()) {
    addProblem("no path");
  } else if (mEntry.path.size() > kLongestText) {
    addProblem(kTooLong);
  } else {
    mReceiver.entry(std::move(mEntry));
  }
}
