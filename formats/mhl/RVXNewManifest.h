#pragma once

#include <string>
#include <vector>

#include "formats/mhl/NewMediaHashes.h"
#include "formats/mhl/RVXXMLWriter.h"

// Writes a manifest of ASC MHL 2.0: a generation of a history. First all files, then all folders.
class RVXNewManifest {
 public:
  // `root` is of the folder that holds the history; `patterns` are gitignore lines.
  RVXNewManifest(RVXXMLWriter::Sink sink, const RVXListCreator& creator, const RVXNewFolderHash& root,
                 const std::vector<std::string>& patterns);

  void addFile(const RVXNewFileHash& file);
  void addFolder(const std::string& path, const RVXNewFolderHash& folder);
  // To be called once, at the end.
  void finish();

 private:
  void addFolderDigests(const RVXNewFolderHash& folder);

  RVXXMLWriter mWriter;
};
