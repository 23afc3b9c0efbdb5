#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "check/RVXNameTree.h"

TEST(RVXNameTreeTest, ANameIsOneNodeHoweverOftenItIsAdded) {
  RVXNameTree tree;
  const auto root = tree.addRoot("p");
  std::vector<RVXNode> nodes;
  for (int i = 0; i < 5000; ++i) nodes.push_back(tree.add(root, "name" + std::to_string(i)));
  for (int i = 0; i < 5000; ++i) {
    const std::string name = "name" + std::to_string(i);
    EXPECT_EQ(tree.add(root, name), nodes[static_cast<size_t>(i)]);
    EXPECT_EQ(tree.find(root, name), nodes[static_cast<size_t>(i)]);
    EXPECT_EQ(tree.find(nodes.front(), name), RVXNameTree::kNone);
  }
}

TEST(RVXNameTreeTest, PathsBeginAsTheirRootWasGiven) {
  RVXNameTree tree;
  for (const auto& [root, path] :
       {std::pair("", "a/b\n"), {"/", "/a/b\n"}, {"./p", "./p/a/b\n"}, {"..", "../a/b\n"}}) {
    const auto node = tree.add(tree.add(tree.addRoot(root), "a"), "b\n");
    EXPECT_EQ(tree.path(node), path);
    EXPECT_EQ(tree.printedPath(node), std::string(path, std::string_view(path).size() - 1) + "\\n");
    EXPECT_EQ(tree.pathBelowRoot(node), "a/b\n");
  }
}

// The order that is found by climbing from node to node is that of the whole printed texts.
TEST(RVXNameTreeTest, TheOrderIsThatOfThePrintedPaths) {
  std::mt19937 random(7);
  constexpr std::string_view kBytes = "ab./0\n\\\xC3 -";
  RVXNameTree tree;
  std::vector<RVXNode> nodes = {tree.addRoot("r"), tree.addRoot("r/a"), tree.addRoot(""), tree.addRoot("/"),
                                tree.addRoot("r-")};
  nodes.push_back(tree.add(nodes[2], "-"));  // before the current folder, which is printed as "."
  while (nodes.size() < 120) {
    std::string name(1 + random() % 3, ' ');
    for (char& byte : name) byte = kBytes[random() % kBytes.size()];
    std::replace(name.begin(), name.end(), '/', '_');
    nodes.push_back(tree.add(nodes[random() % nodes.size()], name));
  }
  for (const auto one : nodes) {
    const std::string a = tree.printedPath(one);
    for (const auto other : nodes) {
      const std::string b = tree.printedPath(other);
      ASSERT_EQ(tree.comesBefore(one, other), a != b ? a < b : one < other) << a << " and " << b;
    }
  }
}
