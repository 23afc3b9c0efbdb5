#include "check/RVXNewListWriter.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "check/RVXHistories.h"
#include "formats/mhl/RVXNewChain.h"
#include "formats/mhl/RVXNewMHL.h"
#include "formats/mhl/RVXNewManifest.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/files/RVXNewItem.h"
#include "platform/system/RVXInterruption.h"
#include "platform/system/UTCTime.h"

namespace {

// "0001_A001_2026-11-22_073000Z.mhl"
std::string manifestName(const RVXScope& scope, int64_t started) {
  constexpr size_t kFewestDigits = 4;
  const std::string number = std::to_string(scope.number);
  return std::string(kFewestDigits - std::min(kFewestDigits, number.size()), '0') + number + "_" +
         scope.name + "_" + utcText(started, "Y-M-D_hmsZ") + ".mhl";
}

// The file of a list, complete but for its name.
template <typename Fill>
RVXOutcome<RVXNewListFile> filledFile(const std::string& folder, Fill fill) {
  auto made = RVXNewListFile::makeIn(folder);
  if (made.failed()) return made;
  fill(made.value());
  if (const auto finished = made.value().finish(); finished.failed()) return finished.failure();
  return made;
}

RVXOutcome<> requireNoInterruption() {
  return RVXInterruption::signalNumber() ? RVXOutcome<>(failureFromErrno(EINTR)) : RVXOutcome<>();
}

RVXXMLWriter::Sink sinkOf(RVXNewListFile& file) {
  return [&file](std::string_view text) { file.write(text); };
}

}  // namespace

RVXOutcome<std::string> RVXNewListWriter::writeMHL() const {
  auto file = filledFile(folder(), [this](RVXNewListFile& list) {
    RVXNewMHL writer(sinkOf(list), mCreator);
    for (const Entry& entry : mScope.entries) writer.addFile(hashOf(entry));
    writer.finish();
  });
  if (file.failed()) return file.failure();
  if (const auto goesOn = requireNoInterruption(); goesOn.failed()) return goesOn.failure();
  const std::string name = mScope.name + "_" + utcText(mCreator.started, "Y-M-D_hms") + ".mhl";
  const auto moved = file.value().item().moveTo(pathByAppendingComponent(folder(), name));
  if (moved.failed()) return moved.failure();
  file.value().item().keep();
  if (const auto synced = syncFolder(folder()); synced.failed()) return synced.failure();
  return name;
}

RVXOutcome<std::string> RVXNewListWriter::writeGeneration() const {
  const std::string name = manifestName(mScope, mCreator.started);
  const auto done = mScope.history != RVXNameTree::kNone ? addToHistory(name) : beginHistory(name);
  if (done.failed()) return done.failure();
  return pathByAppendingComponent(RVXHistories::kFolder, name);
}

RVXOutcome<> RVXNewListWriter::addToHistory(const std::string& name) const {
  const std::string history = pathByAppendingComponent(folder(), RVXHistories::kFolder);
  auto files = makeFiles(history, name);
  if (files.failed()) return files.failure();
  auto& [manifest, chain] = files.value();
  if (auto moved = placeManifest(manifest, history, name); moved.failed()) return moved;
  const std::string chainPath = pathByAppendingComponent(history, RVXHistories::kChain);
  if (auto replaced = chain.item().replace(chainPath); replaced.failed()) return replaced;
  manifest.item().keep();
  return syncFolder(history);
}

RVXOutcome<> RVXNewListWriter::beginHistory(const std::string& name) const {
  auto made = RVXNewItem::makeFolderIn(folder());  // first, so that it is removed last, when it is empty
  if (made.failed()) return made.failure();
  RVXNewItem& history = made.value();
  auto files = makeFiles(history.path(), name);
  if (files.failed()) return files.failure();
  auto& [manifest, chain] = files.value();
  if (auto moved = placeManifest(manifest, history.path(), name); moved.failed()) return moved;
  const std::string chainPath = pathByAppendingComponent(history.path(), RVXHistories::kChain);
  if (auto moved = chain.item().moveTo(chainPath); moved.failed()) return moved;
  if (auto synced = syncFolder(history.path()); synced.failed()) return synced;
  auto moved = history.moveTo(pathByAppendingComponent(folder(), RVXHistories::kFolder));
  if (moved.failed()) return moved;
  for (RVXNewItem* item : {&history, &manifest.item(), &chain.item()}) item->keep();
  return syncFolder(folder());
}

RVXOutcome<RVXNewListWriter::Files> RVXNewListWriter::makeFiles(const std::string& history,
                                                                const std::string& name) const {
  auto manifest = filledFile(history, [this](RVXNewListFile& file) { fillManifest(file); });
  if (manifest.failed()) return manifest.failure();
  auto chain =
      filledFile(history, [&](RVXNewListFile& file) { fillChain(file, name, manifest.value().sha512()); });
  if (chain.failed()) return chain.failure();
  return Files{std::move(manifest).value(), std::move(chain).value()};
}

RVXOutcome<> RVXNewListWriter::placeManifest(RVXNewListFile& manifest, const std::string& history,
                                             const std::string& name) {
  if (auto goesOn = requireNoInterruption(); goesOn.failed()) return goesOn;
  auto moved = manifest.item().moveTo(pathByAppendingComponent(history, name));
  return moved.succeeded() ? syncFolder(history) : moved;
}

void RVXNewListWriter::fillManifest(RVXNewListFile& file) const {
  const RVXFolderDigests folders(mScope, mFacts);
  RVXNewManifest writer(sinkOf(file), mCreator, folders.root(), mScope.patterns);
  for (const Entry& entry : mScope.entries) {
    if (!entry.isFolder) writer.addFile(hashOf(entry));
  }
  for (const Entry& entry : mScope.entries) {
    if (entry.isFolder) writer.addFolder(std::string(mScope.pathOf(entry)), folders.of(entry.node));
  }
  writer.finish();
}

void RVXNewListWriter::fillChain(RVXNewListFile& file, const std::string& name,
                                 const std::string& sha512) const {
  RVXNewChain writer(sinkOf(file));
  for (const RVXNode manifest : mScope.manifests) {
    writer.addManifest(std::string(mInventory.names().name(manifest)), mFacts.c4Of(manifest));
  }
  writer.addManifest(name, sha512);
  writer.finish();
}

RVXNewFileHash RVXNewListWriter::hashOf(const Entry& entry) const {
  const RVXReadFacts::Fact& fact = mFacts.of(entry.node);
  return {std::string(mScope.pathOf(entry)), fact.size, fact.modified,
          std::string(fact.xxh64.begin(), fact.xxh64.end()), isKnown(entry.node)};
}

bool RVXNewListWriter::isKnown(RVXNode file) const {
  if (mScope.history == RVXNameTree::kNone) return false;
  return std::ranges::any_of(mInventory.entriesOf(file), [this](uint32_t number) {
    const RVXListedDigest& listed = mInventory.digest(number);
    const RVXNode list = mInventory.lists[listed.list].node;
    return mInventory.hasDigest(listed) && mInventory.names().parent(list) == mScope.history;
  });
}
