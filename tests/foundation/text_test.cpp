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
    for (const Case& c : {Case{"42", 42, 42},
                          {"  -7x", -7, -7},
                          {"+5", 5, 5},
                          {"+-5", -5, -5},
                          {"", 0, 0},
                          {"abc", 0, 0},
                          {"-", 0, 0},
                          {"--3", 0, 0},
                          {"3.75", 3, 3.75},
                          {".5", 0, 0.5},
                          {"-.5e1 ", 0, -5},
                          {"2,5", 2, 2},
                          {"inf", 0, 0},
                          {"-nan", 0, 0},
                          {"0x10", 0, 0},
                          {"\t 12\n", 12, 12}}) {
        EXPECT_EQ(ParseInt(c.text), c.integer) << c.text;
        EXPECT_EQ(ParseDouble(c.text), c.number) << c.text;
    }
    EXPECT_EQ(ParseInt("99999999999999999999"), INT64_MAX);
    EXPECT_EQ(ParseInt("-99999999999999999999"), INT64_MIN);
}

TEST(Text, SplitTrimAndReplace) {
    EXPECT_EQ(Split("a,,b,", ','), (std::vector<std::string_view>{"a", "", "b", ""}));
    EXPECT_EQ(Split("", ','), std::vector<std::string_view>{""});
    EXPECT_EQ(Trim(" \t a b\r\n"), "a b");
    EXPECT_EQ(Trim(" \n"), "");
    EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
    EXPECT_TRUE(EqualNoCaseAscii("FLAC", "flac"));
    EXPECT_FALSE(EqualNoCaseAscii("flac", "fla"));
}

TEST(Text, BytesThatAreNotUtf8BecomeReplacements) {
    const struct {
        std::string_view bytes, text;
    } cases[] = {
        {"plain", "plain"},
        {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5"},
        {"caf\xE9", "caf\uFFFD"},                          // Latin-1
        {"\xC0\xAF", "\uFFFD\uFFFD"},                      // overlong
        {"\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"},            // overlong
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
    EXPECT_EQ(ByteOffset("abc", 9), 3u);
}

TEST(Text, OrderIgnoresCaseInEveryScript) {
    const char* ordered[] = {"",
                             "a",
                             "AB",
                             "abc",
                             "Z",
                             "\u00C9a",
                             "\u00E9B",
                             "\u0151",
                             "\u0391\u03A3",
                             "\u03B1\u03C4",
                             "\u0416\u0430",
                             "\u0436\u0411",
                             "\U0001F3B5"};
    for (size_t i = 0; i < std::size(ordered); ++i) {
        for (size_t j = 0; j < std::size(ordered); ++j) {
            const int order = CompareNoCase(ordered[i], ordered[j]);
            EXPECT_EQ((order > 0) - (order < 0), (i > j) - (i < j)) << ordered[i] << " and " << ordered[j];
        }
    }
    const std::pair<const char*, const char*> equal[] = {{"ABBA", "abba"},
                                                         {"\u00C4", "\u00E4"},
                                                         {"\u0178", "\u00FF"},
                                                         {"\u03A3\u03AF", "\u03C2\u03AF"},
                                                         {"\u041F\u0401", "\u043F\u0451"},
                                                         {"\u1E9E", "\u00DF"}};
    for (const auto& [a, b] : equal) EXPECT_EQ(CompareNoCase(a, b), 0) << a;
}

TEST(Path, TakesPathsApart) {
    const struct {
        const char *path, *folder, *name, *extension, *without;
    } cases[] = {
        {"/music/a.b/Side 1.WAV", "/music/a.b", "Side 1.WAV", ".wav", "/music/a.b/Side 1"},
        {"/music/a.b/side", "/music/a.b", "side", "", "/music/a.b/side"},
        {"C:\\Music\\x.mcf", "C:\\Music", "x.mcf", ".mcf", "C:\\Music\\x"},
        {"/x.flac", "/", "x.flac", ".flac", "/x"},
        {"x.tar.gz", "", "x.tar.gz", ".gz", "x.tar"},
        {"/home/.hidden", "/home", ".hidden", "", "/home/.hidden"},
        {"/a//b", "/a", "b", "", "/a//b"},
        {"/a/", "/a", "", "", "/a/"},
        {"", "", "", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FolderOf(c.path), c.folder) << c.path;
        EXPECT_EQ(FileNameOf(c.path), c.name) << c.path;
        EXPECT_EQ(ExtensionOf(c.path), c.extension) << c.path;
        EXPECT_EQ(WithoutExtension(c.path), c.without) << c.path;
    }
}

TEST(Path, JoinsAndResolves) {
    EXPECT_EQ(JoinPath("/a", "b"), "/a/b");
    EXPECT_EQ(JoinPath("/a/", "/b"), "/a/b");
    EXPECT_EQ(JoinPath("", "b"), "b");
    EXPECT_EQ(JoinPath("/", "b"), "/b");
    EXPECT_EQ(NativePath("a\\b/c"), "a/b/c");
    EXPECT_EQ(AbsolutePath("/a/./b//../c/"), "/a/c");
    EXPECT_EQ(AbsolutePath("/../.."), "/");
    EXPECT_EQ(AbsolutePath("x/y"), JoinPath(AbsolutePath(CurrentFolder()), "x/y"));
}

TEST(Path, AnyTextBecomesAFileName) {
    const std::pair<const char*, const char*> cases[] = {
        {"AC/DC", "AC+DC"},          {"12\" Mix: Live?", "12 Mix- Live"}, {"a\\b|c", "a+b c"}, {"<b>x</b>", "bx+b"},
        {" \tdots... ", "dots"},     {"tab\there", "tab here"},           {"..", "_"},         {"", "_"},
        {"Bj\u00F6rk", "Bj\u00F6rk"}};
    for (const auto& [name, safe] : cases) EXPECT_EQ(SafeFileName(name), safe) << name;
}

}  // namespace
}  // namespace Tesslib
