#include "formats/mhl/RVXNewManifest.h"

#include <utility>

#include "formats/DigestText.h"
#include "platform/system/UTCTime.h"

namespace {

constexpr const char* kDigest = "xxh64";

}  // namespace

RVXNewManifest::RVXNewManifest(RVXXMLWriter::Sink sink, const RVXListCreator& creator,
                               const RVXNewFolderHash& root, const std::vector<std::string>& patterns)
    : mWriter(std::move(sink)) {
  mWriter.open("hashlist", {{"version", "2.0"}, {"xmlns", "urn:ASC:MHL:v2.0"}});
  mWriter.open("creatorinfo");
  mWriter.add("creationdate", utcDateTime(creator.finished));
  mWriter.add("hostname", creator.host);
  mWriter.add("tool", creator.tool, {{"version", creator.toolVersion}});
  mWriter.close();
  mWriter.open("processinfo");
  mWriter.add("process", "in-place");
  mWriter.open("roothash");
  addFolderDigests(root);
  mWriter.close();
  mWriter.open("ignore");
  for (const std::string& pattern : patterns) mWriter.add("pattern", pattern);
  mWriter.close();
  mWriter.close();
  mWriter.open("hashes");
}

void RVXNewManifest::addFile(const RVXNewFileHash& file) {
  mWriter.open("hash");
  mWriter.add("path", file.path,
              {{"size", std::to_string(file.size)}, {"lastmodificationdate", utcDateTime(file.modified)}});
  mWriter.add(kDigest, digestText(DigestKind::XXH64, file.digest),
              {{"action", file.isKnown ? "verified" : "original"}});
  mWriter.close();
}

void RVXNewManifest::addFolder(const std::string& path, const RVXNewFolderHash& folder) {
  mWriter.open("directoryhash");
  mWriter.add("path", path);
  addFolderDigests(folder);
  mWriter.close();
}

void RVXNewManifest::finish() {
  mWriter.close();
  mWriter.close();
}

void RVXNewManifest::addFolderDigests(const RVXNewFolderHash& folder) {
  mWriter.open("content");
  mWriter.add(kDigest, digestText(DigestKind::XXH64, folder.content));
  mWriter.close();
  mWriter.open("structure");
  mWriter.add(kDigest, digestText(DigestKind::XXH64, folder.structure));
  mWriter.close();
}
