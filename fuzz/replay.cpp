// Runs a fuzz target over the inputs kept in a folder, for builds without the fuzzer. A fault ends the process.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void Replay(const std::string& bytes) {
    // A block of exactly this size, so that the address sanitizer sees a read behind its end.
    const std::vector<uint8_t> block(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(block.data(), block.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    for (const std::string& bytes : {std::string(), std::string(4096, '\0'), std::string(4096, '\xFF')}) Replay(bytes);
    std::vector<std::filesystem::path> inputs;
    if (std::filesystem::exists(argv[1])) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    for (const auto& input : inputs) {
        // Flushed first, so that the last name shown is the one that failed.
        std::printf("%s\n", input.filename().c_str());
        std::fflush(stdout);
        std::ifstream file(input, std::ios::binary);
        Replay({std::istreambuf_iterator<char>(file), {}});
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return 0;
}
