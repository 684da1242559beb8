#include "save/save_track.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_set>

#include "cleanup/filter/humrumblefilter.h"
#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "save/track_tags.h"
#include "save/tracknames.h"
#include "save/trackstream.h"
#include "save/write_stream.h"
#include "tesslib/aiffile.h"
#include "tesslib/flacfile.h"
#include "tesslib/id3v2.h"
#include "tesslib/oggfile.h"
#include "tesslib/wavfile.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int32_t kBlock = 0x4000;          // pairs moved at once
constexpr int64_t kReportNs = 250'000'000;  // progress is told no more often
// Bytes of a name, and of a path, that the system takes with the temporary file's mark.
constexpr size_t kMaxFileName = 251;
constexpr size_t kMaxPath = 4091;
constexpr size_t kSignatureLength = 64;

constexpr std::string_view kNotRecorded =
    "<fg color='#ff0000'>This track has not yet been recorded (or starts beyond the end of the recording).</fg>  You "
    "can "
    "delete it in the <b>Split Tracks window</b> if you no longer want it.";
constexpr std::string_view kNoBreak =
    "<fg color=#ff0000>No track break has yet been defined for this track.</fg>  To add track breaks, click on the "
    "<b>Split Tracks</b> tab and then place a red marker at the end of each track.";

std::string Sha256Hex(std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_sha256(), nullptr);
    std::string hex;
    for (unsigned int i = 0; i < length; ++i) hex += fmt::sprintf("%02x", digest[i]);
    return hex;
}

// Whether the file is a track that Orvane saved, as it is or as it once was; otherwise it is the user's own.
bool HasSignature(FileStream& reader, const std::string& filename) {
    const std::string text = reader.ReadTags(filename);
    return text.size() == kSignatureLength && text.find_first_not_of("0123456789abcdef") == text.npos;
}

// Every decision about the recording that is heard in its tracks.
std::string CorrectionsText(const FileHistoryEntry& entry) {
    std::string text = fmt::sprintf("%d|", entry.SwapChannels());
    for (const CutAndSpliceCorrection& cut : entry.cuts) {
        text += fmt::sprintf("c%d,%d,%d|", cut.absolute_start_time, cut.absolute_end_time, cut.splice_length);
    }
    for (const FilterSetting& filter : entry.filters) {
        const FilterValues& v = filter.values;
        text += fmt::sprintf("f%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%s", filter.absolute_start_time,
                             filter.absolute_end_time, v.hiss_mode, v.hiss_reduction, v.hiss_quality, v.hum_mode,
                             v.mains_frequency, v.rumble_mode, v.eq_mode, v.preamp_left, v.preamp_right,
                             v.dc_offset_only, v.filter_harmonics, filter.extra);
        for (int32_t band : v.bands) text += fmt::sprintf(",%d", band);
        if (v.hiss_mode == FILTER_ON) {
            text += fmt::sprintf(",%d,%d", entry.view_position[0], entry.view_position[1]);
            FileInfo noise;
            if (!filter.extra.empty() && GetFileInfo(filter.extra, noise) == 0) {
                text += fmt::sprintf("n%d,%d", noise.size, noise.time);
            }
        }
        // The settings decide what the values leave open.
        if (v.hum_mode == FILTER_ON && (v.mains_frequency < 1 || v.filter_harmonics < 0)) {
            text += fmt::sprintf("m%d,%d", MainsFrequency(v), FiltersHarmonics(v));
        }
    }
    for (const FFTEq& eq : entry.fft_eqs) {
        text += fmt::sprintf("e%d,%d,%d,%d", eq.absolute_start_time, eq.absolute_end_time, eq.enable, eq.gain);
        for (const FFTCurve::Point& point : eq.curve.points) text += fmt::sprintf(",%.2f:%.4f", point.freq, point.gain);
    }
    FileInfo crd;
    if (GetFileInfo(entry.CorrectionsPath(), crd) == 0) text += fmt::sprintf("r%d,%d", crd.size, crd.time);
    return text;
}

int32_t Channels(const AlbumInfo& album) {
    if (album.channel_mode & CHANNELS_MONO) return 1;
    std::vector<FileHistoryEntry*> recordings = album.Recordings();
    bool mono = std::all_of(recordings.begin(), recordings.end(), [](auto* entry) { return entry->channels == 1; });
    return !recordings.empty() && mono ? 1 : 2;
}

// The format a track is written in: what the user chose, bent to what the class can hold.
struct TrackFormat {
    int32_t samplerate;
    int32_t bit_depth;
    int32_t n_channels;
};
TrackFormat OutputFormat(const AlbumInfo& album, const SaveSettings& settings, const FileStream& writer) {
    FileOptions options = settings.options;
    TrackFormat format{0, 0, Channels(album)};
    options.Resolve(settings.Format(), format.samplerate, format.bit_depth);
    if (settings.samplerate) format.samplerate = settings.samplerate;
    if (settings.bit_depth) format.bit_depth = settings.bit_depth;
    std::vector<FileHistoryEntry*> recordings = album.Recordings();
    if (!format.samplerate)
        format.samplerate = recordings.empty() ? album.samplerate : recordings.front()->SampleRate();
    if (!format.bit_depth) {
        for (const FileHistoryEntry* entry : recordings)
            format.bit_depth = std::max<int32_t>(format.bit_depth, entry->bits);
    }
    writer.AdjustFormat(format.samplerate, format.bit_depth, format.n_channels);
    return format;
}

void SetTags(FileStream& writer, const AlbumInfo& album, int track, const std::string& signature) {
    if (auto* flac = dynamic_cast<FLACFile*>(&writer)) {
        flac->SetTagData(MakeVorbisTags(album, track, signature));
    } else if (auto* ogg = dynamic_cast<OggFile*>(&writer)) {
        ogg->SetTagData(MakeVorbisTags(album, track, signature));
    } else {
        writer.tags = MakeID3v2Text(kPrivateTag, signature);
    }
}

// All albums of the collection, or just `albums` where they are in none. What has not been recorded yet comes last.
std::vector<AlbumInfo*> InOrderOfRecording(std::vector<AlbumInfo*> albums) {
    if (AlbumSet* set = albums.empty() ? nullptr : albums.front()->set) {
        albums.clear();
        for (AlbumInfo& album : set->albums) albums.push_back(&album);
    }
    const auto recorded = [](const AlbumInfo* album) {
        const FileTime time = DateRecorded(*album);
        return time ? time : std::numeric_limits<FileTime>::max();
    };
    std::stable_sort(albums.begin(), albums.end(),
                     [&](const AlbumInfo* a, const AlbumInfo* b) { return recorded(a) < recorded(b); });
    return albums;
}

// Names made without what depends on sides: only tracks that share one can share a file.
using SidelessNames = std::unordered_set<std::string>;

std::string SidelessName(const AlbumInfo& album, int track, const SaveSettings& settings) {
    return LowerAscii(ExpandTemplate(WithoutSideKeywords(settings.TemplateOf(album)), album, track, NamePart::WholePath,
                                     settings.Format()));
}

// Those of all tracks; none where the template has no sides.
SidelessNames SidelessNamesOf(const AlbumInfo& album, const SaveSettings& settings) {
    SidelessNames names;
    const std::string name_template = settings.TemplateOf(album);
    if (WithoutSideKeywords(name_template) == name_template) return names;
    for (int track = 0; track < album.tracks.size(); ++track) names.insert(SidelessName(album, track, settings));
    return names;
}

struct UnsureAlbum {
    const AlbumInfo* album;
    SidelessNames names;
};

// Has the lengths of the sides found for the names of `wanted`, and for those of `albums` that could be the same; a big
// collection may lie on a server, so nothing else is opened. Returns the albums of which a recording is missing.
std::vector<UnsureAlbum> FindSides(const std::vector<AlbumInfo*>& albums, const std::vector<AlbumInfo*>& wanted,
                                   const SaveSettings& settings) {
    std::vector<UnsureAlbum> unsure;
    SidelessNames wanted_names;
    for (const AlbumInfo* album : wanted) wanted_names.merge(SidelessNamesOf(*album, settings));
    if (wanted_names.empty()) return unsure;
    for (AlbumInfo* album : albums) {
        if (album->Recordings().size() < 2) continue;  // on the only side, however long it is
        SidelessNames names = SidelessNamesOf(*album, settings);
        const auto is_wanted = [&](const std::string& name) { return wanted_names.count(name) != 0; };
        if (std::none_of(names.begin(), names.end(), is_wanted)) continue;
        if (EndOfRecordings(*album) == kUnknownEnd) unsure.push_back({album, std::move(names)});
    }
    return unsure;
}

}  // namespace

bool IsTooLong(const std::string& filename) {
    return FileNameOf(filename).size() > kMaxFileName || filename.size() > kMaxPath;
}

uint32_t SaveFlags(const FileOptions& options) {
    return PCM_BEST_QUALITY | (options.save_corrections ? 0 : PCM_NO_CLICK_REPAIR | PCM_NO_FILTERS);
}

const char* SaveStatusText(SaveTrackStatus status) {
    switch (status) {
        case SAVE_DONE:
            return "saved";
        case SAVE_ALREADY:
            return "already saved";
        case SAVE_PARTIAL:
            return "partially saved";
        case SAVE_SKIPPED:
        case SAVE_NO_BREAK:
            return "skipped";
        case SAVE_CANCELLED:
            return "cancelled";
        default:
            return "failed";
    }
}

SaveSettings SaveSettings::FromStore() {
    SaveSettings settings;
    settings.options = FileOptions::Load(OptionsContext::SaveTracks);
    // The usual choice is MP3; what this build cannot write becomes FLAC.
    int format = GetSetting("Save Track As File Format", FF_MP3);
    bool known = format > FF_NONE && format < kFileFormats && MakeFileStream(format);
    settings.options.file_format = known ? format : FF_FLAC;
    settings.output_folder = GetStringSetting("Output Directory", MusicFolder());
    return settings;
}

void SaveSettings::AppendCollection(const AlbumSet& set) {
    if (!GetSetting("Append Collection Output", 1)) return;
    output_folder = JoinPath(output_folder, FileNameOf(WithoutExtension(set.path)));
}

RefPtr<FileStream> MakeWriter(int format, const FileOptions& options) {
    if (format == FF_WAV) return RefPtr<FileStream>(new WAVFile(options.wav_options));
    RefPtr<FileStream> writer = MakeFileStream(format);
    if (auto* flac = dynamic_cast<FLACFile*>(writer.get())) flac->SetCompressionLevel(options.Row(FF_FLAC).level);
    if (auto* ogg = dynamic_cast<OggFile*>(writer.get())) ogg->SetQuality(options.Row(FF_OGG).level);
    return writer;
}

std::string SaveSettings::TemplateOf(const AlbumInfo& album) const {
    return name_template.empty() ? TemplateFor(album) : name_template;
}

std::vector<std::vector<std::string>> TrackFileNames(const std::vector<AlbumInfo*>& albums,
                                                     const SaveSettings& settings) {
    const std::string_view extension = GetFileFormatInfo(settings.Format()).extension;
    const auto path_of = [&](const std::string& name) {
        return JoinPath(settings.output_folder, name + std::string(extension));
    };
    std::vector<std::vector<std::string>> names(albums.size());
    std::unordered_set<std::string> taken;
    const std::vector<AlbumInfo*> all = InOrderOfRecording(albums);
    const std::vector<UnsureAlbum> unsure = FindSides(all, albums, settings);
    for (const AlbumInfo* album : all) {
        const auto wanted = std::find(albums.begin(), albums.end(), album);
        // Whether the file there may be that of a track whose name is not known now.
        const auto may_be_others = [&](int track, const std::string& path) {
            const auto shares = [&](const UnsureAlbum& other) {
                return other.album != album && other.names.count(SidelessName(*album, track, settings)) != 0;
            };
            std::string message;
            return wanted != albums.end() && std::any_of(unsure.begin(), unsure.end(), shares) && FileExists(path) &&
                   CheckTrack(*album, track, settings, path, message) != SAVE_ALREADY;
        };
        std::vector<std::string> of_album;
        const std::string name_template = settings.TemplateOf(*album);
        for (int track = 0; track < album->tracks.size(); ++track) {
            std::string name = ExpandTemplate(name_template, *album, track, NamePart::WholePath, settings.Format());
            if (name.empty()) name = fmt::sprintf("%02d", track + 1);
            std::string unique = name;
            for (int i = 2; !taken.insert(LowerAscii(unique)).second || may_be_others(track, path_of(unique)); ++i) {
                unique = fmt::sprintf("%s (%d)", name, i);
            }
            of_album.push_back(path_of(unique));
        }
        if (wanted != albums.end()) names[static_cast<size_t>(wanted - albums.begin())] = std::move(of_album);
    }
    return names;
}

std::vector<std::string> TrackFileNames(AlbumInfo& album, const SaveSettings& settings) {
    return TrackFileNames(std::vector{&album}, settings).front();
}

std::string TrackFileSignature(const AlbumInfo& album, int track, const SaveSettings& settings) {
    const ALBUMTRACK& t = album.tracks[track];
    std::vector<FileHistoryEntry*> recordings = album.Recordings();
    FileTime recorded = recordings.empty() ? 0 : recordings.front()->file_time;
    std::string more = settings.options.ChoicesText(settings.Format()) +
                       fmt::sprintf("|%d|%d|", settings.bit_depth, album.channel_mode);
    int32_t silence_start, silence_end;
    GetTrackSilence(album, track, 0, silence_start, silence_end);
    more += fmt::sprintf("%d,%d|", silence_start, silence_end);
    for (const std::string& comment : MakeVorbisTags(album, track, {}).comments) more += comment + "\n";
    for (const FileHistoryEntry* entry : recordings) {
        FileInfo info;
        if (GetFileInfo(entry->GetPath(), info) == 0) more += fmt::sprintf("%d,%d,", info.size, info.time);
        if (settings.options.save_corrections) more += CorrectionsText(*entry);
    }
    std::string text =
        fmt::sprintf("%d/%d/%d/%d/%d/%d/%s", recorded, t.start, t.end, t.filter_flags, t.fade_in, t.fade_out, more);
    RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    if (writer) text += fmt::sprintf("%d", OutputFormat(album, settings, *writer).samplerate);
    return Sha256Hex(text);
}

SaveTrackStatus CheckTrack(const AlbumInfo& album, int track, const SaveSettings& settings, const std::string& filename,
                           std::string& message) {
    const ALBUMTRACK& t = album.tracks[track];
    if (t.excluded) return SAVE_SKIPPED;
    if (settings.Format() == FF_DFF || settings.Format() == FF_DSF) {
        message = "Orvane cannot save a PCM recording as a DSD file, sorry.";
        return SAVE_CANNOT_HOLD;
    }
    RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    if (!writer) {
        message = GetLastError().text;
        return SAVE_CANNOT_HOLD;
    }
    if (IsTooLong(filename)) {
        message = kFilenameTooLong;
        return SAVE_FAILED;
    }
    if (t.IsEmpty()) {
        message = kNoBreak;
        return SAVE_NO_BREAK;
    }
    bool good = FileExists(filename) && writer->ReadTags(filename) == TrackFileSignature(album, track, settings);
    return good ? SAVE_ALREADY : SAVE_NEEDED;
}

int CopySamples(PCMStream& stream, FileStream& file, uint32_t flags, uint8_t channel_mode,
                const SaveProgress& progress) {
    std::vector<float> block(static_cast<size_t>(kBlock) * 2);
    int64_t total = stream.GetTotalSamples(flags);
    int64_t next_report = MonotonicNs() + kReportNs;
    for (int64_t position = 0;;) {
        int32_t n = stream.Read(position, block.data(), kBlock, flags);
        if (n < 0) return n;
        if (n == 0) return 0;
        if (channel_mode & (CHANNELS_LEFT_ONLY | CHANNELS_RIGHT_ONLY)) {
            int from = channel_mode & CHANNELS_LEFT_ONLY ? 0 : 1;
            for (int32_t i = 0; i < n; ++i) block[2 * i + 1 - from] = block[2 * i + from];
        } else if (channel_mode & CHANNELS_MONO) {
            MixToMono(block.data(), n, block.data());
        }
        if (int64_t written = file.Write(block.data(), n); written < 0) return static_cast<int>(written);
        position += n;
        if (!progress || MonotonicNs() < next_report) continue;
        if (!progress(position, total)) return 1;
        next_report = MonotonicNs() + kReportNs;
    }
}

SaveTrackStatus WriteTrack(const AlbumInfo& album, int track, const SaveSettings& settings, const std::string& filename,
                           const SaveProgress& progress, std::string& message) {
    // By a writer of its own: what was read of the old file must not shape the new one.
    const OldFile old_file =
        HasSignature(*MakeWriter(settings.Format(), settings.options), filename) ? OldFile::Drop : OldFile::Trash;
    RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    TrackFormat format = OutputFormat(album, settings, *writer);
    uint32_t flags = SaveFlags(settings.options);
    RefPtr<TrackPCMStream> stream = MakeTrackPCMStream(&album, track, flags, format.samplerate, 0);
    if (stream->MusicSamples(flags) <= 0) {
        message = kNotRecorded;
        return SAVE_NO_BREAK;
    }
    auto Fail = [&] {
        message = GetLastError().text;
        return SAVE_FAILED;
    };
    if (int error = CreateFolders(FolderOf(filename))) {
        FailCreateFolder(FolderOf(filename), error);
        return Fail();
    }
    if (writer->SetSBC(format.samplerate, format.bit_depth, format.n_channels) < 0) return Fail();
    SetTags(*writer, album, track, TrackFileSignature(album, track, settings));
    int result = WriteStream(*stream, *writer, filename, old_file, flags, album.channel_mode, progress);
    if (result != 0) return result > 0 ? SAVE_CANCELLED : Fail();
    // Rounding of times can cost a frame or two; more than a millisecond is missing music.
    bool partial = stream->WantedSamples() - stream->MusicSamples(flags) > format.samplerate / 1000;
    return partial ? SAVE_PARTIAL : SAVE_DONE;
}

}  // namespace Orvane
