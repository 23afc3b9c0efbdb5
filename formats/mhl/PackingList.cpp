#include "formats/mhl/PackingList.h"

#include <vector>

#include "formats/mhl/RVXMediaHashDialect.h"
#include "platform/files/FilePieces.h"
#include "platform/xml/RVXXMLParser.h"

namespace {

using enum RVXMediaHashElement;

constexpr std::string_view kPackingList = "flatten";
constexpr size_t kLongestProcess = 64;

class ProcessFinder : private RVXXMLParser::Handler {
 public:
  bool take(std::string_view piece) { return mParser.feed(piece); }
  [[nodiscard]] const std::string& found() const { return mProcess; }

 private:
  void startElement(std::string_view space, std::string_view name,
                    const RVXXMLAttributes& attributes) override {
    if (mDialect != nullptr) {
      mOpen.push_back(mDialect->elementOf(mOpen.back(), space, name));
      return;
    }
    mOpen.push_back(list);
    mDialect = RVXMediaHashDialect::of(RVXMediaHashDialect::Expected::manifest, space, name,
                                       attributes.find("version"));
    if (mDialect == nullptr) mParser.stop();
  }

  void text(std::string_view piece) override {
    if (mOpen.back() == process && mProcess.size() < kLongestProcess) mProcess += piece;
  }

  void endElement() override {
    if (mOpen.back() == process) mParser.stop();
    mOpen.pop_back();
  }

  RVXXMLParser mParser{*this};
  const RVXMediaHashDialect* mDialect = nullptr;
  std::vector<RVXMediaHashElement> mOpen;
  std::string mProcess;
};

}  // namespace

bool isPackingList(const std::string& path) {
  ProcessFinder finder;
  const auto done = readInPieces(path, [&](std::string_view piece) { return finder.take(piece); });
  return done.succeeded() && finder.found() == kPackingList;
}
