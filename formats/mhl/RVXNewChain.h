#pragma once

#include <string>

#include "formats/mhl/RVXXMLWriter.h"

// Writes the chain of an ASC MHL history, its table of contents: "ascmhl_chain.xml" beside the manifests.
class RVXNewChain {
 public:
  explicit RVXNewChain(RVXXMLWriter::Sink sink);

  // The manifests in the order of their generations, each with the SHA-512 of its bytes.
  void addManifest(const std::string& name, const std::string& sha512);
  // To be called once, at the end.
  void finish();

 private:
  RVXXMLWriter mWriter;
  size_t mCount = 0;
};
