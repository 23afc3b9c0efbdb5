#include "check/RVXHistories.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <tuple>

#include "check/RVXWay.h"
#include "formats/mhl/RVXMediaHashListReader.h"
#include "platform/files/PathText.h"

namespace {

// The generation at the start of a manifest's name; 0 for none.
uint64_t generationOf(std::string_view name) {
  uint64_t number = 0;
  const auto read = std::from_chars(name.data(), name.data() + name.size(), number);
  return read.ec == std::errc::result_out_of_range ? UINT64_MAX : number;
}

}  // namespace

// Takes only what was renamed. RVXMediaListUse, which reads the list as well, says what is wrong with it.
class RVXHistories::RenameReader : private RVXMediaHashListReader::Receiver {
 public:
  RenameReader(RVXByteStore& texts, std::vector<Rename>& renames) : mTexts(texts), mRenames(renames) {}

  void read(const std::string& path) {
    [[maybe_unused]] const auto ignored =
        RVXMediaHashListReader::read(path, RVXMediaHashListReader::Expected::manifest, *this);
  }

 private:
  void entry(RVXMediaHash&& entry) override {
    const bool isAbsolute = entry.previousPath.starts_with('/') || entry.path.starts_with('/');
    if (entry.previousPath.empty() || isAbsolute) return;
    mRenames.push_back(
        {mTexts.add(RVXWay::of(entry.previousPath).text()), mTexts.add(RVXWay::of(entry.path).text())});
  }
  void badLine(uint32_t /*line*/, const char* /*problem*/) override {}
  void ignorePattern(const std::string& /*pattern*/) override {}

  RVXByteStore& mTexts;
  std::vector<Rename>& mRenames;
};

void RVXHistories::find(const std::vector<RVXNode>& lists) {
  for (const RVXNode list : lists) {
    const RVXItem& item = mInventory.item(list);
    const RVXNode folder = mInventory.names().parent(list);
    if (item.isHistory) {
      mHistories[list];
    } else if (folder != RVXNameTree::kNone && mInventory.item(folder).isHistory) {
      History& history = mHistories[folder];
      const bool isChain = mInventory.names().name(list) == kChain;
      if (isChain) {
        history.chain = list;
      } else {
        history.generations.push_back({list, {}});
      }
    }
  }
  for (auto& [folder, history] : mHistories) {
    sortGenerations(history);
    // The oldest generation has nothing that it could rename.
    for (size_t i = 1; i < history.generations.size(); ++i) readRenames(history.generations[i]);
  }
}

bool RVXHistories::hasChain(RVXNode folder) const {
  return mHistories.at(folder).chain != RVXNameTree::kNone;
}

std::string RVXHistories::nameNow(RVXNode manifest, const std::string& name) const {
  const History& history = mHistories.at(mInventory.names().parent(manifest));
  if (name.starts_with('/')) return name;  // which is not taken
  std::string now = RVXWay::of(name).text();
  for (size_t i = mGenerations.at(manifest) + 1; i < history.generations.size(); ++i) {
    if (now.size() > RVXMediaHashListReader::kLongestText) break;  // each one could make it longer
    if (!history.generations[i].renames.empty())
      now = renamed(history.generations[i], RVXWay::of(now).text());
  }
  return now;
}

void RVXHistories::setPatterns(RVXNode manifest, RVXIgnorePatterns&& patterns) {
  const RVXNode folder = mInventory.names().parent(manifest);
  History& history = mHistories.at(folder);
  const size_t number = mGenerations.at(manifest);
  if (patterns.lines().empty() || number < history.patternsOf) return;
  history.patterns = std::move(patterns);
  history.patternsOf = number;
  mByScope[mPlaces.folderAbove(folder)] = &history;
}

RVXNode RVXHistories::historyOf(RVXNode scope) const {
  const RVXNode folder = mInventory.names().find(scope, kFolder);
  return mHistories.contains(folder) ? folder : RVXNameTree::kNone;
}

std::vector<RVXNode> RVXHistories::manifestsOf(RVXNode folder) const {
  std::vector<RVXNode> manifests;
  for (const Generation& generation : mHistories.at(folder).generations) {
    manifests.push_back(generation.manifest);
  }
  return manifests;
}

uint64_t RVXHistories::nextNumber(RVXNode folder) const {
  const std::vector<RVXNode> manifests = manifestsOf(folder);
  const uint64_t last = manifests.empty() ? 0 : generationOf(mInventory.names().name(manifests.back()));
  return last < UINT64_MAX ? last + 1 : last;
}

const std::vector<std::string>& RVXHistories::patternsOf(RVXNode folder) const {
  return mHistories.at(folder).patterns.lines();
}

bool RVXHistories::excuse(RVXNode item, bool isFolder) const {
  if (mByScope.empty()) return false;
  std::string path(mInventory.names().name(item));
  RVXNode folder = mPlaces.folderAbove(item);
  while (folder != RVXNameTree::kNone) {
    const auto scope = mByScope.find(folder);
    if (scope != mByScope.end() && scope->second->patterns.ignores(path, isFolder)) return true;
    const RVXNode above = mPlaces.folderAbove(folder);
    if (above != RVXNameTree::kNone) path = pathByAppendingComponent(mPlaces.nameBelow(folder), path);
    folder = above;
  }
  return false;
}

bool RVXHistories::isOutOfChain(RVXNode file) const {
  const RVXItem& item = std::as_const(mInventory).item(file);
  const RVXNode folder = mInventory.names().parent(file);
  if (!item.isList || item.isInChain || folder == RVXNameTree::kNone) return false;
  const auto history = mHistories.find(folder);
  return history != mHistories.end() && history->second.chain != RVXNameTree::kNone &&
         history->second.chain != file;
}

void RVXHistories::sortGenerations(History& history) {
  const auto key = [this](const Generation& generation) {
    const std::string_view name = mInventory.names().name(generation.manifest);
    return std::pair(generationOf(name), name);
  };
  std::ranges::sort(history.generations, {}, key);
  for (size_t i = 0; i < history.generations.size(); ++i) mGenerations[history.generations[i].manifest] = i;
}

void RVXHistories::readRenames(Generation& generation) {
  RenameReader(mTexts, generation.renames).read(mInventory.names().path(generation.manifest));
  std::ranges::stable_sort(generation.renames, {},
                           [this](const Rename& rename) { return mTexts.at(rename.before); });
}

std::string RVXHistories::renamed(const Generation& generation, const std::string& name) const {
  // The item itself, else the nearest folder above it.
  for (size_t end = name.size(); end != std::string::npos && end > 0; end = name.rfind('/', end - 1)) {
    const std::string_view part = std::string_view(name).substr(0, end);
    const auto rename = std::ranges::lower_bound(generation.renames, part, {},
                                                 [this](const Rename& one) { return mTexts.at(one.before); });
    if (rename == generation.renames.end() || mTexts.at(rename->before) != part) continue;
    return pathByAppendingComponent(mTexts.at(rename->after), std::string_view(name).substr(end));
  }
  return name;
}
