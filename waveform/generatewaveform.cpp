#include "waveform/generatewaveform.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "foundation/event.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/workerthread.h"
#include "waveform/waveformwriter.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int32_t kLeastReportMs = 500;
constexpr FileTime kStaleAfter = 5 * kFileTimeSecond;
constexpr const char* kExtensions[] = {".wft", ".wfs", ".wfo", ".wfd"};

enum CancelKind : EventArg { CANCEL_ALL = 0, CANCEL_ENTRY = 1, CANCEL_COLLECTION = 2 };

int32_t (*report_interval)() = nullptr;

void HandleEnded();
void PostProgress(RefPtr<FileHistoryEntry> entry);

// Makes the waveform of one recording from an open private copy of its entry, whose file's own stream it reads: what is
// drawn is the recording as it is.
class GenerateWaveformDataThread : public Thread {
public:
    GenerateWaveformDataThread(RefPtr<FileHistoryEntry> entry, OpenRecording copy,
                               std::unique_ptr<WaveformWriter> writer)
        : entry(std::move(entry)),
          path(copy.Entry().GetPath()),
          set(this->entry->album->set),
          copy(std::move(copy)),
          writer(std::move(writer)) {
        event::Subscribe(EVENT_CANCEL_WAVEFORMS, 0, OnCancel, this);
    }
    ~GenerateWaveformDataThread() override { event::Unsubscribe(EVENT_CANCEL_WAVEFORMS, OnCancel, this); }

    bool HasEnded() const { return ended; }
    const Outcome& HowItEnded() const { return outcome; }

    const RefPtr<FileHistoryEntry> entry;  // the thread touches nothing of it but its two atomics
    const std::string path;

private:
    static intptr_t OnCancel(void* context, int, EventArg kind, EventArg which, EventArg) {
        auto* self = static_cast<GenerateWaveformDataThread*>(context);
        if (kind == CANCEL_ALL || (kind == CANCEL_ENTRY && which == event::Arg(self->entry.get())) ||
            (kind == CANCEL_COLLECTION && which == event::Arg(self->set))) {
            self->Stop();
        }
        return 0;
    }

    int Run() override {
        SetThreadPriority(ThreadPriority::Lowest);
        outcome = Generate();
        copy.Close();
        entry->waveform.generating = false;
        ended = true;
        GetMainLoop().Post(HandleEnded);
        return 0;
    }

    Outcome Generate() {
        FileStream& file = copy.File();
        const int32_t chunk = OverviewBlock(copy.Entry().SampleRate());
        std::vector<float> pairs(2 * static_cast<size_t>(chunk));
        Outcome read, written;
        int64_t position = 0;
        int64_t next_report = MonotonicNs();
        int32_t interval = 0;  // ms; not asked for in a short run, which needs none
        while (!Stopped() && written) {
            const int32_t n = file.Read(position, pairs.data(), chunk, kWaveformFlags);
            if (n < 0) read = Outcome::OfLastError(n);
            if (n < 1) break;
            written = writer->Write(pairs.data(), n);
            position += n;
            if (MonotonicNs() < next_report) continue;
            Report(position, file.GetTotalSamples(0));
            interval = interval && report_interval ? report_interval() : kLeastReportMs;
            next_report = MonotonicNs() + int64_t{interval} * 1'000'000;
        }
        const bool cancelled = Stopped();
        // The time that the file had when it was opened: one that is written to meanwhile makes the files stale.
        const Outcome closed = writer->Close(read.Ok(), cancelled ? kFileTimeUnixEpoch : file.Time());
        if (!closed) return closed;
        return cancelled ? Outcome::Cancelled() : read;
    }

    void Report(int64_t position, int64_t total) {
        const auto percent = total > 0 ? static_cast<int32_t>((position * 100 + total / 2) / total) : 100;
        if (percent <= entry->waveform.progress) return;
        entry->waveform.progress = percent;
        PostProgress(entry);
    }

    const AlbumSet* const set;
    OpenRecording copy;
    const std::unique_ptr<WaveformWriter> writer;
    Outcome outcome;
    std::atomic<bool> ended{false};
};

// What is being made and what waits for it. Only the main thread looks at it.
struct WaveformJobs {
    WaveformJobs() {
        event::Subscribe(EVENT_ALBUM_CLOSING, 0, OnAlbumClosing, this);
        event::Subscribe(EVENT_COLLECTION_CLOSING, 0, OnCollectionClosing, this);
    }
    ~WaveformJobs() {
        event::Unsubscribe(EVENT_ALBUM_CLOSING, OnAlbumClosing, this);
        event::Unsubscribe(EVENT_COLLECTION_CLOSING, OnCollectionClosing, this);
    }

    static intptr_t OnAlbumClosing(void*, int, EventArg album, EventArg, EventArg) {
        WaitForWaveformThreads(*reinterpret_cast<const AlbumInfo*>(album));
        return 0;
    }
    static intptr_t OnCollectionClosing(void*, int, EventArg set, EventArg, EventArg) {
        WaitForWaveformThreads(*reinterpret_cast<const AlbumSet*>(set));
        return 0;
    }

    bool IsQueued(const FileHistoryEntry& entry) const {
        return std::any_of(queue.begin(), queue.end(), [&](const auto& waiting) { return waiting.get() == &entry; });
    }
    bool IsRunning(const FileHistoryEntry& entry) const {
        return std::any_of(running.begin(), running.end(), [&](const auto& job) { return job->entry.get() == &entry; });
    }
    // Two sides may have been recorded to one file.
    bool WouldMeet(const FileHistoryEntry& entry) const {
        const std::string path = entry.GetPath();
        return std::any_of(running.begin(), running.end(), [&](const auto& job) { return job->path == path; });
    }

    std::vector<std::unique_ptr<GenerateWaveformDataThread>> running;
    std::deque<RefPtr<FileHistoryEntry>> queue;
};

// There while anything is running or waiting. A plain pointer: what still runs when the process ends has to find it.
// Every event and message may bring it and take it away.
WaveformJobs* jobs = nullptr;

WaveformJobs& Jobs() {
    if (!jobs) jobs = new WaveformJobs;
    return *jobs;
}

void PostProgress(RefPtr<FileHistoryEntry> entry) {
    GetMainLoop().Post([entry = std::move(entry)] {
        // It may have ended, and its album be gone, before the main loop came to this.
        if (jobs && jobs->IsRunning(*entry)) event::Fire(EVENT_WAVEFORM_PROGRESS, event::Arg(entry.get()));
    });
}

Outcome StartGeneration(FileHistoryEntry& entry) {
    // The recording before the files: one that is on a drive which is not there today keeps those it has.
    Result<OpenRecording> recording = entry.Copy(COPY_SETTINGS)->Open(USER_WAVEFORM);
    if (!recording) return recording.GetOutcome();
    auto writer = std::make_unique<WaveformWriter>(recording->Entry().SampleRate());
    if (Outcome opened = writer->Open(recording->Entry().GetPath()); !opened) return opened;
    event::Fire(EVENT_WAVEFORM_STARTING, event::Arg(&entry));
    entry.waveform.generating = true;
    auto& running = Jobs().running;
    running.push_back(std::make_unique<GenerateWaveformDataThread>(RefPtr<FileHistoryEntry>(&entry),
                                                                   std::move(*recording), std::move(writer)));
    running.back()->Start();
    return {};
}

void TellEnd(FileHistoryEntry& entry, const Outcome& outcome) {
    event::Fire(EVENT_WAVEFORM_PROGRESS, event::Arg(&entry), 1, event::Arg(&outcome));
}

// Each one that has ended makes room for the next that can be started.
void StartNext() {
    while (jobs) {
        auto& queue = jobs->queue;
        const auto next =
            std::find_if(queue.begin(), queue.end(), [](const auto& entry) { return !jobs->WouldMeet(*entry); });
        if (next == queue.end()) return;
        const RefPtr<FileHistoryEntry> entry = *next;
        queue.erase(next);
        const Outcome started = StartGeneration(*entry);
        if (started) return;
        TellEnd(*entry, started);
    }
}

void DropJobsWhenDone() {
    if (!jobs || !jobs->running.empty() || !jobs->queue.empty()) return;
    delete std::exchange(jobs, nullptr);
}

// Listeners to the events may request and cancel as they like, so nothing is held across them.
void HandleEnded() {
    while (jobs) {
        auto& running = jobs->running;
        const auto found =
            std::find_if(running.begin(), running.end(), [](const auto& job) { return job->HasEnded(); });
        if (found == running.end()) break;
        const std::unique_ptr<GenerateWaveformDataThread> job = std::move(*found);
        running.erase(found);
        job->Wait();
        job->entry->waveform.ready = true;
        StartNext();
        TellEnd(*job->entry, job->HowItEnded());
    }
    DropJobsWhenDone();
}

void CancelAndWait(CancelKind kind, const void* which, const std::function<bool(const FileHistoryEntry&)>& matches) {
    if (!jobs) return;
    event::Fire(EVENT_CANCEL_WAVEFORMS, kind, event::Arg(which));
    std::erase_if(jobs->queue, [&](const auto& entry) { return matches(*entry); });
    for (const auto& job : jobs->running) {
        if (matches(*job->entry)) job->Wait();
    }
    HandleEnded();
}

}  // namespace

bool IsWaveformFileFresh(std::string_view recording_path, std::string_view extension) {
    FileInfo side_file, recording;
    if (GetFileInfo(FileHistoryEntry::WaveformPathFor(recording_path, extension), side_file) != 0) return false;
    GetFileInfo(recording_path, recording);  // one that is not there is not newer either
    return side_file.time >= recording.time - kStaleAfter;
}

bool IsWaveformReady(const FileHistoryEntry& entry) {
    const std::string path = entry.GetPath();
    return std::all_of(std::begin(kExtensions), std::end(kExtensions),
                       [&](const char* extension) { return IsWaveformFileFresh(path, extension); });
}

Result<FilePtr> OpenWaveformFile(FileHistoryEntry& entry, std::string_view extension, MayRegenerate may_regenerate) {
    if (IsWaveformFileFresh(entry.GetPath(), extension)) {
        const std::string path = entry.WaveformPath(extension);
        int error = 0;
        FilePtr file(OpenFile(path, "rb", error));
        if (!file) return Outcome::OfLastError(FailOpen(path, error));
        return file;
    }
    if (may_regenerate == MayRegenerate::Yes) {
        if (Outcome requested = RequestWaveformData(entry); !requested) return requested;
    }
    return FilePtr();
}

Outcome RequestWaveformData(FileHistoryEntry& entry) {
    if (entry.waveform.generating || (jobs && jobs->IsQueued(entry))) return {};
    entry.waveform.progress = 0;
    entry.waveform.ready = false;
    if (jobs && (static_cast<int>(jobs->running.size()) >= MaxThreads() || jobs->WouldMeet(entry))) {
        jobs->queue.push_back(RefPtr<FileHistoryEntry>(&entry));
        return {};
    }
    return StartGeneration(entry);
}

void WaitForWaveformThreads() {
    CancelAndWait(CANCEL_ALL, nullptr, [](const FileHistoryEntry&) { return true; });
}

void WaitForWaveformThreads(const FileHistoryEntry& entry) {
    CancelAndWait(CANCEL_ENTRY, &entry, [&](const FileHistoryEntry& other) { return &other == &entry; });
}

void WaitForWaveformThreads(const AlbumSet& set) {
    CancelAndWait(CANCEL_COLLECTION, &set, [&](const FileHistoryEntry& entry) { return entry.album->set == &set; });
}

void WaitForWaveformThreads(const AlbumInfo& album) {
    if (!jobs) return;
    std::vector<RefPtr<FileHistoryEntry>> entries(jobs->queue.begin(), jobs->queue.end());
    for (const auto& job : jobs->running) entries.push_back(job->entry);
    for (const auto& entry : entries) {
        if (entry->album == &album) WaitForWaveformThreads(*entry);
    }
}

void SetWaveformReportInterval(int32_t (*interval_ms)()) {
    report_interval = interval_ms;
}

Outcome NoBackgroundJobs(int message) {
    if (!jobs || message < 0 || message == static_cast<int>(Msg::BusyHibernate)) return {};
    return Outcome::Fail(message == 0 ? Kind::Busy : Kind::NeedsAnswer, Msg::BackgroundJobs);
}

}  // namespace Orvane
