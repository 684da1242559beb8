#include "save/save_selection.h"

#include "cleanup/chain/audiofilter.h"
#include "collection/recordinguse.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"
#include "save/filenames.h"
#include "save/keptfiles.h"
#include "save/write_stream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

class SaveSelectionThread : public WorkerThread {
public:
    SaveSelectionThread(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                        const std::string& filename)
        : entry(recording.Copy(COPY_CORRECTIONS)), start(start), end(end), options(options), filename(filename) {}

private:
    int Work() override {
        const SaveTrackStatus status = Write();
        if (status == SAVE_FAILED) SaveError();
        return status;
    }

    SaveTrackStatus Write() {
        RefPtr<FileStream> writer = MakeWriter(options.file_format, options);
        if (!writer) return SAVE_FAILED;
        int32_t samplerate, bit_depth;
        options.Resolve(options.file_format, samplerate, bit_depth);
        if (!samplerate) samplerate = entry->SampleRate();
        if (!bit_depth) bit_depth = entry->facts.bits;
        writer->AdjustFormat(samplerate, bit_depth, entry->facts.channels);
        if (writer->SetSBC(samplerate, bit_depth, entry->facts.channels) < 0) return SAVE_FAILED;
        if (int error = CreateFolders(FolderOf(filename))) {
            FailCreateFolder(FolderOf(filename), error);
            return SAVE_FAILED;
        }
        uint32_t flags = SaveFlags(options) | PCM_NO_FADERS;
        const Result<RefPtr<FileToPCM>> source = OpenFileToPCM(*entry, USER_SAVE, flags, samplerate);
        if (!source) {
            source.GetOutcome().ToStreamError();
            return SAVE_FAILED;
        }
        int64_t first = MulDiv64(start, samplerate, entry->SampleRate());
        int64_t last = MulDiv64(end, samplerate, entry->SampleRate());
        auto selection = MakeRef<ChopPCMStream>(source->get(), first, last, flags);
        const auto tell = [](int64_t done, int64_t total) {
            if (total > 0) Progress::SetPosition(static_cast<int>(MulDiv64(done, 1000, total)));
            return Progress::Tick();
        };
        int result = WriteStream(*selection, *writer, filename, OldFile::Drop, flags, CHANNELS_STEREO, tell);
        return result > 0 ? SAVE_CANCELLED : result < 0 ? SAVE_FAILED : SAVE_DONE;
    }

    RefPtr<FileHistoryEntry> entry;
    int64_t start;
    int64_t end;
    FileOptions options;
    std::string filename;
};

}  // namespace

SelectionDialog SelectionDialogFor(std::string_view name) {
    return {fmt::sprintf("Save Track: %s", std::string(name)), GetStringSetting("Save Tracks Directory"),
            SaveSettings::FromStore().Format()};
}

bool AcceptSelectionName(std::string& filename, int file_format) {
    const std::string_view extension = GetFileFormatInfo(file_format).extension;
    if (ExtensionOf(filename).empty()) filename.append(extension);
    if (ExtensionOf(filename) != extension) {
        Message question{
            "Warning: the file extension you have entered does not match the file type you selected.  Do you "
            "want to save the file anyway?",
            Buttons::YesNo,
            Severity::Warning,
            {}};
        if (Messages().Ask(question) != Answer::Yes) return false;
    }
    if (!IsTooLong(filename)) return true;
    Messages().Ask({std::string(kFilenameTooLong), Buttons::Ok, Severity::Warning, "Warn Filename Too Long"});
    return false;
}

SaveTrackStatus SaveSelection(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                              const std::string& filename) {
    const std::string folder = FolderOf(filename);
    SetSettings({{"Save Tracks Directory", folder}, {"Save Track As File Format", options.file_format}});
    if (KeptFiles({recording.album}).Has(filename)) {
        ShowMessage(fmt::sprintf(kNeverChanged, filename));
        return SAVE_FAILED;
    }
    const Result<BusyRecording> busy = BusyRecording::Begin(recording, RecordingUse::Read);
    if (!busy) {
        ShowMessage(busy.GetOutcome().Text());
        return SAVE_FAILED;
    }
    SaveSelectionThread thread(recording, start, end, options, filename);
    if (const Outcome launched = thread.Launch(); !launched) {
        ShowMessage(launched.Text());
        return SAVE_FAILED;
    }
    auto status = static_cast<SaveTrackStatus>(thread.WorkResult());
    if (status == SAVE_FAILED) {
        thread.ReportError();
        ShowLastError();
    } else if (status == SAVE_DONE) {
        ShowMessage(
            fmt::sprintf("File:\n\n<b>%s</b>\n\nsaved successfully.  The saved file is in folder:\n\n<b>%s</b>\n\n"
                         "<l><h>{browse_file:%s}</h>View in File Manager</l>",
                         filename, folder, filename),
            Severity::Information);
    }
    return status;
}

}  // namespace Orvane
