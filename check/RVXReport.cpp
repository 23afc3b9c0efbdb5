#include "check/RVXReport.h"

#include <string_view>

#include "check/PrintedText.h"
#include "formats/DigestText.h"

namespace {

std::string inBrackets(const std::string& text) {
  return std::string(" (").append(text).append(")");
}

std::string lineNumber(uint32_t line) {
  return std::string(":").append(std::to_string(line));
}

}  // namespace

void RVXReport::tell(const RVXResults::Told& told) {
  const RVXItem& item = mInventory.item(told.node);
  if (item.isRenamed) tellRenamed(told.node);
  tellVerdict(told);
  if (item.isOutOfChain) mOutput.addLine("unlisted", mInventory.names().printedPath(told.node));
  const auto error = mInventory.folderErrors.find(told.node);
  if (error != mInventory.folderErrors.end()) addLine("unreadable", told.node, error->second);
  if (item.hasNoList) addLine("no-list", told.node, "no list below it");
  if (item.hasBadLines) tellBadLines(told.node);
}

void RVXReport::addLine(const char* word, RVXNode node, const std::string& remark) {
  mOutput.addLine(word, mInventory.names().printedPath(node) + inBrackets(remark));
}

void RVXReport::tellRenamed(RVXNode node) {
  for (const uint32_t digest : mInventory.digestsOf(node)) {
    const uint32_t listedName = mInventory.lists[mInventory.digest(digest).list].listedName;
    if (listedName == RVXNameTree::kNone) continue;
    addLine("renamed", node,
            "listed as " + printedText(mInventory.texts().at(listedName)) + " in " + printedList(digest));
  }
}

void RVXReport::tellVerdict(const RVXResults::Told& told) {
  switch (mInventory.item(told.node).verdict) {
    case RVXVerdict::none:
    case RVXVerdict::noDigest:
    case RVXVerdict::pending:
      break;
    case RVXVerdict::ok:
      if (mTellsGoodFiles) mOutput.addLine("ok", mInventory.names().printedPath(told.node));
      break;
    case RVXVerdict::changed:
      tellChanged(told);
      break;
    case RVXVerdict::noRegularFile:
      tellNoRegularFile(told.node);
      break;
    case RVXVerdict::missing:
      addLine("missing", told.node, "listed in " + printedList(mInventory.digestsOf(told.node).front()));
      break;
    case RVXVerdict::unreadable:
      addLine("unreadable", told.node, told.finding.error);
      break;
    case RVXVerdict::unlisted:
      mOutput.addLine("unlisted", mInventory.names().printedPath(told.node));
      break;
  }
}

void RVXReport::tellChanged(const RVXResults::Told& told) {
  for (const RVXFinding::Difference& difference : told.finding.differences) {
    addLine("changed", told.node, textOf(difference));
  }
}

std::string RVXReport::textOf(const RVXFinding::Difference& difference) const {
  const RVXListedDigest& listed = mInventory.digest(difference.digest);
  const std::string in = " listed in " + printedList(difference.digest) + ", ";
  if (difference.read.empty()) {
    return std::to_string(listed.size) + " bytes" + in + std::to_string(difference.size) + " found";
  }
  const DigestKind kind = mInventory.kindOf(listed);
  return std::string(digestLabel(kind)) + " " + digestText(kind, mInventory.bytesOf(listed)) + in + "read " +
         digestText(kind, difference.read);
}

void RVXReport::tellNoRegularFile(RVXNode node) {
  for (const uint32_t digest : mInventory.digestsOf(node)) {
    addLine("changed", node, "no regular file, listed in " + printedList(digest));
  }
}

void RVXReport::tellBadLines(RVXNode list) {
  const auto isOfList = [&] {
    return mNextBadLines < mInventory.badLines.size() &&
           mInventory.lists[mInventory.badLines[mNextBadLines].list].node == list;
  };
  const std::string path = mInventory.names().printedPath(list);
  for (; isOfList(); ++mNextBadLines) {
    const RVXBadLines& bad = mInventory.badLines[mNextBadLines];
    const std::string problem = inBrackets(std::string(mInventory.texts().at(bad.problem)));
    for (uint32_t line = bad.first; line <= bad.last; ++line) {
      const std::string place = line > 0 ? lineNumber(line) : "";
      mOutput.addLine("bad-list", std::string(path).append(place).append(problem));
    }
  }
}

std::string RVXReport::printedList(uint32_t digest) const {
  return mInventory.names().printedPath(mInventory.lists[mInventory.digest(digest).list].node);
}

void RVXReport::tellUnsafe(const RVXCard::Judgement& judgement) {
  for (const auto& [node, reason] : judgement.unsafe) {
    addLine("unsafe", node, reason);
  }
}

void RVXReport::tellSummary(const RVXCounts& counts, int64_t bytesRead,
                            const std::vector<std::string>& memoryMountPoints, bool isInterrupted) {
  for (const std::string& mountPoint : memoryMountPoints) {
    mOutput.addLine("memory", printedText(mountPoint) + inBrackets("no way past memory"));
  }
  const auto number = [](int64_t count, const char* word) { return std::to_string(count) + word; };
  std::string line =
      number(counts.files, " files, ") + printedSize(bytesRead) +
      (memoryMountPoints.empty() ? " read from the storage: " : " read, part of it from memory: ") +
      number(counts.ok, " ok, ") + number(counts.changed, " changed, ") +
      number(counts.missing, " missing, ") + number(counts.unreadable, " unreadable, ") +
      number(counts.unlisted, " unlisted, ") + number(counts.badLines, " bad lines");
  if (isInterrupted) line += "; interrupted, " + number(counts.pending, " files not checked");
  mOutput.addLine(line);
}

void RVXReport::tellCard(const std::string& card, size_t copies, const RVXCard::Judgement& judgement,
                         bool isInterrupted) {
  const std::string files = std::to_string(judgement.files) + " files are ";
  const std::string safe = std::to_string(judgement.files - judgement.unsafe.size());
  const std::string verdict =
      judgement.mayBeFormatted() && !isInterrupted
          ? "on " + std::to_string(copies) + " or more disks, read back and equal. It may be formatted."
          : "safe. It may NOT be formatted.";
  mOutput.addLine(printedText(card) + ": " + safe + " of " + files + verdict);
}
