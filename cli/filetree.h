// A few files drawn as the tree of their folders.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace Orvane {

class FileTree {
public:
    explicit FileTree(std::string root) : root(std::move(root)) {}

    // Enters a file below the root, with a remark for its line. A file elsewhere stands under its whole path.
    void Add(std::string_view path, const std::string& remark = {});
    // The root on a line, then its tree; entries in alphabetical order.
    std::string Text() const;

private:
    struct Node {
        std::map<std::string, Node> entries;
        std::string remark;
    };
    static void Draw(const Node& node, const std::string& margin, std::string& text);

    std::string root;
    Node top;
};

}  // namespace Orvane
