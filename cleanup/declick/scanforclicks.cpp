#include "cleanup/declick/scanforclicks.h"

#include <algorithm>
#include <barrier>

#include "cleanup/chain/audiofilter.h"
#include "cleanup/declick/scanblocks.h"
#include "cleanup/edit/undo_corrections.h"
#include "cleanup/repair/correctionslist.h"
#include "cleanup/repair/repairsurroundings.h"
#include "collection/dataobjects.h"
#include "collection/listchange.h"
#include "collection/recordinguse.h"
#include "foundation/messages.h"
#include "foundation/progress.h"
#include "foundation/workerthread.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int64_t kTickNs = 250'000'000, kStatusNs = 100'000'000;

// One channel of a scan: its detector, its interpolator and the list of what this pass finds.
class ChannelScan : public ClickSink {
public:
    ChannelScan(int channel, int32_t samplerate) : found(channel, samplerate) {}

    // Called with what part of the pass is behind, 0 to 1; false ends the scan.
    std::function<bool(double)> on_tick;
    // Called now and then with how many clicks have been repaired since the last call.
    std::function<void(int)> on_found;
    ClickRepairList found;
    ScanCounts counts;
    ClickRepairer repairer;
    ClickDetector detector;

    // False when the scan was ended.
    bool ScanBlock(const ScanBlocks& blocks, const DetectorTables& tables) {
        const int channel = found.channel;
        block = blocks.Channel(channel);
        source = {blocks.Recording(channel), blocks.read_start() - blocks.offset0(), blocks.read_start(),
                  blocks.read_end(), &detector};
        return ScanChannel(block, tables, detector, *this, counts);
    }

private:
    RepairResult Repair(int64_t start, int64_t end, int pad, int score, bool big_pop) override {
        const int64_t now = MonotonicNs();
        if (now >= next_status) {
            next_status = now + kStatusNs;
            on_found(counts.repaired - n_told);
            n_told = counts.repaired;
        }
        return repairer.RepairClick(source, {start, end, pad, score, big_pop}, found, slot);
    }

    bool Marker(int type, int64_t start, int64_t end, int value) override {
        end = std::min(end, start + kMaxRepair);
        auto marker =
            std::make_unique<ClickRepair>(static_cast<int16_t>(type), start, end, int16_t{0}, found.samplerate);
        marker->wiggles = static_cast<int16_t>(value);
        const AddOutcome outcome =
            AddRepair(found, marker, slot, type == REPAIR_BP ? ADD_SCANNED_BP : ADD_SCANNED).outcome;
        return outcome == AddOutcome::Inserted || outcome == AddOutcome::Trimmed;
    }

    bool Tick(int64_t position) override {
        const int64_t now = MonotonicNs();
        if (now < next_tick) return true;
        next_tick = now + kTickNs;
        // Within a block the scan runs from its end to its start.
        const int64_t block_end = block.position + static_cast<int64_t>(block.samples.size()) - 2 * EXTRA_DATA_WING;
        const double done =
            static_cast<double>(block.position + std::max<int64_t>(0, block_end - position) - block.first_sample);
        return on_tick(done / static_cast<double>(block.last_sample - block.first_sample + 1));
    }

    ChannelBlock block{};
    RepairSource source;
    ClickRepair* slot = nullptr;
    int64_t next_tick = 0, next_status = 0;
    int n_told = 0;
};

// A scan of one recording, shared by the threads of its channels. The first of them reads the blocks and merges what a
// pass has found; the barrier keeps the others out meanwhile.
class ScanJob {
public:
    ScanJob(FileHistoryEntry* entry, FileToPCM* stream, const ScanRequest& request, std::vector<int> channels,
            int32_t n_earlier)
        : entry(entry),
          request(request),
          settings(request.settings.WithDefaults()),
          tables({settings.sensitivity, settings.percussion_protection, settings.brass_protection}),
          reader(stream),
          total(reader.TotalSamples()),
          n_shown(n_earlier),
          channels(std::move(channels)),
          in_step(static_cast<std::ptrdiff_t>(this->channels.size())) {}

    void Run(int channel) {
        const bool first = channel == channels.front();
        bool goes_on = true;
        for (int pass = 0; pass < settings.passes && goes_on; ++pass) {
            if (first) BeginPass(pass);
            for (;;) {
                if (first) NextBlock();
                in_step.arrive_and_wait();
                if (!has_block) break;
                if (!scans[channel]->ScanBlock(*blocks, tables)) cancelled = true;
                in_step.arrive_and_wait();
            }
            // Asked before the first thread can come to the next pass, so that all give the same answer.
            goes_on = !stopped;
            if (first && goes_on) EndPass(pass);
            in_step.arrive_and_wait();
        }
    }

    ScanStats stats;
    bool merged = false;     // at least one pass has ended
    bool line_open = false;  // the log stands in the middle of a line
    std::atomic<bool> cancelled{false};
    int error = 0;  // of the reader; the reason is then the first thread's last error

private:
    void BeginPass(int pass) {
        const int32_t rate = entry->SampleRate();
        const int64_t begin = to_ticks(rate, request.first_sample);
        const int64_t end = request.last_sample < 0 ? total : to_ticks(rate, request.last_sample);
        blocks = std::make_unique<ScanBlocks>(
            begin, end, total, settings.options & SCAN_EQUALISE ? Equalisation::Riaa : Equalisation::None);
        for (int channel = 0; channel < 2; ++channel) {
            scans[channel] = std::make_unique<ChannelScan>(channel, rate);
            scans[channel]->on_tick = [this, pass](double done) {
                const double all = (pass + std::clamp(done, 0.0, 1.0)) / settings.passes;
                Progress::SetPosition(request.progress_base + static_cast<int>(all * request.progress_range));
                return Progress::Tick();
            };
            scans[channel]->on_found = [this](int n) {
                Progress::SetStatus(FormatMsg(Msg::ClicksFoundSoFar, n_shown += n));
            };
        }
        scans[0]->found.buddy = &scans[1]->found;
        scans[1]->found.buddy = &scans[0]->found;
        if (settings.passes > 1) LogPiece(FormatMsg(Msg::ScanPass, pass + 1));
    }

    // Only the first thread decides whether the scan goes on, so that all leave their loops at the same step.
    void NextBlock() {
        has_block = false;
        if (cancelled) {
            stopped = true;
            return;
        }
        const int result = blocks->Next([this](int64_t start, int64_t end, float* left, float* right) {
            return reader.ReadSamples(start, end, left, right);
        });
        if (result < 0) {
            error = result;
            stopped = true;
        }
        has_block = result > 0;
    }

    void EndPass(int pass) {
        int found = 0;
        const bool last_pass = pass == settings.passes - 1;
        for (const int channel : channels) {
            const ChannelScan& scan = *scans[channel];
            stats.not_repaired += scan.counts.not_repaired;
            for (const ClickRepair& e : scan.found) {
                if (e.repair_type == REPAIR_PP) {
                    stats.pp += last_pass;
                } else if (e.repair_type == REPAIR_BP) {
                    stats.bp += pass == 0;
                } else {
                    ++found;
                }
            }
        }
        stats.repaired += found;
        if (settings.passes > 1) Progress::Log(FormatMsg(Msg::ClicksInPass, found));
        merged = true;
        bool told = false;
        for (const int channel : channels) {
            ClickRepairList& list = entry->click_repairs[channel];
            ListChange change(&list);
            if (list.empty()) {
                list.Swap(scans[channel]->found);
                list.dirty = true;
                continue;
            }
            if (!told) LogPiece(FormatMsg(Msg::MergingCorrections));
            told = true;
            ListChange buddy_change(&entry->click_repairs[1 - channel]);
            Merge(*scans[channel], list);
        }
    }

    // A piece of the log whose line goes on.
    void LogPiece(const std::string& text) {
        Progress::Log(text);
        line_open = true;
    }

    // Enters what a pass has found into a list that holds repairs already.
    void Merge(ChannelScan& scan, ClickRepairList& list) {
        ClickRepair* slot = nullptr;
        while (ClickRepair* next = scan.found.First()) {
            std::unique_ptr<ClickRepair> repair(scan.found.Remove(next));
            const AddOutcome outcome = AddRepair(list, repair, slot, ADD_MERGED).outcome;
            if (outcome == AddOutcome::Trimmed && !slot->IsMarker()) {
                const int16_t type = slot->repair_type;
                slot->repair_type = REPAIR_RECOMPUTED;
                MakeAgain(scan, *slot);
                slot->repair_type = type;
            } else if (outcome == AddOutcome::Inside) {
                MakeAgain(scan, *repair);
                if (repair->samples) slot->WriteInside(repair->absolute_start_time, repair->Samples());
                list.dirty = true;
            }
        }
    }

    void MakeAgain(ChannelScan& scan, ClickRepair& repair) {
        const auto result = MakeRepair(reader, scan.repairer, scan.found.channel, entry->SampleRate(), repair);
        if (result && *result == RepairResult::Repaired) repair.wiggles = -1;
    }

    FileHistoryEntry* entry;
    const ScanRequest& request;
    const ScanSettings settings;
    const DetectorTables tables;
    ScanReader reader;
    const int64_t total;       // samples at 44100 Hz
    std::atomic<int> n_shown;  // clicks, with those of earlier scans
    const std::vector<int> channels;
    std::barrier<> in_step;
    std::unique_ptr<ScanBlocks> blocks;
    std::unique_ptr<ChannelScan> scans[2];
    bool has_block = false;
    bool stopped = false;  // written by the first thread while the others wait
};

class ScanForClicksThread : public WorkerThread {
public:
    ScanForClicksThread(ScanJob& job, int channel) : job(job), channel(channel) {}

private:
    int Work() override {
        job.Run(channel);
        if (job.error < 0) SaveError();
        return 0;
    }
    ScanJob& job;
    const int channel;
};

// A repair that a scan enters may reach out of the stretch that it scans by this, in ticks.
constexpr int64_t kReach = 2 * kMaxRepair;

// The record of a scan, noted before it begins.
std::unique_ptr<UndoUpdateCorrections> NoteRepairs(const FileHistoryEntry& entry, const ScanRequest& request) {
    const int64_t reach = to_samples(entry.SampleRate(), kReach);
    const int64_t end = request.last_sample < 0 ? INT64_MAX : request.last_sample + reach;
    return std::make_unique<UndoUpdateCorrections>(entry, request.settings.channels, request.first_sample - reach, end,
                                                   FormatMsg(Msg::ClickScan));
}

// Takes out the repairs that a scan does not keep. Only what is scanned anew can go: not a repair that reaches out of
// the stretch, nor half of a stereo patch.
void DropRepairs(FileHistoryEntry& entry, const ScanRequest& request) {
    const ScanSettings& settings = request.settings;
    const int64_t end = request.last_sample < 0 ? INT64_MAX : request.last_sample;
    const bool both = (settings.channels & CHANNELS_BOTH) == CHANNELS_BOTH;
    const RepairsBracket change(entry, settings.channels);
    for (int channel = 0; channel < 2; ++channel) {
        if (!(settings.channels & (1 << channel))) continue;
        ClickRepairList& list = entry.click_repairs[channel];
        for (ClickRepair* e = list.First(); e;) {
            ClickRepair* next = ClickRepairList::Next(e);
            const bool by_hand = e->repair_type == REPAIR_MANUAL || e->repair_type == REPAIR_PATCH;
            const bool keeps = settings.options & (by_hand ? SCAN_KEEP_MANUAL : SCAN_KEEP_PREVIOUS);
            const bool within = e->absolute_start_time >= request.first_sample && e->absolute_end_time <= end;
            if (!keeps && within && (both || !list.Twin(*e))) list.Delete(e);
            e = next;
        }
    }
}

// Clicks repaired by earlier scans that are still in force, whether all of them were to be kept or not.
int32_t EarlierClicks(const FileHistoryEntry& entry, uint8_t options) {
    if (options & SCAN_KEEP_PREVIOUS) return entry.decided.click_scan.total_clicks;
    int32_t n = 0;
    for (const ClickRepairList& list : entry.click_repairs) {
        for (const ClickRepair& e : list) n += e.repair_type == REPAIR_SCANNER;
    }
    return n;
}

// A scan finds something on every record. Lists without anything are those of another take under the name, or those of
// a corrections file that is gone or was damaged.
bool HasRepairs(const FileHistoryEntry& entry) {
    return !entry.click_repairs[0].empty() || !entry.click_repairs[1].empty();
}

void LogResult(const FileHistoryEntry& entry, const ScanStats& stats) {
    Progress::Log(FormatMsg(Msg::ScanResult, stats.repaired + stats.pp + stats.bp, entry.GetPath(), stats.repaired,
                            stats.pp, stats.bp));
}

ScanResult Failed(Outcome outcome) {
    ScanResult result;
    result.outcome = std::move(outcome);
    return result;
}

}  // namespace

Outcome CheckScan(const ScanSettings& settings) {
    constexpr int8_t kMax = 5;
    if (settings.WithDefaults().sensitivity <= kMax) return {};
    return Outcome::Fail(Kind::NeedsAnswer, Msg::StrongScan);
}

bool ScannedBefore(const FileHistoryEntry& entry, const ScanSettings& settings) {
    return entry.decided.click_scan.sensitivity >= 0 && entry.decided.click_scan.SameScan(settings);
}

ScanResult ScanForClicks(FileHistoryEntry& entry, const ScanRequest& request) {
    const ScanSettings settings = request.settings.WithDefaults();
    std::vector<int> channels;
    for (int channel = 0; channel < 2; ++channel) {
        if (settings.channels & (1 << channel)) channels.push_back(channel);
    }
    if (channels.empty()) return Failed(Outcome::Fail(Kind::WrongOptions, Msg::NoChannelsSpecified));
    const Result<BusyRecording> busy = BusyRecording::Begin(entry, RecordingUse::Scan);
    if (!busy) return Failed(busy.GetOutcome());
    const Result<RefPtr<FileToPCM>> chain = GetFileToPCM(entry);
    if (!chain) return Failed(chain.GetOutcome());
    FileToPCM* const stream = chain->get();
    const uint8_t only_if_new = settings.options & SCAN_BATCH ? SCAN_BATCH_IF_NEW : SCAN_IF_NEW;
    if ((settings.options & only_if_new) && ScannedBefore(entry, settings) && HasRepairs(entry)) {
        ScanResult left_out;
        left_out.skipped = true;
        return left_out;
    }
    if (ScanReader(stream).TotalSamples() <= EXTRA_DATA_WING) {
        return Failed(Outcome::Fail(Kind::Contents, Msg::TooSmallToDeclick));
    }
    if (settings.sensitivity == 0) return {};

    std::unique_ptr<UndoUpdateCorrections> undo = NoteRepairs(entry, request);
    undo->BeginTrial(entry);
    DropRepairs(entry, request);
    const int32_t earlier = EarlierClicks(entry, settings.options);
    ScanJob job(&entry, stream, request, channels, earlier);
    std::vector<std::unique_ptr<ScanForClicksThread>> threads;
    std::vector<WorkerThread*> running;
    for (const int channel : channels) {
        threads.push_back(std::make_unique<ScanForClicksThread>(job, channel));
        running.push_back(threads.back().get());
    }
    const Outcome launched = WorkerThread::LaunchAll(running);

    ScanResult result;
    result.stats = job.stats;
    if (!launched) {
        result.outcome = launched;
    } else if (job.error < 0) {
        threads.front()->ReportError();
        result.outcome = Outcome::OfLastError(job.error);
    } else if (job.cancelled) {
        result.outcome = Outcome::Cancelled();
    }
    if (job.line_open) Progress::Log("\n");
    if (!result.outcome && !job.merged) {
        undo->Withdraw(entry);
        return result;
    }
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        undo->EndTrial(entry);
    }
    entry.decided.click_scan = result.outcome ? settings : ScanSettings();
    entry.decided.click_scan.total_clicks = earlier + result.stats.repaired;
    const int n = result.stats.repaired;
    undo->description = n == 1 ? FormatMsg(Msg::OneRepairOfAScan) : FormatMsg(Msg::RepairsOfAScan, n);
    AddUndo(std::move(undo));
    if (result.outcome) LogResult(entry, result.stats);
    const Outcome saved = entry.SaveCorrections();
    if (result.outcome) result.outcome = saved;
    return result;
}

}  // namespace Orvane
