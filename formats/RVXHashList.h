#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The digests of one run and their text file, the hash list: UTF-8, two comment lines that begin with "#",
// then one line for each file, "LABEL(NAME)= DIGEST". Every line ends with one line feed. The label is "SHA1"
// or "MD5"; the digest is a digest string. rvxcopy names the files "../NAME", because the list lies in a
// folder beside the copies. sha1sum -c and md5sum -c of the coreutils read these lines.
//
// Used from one thread at a time.
class RVXHashList {
 public:
  // An empty list.
  static RVXHashList init();

  // The list in the file at `path`. None, after "ERROR: couldn't read hash file %s.\n", when the file can't
  // be read or is no UTF-8, and none, after "ERROR: couldn't parse hash file in line #%lu: %s\n", when a line
  // can't be parsed.
  static std::optional<RVXHashList> initWithPath(const std::string& path);

  // Enters a digest under a file name, replacing an earlier one that was added under it. Nothing is checked.
  void addHash(const std::string& hash, const std::string& hashType, const std::string& fileName);

  // The entry of that very name, as "LABEL:DIGEST"; none when there is none. An entry that was read from a
  // file hides one that was added later under the same name.
  [[nodiscard]] std::optional<std::string> hashStringForFile(const std::string& fileName) const;

  // Writes the list in the order of the file names, hands it to the storage and reads it back from there.
  // False for an absent path, after "ERROR: can't write hashfile to empty path" (without a line end), and
  // false when it can't be written or reads back as anything else, after "ERROR: couldn't write hash file to
  // %s\n". Atomically: the file at `path` is either left as it was or replaced by the whole list. Only what
  // was added is written, not what was only read. An absent text of the original files becomes "?". May be
  // called any number of times; the list's time is that of the call.
  bool writeToFile(const std::optional<std::string>& path, bool atomically);

  // The file names of the entries that were read from a file, not of those that were added.
  [[nodiscard]] std::vector<std::string> filePaths() const;

  // What the list's second line names as copied; absent until set.
  [[nodiscard]] const std::optional<std::string>& originalFiles() const { return mOriginalFiles; }
  void setOriginalFiles(const std::string& originalFiles) { mOriginalFiles = originalFiles; }

 private:
  // File name to "LABEL:DIGEST".
  using Entries = std::map<std::string, std::string>;

  RVXHashList() = default;
  static std::optional<Entries> entriesOfText(std::string_view text);
  [[nodiscard]] std::string header() const;

  std::optional<Entries> mHashes;         // read from a file; never changed
  std::optional<Entries> mHashesMutable;  // what was read and what was added; absent until something is added
  std::optional<std::string> mOriginalFiles;
};
