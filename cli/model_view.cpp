#include "cli/model_view.h"

#include "cli/fields.h"
#include "cli/texts.h"
#include "collection/albumset.h"
#include "collection/tracktime.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Counts; those of repairs that are there but cannot be read are not known.
Json CorrectionsJson(FileHistoryEntry& entry, bool open, std::vector<std::string>& remarks) {
    const Outcome loaded = open ? entry.LoadCorrections() : Outcome();
    if (!loaded) remarks.push_back(loaded.Plain());
    Json counts;
    counts["markers"] = entry.decided.markers.size();
    counts["side_breaks"] = entry.decided.side_breaks.size();
    counts["cuts"] = entry.decided.cuts.size();
    counts["filters"] = entry.decided.filters.size();
    counts["fft_eqs"] = entry.decided.fft_eqs.size();
    counts["click_repairs"] = {entry.click_repairs[0].size(), entry.click_repairs[1].size()};
    if (!loaded) {
        counts["click_repairs"] = nullptr;
        counts["error"] = remarks.back();
    }
    return counts;
}

Json RecordingJson(FileHistoryEntry& entry, std::vector<std::string>& remarks) {
    const Result<OpenRecording> opened = entry.Open(USER_PROBE);
    const bool open = opened.Ok();
    int64_t ticks = to_ticks(entry.SampleRate(), entry.TotalSamples());
    Json json;
    json["path"] = entry.GetPath();
    json["external"] = entry.name.IsExternal();
    json["file_format"] = GetFileFormatInfo(entry.facts.file_format).name;
    json["extension"] = entry.name.extension;
    json["name_suffix"] = entry.name.suffix;
    json["file_time"] = entry.facts.file_time;
    json["file_size"] = entry.facts.file_size;
    json["samplerate"] = entry.facts.samplerate;
    json["bits"] = entry.facts.bits;
    json["channels"] = entry.facts.channels;
    json["bit_rate"] = entry.facts.bit_rate;
    json["total_samples"] = entry.TotalSamples();
    json["seconds"] = Seconds(ticks);
    json["open_status"] = entry.facts.open_status;
    json["open_status_text"] = open ? "" : OpenStatusText(entry.facts.open_status);
    json["comment"] = entry.decided.comment;
    json["original_name"] = entry.facts.original_name;
    json["corrections"] = CorrectionsJson(entry, open, remarks);
    return json;
}

Json SideJson(const AlbumSide& side, int number, std::vector<std::string>& remarks) {
    Json json;
    json["side"] = number;
    json["newest"] = side.PositionOf(side.newest);
    json["latest_take"] = side.PositionOf(side.latest_take);
    json["history"] = Json::array();
    for (const auto& entry : side.history) json["history"].push_back(RecordingJson(*entry, remarks));
    return json;
}

}  // namespace

std::string FormatText(const FileHistoryEntry& entry) {
    return FormatText(entry.SampleRate(), entry.facts.bits, entry.facts.channels);
}

std::string FormatText(int32_t samplerate, int bits, int channels) {
    return fmt::format("{}, {} bits, {}", RateText(samplerate), bits, channels == 1 ? "mono" : "stereo");
}

std::string AlbumTitleText(const AlbumInfo& album) {
    return fmt::format("{}: {}{}", album.artist, album.title, album.year ? fmt::format(" ({})", album.year) : "");
}

Json TrackJson(const ALBUMTRACK& track, int number) {
    Json json;
    json["number"] = number;
    for (const Field<ALBUMTRACK>& field : TrackFields()) json[field.name] = field.get(track);
    json["filter_flags"] = track.filter_flags;
    json["start_seconds"] = Seconds(track.start);
    json["end_seconds"] = Seconds(track.end);
    json["fade_start"] = track.FadeStart();
    json["fade_end"] = track.FadeEnd();
    return json;
}

void ReportTracks(CommandContext& context, const AlbumInfo& album) {
    Json tracks = Json::array();
    Table table({Table::Align::Right, Table::Align::Left, Table::Align::Right, Table::Align::Right});
    for (int i = 0; i < album.tracks.size(); ++i) {
        const ALBUMTRACK& track = album.tracks[i];
        tracks.push_back(TrackJson(track, i + 1));
        std::vector<std::string> row = {std::to_string(i + 1), track.title};
        if (!track.IsEmpty()) {
            row.push_back(FormatTime(track.start));
            row.push_back(FormatTime(track.end));
            if (track.FadeIn()) row.push_back("in " + FormatTime(track.FadeIn()));
            if (track.FadeOut()) row.push_back("out " + FormatTime(track.FadeOut()));
        }
        if (track.excluded) row.push_back("left out");
        table.Add(row);
    }
    context.result["tracks"] = tracks;
    context.Text(table.Empty() ? "The album has no tracks yet\n" : table.Text());
}

Json AlbumHeadJson(const AlbumInfo& album, int number) {
    Json json;
    json["number"] = number;
    for (const Field<AlbumDetails>& field : AlbumFields()) json[field.name] = field.get(album);
    json["status_text"] = StatusText(album.status);
    json["samplerate"] = album.samplerate;
    json["sample_format"] = album.sample_format;
    json["sides_adjusted"] = album.sides_adjusted;
    return json;
}

Json AlbumJson(AlbumInfo& album, int number, std::vector<std::string>& remarks) {
    std::vector<RecordingPlace> places = PlaceRecordings(album);
    Json json = AlbumHeadJson(album, number);
    json["duration"] = places.empty() ? 0 : places.back().end;
    json["duration_seconds"] = places.empty() ? 0 : Seconds(places.back().end);
    json["tracks"] = Json::array();
    for (int i = 0; i < album.tracks.size(); ++i) json["tracks"].push_back(TrackJson(album.tracks[i], i + 1));
    json["sides"] = Json::array();
    for (int i = 0; i < album.sides.size(); ++i) {
        json["sides"].push_back(album.sides[i] ? SideJson(*album.sides[i], i + 1, remarks) : Json());
    }
    return json;
}

}  // namespace Orvane
