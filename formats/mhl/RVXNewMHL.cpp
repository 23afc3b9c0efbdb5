#include "formats/mhl/RVXNewMHL.h"

#include <utility>

#include "formats/DigestText.h"
#include "platform/system/UTCTime.h"

RVXNewMHL::RVXNewMHL(RVXXMLWriter::Sink sink, const RVXListCreator& creator)
    : mWriter(std::move(sink)), mHashDate(utcDateTime(creator.finished)) {
  mWriter.open("hashlist", {{"version", "1.1"}});
  mWriter.open("creatorinfo");
  mWriter.add("username", creator.user);
  mWriter.add("hostname", creator.host);
  mWriter.add("tool", creator.tool + " " + creator.toolVersion);
  mWriter.add("startdate", utcDateTime(creator.started));
  mWriter.add("finishdate", utcDateTime(creator.finished));
  mWriter.close();
}

void RVXNewMHL::addFile(const RVXNewFileHash& file) {
  mWriter.open("hash");
  mWriter.add("file", file.path);
  mWriter.add("size", std::to_string(file.size));
  mWriter.add("lastmodificationdate", utcDateTime(file.modified));
  mWriter.add("xxhash64be", digestText(DigestKind::XXH64, file.digest));
  mWriter.add("hashdate", mHashDate);
  mWriter.close();
}

void RVXNewMHL::finish() {
  mWriter.close();
}
