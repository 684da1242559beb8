#include "waveform/waveformreader.h"

#include <algorithm>
#include <bit>
#include <cerrno>

#include "collection/dataobjects.h"
#include "collection/listchange.h"
#include "foundation/event.h"
#include "foundation/host.h"
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

void Widen(WaveformRecord& column, const WaveformRecord& record) {
    column.min_left = std::min(column.min_left, record.min_left);
    column.max_left = std::max(column.max_left, record.max_left);
    column.min_right = std::min(column.min_right, record.min_right);
    column.max_right = std::max(column.max_right, record.max_right);
}

// `part` of the way from one value to another.
WaveformRecord Between(const WaveformRecord& from, const WaveformRecord& to, double part) {
    const auto value = [part](int16_t a, int16_t b) { return static_cast<int16_t>(a + (b - a) * part); };
    return {value(from.min_left, to.min_left), value(from.max_left, to.max_left), value(from.min_right, to.min_right),
            value(from.max_right, to.max_right)};
}

// Where the columns of a zoom come from.
enum class WaveformSource { Audio, Wfd, Wfo, Wfs };

// By the frames that a column stands for, rounded down; whatever the rate of the recording.
WaveformSource ChooseWaveformSource(int64_t frames_per_column) {
    if (frames_per_column < 64) return WaveformSource::Audio;
    if (frames_per_column < 2048) return WaveformSource::Wfd;
    return frames_per_column < 16384 ? WaveformSource::Wfo : WaveformSource::Wfs;
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
    CloseAudio();
}

void WaveformReader::CloseAudio() {
    if (!audio) return;
    audio = nullptr;
    entry.Close(USER_WAVEFORM);
}

void WaveformReader::CloseLevels() {
    for (Level* level : {&wfs_file, &wfo_file, &wfd_file}) level->file.reset();
}

// Files that have been made anew stand beside the ones that are open.
intptr_t WaveformReader::OnProgress(void* context, int, EventArg, EventArg ended, EventArg) {
    auto* self = static_cast<WaveformReader*>(context);
    if (ended) self->CloseLevels();
    return 0;
}

// The files of an album may be renamed or deleted behind this.
intptr_t WaveformReader::OnClosing(void* context, int, EventArg closing, EventArg, EventArg) {
    auto* self = static_cast<WaveformReader*>(context);
    const AlbumInfo* album = self->entry.album;
    if (closing != event::Arg(album) && closing != event::Arg(album->set)) return 0;
    self->CloseLevels();
    self->CloseAudio();
    return 0;
}

// Whole blocks for each column, a fraction being carried on until it makes one more. With `passes_cuts` the blocks are
// those of the file, and the first column that lies behind a cut goes on behind it.
std::vector<WaveformReader::Stretch> WaveformReader::StretchesOf(const WaveformView& view, int32_t block,
                                                                 bool passes_cuts) const {
    std::vector<Stretch> stretches;
    const double frames = static_cast<double>(view.n_samples) / view.width;
    const double blocks = frames / block;
    const auto whole = static_cast<int32_t>(blocks);
    double carry = 0;
    int64_t taken = 0, removed = 0;
    const CutAndSpliceCorrection* cut = passes_cuts ? entry.cuts.First() : nullptr;
    for (int32_t pixel = 0; pixel < view.width; ++pixel) {
        const int64_t position = view.first + static_cast<int64_t>(pixel * frames);
        for (; cut && cut->start_time <= position; cut = CutList::Next(cut)) removed += cut->Length();
        carry += blocks - whole;
        const bool one_more = carry > 0.5;
        if (one_more) carry -= 1.0;
        const int32_t n = whole + one_more;
        stretches.push_back({(view.first + removed) / block + taken, n});
        taken += n;
    }
    return stretches;
}

// Adjusts the blocks in `records` that hold a repair of the channel to what the repair made of them.
void WaveformReader::Correct(int channel, Stretch wanted, int32_t block) {
    const int64_t start = wanted.first * block, end = (wanted.first + wanted.n) * block;
    for (const ClickRepair& repair : entry.click_repairs[channel]) {
        if (repair.absolute_start_time >= end) break;
        if (repair.absolute_end_time <= start || !repair.Applied()) continue;
        const int64_t last = std::min(repair.absolute_end_time, end) - 1;
        for (int64_t i = std::max(repair.absolute_start_time, start) / block; i <= last / block; ++i) {
            WaveformRecord& record = records[static_cast<size_t>(i - wanted.first)];
            int16_t& low = channel == 0 ? record.min_left : record.min_right;
            int16_t& high = channel == 0 ? record.max_left : record.max_right;
            if (repair.repair_type == REPAIR_PATCH) {
                const int64_t from = std::max(i * block, repair.absolute_start_time) - repair.absolute_start_time;
                const int64_t to = std::min((i + 1) * block, repair.absolute_end_time) - repair.absolute_start_time;
                const auto [lowest, highest] =
                    std::minmax_element(repair.samples.get() + from, repair.samples.get() + to);
                low = *lowest;
                high = *highest;
            } else {
                low = std::max(low, repair.min_sample);
                high = std::min(high, repair.max_sample);
                if (low > high) std::swap(low, high);
            }
        }
    }
}

// Fills `records`; what lies behind the end of the file is silence.
bool WaveformReader::ReadBlocks(const Level& level, Stretch wanted, bool corrected) {
    records.assign(static_cast<size_t>(wanted.n), {});
    FILE* file = level.file.get();
    const bool there = fseeko(file, wanted.first * static_cast<int64_t>(sizeof(WaveformRecord)), SEEK_SET) == 0;
    const size_t n = there ? std::fread(records.data(), sizeof(WaveformRecord), records.size(), file) : 0;
    if (!there || (n < records.size() && std::ferror(file))) {
        FailRead(entry.WaveformPath(level.extension), errno);
        ShowLastError();
        return false;
    }
    if (!corrected) return true;
    const Locked lists(ListChangeLock());  // a scan for clicks enters what it finds from a thread of its own
    for (int channel : {0, 1}) Correct(channel, wanted, level.block);
    return true;
}

WaveformResult WaveformReader::ReadFile(const Level& level, const WaveformView& view,
                                        std::vector<WaveformRecord>& columns) {
    if (view.corrected && entry.LoadCorrections(true) < 0) return WaveformResult::Failed;
    const std::vector<Stretch> stretches = StretchesOf(view, level.block, true);
    for (size_t first = 0, next; first < stretches.size(); first = next) {
        // What lies in one piece in the file is read in one piece.
        Stretch piece = stretches[first];
        for (next = first + 1; next < stretches.size() && stretches[next].first == piece.first + piece.n; ++next) {
            piece.n += stretches[next].n;
        }
        if (!ReadBlocks(level, piece, view.corrected)) return WaveformResult::Failed;
        const WaveformRecord* record = records.data();
        for (size_t i = first; i < next; ++i) {
            columns.push_back(*record);
            for (int32_t n = stretches[i].n; n > 0; --n) Widen(columns.back(), *record++);
        }
    }
    return WaveformResult::Drawn;
}

WaveformResult WaveformReader::ReadAudio(const WaveformView& view, std::vector<WaveformRecord>& columns) {
    if (!audio) {
        if (entry.Open(USER_WAVEFORM, true) != OPEN_GOOD) return WaveformResult::Failed;
        audio = MakeRef<FileToPCM>(entry.open_file, &entry, kChain, 0);
    }
    const auto wanted = static_cast<int32_t>(view.n_samples);
    pairs.assign(2 * static_cast<size_t>(wanted), 0.0f);
    if (audio->Read(view.first, pairs.data(), wanted, view.corrected ? kCorrected : kUncorrected) < 0) {
        ShowLastError();
        return WaveformResult::Failed;
    }
    size_t n_pending = 0;  // columns without a frame of their own, until the next one that has some
    for (const Stretch& stretch : StretchesOf(view, 1, false)) {
        if (stretch.n == 0) {
            columns.push_back(columns.empty() ? WaveformRecord{} : columns.back());
            ++n_pending;
            continue;
        }
        const WaveformRecord found = ExtremesOf(pairs.data() + 2 * (stretch.first - view.first), stretch.n);
        const size_t before = columns.size() - n_pending;
        const WaveformRecord from = before > 0 ? columns[before - 1] : found;
        for (size_t i = 0; i < n_pending; ++i) {
            columns[before + i] = Between(from, found, static_cast<double>(i + 1) / static_cast<double>(n_pending + 1));
        }
        columns.push_back(found);
        n_pending = 0;
    }
    return WaveformResult::Drawn;
}

// True if the level's file is open, and fresh.
WaveformResult WaveformReader::OpenFresh(Level& level, Level& sibling_1, Level& sibling_2) {
    if (level.file && IsWaveformFileFresh(entry, level.extension)) return WaveformResult::Drawn;
    level.file.reset();
    if (!OpenWaveformFile(entry, level.extension, level.file, &sibling_1.file, &sibling_2.file, MayRegenerate::Yes)) {
        return WaveformResult::NotReady;
    }
    if (!level.file) return WaveformResult::Failed;
    std::setvbuf(level.file.get(), nullptr, _IONBF, 0);
    return WaveformResult::Drawn;
}

WaveformResult WaveformReader::Read(const WaveformView& view, std::vector<WaveformRecord>& columns) {
    columns.clear();
    if (view.width < 1) return WaveformResult::Drawn;
    Level* level = nullptr;
    WaveformResult result = WaveformResult::Drawn;
    switch (ChooseWaveformSource(view.n_samples / view.width)) {
        case WaveformSource::Audio:
            return ReadAudio(view, columns);
        case WaveformSource::Wfd:
            level = &wfd_file;
            result = OpenFresh(wfd_file, wfs_file, wfo_file);
            break;
        case WaveformSource::Wfs:
            level = &wfs_file;
            result = OpenFresh(wfs_file, wfo_file, wfd_file);
            if (result == WaveformResult::Drawn) break;
            [[fallthrough]];
        case WaveformSource::Wfo:
            level = &wfo_file;
            result = OpenFresh(wfo_file, wfs_file, wfd_file);
            break;
    }
    return result == WaveformResult::Drawn ? ReadFile(*level, view, columns) : result;
}

}  // namespace Orvane
