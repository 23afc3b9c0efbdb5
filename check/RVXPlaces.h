#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/RVXInventory.h"
#include "platform/files/RVXFileAttributes.h"

// Where the names in lists lead. Knows the folders at which the PATHs begin (roots), also where one lies in
// another. Used by one thread.
class RVXPlaces {
 public:
  // What a name in a list stands for.
  struct Place {
    RVXNode node = RVXNameTree::kNone;
    bool isOutside = false;               // it leads, by a link to a folder, out of every PATH
    RVXNode inFact = RVXNameTree::kNone;  // the node of the same file without links, where that is another
    bool isNowhere = false;               // nothing is there, nor below it
  };

  explicit RVXPlaces(RVXInventory& inventory) : mInventory(inventory) {}

  // The node of the folder at `path`: the one that it has from an earlier PATH, or a new root. Where the
  // folder is called sha1 or md5, names may also lead to what lies beside it.
  RVXNode addRoot(const std::string& path, const RVXFileIdentity& identity);

  // The node that this folder has already; kNone where it has none.
  [[nodiscard]] RVXNode knownFolder(const RVXFileIdentity& identity) const;
  void setKnownFolder(const RVXFileIdentity& identity, RVXNode node) { mByIdentity.emplace(identity, node); }

  // From now on, names in the root's lists may lead to `folder`, in which the root is called `name`. Only the
  // first call counts. A folder below the root itself, where a mount may show the root again, is not taken.
  void setFolderAbove(RVXNode root, RVXNode folder, const std::string& name);

  // The folder in which the node lies; kNone where names may lead no further up.
  [[nodiscard]] RVXNode folderAbove(RVXNode node) const;

  // What the node is called in the folder above it.
  [[nodiscard]] std::string nameBelow(RVXNode node) const;

  // Where `name`, in a list in `folder`, leads. None where that is above every PATH.
  std::optional<Place> placeOf(RVXNode folder, std::string_view name);

  // The folder's own name, also of a root that was given as ".".
  [[nodiscard]] std::string nameOf(RVXNode folder) const;

  // Whether the file of that real path lies below a PATH.
  [[nodiscard]] bool isBelowPath(const std::string& realPath) const;

 private:
  RVXNode addRootNode(const std::string& path, const RVXFileIdentity& identity);
  void addFolderBeside(RVXNode root, const std::string& path);
  Place folderIn(const Place& parent, std::string_view name);
  Place followFolder(const Place& parent, RVXNode node) const;
  [[nodiscard]] RVXNode nodeOfRealPath(const std::string& realPath) const;

  RVXInventory& mInventory;
  std::map<RVXFileIdentity, RVXNode> mByIdentity;
  struct Above {
    RVXNode folder = RVXNameTree::kNone;
    std::string name;  // of the root in it
  };
  std::map<RVXNode, Above> mAbove;            // of roots
  std::map<std::string, RVXNode> mRealRoots;  // by their real paths
  std::map<RVXNode, Place> mFollowedFolders;  // nodes that no walk has found
};

// Whether lists of rvxcopy lie in a folder of that name: sha1 or md5, in any case.
bool isListFolderName(std::string_view name);
