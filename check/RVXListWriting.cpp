#include "check/RVXListWriting.h"

#include <algorithm>
#include <utility>

#include "check/PrintedText.h"
#include "check/RVXNewListWriter.h"
#include "check/RVXScopeSurvey.h"
#include "formats/mhl/XMLText.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/Host.h"
#include "platform/system/RVXInterruption.h"
#include "platform/system/UTCTime.h"

namespace {

RVXListCreator creatorNow(int64_t started) {
  const auto inXML = [](const std::string& name) { return isXMLText(name) ? name : "?"; };
  return {inXML(effectiveUserName()),
          inXML(hostName().value_or("?")),
          "rvxcheck",
          RVX_VERSION,
          started,
          currentTime()};
}

}  // namespace

RVXListWriting::RVXListWriting(RVXInventory& inventory, const RVXPlaces& places, RVXNewList kind)
    : mInventory(inventory), mPlaces(places), mKind(kind), mStarted(currentTime()) {}

std::vector<RVXNode> RVXListWriting::prepare(const std::vector<RVXNode>& folders,
                                             const RVXHistories& histories, const RVXIgnoredNames& ignored,
                                             RVXVolumeTable& volumes, RVXReadFacts& facts) {
  mScopes = RVXScopeSurvey(mInventory, mPlaces, histories, ignored, mKind).scopesOf(folders);
  std::vector<RVXNode> toRead;
  for (const RVXScope& scope : mScopes) {
    if (scope.obstacle) continue;
    for (const RVXNode manifest : scope.manifests) facts.wantC4(manifest);
    for (const RVXScope::Entry& entry : scope.entries) {
      if (entry.isFolder) continue;
      const bool isNew = facts.want(entry.node);
      // A file with another verdict is read by the check anyway, or keeps the folder from getting a list.
      const bool isUnread = mInventory.item(entry.node).verdict == RVXVerdict::none;
      if (isNew && isUnread && examine(entry.node, volumes, facts)) toRead.push_back(entry.node);
    }
  }
  return toRead;
}

bool RVXListWriting::examine(RVXNode file, RVXVolumeTable& volumes, RVXReadFacts& facts) {
  const std::string path = mInventory.names().path(file);
  const auto attributes = attributesOfItem(path);
  if (attributes.failed()) {
    facts.fail(file, attributes.failure().reason);
    return false;
  }
  RVXItem& item = mInventory.item(file);
  item.size = attributes.value().size;
  item.volume = volumes.numberOf(attributes.value().identity, path);
  return true;
}

bool RVXListWriting::write(const RVXReadFacts& facts, RVXOutput& output) {
  findUncleanFolders();
  const RVXListCreator creator = creatorNow(mStarted);
  bool areAllWritten = true;
  for (const RVXScope& scope : mScopes) {
    if (RVXInterruption::signalNumber()) break;
    const std::string path = mInventory.names().printedPath(scope.path);
    const RVXOutcome<std::string> written = write(scope, creator, facts);
    if (written.failed() && RVXInterruption::signalNumber()) break;
    if (written.succeeded()) {
      output.addLine("wrote", pathByAppendingComponent(path, printedText(written.value())) + " (" +
                                  std::to_string(scope.fileCount()) + " files)");
    } else {
      output.addLine("unwritten", path + " (" + written.failure().reason + ")");
      if (!mUncleanFolders.contains(scope.path)) areAllWritten = false;
    }
  }
  return areAllWritten;
}

RVXOutcome<std::string> RVXListWriting::write(const RVXScope& scope, const RVXListCreator& creator,
                                              const RVXReadFacts& facts) {
  if (const auto obstacle = obstacleOf(scope, facts)) return RVXIOFailure{0, "", *obstacle};
  const RVXNewListWriter writer(mInventory, facts, creator, scope);
  if (mKind == RVXNewList::mhl) return writer.writeMHL();
  auto written = writer.writeGeneration();
  if (written.succeeded()) mNewHistories.insert(scope.path);
  return written;
}

void RVXListWriting::findUncleanFolders() {
  for (RVXNode node = 0; node < mInventory.names().size(); ++node) {
    if (isClean(node)) continue;
    for (RVXNode above = node; above != RVXNameTree::kNone; above = mPlaces.folderAbove(above)) {
      if (!mUncleanFolders.insert(above).second) break;
    }
  }
}

bool RVXListWriting::isClean(RVXNode node) const {
  const RVXItem& item = std::as_const(mInventory).item(node);
  return (item.verdict == RVXVerdict::none || item.verdict == RVXVerdict::ok) && !item.hasBadLines &&
         !item.hasNoList && !item.isOutOfChain && !mInventory.folderErrors.contains(node);
}

std::optional<std::string> RVXListWriting::obstacleOf(const RVXScope& scope,
                                                      const RVXReadFacts& facts) const {
  if (mUncleanFolders.contains(scope.path)) return "not clean";
  for (const RVXNode inner : mNewHistories) {
    if (isBelow(inner, scope.path)) {
      return mInventory.names().printedPath(inner) + RVXScope::kHasHistory;
    }
  }
  if (scope.obstacle) return scope.obstacle;
  return obstacleOfContents(scope, facts);
}

std::optional<std::string> RVXListWriting::obstacleOfContents(const RVXScope& scope,
                                                              const RVXReadFacts& facts) const {
  std::optional<std::string> error;
  for (const RVXScope::Entry& entry : scope.entries) {
    if (entry.isFolder) continue;
    if (const std::string failure = facts.errorOf(entry.node); !failure.empty()) {
      if (!error) error = failure;
    } else if (mKind == RVXNewList::mhl && facts.of(entry.node).size == 0) {
      return mInventory.names().printedPath(entry.node) + " has no contents, and MHL 1.1 no place for that";
    }
  }
  return scope.entries.empty() ? "no file to list" : error;
}

bool RVXListWriting::isBelow(RVXNode folder, RVXNode above) const {
  while (folder != RVXNameTree::kNone && folder != above) folder = mPlaces.folderAbove(folder);
  return folder == above;
}
