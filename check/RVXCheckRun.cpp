#include "check/RVXCheckRun.h"

#include <algorithm>
#include <map>
#include <thread>
#include <utility>

#include "check/RVXExamination.h"
#include "check/RVXListUse.h"
#include "check/RVXMediaListUse.h"
#include "check/RVXPathWalk.h"
#include "check/RVXProgressLine.h"
#include "platform/system/RVXInterruption.h"

RVXCheckRun::RVXCheckRun(const RVXCheckOptions& options, bool isOutputLost)
    : mOptions(options),
      mIgnored(options.ignored),
      mWriting(mInventory, mPlaces, options.newList),
      mOutput(isOutputLost),
      mReport(mInventory, options.tellsGoodFiles, mOutput) {}

RVXCheckStatus RVXCheckRun::run() {
  examine();
  mResults.emplace(mInventory, mOptions.tellsGoodFiles, mCardFiles.size() + mOtherFiles.size());
  mFileCheck.emplace(mInventory, mVolumes, *mResults, mFacts);
  if (!RVXInterruption::signalNumber()) {
    const int64_t total = totalBytes();  // first, because the readers change the sizes
    startReaders();
    followReaders(total);
  }
  return finish();
}

void RVXCheckRun::examine() {
  RVXPathWalk walk(mInventory, mPlaces, mIgnored, mOptions.paths.size() > 1);
  for (const std::string& path : mOptions.paths) walk.add(path);
  RVXHistories histories(mInventory, mPlaces);
  useLists(walk.finish(), histories);
  RVXExamination examination(mInventory, mPlaces, histories, mVolumes);
  mListedFiles = examination.examineListedFiles();
  if (!RVXInterruption::signalNumber()) examination.findUnlistedFiles();
  if (mOptions.newList != RVXNewList::none && !RVXInterruption::signalNumber()) {
    mOtherFiles = mWriting.prepare(walk.folderPaths(), histories, mIgnored, mVolumes, mFacts);
  }
  if (!mOptions.card) return;
  mCard.emplace(mInventory, mVolumes, *mOptions.card, mOptions.copies);
  mCard->find(mIgnored);
  mCardFiles = mCard->filesToRead();
}

void RVXCheckRun::useLists(const std::vector<RVXNode>& lists, RVXHistories& histories) {
  histories.find(lists);
  RVXListUse textLists(mInventory, mPlaces);
  RVXMediaListUse mediaLists(mInventory, mPlaces, histories);
  for (const RVXNode list : lists) {
    if (RVXInterruption::signalNumber()) return;
    if (RVXMediaListUse::isOne(mInventory, list)) {
      mediaLists.use(list);
    } else {
      textLists.use(list);
    }
  }
}

void RVXCheckRun::startReaders() {
  mReaders = std::make_unique<RVXReaders>([this](RVXNode file) { readFile(file); });
  std::map<size_t, std::vector<RVXNode>> filesOfDisks;
  for (const auto* files : {&mListedFiles, &mOtherFiles, &mCardFiles}) {
    for (const RVXNode file : *files) {
      filesOfDisks[mVolumes.diskOf(std::as_const(mInventory).item(file).volume)].push_back(file);
    }
  }
  for (auto& [disk, files] : filesOfDisks) mReaders->readDisk(std::move(files), atOnce(disk));
}

void RVXCheckRun::readFile(RVXNode file) {
  const RVXItem& item = std::as_const(mInventory).item(file);
  if (item.lastDigest != RVXNameTree::kNone) {
    mFileCheck->checkListed(file);
  } else if (item.isFound) {
    mFileCheck->readFacts(file);
  } else {
    mFileCheck->checkOnCard(file, *mCard);
  }
}

int64_t RVXCheckRun::totalBytes() const {
  int64_t total = 0;
  for (const auto* files : {&mListedFiles, &mOtherFiles, &mCardFiles}) {
    for (const RVXNode file : *files) total += mInventory.item(file).size;
  }
  return total;
}

size_t RVXCheckRun::atOnce(size_t disk) const {
  if (mOptions.filesAtOnce) return *mOptions.filesAtOnce;
  if (mVolumes.isRotational(disk)) return 1;
  const size_t cores = std::max(std::thread::hardware_concurrency(), 1U);
  return std::min(cores, RVXCheckOptions::kMostFilesAtOnce);
}

void RVXCheckRun::followReaders(int64_t totalSize) {
  RVXProgressLine progress(!mOptions.isQuiet, totalSize);
  mOutput.setProgressLine(&progress);
  while (!mOutput.isLost()) {
    const bool isFinished = mResults->isFinished() || RVXInterruption::signalNumber();
    tellKnown();
    if (isFinished) break;
    const RVXNode file = mReaders->lastBegun();
    progress.draw(mFileCheck->bytesRead(),
                  file != RVXNameTree::kNone ? mInventory.names().printedPath(file) : "");
    RVXInterruption::wait(progress.isShown() ? std::optional(RVXProgressLine::kInterval) : std::nullopt);
  }
  progress.erase();
  mOutput.setProgressLine(nullptr);
}

void RVXCheckRun::tellKnown() {
  while (const auto told = mResults->takeNext()) mReport.tell(*told);
  mOutput.flush();
}

RVXCheckStatus RVXCheckRun::finish() {
  if (mOutput.isLost()) return RVXCheckStatus::outputLost;  // without a wait for the readers
  bool isInterrupted = RVXInterruption::signalNumber().has_value();
  if (isInterrupted) mResults->close();
  tellKnown();
  const RVXCounts counts = mResults->counts();
  RVXCard::Judgement card;
  if (mCard) card = mCard->judge();
  bool areListsWritten = false;
  if (!isInterrupted && !mOutput.isLost()) {
    mReport.tellUnsafe(card);
    areListsWritten = mWriting.write(mFacts, mOutput);
    isInterrupted = RVXInterruption::signalNumber().has_value();
  }
  mReport.tellSummary(counts, mFileCheck->bytesRead(), mVolumes.mountPointsReadFromMemory(), isInterrupted);
  if (mCard) mReport.tellCard(*mOptions.card, mOptions.copies, card, isInterrupted);
  mOutput.flush();
  return status(counts, card, areListsWritten);
}

RVXCheckStatus RVXCheckRun::status(const RVXCounts& counts, const RVXCard::Judgement& card,
                                   bool areListsWritten) const {
  if (mOutput.isLost()) return RVXCheckStatus::outputLost;
  if (mCard && !card.mayBeFormatted()) return RVXCheckStatus::mayNotBeFormatted;
  if (counts.changed > 0) return RVXCheckStatus::changed;
  if (counts.unreadable > 0) return RVXCheckStatus::unreadable;
  if (counts.missing > 0) return RVXCheckStatus::missing;
  if (counts.badLines > 0) return RVXCheckStatus::badLines;
  if (mInventory.hasPathWithoutList) return RVXCheckStatus::noList;
  if (counts.unlisted > 0) return RVXCheckStatus::unlisted;
  return areListsWritten ? RVXCheckStatus::good : RVXCheckStatus::unwritten;
}
