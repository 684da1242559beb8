#include "save/save_selection.h"

#include "cleanup/chain/audiofilter.h"
#include "collection/recordinguse.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/safefile.h"
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

    Outcome outcome;  // once it has run

private:
    int Work() override {
        outcome = Write();
        return 0;
    }

    Outcome Write() {
        const uint32_t flags = SaveFlags(options) | PCM_NO_FADERS;
        const RefPtr<FileStream> writer = MakeWriter(options.file_format, options);
        if (!writer) return Outcome::OfLastError(ERR_CONTENTS);
        SampleForm form;
        options.Resolve(options.file_format, form.samplerate, form.bit_depth);
        const Result<OpenRecording> opened = entry->Open(USER_SAVE);
        if (!opened) return opened.GetOutcome();
        writer->AdjustFormat(form.samplerate, form.bit_depth, entry->facts.channels);
        if (Outcome chosen = ChooseForm(*writer, form, {entry->SampleRate(), entry->facts.bits}, entry->facts.channels);
            !chosen)
            return chosen;
        const std::string folder = FolderOf(filename);
        if (const int error = CreateFolders(folder)) return CannotCreateFolder(folder, error);
        const Result<RefPtr<FileToPCM>> source = OpenFileToPCM(*entry, USER_SAVE, flags, form.samplerate);
        if (!source) return source.GetOutcome();
        const int64_t first = MulDiv64(start, form.samplerate, entry->SampleRate());
        const int64_t last = MulDiv64(end, form.samplerate, entry->SampleRate());
        auto selection = MakeRef<ChopPCMStream>(source->get(), first, last, flags);
        const auto tell = [](int64_t done, int64_t total) {
            if (total > 0) Progress::SetPosition(static_cast<int>(MulDiv64(done, 1000, total)));
            return Progress::Tick();
        };
        return WriteStream(*selection, *writer, filename, OldFile::Trash, flags, CHANNELS_STEREO, tell);
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

Result<std::string> SelectionName(const std::string& typed, int file_format, Answered answered) {
    const std::string_view extension = GetFileFormatInfo(file_format).extension;
    const std::string filename = ExtensionOf(typed).empty() ? typed + std::string(extension) : typed;
    if (IsTooLong(filename)) return Outcome::Fail(Kind::Refused, Msg::FilenameTooLong).About(filename);
    if (answered == Answered::No && ExtensionOf(filename) != extension) {
        return Outcome::Fail(Kind::NeedsAnswer, Msg::OtherExtension).About(filename);
    }
    return filename;
}

Outcome SaveSelection(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                      const std::string& filename) {
    SetSettings({{"Save Tracks Directory", FolderOf(filename)}, {"Save Track As File Format", options.file_format}});
    if (KeptFiles({recording.album}).Has(filename)) {
        return Outcome::Fail(Kind::Refused, Msg::NeverWrittenOver, filename).About(filename);
    }
    const Result<BusyRecording> busy = BusyRecording::Begin(recording, RecordingUse::Read);
    if (!busy) return busy.GetOutcome();
    SaveSelectionThread thread(recording, start, end, options, filename);
    if (Outcome launched = thread.Launch(); !launched) return launched;
    return thread.outcome;
}

}  // namespace Orvane
