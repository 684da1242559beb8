#include "tesslib/fileformats.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/lasterror.h"
#include "stream_checks.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using OrvaneTest::TempFolder;  // and not the function of that name

TEST(FileFormats, ExtensionsNameTheirFormats) {
    for (int format = FF_MP3; format < kFileFormats; ++format) {
        const FileFormatInfo& info = GetFileFormatInfo(format);
        EXPECT_EQ(info.format, format);
        // ALAC shares its extension with AAC, which stands for both.
        EXPECT_EQ(FormatOfExtension(info.extension), format == FF_ALAC ? FF_AAC : format);
    }
    struct Case {
        const char* extension;
        FileFormat format;
    };
    for (const Case& c : {Case{".FLAC", FF_FLAC},
                          {".aif", FF_AIFF},
                          {".aifc", FF_AIFF},
                          {".wave", FF_WAV},
                          {".w64", FF_WAV},
                          {".rf64", FF_WAV},
                          {".oga", FF_OGG},
                          {".txt", FF_NONE},
                          {"", FF_NONE},
                          {".???", FF_NONE},
                          {"flac", FF_NONE}}) {
        EXPECT_EQ(FormatOfExtension(c.extension), c.format) << c.extension;
    }
}

TEST(FileFormats, EachFormatMakesItsClassOrSaysWhyNot) {
    for (int format : {FF_NONE, FF_WAV, FF_FLAC, FF_OGG, FF_AIFF}) {
        RefPtr<FileStream> stream = MakeFileStream(format);
        ASSERT_TRUE(stream) << format;
        EXPECT_EQ(stream->file_format, format);
    }
    SetLastErrorText("");
    EXPECT_FALSE(MakeFileStream(FF_DSF));
    EXPECT_NE(GetLastError().text.find("DSF (DSD)"), std::string::npos);
}

TEST(FileFormats, FilesAreOpenedByExtensionOrElseByContents) {
    TempFolder folder;
    const std::vector<float> pairs = OrvaneTest::ToPairs(OrvaneTest::MusicInts(0.3, 44100, 2, 16), 2, 16);
    for (int format : {FF_WAV, FF_FLAC, FF_OGG, FF_AIFF}) {
        const std::string known = folder / ("a" + std::string(GetFileFormatInfo(format).extension));
        RefPtr<FileStream> out = MakeFileStream(format);
        ASSERT_EQ(out->SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(out->Open(known, OM_CREATE), 0);
        ASSERT_GE(out->Write(pairs.data(), static_cast<int32_t>(pairs.size() / 2)), 0);
        ASSERT_TRUE(out->Close());
        for (const char* name : {"", "plain", "b.bak"}) {
            const std::string path = *name ? folder / name : known;
            if (*name) std::filesystem::copy_file(known, path, std::filesystem::copy_options::overwrite_existing);
            int error = 1;
            RefPtr<FileStream> in = OpenForReading(path, error);
            ASSERT_TRUE(in) << path << GetLastError().text;
            EXPECT_EQ(error, 0);
            EXPECT_EQ(in->file_format, format);
            int result = 0;
            const std::vector<float> got = OrvaneTest::PullAll(*in, 4096, result);
            EXPECT_EQ(got.size(), pairs.size());
            // What WAV gives for the integers, the lossless others give to the last bit.
            EXPECT_TRUE(format == FF_OGG || got == pairs) << path;
            in->Close();
        }
    }
    struct Case {
        const char* name;
        const char* contents;
        int error;
    };
    for (const Case& c : {Case{"notes", "RIF", ERR_CONTENTS},
                          {"notes.txt", "fLac", ERR_CONTENTS},
                          {"empty", "", ERR_CONTENTS},
                          {"a.mp3", "ID3", ERR_CONTENTS},
                          {"wave.flac", "RIFF....WAVE", ERR_CONTENTS}}) {
        int error = 0;
        EXPECT_FALSE(OpenForReading(folder.Write(c.name, c.contents), error)) << c.name;
        EXPECT_EQ(error, c.error) << c.name;
    }
    int error = 0;
    EXPECT_FALSE(OpenForReading(folder / "missing", error));
    EXPECT_EQ(error, ERR_CANNOT_OPEN);
    EXPECT_FALSE(OpenForReading(folder.Path(), error)) << "a folder";
    EXPECT_LT(error, 0);
}

}  // namespace
}  // namespace Tesslib
