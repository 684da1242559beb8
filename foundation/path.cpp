#include "foundation/path.h"

#include <vector>

#include "foundation/assert.h"
#include "foundation/platform.h"
#include "foundation/text.h"

namespace Foundation {
namespace {

// Where the file name begins.
size_t NameOffset(std::string_view path) {
    size_t offset = path.size();
    while (offset > 0 && !IsSeparator(path[offset - 1])) --offset;
    return offset;
}

// The dot of the extension, or npos. A dot that begins the name hides the file and begins no extension.
size_t ExtensionOffset(std::string_view path) {
    const size_t dot = path.rfind('.');
    return dot == path.npos || dot <= NameOffset(path) ? path.npos : dot;
}

}  // namespace

std::string NativePath(std::string_view path) {
    std::string result(path);
    for (char& c : result) {
        if (IsSeparator(c)) c = kSeparator;
    }
    return result;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    while (!name.empty() && IsSeparator(name.front())) name.remove_prefix(1);
    std::string result(folder);
    if (!result.empty() && !IsSeparator(result.back())) result += kSeparator;
    return result.append(name);
}

std::string FolderOf(std::string_view path) {
    size_t length = NameOffset(path);
    while (length > 1 && IsSeparator(path[length - 1])) --length;
    return std::string(path.substr(0, length));
}

std::string FileNameOf(std::string_view path) {
    return std::string(path.substr(NameOffset(path)));
}

std::string ExtensionOf(std::string_view path) {
    const size_t dot = ExtensionOffset(path);
    return dot == path.npos ? std::string() : LowerAscii(path.substr(dot));
}

std::string WithoutExtension(std::string_view path) {
    return std::string(path.substr(0, ExtensionOffset(path)));
}

bool IsAbsolutePath(std::string_view path) {
    return !path.empty() && IsSeparator(path.front());
}

std::string AbsolutePath(std::string_view path) {
    const std::string whole = NativePath(IsAbsolutePath(path) ? std::string(path) : JoinPath(CurrentFolder(), path));
    std::vector<std::string_view> kept;
    for (std::string_view part : Split(whole, kSeparator)) {
        if (part == "..") {
            if (!kept.empty()) kept.pop_back();
        } else if (!part.empty() && part != ".") {
            kept.push_back(part);
        }
    }
    std::string result;
    for (std::string_view part : kept) result.append(1, kSeparator).append(part);
    return result.empty() ? std::string(1, kSeparator) : result;
}

std::string SafeFileName(std::string_view name) {
    std::string result;
    for (char c : name) {
        if (std::string_view("*?\"<>").find(c) != std::string_view::npos) continue;
        if (c == ':') c = '-';
        if (IsSeparator(c)) c = '+';
        if (c == '|' || (static_cast<unsigned char>(c) < 32)) c = ' ';
        if (c == ' ' && result.empty()) continue;
        result += c;
    }
    // Some file systems cannot hold a name that ends in these.
    while (!result.empty() && (result.back() == ' ' || result.back() == '.')) result.pop_back();
    return result.empty() ? "_" : result;
}

}  // namespace Foundation
