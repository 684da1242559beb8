// Texts, paths, numbers, and text files in every encoding.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "foundation/muldiv.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "foundation/textfile.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;
using OrvaneTest::ReadBytes;
using OrvaneTest::TempFolder;

TEST(Text, NumbersAreReadLeniently) {
    struct Case {
        const char* text;
        int64_t integer;
        double number;
    };
    for (const Case& c : {Case{"  -7x", -7, -7},
                          {"+-5", -5, -5},
                          {"", 0, 0},
                          {"abc", 0, 0},
                          {"--3", 0, 0},
                          {"-.5e1 ", 0, -5},
                          {"2,5", 2, 2},
                          {"inf", 0, 0},
                          {"-nan", 0, 0},
                          {"0x10", 0, 0}}) {
        EXPECT_EQ(ParseInt(c.text), c.integer) << c.text;
        EXPECT_EQ(ParseDouble(c.text), c.number) << c.text;
    }
    EXPECT_EQ(ParseInt("99999999999999999999"), INT64_MAX);
    EXPECT_EQ(ParseInt("-99999999999999999999"), INT64_MIN);
}

TEST(Text, BytesThatAreNotUtf8BecomeReplacements) {
    const struct {
        std::string_view bytes, text;
    } cases[] = {
        {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5"},
        {"caf\xE9", "caf\uFFFD"},                          // Latin-1
        {"\xC0\xAF", "\uFFFD\uFFFD"},                      // overlong
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // above the last character
        {"12345678901\xE2\x82", "12345678901\uFFFD\uFFFD"},
        {"\xE2\x82z", "\uFFFD\uFFFDz"},
    };
    for (const auto& c : cases) {
        const std::string text = ValidUtf8(c.bytes);
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(ValidUtf8Prefix(text), text.size());
        // Decoding and encoding again gives the same.
        std::string again;
        for (size_t at = 0; at < c.bytes.size();) AppendUtf8(again, NextCharacter(c.bytes, at));
        EXPECT_EQ(again, c.text);
    }
    EXPECT_EQ(CharacterCount("caf\u00E9\U0001F3B5"), 5);
    EXPECT_EQ(ByteOffset("caf\u00E9\U0001F3B5", 4), 5u);
}

TEST(Text, OrderIgnoresCaseInEveryScript) {
    const char* ordered[] = {"",        "a",       "AB",           "abc",          "Z",
                             "\u00C9a", "\u00E9B", "\u0416\u0430", "\u0436\u0411", "\U0001F3B5"};
    for (size_t i = 0; i < std::size(ordered); ++i) {
        for (size_t j = 0; j < std::size(ordered); ++j) {
            const int order = CompareNoCase(ordered[i], ordered[j]);
            EXPECT_EQ((order > 0) - (order < 0), (i > j) - (i < j)) << ordered[i] << " and " << ordered[j];
        }
    }
    EXPECT_EQ(CompareNoCase("\u03A3\u03AF ABBA \u0178", "\u03C2\u03AF abba \u00FF"), 0);
}

TEST(Path, IsTakenApartAndJoined) {
    for (const auto& [path, folder] : {std::pair{"/music/a.b/Side 1.WAV", "/music/a.b"},
                                       {"C:\\Music\\Side 1.WAV", "C:\\Music"},
                                       {"/Side 1.WAV", "/"}}) {
        EXPECT_EQ(FolderOf(path), std::string(folder));
        EXPECT_EQ(FileNameOf(path), "Side 1.WAV");
        EXPECT_EQ(ExtensionOf(path), ".wav");
    }
    EXPECT_EQ(ExtensionOf("/music/a.b/side"), "");
    EXPECT_EQ(WithoutExtension("/music/a.b/side"), "/music/a.b/side");
    EXPECT_EQ(JoinPath("/a/", "/b"), "/a/b");
    EXPECT_EQ(AbsolutePath("/a/./b//../c/"), "/a/c");
    EXPECT_EQ(AbsolutePath("/../.."), "/");
}

TEST(Path, AnyTextBecomesAFileName) {
    const std::pair<const char*, const char*> cases[] = {
        {"12\" Mix: AC/DC?", "12 Mix- AC+DC"}, {"a\\b|c", "a+b c"}, {" \tdots... ", "dots"}, {"..", "_"}, {"", "_"},
        {"Bj\u00F6rk", "Bj\u00F6rk"}};
    for (const auto& [name, safe] : cases) EXPECT_EQ(SafeFileName(name), safe) << name;
}

TEST(MulDiv, RoundsHalvesAwayFromZeroAndHoldsTheLargest) {
    EXPECT_EQ(MulDiv64(20, 44100, 11520), 77);
    EXPECT_EQ(MulDiv64(1, 1, 2), 1);
    EXPECT_EQ(MulDiv64(-1, 1, 2), -1);
    EXPECT_EQ(MulDiv64(5, 3, 0), -1);
    EXPECT_EQ(MulDiv64(INT64_MAX, 4, 4), INT64_MAX);
    EXPECT_EQ(MulDiv(INT32_MAX, 2, 1), -1);
    EXPECT_EQ(to_samples(96000, 44100), 96000);
    EXPECT_EQ(to_ticks(96000, 96000), 44100);
}

Lines ReadAll(TextFileReader& reader) {
    Lines lines;
    for (std::string line; reader.ReadLine(line);) lines.push_back(line);
    EXPECT_FALSE(reader.Failed());
    return lines;
}

TEST(TextFileReaderTest, TakesEveryEncodingLineEndAndDamage) {
    const std::string le = "\xFF\xFE", be = "\xFE\xFF";
    const struct {
        const char* what;
        std::string bytes;
        Encoding found;
        Lines lines;
    } cases[] = {
        {"both line ends, empty lines", "a\r\n\r\n\nb\n", Encoding::ANSI, {"a", "", "", "b"}},
        {"a lone CR is text", "a\rb\r\r\n", Encoding::ANSI, {"a\rb\r"}},
        {"ANSI that is not", "caf\xE9\n", Encoding::ANSI, {"caf\uFFFD"}},
        {"UTF-8 mark", "\xEF\xBB\xBF\u20AC\r\n", Encoding::UTF8, {"\u20AC"}},
        {"UTF-16 LE", le + "a\0\xAC\x20\r\0\n\0b\0"s, Encoding::UTF16LE, {"a\u20AC", "b"}},
        {"UTF-16 BE", be + "\0a\x20\xAC\0\n\0b"s, Encoding::UTF16BE, {"a\u20AC", "b"}},
        {"a pair of surrogates", le + "\x3C\xD8\xB5\xDF"s, Encoding::UTF16LE, {"\U0001F3B5"}},
        {"two high ones, then a low one", be + "\xD8\x3C\xD8\x3C\xDF\xB5"s, Encoding::UTF16BE, {"\uFFFD\U0001F3B5"}},
        {"half a unit at the end", le + "a\0b"s, Encoding::UTF16LE, {"a\uFFFD"}},
    };
    TempFolder folder;
    for (const auto& c : cases) {
        const auto in_memory = ReadTextFrom(c.bytes);
        EXPECT_EQ(in_memory->GetEncoding(), c.found) << c.what;
        EXPECT_EQ(ReadAll(*in_memory), c.lines) << c.what;
        // Small buffers cut every character and line end in two.
        for (size_t buffer_size : {4, 5, 7, 16384}) {
            const auto reader = OpenTextFile(folder.Write("x", c.bytes), Encoding::Detect, buffer_size);
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
        size_t size_of_lf = 0;
        for (LineEnds line_ends : {LineEnds::LF, LineEnds::CRLF}) {
            std::filesystem::remove(folder / "x");
            for (size_t done : {size_t{0}, lines.size() / 2}) {  // what is appended gets no mark of its own
                const auto writer = CreateTextFile(folder / "x", encoding, TEXT_APPEND, line_ends, 64);
                for (size_t i = done; i < done + lines.size() / 2; ++i) writer->Write(lines[i] + "\n");
                ASSERT_TRUE(writer->Close());
            }
            const auto reader = OpenTextFile(folder / "x", Encoding::Detect, 64);
            EXPECT_EQ(ReadAll(*reader), lines);
            const size_t size = ReadBytes(folder / "x").size();
            if (line_ends == LineEnds::LF) size_of_lf = size;
            const size_t n_cr = line_ends == LineEnds::LF ? 0 : lines.size();
            EXPECT_EQ(size, size_of_lf + n_cr * (ByteOrderMark(encoding).size() == 2 ? 2 : 1));
        }
    }
}

}  // namespace
}  // namespace Tesslib
