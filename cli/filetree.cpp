#include "cli/filetree.h"

#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {

void FileTree::Add(std::string_view path, const std::string& remark) {
    Node* node = &top;
    if (path.starts_with(root) && path.substr(root.size()).starts_with('/')) {
        for (std::string_view name : Split(path.substr(root.size() + 1), '/')) node = &node->entries[std::string(name)];
    } else {
        node = &node->entries[std::string(path)];
    }
    node->remark = remark;
}

void FileTree::Draw(const Node& node, const std::string& margin, std::string& text) {
    size_t left = node.entries.size();
    for (const auto& [name, entry] : node.entries) {
        bool last = --left == 0;
        text += margin + (last ? "└── " : "├── ") + name;
        if (!entry.remark.empty()) text += "  (" + entry.remark + ")";
        text += '\n';
        Draw(entry, margin + (last ? "    " : "│   "), text);
    }
}

std::string FileTree::Text() const {
    std::string text = root + "\n";
    Draw(top, "", text);
    return text;
}

}  // namespace Orvane
