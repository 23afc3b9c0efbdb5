#include "formats/mhl/RVXNewChain.h"

#include <utility>

#include "formats/DigestText.h"

RVXNewChain::RVXNewChain(RVXXMLWriter::Sink sink) : mWriter(std::move(sink)) {
  mWriter.open("ascmhldirectory", {{"xmlns", "urn:ASC:MHL:DIRECTORY:v2.0"}});
}

void RVXNewChain::addManifest(const std::string& name, const std::string& sha512) {
  mWriter.open("hashlist", {{"sequencenr", std::to_string(++mCount)}});
  mWriter.add("path", name);
  mWriter.add("c4", digestText(DigestKind::C4, sha512));
  mWriter.close();
}

void RVXNewChain::finish() {
  mWriter.close();
}
