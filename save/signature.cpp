#include "save/signature.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>

#include "cleanup/filter/humrumblefilter.h"
#include "collection/crd_file.h"
#include "collection/listchange.h"
#include "collection/steering_records.h"
#include "foundation/messages.h"
#include "save/heldrepairs.h"
#include "save/track_tags.h"
#include "save/trackstream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

std::string Sha256Hex(std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_sha256(), nullptr);
    std::string hex;
    for (unsigned int i = 0; i < length; ++i) hex += fmt::sprintf("%02x", digest[i]);
    return hex;
}

// A stretch of a recording, in frames of the file.
struct Stretch {
    int64_t start;
    int64_t end;

    bool Touches(const BaseCorrection& correction) const {
        return correction.absolute_start_time < end && correction.absolute_end_time > start;
    }
};

// From the first frame that is heard in the track to the last, those that a cut takes out between them included. A
// cross-fade lies half on each side of its cut.
Stretch HeardStretch(const ALBUMTRACK& track, const RecordingPlace& place) {
    const FileHistoryEntry& entry = *place.entry;
    const int64_t first = to_samples(entry.SampleRate(), std::max<int64_t>(0, track.FadeStart() - place.start));
    const int64_t last = to_samples(entry.SampleRate(), track.FadeEnd() - place.start);
    Stretch heard{first, last};
    for (const CutAndSpliceCorrection& cut : entry.decided.cuts) {
        const int64_t half = cut.splice_length / 2;
        if (cut.start_time + half <= first) heard.start += cut.Length();
        if (cut.start_time - half < last) heard.end += cut.Length();
    }
    return heard;
}

bool UsesOwnNoise(const FilterSetting& filter) {
    return filter.values.hiss_mode == FILTER_ON && filter.extra.empty();
}

std::string FileText(std::string_view path) {
    FileInfo info;
    return GetFileInfo(path, info) == 0 ? fmt::sprintf("%d,%d\n", info.size, info.time) : "\n";
}

// A filter's record without its names, which nobody hears, and what lies outside of it: the settings for what its
// values leave open, and the noise sample.
std::string FilterText(FilterSetting filter, const FileHistoryEntry& entry) {
    filter.name.clear();
    filter.preset.clear();
    LineBuilder line;
    WriteFilterSetting(line, filter);
    if (filter.values.hum_mode == FILTER_ON) {
        line.Int(MainsFrequency(filter.values));
        line.Int(FiltersHarmonics(filter.values));
    }
    if (UsesOwnNoise(filter)) {
        line.Int(entry.decided.noise_stretch.start);
        line.Int(entry.decided.noise_stretch.end);
    } else if (filter.values.hiss_mode == FILTER_ON) {
        line.Text(FileText(filter.extra));
    }
    line.EndLine();
    return line.text;
}

std::string CurveText(FFTEq curve) {
    curve.name.clear();
    curve.preset.clear();
    LineBuilder line;
    WriteFFTEq(line, curve);
    line.EndLine();
    return line.text;
}

// The repairs that are heard in the track, and those in the noise that the hiss filter measures.
std::string RepairsText(const FileHistoryEntry& entry, const Stretch& heard) {
    bool own_noise = false;
    for (const FilterSetting& filter : entry.decided.filters) own_noise = own_noise || UsesOwnNoise(filter);
    const Stretch noise{entry.decided.noise_stretch.start, entry.decided.noise_stretch.end};
    std::string bytes;
    for (const ClickRepairList& list : entry.click_repairs) {
        bytes += "channel\n";
        list.ForEachDecided([&](const ClickRepair& repair) {
            if (!repair.Applied()) return;
            if (heard.Touches(repair) || (own_noise && noise.Touches(repair))) AppendRepair(bytes, repair);
        });
    }
    return bytes;
}

// What was decided about the recording that is heard in the track.
std::string CorrectionsText(const ALBUMTRACK& track, const RecordingPlace& place) {
    const FileHistoryEntry& entry = *place.entry;
    const Stretch heard = HeardStretch(track, place);
    std::string text;
    for (const CutAndSpliceCorrection& cut : entry.decided.cuts) {
        LineBuilder line;
        WriteCut(line, cut);
        if (cut.absolute_start_time < heard.end) text += line.text + "\n";
    }
    for (const FilterSetting& filter : entry.decided.filters) text += FilterText(filter, entry);
    for (const FFTEq& curve : entry.decided.fft_eqs) text += CurveText(curve);
    return text + RepairsText(entry, heard);
}

}  // namespace

std::string TrackFileSignature(const AlbumInfo& album, int track, const std::vector<RecordingPlace>& places,
                               const SaveSettings& settings) {
    const ALBUMTRACK& t = album.tracks[track];
    const FileOptions options = settings.OptionsOf(album);
    const Locked lists(ListChangeLock());
    int32_t silence_start, silence_end;
    GetTrackSilence(album, track, 0, silence_start, silence_end);
    std::string more = fmt::sprintf("%s\n%d,%d,%d\n", options.ChoicesText(settings.Format()), album.channel_mode,
                                    silence_start, silence_end);
    for (const std::string& comment : MakeVorbisTags(album, track, {}).comments) more += comment + "\n";
    for (const RecordingPlace& place : places) {
        if (!LiesIn(t, place)) continue;
        more += fmt::sprintf("recording at %d, %d,", place.start, place.entry->SwapChannels());
        more += FileText(place.entry->GetPath());
        if (options.save_corrections) more += CorrectionsText(t, place);
    }
    const FileTime recorded = places.empty() ? 0 : places.front().entry->facts.file_time;
    std::string text =
        fmt::sprintf("%d/%d/%d/%d/%d/%d/%s", recorded, t.start, t.end, t.filter_flags, t.fade_in, t.fade_out, more);
    if (const RefPtr<FileStream> writer = MakeWriter(settings.Format(), options)) {
        const TrackFormat format = OutputFormat(album, settings, *writer);
        text += fmt::sprintf("%d,%d,%d", format.samplerate, format.bit_depth, format.n_channels);
    }
    return Sha256Hex(text);
}

}  // namespace Orvane
