// Text files in every encoding: whatever the bytes, the lines are UTF-8 and come out the same when written and read.
#include <algorithm>
#include <vector>

#include "foundation/assert.h"
#include "foundation/text.h"
#include "foundation/textfile.h"

using namespace Foundation;

// The first byte chooses the encoding; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    const auto reader = ReadTextFrom(bytes, static_cast<Encoding>(data[0] % 5));
    size_t n_characters = 0;
    std::string text;
    for (std::string line; reader->ReadLine(line);) {
        ORVANE_ASSERT(line.find('\n') == line.npos);
        ORVANE_ASSERT(ValidUtf8Prefix(line) == line.size());
        n_characters += static_cast<size_t>(CharacterCount(line)) + 1;
        text += line + "\n";
    }
    ORVANE_ASSERT(!reader->Failed());
    ORVANE_ASSERT(n_characters <= bytes.size() + 1);

    const auto again = ReadTextFrom(text, Encoding::ANSI);
    std::string text_again;
    for (std::string line; again->ReadLine(line);) text_again += line + "\n";
    // One carriage return before each line end goes with every reading.
    if (text.find('\r') == text.npos) ORVANE_ASSERT(text_again == text);
    return 0;
}
