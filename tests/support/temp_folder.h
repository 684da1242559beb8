// A folder of its own for each test, gone with everything in it at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvaneTest {

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvane-test-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
        path = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return path; }
    // The path of a file or folder inside.
    std::string operator/(std::string_view name) const { return path + "/" + std::string(name); }

    // Makes a file inside, with the folders above it; the result is its path.
    std::string Write(std::string_view name, std::string_view contents) const {
        const std::string file = name.starts_with(path) ? std::string(name) : *this / name;
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary).write(contents.data(), static_cast<std::streamsize>(contents.size()));
        return file;
    }
    // The names in the folder, in alphabetical order.
    std::set<std::string> Listing() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path)) names.insert(entry.path().filename());
        return names;
    }

private:
    std::string path;
};

// The bytes of a file; empty when there is none.
inline std::string ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace OrvaneTest
