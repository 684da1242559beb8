// The table of audio file formats: the numbers that collections and settings hold, their extensions and classes.
#pragma once

#include <string_view>

#include "tesslib/filestream.h"

namespace Tesslib {

enum FileFormat : int {
    FF_NONE = 0,
    FF_MP3 = 1,
    FF_WAV = 2,
    FF_AAC = 3,
    FF_WMA = 4,
    FF_FLAC = 5,
    FF_OGG = 6,
    FF_AIFF = 7,
    FF_ALAC = 8,
    FF_CAF = 9,
    FF_DFF = 10,
    FF_DSF = 11,
};
inline constexpr int kFileFormats = 12;

// The one choice that a format may offer beside rate and depth, such as its quality.
struct LevelInfo {
    std::string_view name;  // empty: there is none
    int32_t lowest = 0;
    int32_t highest = 0;
    int32_t usual_recording = 0;
    int32_t usual_saving = 0;
};

enum FormatTraits : uint32_t {
    FORMAT_FLOATS = 1,      // 32 bits can be floats
    FORMAT_HOLDS_DSD = 2,   // DSD is what it is for
    FORMAT_CARRIES_DSD = 4  // can hold DSD in the words of a carrier
};

// A row of the table, which is all that the program knows of a format beside its class. A new format is its class and
// its row.
struct FileFormatInfo {
    FileFormat format;
    std::string_view name;              // as in [File Type]
    std::string_view extension;         // lower case, with the dot
    std::string_view other_extensions;  // likewise, parted by blanks
    std::string_view signatures;        // what its files begin with: four characters each, parted by blanks
    uint32_t traits = 0;
    Foundation::RefPtr<FileStream> (*make)() = nullptr;  // null: this build cannot handle it
    LevelInfo level{};

    // The usual choice of level, 0 for a format that has none.
    int32_t UsualLevel(bool saving) const { return saving ? level.usual_saving : level.usual_recording; }
};
const FileFormatInfo& GetFileFormatInfo(int format);

// The format of a file's extension (".aif" and ".wave" and their like included), FF_NONE if it is none of ours.
FileFormat FormatOfExtension(std::string_view extension);

// A fresh object of the format's class, which deletes itself with its last reference. Null for a format that this
// build cannot handle; the last error then says so.
Foundation::RefPtr<FileStream> MakeFileStream(int format);

// Opens an existing file for reading by its extension, or by its contents where the extension tells nothing. Null on
// failure: the result code in `error`, the reason as last error.
Foundation::RefPtr<FileStream> OpenForReading(std::string_view path, int& error);

}  // namespace Tesslib
