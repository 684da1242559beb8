#include "foundation/text.h"

#include <gtest/gtest.h>

#include "foundation/path.h"
#include "foundation/platform.h"

namespace Tesslib {
namespace {

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

}  // namespace
}  // namespace Tesslib
