// The "Patch Selection" dialog without its window: damage too long for a click repair is replaced with synthesised
// audio, method after method is tried, and the one that pleases is kept. Main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "cleanup/edit/editaccess.h"
#include "cleanup/edit/undo_corrections.h"
#include "cleanup/repair/patchmethods.h"
#include "collection/recordinguse.h"

namespace Orvane {

struct PatchOptions {
    int channels = CHANNELS_BOTH;
    std::optional<PatchMethod> method;  // none: each is tried, and the best picked
    int preamp = 0;                     // tenths of a decibel, -120 (Cut) to 120 (Boost)
    bool replace = false;               // patches that are there go without a question
};

// Method and preamp as the user left them: "Patch Method", "Patch Preamp".
PatchOptions LoadPatchOptions();
void StorePatchOptions(const PatchOptions& options);

// While it lives, all other edits of corrections and their undoing are refused. A patch that was not kept goes with it.
class PatchSelection {
public:
    // `start` to `end` (exclusive) are frames in the file, at the recording's own rate.
    PatchSelection(FileHistoryEntry& entry, int64_t start, int64_t end);
    ~PatchSelection();
    PatchSelection(const PatchSelection&) = delete;
    PatchSelection& operator=(const PatchSelection&) = delete;

    // Whether the selection can be patched. Says why not, and asks when there is a patch already.
    bool Begin();
    // Puts a patch into the recording, in the place of the one tried before, so that it can be heard; the recording's
    // own audio is then what is read without click repairs. False when that failed, which has been shown: then no patch
    // is there. Moved ends of the selection count from the next Try on.
    bool Try(const PatchOptions& options);
    // The method of the patch that is there.
    PatchMethod Used() const { return used; }
    // Makes the patch that is there an action that can be undone.
    void Keep();
    // Puts back what was there before.
    void Withdraw();

    int64_t start, end;

private:
    bool CheckLength() const;
    void WidenOverRepairs(int channels);

    FileHistoryEntry& entry;
    EditAccess access;
    std::optional<BusyRecording> busy;  // while this has access
    std::unique_ptr<UndoPatch> undo;    // null while nothing has been tried
    PatchMethod used = PatchMethod::APA;
};

// All of it at once. False when nothing was patched, which has been shown.
bool PatchRecording(FileHistoryEntry& entry, int64_t start, int64_t end, const PatchOptions& options,
                    PatchMethod* used = nullptr);

}  // namespace Orvane
