#include "tesslib/fileformats.h"

#include <array>

#include "foundation/assert.h"
#include "foundation/bytestream.h"
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

template <class File>
RefPtr<FileStream> Make() {
    return MakeRef<File>();
}

constexpr uint32_t kPlain = FORMAT_FLOATS | FORMAT_CARRIES_DSD;

constexpr std::array<FileFormatInfo, kFileFormats> kFormats{{
    {FF_NONE, "none", ".???", "", "", 0, Make<NullFileStream>},
    {FF_MP3, "MP3", ".mp3", "", ""},
    {FF_WAV, "WAV", ".wav", ".wave .w64 .rf64", "RIFF RF64 riff", kPlain, Make<WAVFile>},
    {FF_AAC, "AAC", ".m4a", ".mp4", ""},
    {FF_WMA, "WMA", ".wma", "", ""},
    {FF_FLAC, "FLAC", ".flac", "", "fLaC", 0, Make<FLACFile>, {"compression level", 0, 8, 5, 5}},
    {FF_OGG, "OGG (Vorbis)", ".ogg", ".oga", "OggS", 0, Make<OggFile>, {"quality", -1, 10, 4, 7}},
    {FF_AIFF, "AIFF", ".aiff", ".aif .aifc", "FORM", kPlain, Make<AIFFile>},
    {FF_ALAC, "Apple Lossless", ".m4a", "", ""},
    {FF_CAF, "CAF", ".caf", "", "", FORMAT_CARRIES_DSD},
    {FF_DFF, "DFF (DSDIFF)", ".dff", "", "", FORMAT_HOLDS_DSD},
    {FF_DSF, "DSF (DSD)", ".dsf", "", "", FORMAT_HOLDS_DSD},
}};

// Whether `word` is one of `words`, which blanks part.
bool IsAmong(std::string_view word, std::string_view words, bool no_case) {
    for (const std::string_view one : Split(words, ' ')) {
        if (!one.empty() && (no_case ? EqualNoCaseAscii(one, word) : one == word)) return true;
    }
    return false;
}

// FF_NONE when the first bytes are none of ours.
Result<FileFormat> FormatOfContents(std::string_view path) {
    std::unique_ptr<ByteStream> file;
    if (const int error = DiskStore().Open(path, ByteMode::Read, 0, file)) return CannotOpen(path, error);
    char bytes[4] = {};
    size_t n = 0;
    if (const int error = file->Read(bytes, sizeof bytes, n)) return CannotRead(path, error);
    for (const FileFormatInfo& info : kFormats) {
        if (IsAmong({bytes, n}, info.signatures, false)) return info.format;
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
    for (const FileFormatInfo& info : kFormats) {
        if (IsAmong(extension, info.other_extensions, true)) return info.format;
    }
    return FF_NONE;
}

RefPtr<FileStream> MakeFileStream(int format) {
    const FileFormatInfo& info = GetFileFormatInfo(format);
    if (info.make) return info.make();
    SetLastErrorText(FormatMsg(Msg::FormatNotHandled, std::string(info.name)));
    return {};
}

RefPtr<FileStream> OpenForReading(std::string_view path, int& error) {
    FileFormat format = FormatOfExtension(ExtensionOf(path));
    if (format == FF_NONE) {
        const Result<FileFormat> found = FormatOfContents(path);
        if (!found) {
            error = found.GetOutcome().ToStreamError();
            return {};
        }
        format = *found;
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
