#include "save/savesettings.h"

#include <algorithm>

#include "foundation/path.h"
#include "foundation/settings.h"
#include "save/tracknames.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

int32_t Channels(const AlbumInfo& album) {
    if (album.channel_mode & CHANNELS_MONO) return 1;
    std::vector<FileHistoryEntry*> recordings = album.Recordings();
    bool mono =
        std::all_of(recordings.begin(), recordings.end(), [](auto* entry) { return entry->facts.channels == 1; });
    return !recordings.empty() && mono ? 1 : 2;
}

int32_t RateOf(const AlbumInfo& album) {
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    return recordings.empty() ? album.samplerate : recordings.front()->SampleRate();
}

}  // namespace

uint32_t SaveFlags(const FileOptions& options) {
    return PCM_BEST_QUALITY | (options.save_corrections ? 0 : PCM_NO_CLICK_REPAIR | PCM_NO_FILTERS);
}

SaveSettings SaveSettings::FromStore() {
    SaveSettings settings;
    settings.options = FileOptions::Load(OptionsContext::SaveTracks);
    // The usual choice is MP3; what this build cannot write becomes FLAC.
    int format = GetSetting("Save Track As File Format", FF_MP3);
    bool known = format > FF_NONE && format < kFileFormats && MakeFileStream(format);
    settings.options.file_format = known ? format : FF_FLAC;
    settings.rows_48000 = FileOptions::Load(OptionsContext::SaveTracks, RateFamily::Of48000).rows;
    settings.output_folder = GetStringSetting("Output Directory", MusicFolder());
    return settings;
}

void SaveSettings::AppendCollection(const AlbumSet& set) {
    if (!GetSetting("Append Collection Output", 1)) return;
    output_folder = JoinPath(output_folder, FileNameOf(WithoutExtension(set.path)));
}

RefPtr<FileStream> MakeWriter(int format, const FileOptions& options) {
    RefPtr<FileStream> writer = MakeFileStream(format);
    if (writer) writer->SetOptions({options.Row(format).level, options.wav_options});
    return writer;
}

FileOptions SaveSettings::OptionsOf(const AlbumInfo& album) const {
    FileOptions of_album = options;
    if (FamilyOf(RateOf(album)) == RateFamily::Of48000) of_album.rows = rows_48000;
    return of_album;
}

std::string SaveSettings::TemplateOf(const AlbumInfo& album) const {
    return name_template.empty() ? TemplateFor(album) : name_template;
}

TrackFormat OutputFormat(const AlbumInfo& album, const SaveSettings& settings, const FileStream& writer) {
    FileOptions options = settings.OptionsOf(album);
    TrackFormat format{0, 0, Channels(album)};
    options.Resolve(settings.Format(), format.samplerate, format.bit_depth);
    if (settings.samplerate) format.samplerate = settings.samplerate;
    if (settings.bit_depth) format.bit_depth = settings.bit_depth;
    if (!format.samplerate) format.samplerate = RateOf(album);
    if (!format.bit_depth) {
        for (const FileHistoryEntry* entry : album.Recordings())
            format.bit_depth = std::max<int32_t>(format.bit_depth, entry->facts.bits);
    }
    writer.AdjustFormat(format.samplerate, format.bit_depth, format.n_channels);
    return format;
}

}  // namespace Orvane
