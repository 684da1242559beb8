// Runs a fuzz target over the inputs kept in a folder, as they are and damaged at random places, for builds without the
// fuzzer. A fault ends the process.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr int kDamaged = 300;  // variants of each input

void Replay(const std::string& bytes) {
    // A block of exactly this size, so that the address sanitizer sees a read behind its end.
    const std::vector<uint8_t> block(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(block.data(), block.size());
}

// Bytes changed, and now and then cut off. The front more often: that is where lengths and counts stand; and the end,
// where tags do.
std::string Damaged(std::string bytes, std::mt19937& random) {
    if (bytes.empty()) return bytes;
    const size_t reach = random() % 3 ? std::min<size_t>(bytes.size(), random() % 2 ? 200 : 5000) : bytes.size();
    const size_t at =
        random() % 7 ? random() % reach : bytes.size() - 1 - random() % std::min<size_t>(bytes.size(), 60);
    if (random() % 4 == 0) return bytes.substr(0, at);
    bytes[at] = static_cast<char>(random() % 3 ? random() : 0xFF);
    return random() % 2 ? bytes : Damaged(bytes, random);
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
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        Replay(bytes);
        std::mt19937 random(3);
        for (int i = 0; i < kDamaged; ++i) Replay(Damaged(bytes, random));
    }
    std::printf("%zu inputs replayed, each with %d damaged variants\n", inputs.size(), kDamaged);
    return 0;
}
