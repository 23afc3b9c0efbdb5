#include "formats/RVXDigestListReader.h"

#include <utility>

#include "platform/files/FilePieces.h"

namespace {

// Longer than the longest path, every byte of it escaped. Of a longer line, in what is no list, only the
// beginning is held.
constexpr size_t kLongestLine = size_t{16} * 1024;

constexpr std::string_view kOriginalFiles = "# original file(s): ";

}  // namespace

RVXOutcome<> RVXDigestListReader::read(const std::string& path, Receiver& receiver) {
  RVXDigestListReader reader(receiver);
  auto done = readInPieces(path, [&](std::string_view piece) {
    reader.take(piece);
    return true;
  });
  if (done.failed()) return done;
  if (!reader.mBeginning.empty()) reader.endLine({});
  return done;
}

void RVXDigestListReader::take(std::string_view bytes) {
  for (size_t lineEnd = 0; (lineEnd = bytes.find('\n')) != std::string_view::npos;) {
    endLine(bytes.substr(0, lineEnd));
    bytes.remove_prefix(lineEnd + 1);
  }
  if (mBeginning.size() <= kLongestLine) mBeginning += bytes;
}

void RVXDigestListReader::endLine(std::string_view line) {
  if (mBeginning.empty()) {
    useLine(line);
  } else {
    if (mBeginning.size() <= kLongestLine) mBeginning += line;
    useLine(mBeginning);
    mBeginning.clear();
  }
  ++mLine;
}

void RVXDigestListReader::useLine(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (line.starts_with(kOriginalFiles)) {
    line.remove_prefix(kOriginalFiles.size());
    if (line.ends_with(' ')) line.remove_suffix(1);
    mReceiver.originalFiles(line);
    return;
  }
  if (line.empty() || line.starts_with('#')) return;
  auto parsed = line.size() <= kLongestLine ? RVXDigestLine::parse(line) : RVXDigestLine::kNoDigestLine;
  if (auto* entry = std::get_if<RVXDigestLine>(&parsed)) {
    mReceiver.entry(mLine, std::move(*entry));
  } else {
    mReceiver.badLine(mLine, std::get<const char*>(parsed));
  }
}
