#include "tesslib/fileformats.h"

#include <array>
#include <cerrno>
#include <cstring>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/text.h"
#include "tesslib/aiffile.h"
#include "tesslib/flacfile.h"
#include "tesslib/oggfile.h"
#include "tesslib/wavfile.h"

using namespace Foundation;

namespace Tesslib {

namespace {

constexpr std::array<FileFormatInfo, kFileFormats> kFormats{{
    {FF_NONE, "none", ".???"},
    {FF_MP3, "MP3", ".mp3"},
    {FF_WAV, "WAV", ".wav"},
    {FF_AAC, "AAC", ".m4a"},
    {FF_WMA, "WMA", ".wma"},
    {FF_FLAC, "FLAC", ".flac"},
    {FF_OGG, "OGG (Vorbis)", ".ogg"},
    {FF_AIFF, "AIFF", ".aiff"},
    {FF_ALAC, "Apple Lossless", ".m4a"},
    {FF_CAF, "CAF", ".caf"},
    {FF_DFF, "DFF (DSDIFF)", ".dff"},
    {FF_DSF, "DSF (DSD)", ".dsf"},
}};

struct OtherExtension {
    std::string_view extension;
    FileFormat format;
};
constexpr OtherExtension kOtherExtensions[] = {
    {".wave", FF_WAV},  {".w64", FF_WAV}, {".rf64", FF_WAV}, {".aif", FF_AIFF},
    {".aifc", FF_AIFF}, {".oga", FF_OGG}, {".mp4", FF_AAC},
};

struct Signature {
    std::string_view first_bytes;
    FileFormat format;
};
constexpr Signature kSignatures[] = {
    {"RIFF", FF_WAV}, {"RF64", FF_WAV}, {"riff", FF_WAV}, {"FORM", FF_AIFF}, {"fLaC", FF_FLAC}, {"OggS", FF_OGG},
};

// FF_NONE when the first bytes are none of ours or cannot be read; `error` is then 0 or the system's.
FileFormat FormatOfContents(std::string_view path, int& error) {
    FILE* file = OpenFile(path, "rb", error);
    if (!file) return FF_NONE;
    char bytes[4] = {};
    size_t n = fread(bytes, 1, sizeof bytes, file);
    fclose(file);
    for (const Signature& signature : kSignatures) {
        if (std::string_view(bytes, n) == signature.first_bytes) return signature.format;
    }
    return FF_NONE;
}

}  // namespace

const FileFormatInfo& GetFileFormatInfo(int format) {
    ORVANE_ASSERT(format >= 0 && format < kFileFormats);
    return kFormats[static_cast<size_t>(format)];
}

FileFormat FormatOfExtension(std::string_view extension) {
    for (const FileFormatInfo& info : kFormats) {
        if (info.format != FF_NONE && EqualNoCaseAscii(info.extension, extension)) return info.format;
    }
    for (const OtherExtension& other : kOtherExtensions) {
        if (EqualNoCaseAscii(other.extension, extension)) return other.format;
    }
    return FF_NONE;
}

RefPtr<FileStream> MakeFileStream(int format) {
    switch (format) {
        case FF_NONE:
            return MakeRef<NullFileStream>();
        case FF_WAV:
            return MakeRef<WAVFile>();
        case FF_FLAC:
            return MakeRef<FLACFile>();
        case FF_OGG:
            return MakeRef<OggFile>();
        case FF_AIFF:
            return MakeRef<AIFFile>();
        default:
            SetLastErrorText(FormatMsg(Msg::FormatNotHandled, std::string(GetFileFormatInfo(format).name)));
            return {};
    }
}

RefPtr<FileStream> OpenForReading(std::string_view path, int& error) {
    FileFormat format = FormatOfExtension(ExtensionOf(path));
    if (format == FF_NONE) {
        int system_error = 0;
        format = FormatOfContents(path, system_error);
        if (system_error) {
            error = FailOpen(path, system_error);
            return {};
        }
    }
    if (format == FF_NONE) {
        error = FailContents(FormatMsg(Msg::NotAudio, std::string(path)));
        return {};
    }
    RefPtr<FileStream> stream = MakeFileStream(format);
    if (!stream) SetLastErrorText(fmt::sprintf("<b>%s</b>: %s", std::string(path), GetLastError().text));
    error = stream ? stream->Open(path, OM_READ) : int{ERR_CONTENTS};
    return error == 0 ? stream : RefPtr<FileStream>();
}

}  // namespace Tesslib
