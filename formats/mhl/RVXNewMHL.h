#pragma once

#include "formats/mhl/NewMediaHashes.h"
#include "formats/mhl/RVXXMLWriter.h"

// Writes a list of MHL 1.1, which has no place for a file without contents.
class RVXNewMHL {
 public:
  RVXNewMHL(RVXXMLWriter::Sink sink, const RVXListCreator& creator);

  void addFile(const RVXNewFileHash& file);
  // To be called once, at the end.
  void finish();

 private:
  RVXXMLWriter mWriter;
  std::string mHashDate;
};
