#include "waveform/waveformreader.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <iterator>

#include "collection/dataobjects.h"
#include "collection/listchange.h"
#include "foundation/event.h"
#include "foundation/safefile.h"
#include "waveform/generatewaveform.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Files hold the records of this machine.
static_assert(sizeof(WaveformRecord) == 8 && std::endian::native == std::endian::little);

constexpr uint32_t kChain = PCM_NO_FADERS | PCM_USE_CACHE | PCM_NO_FILTERS;
constexpr uint32_t kCorrected = PCM_USE_CACHE | PCM_NO_FILTERS | PCM_NO_SWAP;
constexpr uint32_t kUncorrected = 0x10FFE02;  // nothing but cuts

// An edit waits for the chain no longer than this takes.
constexpr int32_t kFramesPerRead = 8192;

// Beyond any recording, and far from where whole numbers end.
constexpr double kFarthest = 1e15;

int64_t Whole(double value) {
    return static_cast<int64_t>(std::clamp(value, -kFarthest, kFarthest));
}

// The edge between two blocks that is nearest to a position.
int64_t NearestEdge(double position, int32_t block) {
    return Whole(std::ceil(position / block - 0.5));
}

// `part` of the way from one value to another.
WaveformRecord Between(const WaveformRecord& from, const WaveformRecord& to, double part) {
    const auto value = [part](int16_t a, int16_t b) { return static_cast<int16_t>(a + (b - a) * part); };
    return {value(from.min_left, to.min_left), value(from.max_left, to.max_left), value(from.min_right, to.min_right),
            value(from.max_right, to.max_right)};
}

// What lies between the edges of one range and those of the other, and 0.
void Difference(int16_t& low, int16_t& high, int16_t other_low, int16_t other_high) {
    const int at_low = low - other_low, at_high = high - other_high;
    low = static_cast<int16_t>(std::clamp(std::min({at_low, at_high, 0}), -32767, 32767));
    high = static_cast<int16_t>(std::clamp(std::max({at_low, at_high, 0}), -32767, 32767));
}

// The part of a repair that lies in a block, put over the block's range.
void CorrectRange(const ClickRepair& repair, int64_t block_start, int64_t block_end, int16_t& low, int16_t& high) {
    if (repair.repair_type == REPAIR_PATCH) {
        const int64_t start = repair.absolute_start_time;
        const auto [lowest, highest] =
            std::minmax_element(repair.samples.get() + (std::max(block_start, start) - start),
                                repair.samples.get() + (std::min(block_end, repair.absolute_end_time) - start));
        low = *lowest;
        high = *highest;
        return;
    }
    low = std::max(low, repair.min_sample);
    high = std::min(high, repair.max_sample);
    if (low > high) std::swap(low, high);
}

}  // namespace

WaveformReader::WaveformReader(FileHistoryEntry& entry) : entry(entry) {
    event::Subscribe(EVENT_WAVEFORM_PROGRESS, event::Arg(&entry), OnProgress, this);
    event::Subscribe(EVENT_ALBUM_CLOSING, 0, OnClosing, this);
    event::Subscribe(EVENT_COLLECTION_CLOSING, 0, OnClosing, this);
}

WaveformReader::~WaveformReader() {
    event::Unsubscribe(EVENT_WAVEFORM_PROGRESS, OnProgress, this);
    event::Unsubscribe(EVENT_ALBUM_CLOSING, OnClosing, this);
    event::Unsubscribe(EVENT_COLLECTION_CLOSING, OnClosing, this);
    Close();
}

Outcome WaveformReader::Open() {
    const Locked guard(lock);
    if (chain) return {};
    const Result<RefPtr<FileToPCM>> opened = OpenFileToPCM(entry, USER_WAVEFORM, kChain, 0);
    if (!opened) return opened.GetOutcome();
    path = entry.GetPath();
    chain = *opened;
    n_file_frames = chain->GetTotalSamples(PCM_NO_CUTS);
    return {};
}

void WaveformReader::Close() {
    const Locked guard(lock);
    CloseLevels();
    chain = nullptr;
}

void WaveformReader::CloseLevels() {
    for (Level* level : {&wfs_file, &wfo_file, &wfd_file}) level->file.reset();
}

// Files that have been made anew stand beside the ones that are open.
intptr_t WaveformReader::OnProgress(void* context, int, EventArg, EventArg ended, EventArg) {
    auto* self = static_cast<WaveformReader*>(context);
    if (!ended) return 0;
    const Locked guard(self->lock);
    self->CloseLevels();
    return 0;
}

// The files of an album may be renamed or deleted behind this.
intptr_t WaveformReader::OnClosing(void* context, int, EventArg closing, EventArg, EventArg) {
    auto* self = static_cast<WaveformReader*>(context);
    const AlbumInfo* album = self->entry.album;
    if (closing == event::Arg(album) || closing == event::Arg(album->set)) self->Close();
    return 0;
}

Outcome WaveformReader::Read(const WaveformView& view, WaveformPicture& picture) {
    ORVANE_ASSERT(view.frames_per_column > 0);
    picture.columns.clear();
    picture.samples.clear();
    picture.cuts.clear();
    picture.n_known = 0;
    const Locked guard(lock);
    if (!chain) return Outcome::FailText(Kind::Refused, "The recording is closed");
    if (view.width < 1) return {};
    TakeCuts(view, picture);
    Outcome outcome;
    if (view.frames_per_column < kWfdBlock) {
        outcome = ReadAudio(view, picture);
    } else {
        const Result<Level*> level = LevelFor(view.frames_per_column);
        if (level && !*level) return {};  // nothing is known yet
        outcome = level ? ReadLevel(**level, view, picture) : level.GetOutcome();
    }
    if (!outcome) picture = {};
    return outcome;
}

void WaveformReader::TakeCuts(const WaveformView& view, WaveformPicture& picture) {
    cuts.clear();
    const Locked lists(ListChangeLock());
    for (const CutAndSpliceCorrection& cut : entry.decided.cuts) {
        cuts.push_back({cut.start_time, cut.absolute_start_time, cut.Length()});
        const bool removed = view.cuts == WaveformCuts::Removed;
        const double left = view.XOf(static_cast<double>(removed ? cut.start_time : cut.absolute_start_time));
        const double right = removed ? left : view.XOf(static_cast<double>(cut.absolute_end_time));
        if (right >= 0 && left <= view.width) picture.cuts.push_back({left, right, cut.start_time, cut.Length()});
    }
}

// Opens a level's file unless it is open. There is none when it is neither fresh nor being made.
Outcome WaveformReader::OpenLevel(Level& level) {
    const bool fresh = IsWaveformFileFresh(path, level.extension);
    if (fresh && level.file && level.n_records == INT64_MAX) return {};
    level.file.reset();
    if (!fresh && !entry.waveform.generating) return {};
    const std::string final_name = FileHistoryEntry::WaveformPathFor(path, level.extension);
    int error = 0;
    level.file.reset(OpenFile(fresh ? final_name : TemporaryName(final_name), "rb", error));
    if (!level.file) return fresh ? Outcome::OfLastError(FailOpen(final_name, error)) : Outcome();
    std::setvbuf(level.file.get(), nullptr, _IONBF, 0);
    level.n_records = INT64_MAX;
    if (fresh) return {};
    if (fseeko(level.file.get(), 0, SEEK_END) != 0) return Outcome::OfLastError(FailRead(final_name, errno));
    level.n_records = ftello(level.file.get()) / static_cast<int64_t>(sizeof(WaveformRecord));
    return {};
}

// The level for a zoom, whatever the rate of the recording. Null while there is none.
Result<WaveformReader::Level*> WaveformReader::LevelFor(double frames_per_column) {
    Level* const coarse_first[] = {&wfs_file, &wfo_file, &wfd_file};
    const auto* level = coarse_first + (frames_per_column < 2048 ? 2 : frames_per_column < 16384 ? 1 : 0);
    Outcome opened = OpenLevel(**level);
    if (level == coarse_first && !(*level)->file) opened = OpenLevel(**++level);
    if (!opened) return opened;
    return (*level)->file ? *level : nullptr;
}

// The blocks of each column in the file: those that begin nearest to its edges. Where cuts are removed, the first
// column that lies behind a cut goes on behind it.
std::vector<WaveformReader::Blocks> WaveformReader::BlocksOf(const WaveformView& view, int32_t block) const {
    std::vector<Blocks> columns;
    columns.reserve(static_cast<size_t>(view.width));
    auto cut = view.cuts == WaveformCuts::Removed ? cuts.begin() : cuts.end();
    double removed = 0;
    for (int32_t column = 0; column < view.width; ++column) {
        const double position = view.PositionOf(column);
        for (; cut != cuts.end() && static_cast<double>(cut->start_time) <= position; ++cut) {
            removed += static_cast<double>(cut->n_frames);
        }
        const int64_t first = NearestEdge(position + removed, block);
        columns.push_back({first, std::max(first + 1, NearestEdge(view.PositionOf(column + 1) + removed, block))});
    }
    return columns;
}

Outcome WaveformReader::ReadLevel(Level& level, const WaveformView& view, WaveformPicture& picture) {
    const int64_t n_blocks = (n_file_frames + level.block - 1) / level.block;
    const std::vector<Blocks> columns = BlocksOf(view, level.block);
    const auto known = std::find_if(columns.begin(), columns.end(),
                                    [&](const Blocks& c) { return std::min(c.end, n_blocks) > level.n_records; });
    picture.n_known = static_cast<int32_t>(known - columns.begin());
    picture.columns.assign(columns.size(), {});
    const auto inside = [n_blocks](const Blocks& blocks) {
        return Blocks{std::clamp<int64_t>(blocks.first, 0, n_blocks), std::clamp<int64_t>(blocks.end, 0, n_blocks)};
    };
    for (size_t first = 0, next; first < columns.size(); first = next) {
        // What lies in one piece in the file is read in one piece.
        Blocks piece = columns[first];
        for (next = first + 1; next < columns.size() && columns[next].first == piece.end; ++next) {
            piece.end = columns[next].end;
        }
        piece = inside(piece);
        if (Outcome read = ReadRecords(level, piece); !read) return read;
        if (view.audio != WaveformAudio::Uncorrected) Correct(piece, level.block, view.audio);
        const WaveformRecord* record = records.data();
        for (size_t i = first; i < next; ++i) {
            const int64_t n = inside(columns[i]).Count();
            if (n == columns[i].Count()) picture.columns[i] = *record;
            for (const WaveformRecord* end = record + n; record < end; ++record) Widen(picture.columns[i], *record);
        }
    }
    return {};
}

// Fills `records`; what the file does not have is silence.
Outcome WaveformReader::ReadRecords(const Level& level, Blocks wanted) {
    records.assign(static_cast<size_t>(wanted.Count()), {});
    if (records.empty()) return {};
    FILE* file = level.file.get();
    const bool there = fseeko(file, wanted.first * static_cast<int64_t>(sizeof(WaveformRecord)), SEEK_SET) == 0;
    const size_t n = there ? std::fread(records.data(), sizeof(WaveformRecord), records.size(), file) : 0;
    if (there && (n == records.size() || !std::ferror(file))) return {};
    return Outcome::OfLastError(FailRead(FileHistoryEntry::WaveformPathFor(path, level.extension), errno));
}

// Adjusts the blocks in `records` that hold repairs to what these made of them, or to the difference. A scan for clicks
// enters what it finds from a thread of its own.
void WaveformReader::Correct(Blocks wanted, int32_t block, WaveformAudio audio) {
    corrected = records;
    {
        const Locked lists(ListChangeLock());
        for (int channel : {0, 1}) {
            for (const ClickRepair& repair : entry.click_repairs[channel]) {
                if (repair.absolute_start_time >= wanted.end * block) break;
                if (repair.absolute_end_time <= wanted.first * block || !repair.Applied()) continue;
                const int64_t first = std::max(repair.absolute_start_time / block, wanted.first);
                const int64_t last = std::min((repair.absolute_end_time - 1) / block, wanted.end - 1);
                for (int64_t i = first; i <= last; ++i) {
                    WaveformRecord& record = corrected[static_cast<size_t>(i - wanted.first)];
                    CorrectRange(repair, i * block, (i + 1) * block, channel == 0 ? record.min_left : record.min_right,
                                 channel == 0 ? record.max_left : record.max_right);
                }
            }
        }
    }
    if (audio == WaveformAudio::Corrected) return records.swap(corrected);
    for (size_t i = 0; i < records.size(); ++i) {
        Difference(records[i].min_left, records[i].max_left, corrected[i].min_left, corrected[i].max_left);
        Difference(records[i].min_right, records[i].max_right, corrected[i].min_right, corrected[i].max_right);
    }
}

// Fills `pairs` with the frames `first` to `end` of the view's timeline; outside of the recording there is silence.
Outcome WaveformReader::ReadPairs(int64_t first, int64_t end, const WaveformView& view) {
    const auto read = [&](uint32_t flags, std::vector<float>& out) -> int32_t {
        if (view.cuts == WaveformCuts::InPlace) flags |= PCM_NO_CUTS;
        out.assign(2 * static_cast<size_t>(end - first), 0.0f);
        for (int64_t at = std::max<int64_t>(first, 0); at < end;) {
            const auto wanted = static_cast<int32_t>(std::min<int64_t>(kFramesPerRead, end - at));
            const int32_t n = chain->Read(at, out.data() + 2 * (at - first), wanted, flags);
            if (n < 1) return n;
            at += n;
        }
        return 0;
    };
    int32_t error = 0;
    if (view.audio != WaveformAudio::Corrected) error = read(kUncorrected, pairs);
    if (view.audio == WaveformAudio::Corrected) error = read(kCorrected, pairs);
    if (view.audio == WaveformAudio::Difference && error >= 0) {
        error = read(kCorrected, other_pairs);
        std::transform(pairs.begin(), pairs.end(), other_pairs.begin(), pairs.begin(), std::minus<>());
    }
    return Outcome::OfLastError(error);
}

Outcome WaveformReader::ReadAudio(const WaveformView& view, WaveformPicture& picture) {
    // A frame more on each side, for the lines that come from there.
    const int64_t first = Whole(std::floor(view.PositionOf(0))) - 1;
    const int64_t end = Whole(std::ceil(view.PositionOf(view.width))) + 2;
    if (Outcome read = ReadPairs(first, end, view); !read) return read;
    picture.columns.assign(static_cast<size_t>(view.width), {});
    picture.n_known = view.width;
    const auto extremes = [&](int64_t from, int64_t to) {
        return ExtremesOf(pairs.data() + 2 * (from - first), static_cast<int32_t>(to - from));
    };
    if (view.frames_per_column >= 1) {
        for (int32_t column = 0; column < view.width; ++column) {
            const int64_t from = NearestEdge(view.PositionOf(column), 1);
            picture.columns[static_cast<size_t>(column)] =
                extremes(from, std::max(from + 1, NearestEdge(view.PositionOf(column + 1), 1)));
        }
        return {};
    }
    // Each frame has a column of its own; those between two of them go in steps from one to the other.
    const auto column_of = [&](int64_t frame) { return Whole(std::floor(view.XOf(static_cast<double>(frame) + 0.5))); };
    WaveformRecord to = extremes(first, first + 1);
    for (int64_t frame = first; frame + 1 < end; ++frame) {
        const WaveformRecord from = to;
        to = extremes(frame + 1, frame + 2);
        const int64_t left = column_of(frame), right = column_of(frame + 1);
        for (int64_t i = std::max<int64_t>(left, 0); i < std::min<int64_t>(right, view.width); ++i) {
            picture.columns[static_cast<size_t>(i)] =
                Between(from, to, static_cast<double>(i - left) / static_cast<double>(right - left));
        }
    }
    const int64_t n_frames =
        chain->GetTotalSamples(kUncorrected | (view.cuts == WaveformCuts::InPlace ? uint32_t{PCM_NO_CUTS} : 0));
    for (int64_t frame = std::max<int64_t>(first + 1, 0); frame < std::min(end - 1, n_frames); ++frame) {
        const float* pair = pairs.data() + 2 * (frame - first);
        picture.samples.push_back({static_cast<float>(view.XOf(static_cast<double>(frame))), pair[0], pair[1]});
    }
    return {};
}

}  // namespace Orvane
