#include "platform/files/FilePieces.h"

#include "platform/files/FileSystem.h"
#include "platform/files/RVXBlock.h"
#include "platform/files/RVXKeptFailure.h"
#include "platform/files/RVXRecoveringReader.h"

RVXOutcome<> readInPieces(const std::string& path, const std::function<bool(std::string_view)>& take) {
  constexpr size_t kPieceSize = size_t{256} * 1024;
  const auto attributes = attributesOfTarget(path);
  if (attributes.succeeded() && attributes.value().type != RVXFileType::regular) {
    return RVXIOFailure{0, "", "no regular file"};
  }
  auto opened = RVXRecoveringReader::openForReading(path);
  if (opened.failed()) return opened.failure();
  RVXRecoveringReader& file = opened.value();
  file.bypassCacheAndReadAhead();
  RVXKeptFailure recovery;
  RVXBlock block = RVXBlock::withCapacity(kPieceSize);
  bool goesOn = true;
  do {
    file.read(block, recovery);
    goesOn = take({reinterpret_cast<const char*>(block.bytes().data()), block.length()});
  } while (goesOn && block.length() == kPieceSize);
  if (recovery.failure()) return recovery.failure()->reason;
  return {};
}
