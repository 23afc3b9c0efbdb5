#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "formats/RVXDigestLine.h"
#include "platform/files/RVXOutcome.h"

// Reads a list of digests, a text file of RVXDigestLine lines, whoever wrote it. Lines end with LF or CRLF.
// Empty lines and those that begin with "#" are skipped. Unlike RVXHashList it goes on after a line that it
// can't use and asks for no encoding. Of a list of any size only one line is held at a time.
class RVXDigestListReader {
 public:
  // Takes what a list holds, in its order, on the reading thread. Lines are counted from 1.
  class Receiver {
   public:
    virtual ~Receiver() = default;
    virtual void entry(uint32_t line, RVXDigestLine&& entry) = 0;
    // `problem` is one of RVXDigestLine's texts.
    virtual void badLine(uint32_t line, const char* problem) = 0;
    // What the comment line "# original file(s): " of rvxcopy's lists names.
    virtual void originalFiles(std::string_view text) = 0;
  };

  // The failure where the list, or the rest of it, can't be read.
  static RVXOutcome<> read(const std::string& path, Receiver& receiver);

 private:
  explicit RVXDigestListReader(Receiver& receiver) : mReceiver(receiver) {}
  void take(std::string_view bytes);
  void endLine(std::string_view line);
  void useLine(std::string_view line);

  Receiver& mReceiver;
  uint32_t mLine = 1;
  std::string mBeginning;  // of a line whose end has not been read yet
};
