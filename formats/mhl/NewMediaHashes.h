#pragma once

#include <cstdint>
#include <string>

// What a new media hash list records. Digests are XXH64, as bytes.

struct RVXNewFileHash {
  std::string path;      // from the folder of the list or, in a history, from the folder that holds it
  int64_t size = 0;      // bytes
  int64_t modified = 0;  // seconds since 1970, UTC
  std::string digest;
  bool isKnown = false;  // an older generation has a digest of it, and the file was found equal
};

// The two digests of a folder: of its files' contents, and of their names and contents.
struct RVXNewFolderHash {
  std::string content;
  std::string structure;
};

// Who made the list, and when, in seconds since 1970, UTC.
struct RVXListCreator {
  std::string user;
  std::string host;
  std::string tool;
  std::string toolVersion;
  int64_t started = 0;   // the check that the list came from
  int64_t finished = 0;  // that check
};
