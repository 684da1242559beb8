// Paths as text: UTF-8, the platform's separator when written, either separator accepted when read.
#pragma once

#include <string>
#include <string_view>

namespace Foundation {

inline constexpr char kSeparator = '/';

constexpr bool IsSeparator(char c) {
    return c == '/' || c == '\\';
}

std::string NativePath(std::string_view path);  // every separator made the platform's
std::string JoinPath(std::string_view folder, std::string_view name);
std::string FolderOf(std::string_view path);          // without the separator at its end; the root keeps it
std::string FileNameOf(std::string_view path);        // behind the last separator
std::string ExtensionOf(std::string_view path);       // lower case with its dot, or empty
std::string WithoutExtension(std::string_view path);  // up to the last dot of the file name
std::string AbsolutePath(std::string_view path);      // against the current folder; "." and ".." resolved
bool IsAbsolutePath(std::string_view path);
// A text made safe as one file name: characters no file system likes are replaced the way every saved name is.
std::string SafeFileName(std::string_view name);

}  // namespace Foundation
