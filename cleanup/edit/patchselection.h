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
    bool replace = false;               // the user has been asked about patches that are there
};

// Method and preamp as the user left them: "Patch Method", "Patch Preamp".
PatchOptions LoadPatchOptions();
void StorePatchOptions(const PatchOptions& options);

// The user's wish not to be asked about a patch over another, as the hosts know it.
inline constexpr const char* kAlreadyPatchedWarning = "Warn Already Patched";

// While it lives, all other edits of corrections and their undoing are refused. A patch that was not kept goes with it;
// until then it is heard and drawn, but stands in no file and no copy.
class PatchSelection {
public:
    // `start` to `end` (exclusive) are frames in the file, at the recording's own rate.
    PatchSelection(FileHistoryEntry& entry, int64_t start, int64_t end);
    ~PatchSelection();
    PatchSelection(const PatchSelection&) = delete;
    PatchSelection& operator=(const PatchSelection&) = delete;

    // Whether the selection can be patched. NeedsAnswer, with AlreadyPatched, when there is a patch already.
    Foundation::Outcome Begin() const;
    // Puts a patch into the recording, in the place of the one tried before, so that it can be heard; the recording's
    // own audio is then what is read without click repairs. After a failure no patch is there. Moved ends of the
    // selection count from the next Try on.
    Foundation::Outcome Try(const PatchOptions& options);
    // The method of the patch that is there.
    PatchMethod Used() const { return used; }
    // Makes the patch that is there an action that can be undone.
    void Keep();
    // Puts back what was there before.
    void Withdraw();

    int64_t start, end;

private:
    Foundation::Outcome CheckLength() const;
    void WidenOverRepairs(int channels);

    FileHistoryEntry& entry;
    EditAccess access;
    std::optional<BusyRecording> busy;  // while this has access
    std::unique_ptr<UndoPatch> undo;    // null while nothing has been tried
    PatchMethod used = PatchMethod::APA;
};

// All of it at once. The method used; NeedsAnswer as Begin.
Foundation::Result<PatchMethod> PatchRecording(FileHistoryEntry& entry, int64_t start, int64_t end,
                                               const PatchOptions& options);

}  // namespace Orvane
