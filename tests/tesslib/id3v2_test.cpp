#include "tesslib/id3v2.h"

#include <gtest/gtest.h>

#include <string>

#include "riff_builder.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using namespace std::string_literals;

std::string TextOf(const std::string& block) {
    return ReadID3v2Text({reinterpret_cast<const uint8_t*>(block.data()), block.size()}, "ORVT");
}

// A block of any version around frames as they stand.
std::string Block(int version, int flags, const std::string& frames) {
    const std::string head = Id3("XXXX", std::string(frames.size() - 10, ' ')).substr(6, 4);
    return "ID3"s + static_cast<char>(version) + '\0' + static_cast<char>(flags) + head + frames;
}
std::string Frame(const std::string& id, uint32_t size, const std::string& payload) {
    return id + BE(size) + "\0\0"s + payload;
}

TEST(ID3v2, FindsTheTextInEveryEncodingAndVersion) {
    const std::string text300(300, 'x');
    struct Case {
        const char* name;
        std::string block;
        std::string text;
    };
    for (const Case& c :
         {Case{"utf-8", Id3("ORVT", "\x03na\xC3\xAFve"), "na\xC3\xAFve"},
          {"latin-1", Id3("ORVT", "\0na\xEFve\0"s), "na\xC3\xAFve"},
          {"utf-16-le", Id3("ORVT", "\x01\xFF\xFEn\0\xEF\0\x3D\xD8\x00\xDE\0\0"s), "n\xC3\xAF\xF0\x9F\x98\x80"},
          {"utf-16-be", Id3("ORVT", "\x02\0n\0\xEF"s), "n\xC3\xAF"},
          {"syncsafe-sizes", Block(4, 0, Frame("TIT2", 2 << 8 | 44, text300) + Frame("ORVT", 3, "\x03ok")), "ok"},
          {"extended-2.3", Block(3, 0x40, BE<uint32_t>(6) + std::string(6, '\0') + Frame("ORVT", 3, "\x03ok")), "ok"},
          {"extended-2.4", Block(4, 0x40, BE<uint32_t>(6) + "\x01\0"s + Frame("ORVT", 3, "\x03ok")), "ok"},
          {"extended-too-long", Block(3, 0x40, BE<uint32_t>(0xFFFFFFFF) + Frame("ORVT", 3, "\x03ok")), ""},
          {"frame-too-long", Block(3, 0, Frame("TIT2", 0xFFFFFFF0, "") + Frame("ORVT", 3, "\x03ok")), ""}}) {
        EXPECT_EQ(TextOf(c.block), c.text) << c.name;
    }
}

}  // namespace
}  // namespace Tesslib
