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

struct FileFormatInfo {
    FileFormat format;
    std::string_view name;       // as in [File Type]
    std::string_view extension;  // lower case, with the dot
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
