#include "foundation/textfile.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/text.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;
using OrvaneTest::ReadBytes;
using OrvaneTest::TempFolder;

Lines ReadAll(TextFileReader& reader) {
    Lines lines;
    for (std::string line; reader.ReadLine(line);) lines.push_back(line);
    EXPECT_FALSE(reader.Failed());
    return lines;
}

TEST(TextFileReaderTest, TakesEveryEncodingLineEndAndDamage) {
    const struct {
        const char* what;
        std::string bytes;
        Encoding asked, found;
        Lines lines;
    } cases[] = {
        {"both line ends, empty lines", "a\r\n\r\n\nb\n", Encoding::Detect, Encoding::ANSI, {"a", "", "", "b"}},
        {"a lone CR is text", "a\rb\r\r\n", Encoding::Detect, Encoding::ANSI, {"a\rb\r"}},
        {"ANSI that is not", "caf\xE9\n", Encoding::Detect, Encoding::ANSI, {"caf\uFFFD"}},
        {"UTF-8 mark", "\xEF\xBB\xBF\u20AC\r\n", Encoding::Detect, Encoding::UTF8, {"\u20AC"}},
        {"UTF-16 LE",
         "\xFF\xFE"
         "a\0\xAC\x20\r\0\n\0b\0"s,
         Encoding::Detect,
         Encoding::UTF16LE,
         {"a\u20AC", "b"}},
        {"UTF-16 BE", "\xFE\xFF\0a\x20\xAC\0\n\0b"s, Encoding::Detect, Encoding::UTF16BE, {"a\u20AC", "b"}},
        {"a pair of surrogates", "\xFF\xFE\x3C\xD8\xB5\xDF"s, Encoding::Detect, Encoding::UTF16LE, {"\U0001F3B5"}},
        {"two high ones, then a low one",
         "\xFE\xFF\xD8\x3C\xD8\x3C\xDF\xB5"s,
         Encoding::Detect,
         Encoding::UTF16BE,
         {"\uFFFD\U0001F3B5"}},
        {"half a unit at the end",
         "\xFF\xFE"
         "a\0b"s,
         Encoding::Detect,
         Encoding::UTF16LE,
         {"a\uFFFD"}},
    };
    TempFolder folder;
    for (const auto& c : cases) {
        const auto in_memory = ReadTextFrom(c.bytes, c.asked);
        EXPECT_EQ(in_memory->GetEncoding(), c.found) << c.what;
        EXPECT_EQ(ReadAll(*in_memory), c.lines) << c.what;
        // Small buffers cut every character and line end in two.
        const std::string path = folder.Write("x", c.bytes);
        for (size_t buffer_size : {4, 5, 7, 16384}) {
            const auto reader = OpenTextFile(path, c.asked, buffer_size);
            ASSERT_TRUE(reader);
            EXPECT_EQ(ReadAll(*reader), c.lines) << c.what << ", buffer of " << buffer_size;
        }
    }
}

TEST(TextFileReaderTest, LinesOfOlderProgramsAreReadInTheirCodePage) {
    const std::string bytes = "caf\u00E9\ncaf\xE9 \x80\x99\x81\n";
    const auto reader = ReadTextFrom(bytes, Encoding::Detect, NotUtf8::Windows1252);
    EXPECT_EQ(ReadAll(*reader), (Lines{"caf\u00E9", "caf\u00E9 \u20AC\u2122\uFFFD"}));
    const std::string marked = "\xEF\xBB\xBF" + bytes;
    EXPECT_EQ(ReadAll(*ReadTextFrom(marked, Encoding::Detect, NotUtf8::Windows1252))[1],
              "caf\uFFFD \uFFFD\uFFFD\uFFFD");
}

TEST(TextFileWriterTest, BytesAreThoseOfTheEncoding) {
    const struct {
        Encoding encoding;
        int mode;
        LineEnds line_ends;
        std::string bytes;
    } cases[] = {
        {Encoding::ANSI, TEXT_CREATE, LineEnds::CRLF, "\u20AC\r\n\U0001F3B5\r\n"},
        {Encoding::UTF8, TEXT_APPEND, LineEnds::LF, "\xEF\xBB\xBF\u20AC\n\U0001F3B5\n"},
        {Encoding::UTF16LE, TEXT_CREATE, LineEnds::CRLF, "\xFF\xFE\xAC\x20\r\0\n\0\x3C\xD8\xB5\xDF\r\0\n\0"s},
        {Encoding::UTF16BE, TEXT_CREATE | TEXT_NO_MARK, LineEnds::LF, "\x20\xAC\0\n\xD8\x3C\xDF\xB5\0\n"s},
    };
    TempFolder folder;
    for (const auto& c : cases) {
        const std::string path = folder / "x";
        std::filesystem::remove(path);
        auto writer = CreateTextFile(path, c.encoding, c.mode, c.line_ends, 4);
        EXPECT_TRUE(writer->Write("\u20AC\n\U0001F3B5"));
        EXPECT_TRUE(writer->Write("\n"));
        EXPECT_TRUE(writer->Close(true));
        EXPECT_EQ(ReadBytes(path), c.bytes);
        // Appending adds no second mark.
        CreateTextFile(path, c.encoding, TEXT_APPEND, c.line_ends)->Write("z");
        EXPECT_EQ(ReadBytes(path).size(), c.bytes.size() + (ByteOrderMark(c.encoding).size() == 2 ? 2 : 1));
    }
}

TEST(TextFileWriterTest, AFullDiskIsReportedAndStaysAnError) {
    auto writer = CreateTextFile("/dev/full", Encoding::UTF8, TEXT_CREATE, LineEnds::LF, 8);
    EXPECT_FALSE(writer->Write("more than the buffer holds"));
    EXPECT_EQ(GetLastError().text, "Error 28 writing to file:\n\n<b>/dev/full</b>\n\n(No space left on device)");
    EXPECT_FALSE(writer->Write("x"));
    EXPECT_FALSE(writer->Close());
    // What was still in the buffer is noticed at the end.
    writer = CreateTextFile("/dev/full", Encoding::UTF8);
    EXPECT_TRUE(writer->Write("x"));
    EXPECT_FALSE(writer->Close());
}

TEST(TextFileWriterTest, WhatIsWrittenIsReadBack) {
    std::mt19937 random(1);
    TempFolder folder;
    for (Encoding encoding : {Encoding::ANSI, Encoding::UTF8, Encoding::UTF16LE, Encoding::UTF16BE}) {
        Lines lines;
        for (int i = 0; i < 200; ++i) {
            std::string line;
            for (auto n = random() % 40; n > 0; --n) {
                const auto character = static_cast<char32_t>(random() % (random() % 2 ? 0x80 : 0x110000));
                if (character != '\n' && character != '\r') AppendUtf8(line, character);
            }
            lines.push_back(line);
        }
        lines.front().insert(0, "a");  // no mark by chance
        for (LineEnds line_ends : {LineEnds::LF, LineEnds::CRLF}) {
            const auto writer = CreateTextFile(folder / "x", encoding, TEXT_CREATE, line_ends, 64);
            for (const std::string& line : lines) writer->Write(line + "\n");
            ASSERT_TRUE(writer->Close());
            const auto reader = OpenTextFile(folder / "x", Encoding::Detect, 64);
            EXPECT_EQ(ReadAll(*reader), lines);
        }
    }
}

}  // namespace
}  // namespace Tesslib
