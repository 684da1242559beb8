// What can be undone about the corrections of a recording. Main thread.
//
// Each record is made before the change, when it notes what the change can touch, and added after it. Putting back
// happens inside the bracket of the lists concerned, so that readers see one version or the other.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cleanup/edit/repairstretch.h"
#include "collection/undo.h"
#include "collection/undo_refs.h"

namespace Orvane {

// What they share: going to the recording and opening it for the edit.
class UndoCorrections : public UndoEntry {
public:
    Foundation::Result<AlbumInfo*> Target() const final { return ref.FindAlbum(); }
    UndoResult Apply() final;

protected:
    UndoCorrections(const FileHistoryEntry& entry, std::string description)
        : UndoEntry(std::move(description)), ref(entry) {}
    // Puts the record's data into the recording and returns what does the opposite.
    virtual std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) = 0;
    const RecordingRef ref;
};

// The repairs of a stretch. The classes below say what to note for each kind of change.
class UndoRepairs : public UndoCorrections {
public:
    UndoRepairs(const FileHistoryEntry& entry, RepairStretch stretch, std::string description);

    // A change that is only tried does not count yet. The record must not die during a trial.
    void BeginTrial(FileHistoryEntry& entry) { stretch.BeginTrial(entry); }
    void EndTrial(FileHistoryEntry& entry) { stretch.EndTrial(entry); }
    void Withdraw(FileHistoryEntry& entry) { stretch.Withdraw(entry); }
    // The channels whose lists the change may touch.
    int TouchedChannels() const { return stretch.NotedChannels(); }
    int32_t Bytes() const override { return stretch.Bytes(); }

protected:
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;
    void ExchangeStretch(FileHistoryEntry& entry);

    RepairStretch stretch;
};

// Repairs are entered from `start` to `end`: those that stand there give way.
class UndoInsertClickRepair : public UndoRepairs {
public:
    UndoInsertClickRepair(const FileHistoryEntry& entry, int channels, int64_t start, int64_t end,
                          std::string description)
        : UndoRepairs(entry, RepairStretch(entry, channels, start, end), std::move(description)) {}
};

// All repairs from `start` to `end` are deleted, with their twins.
class UndoDeleteClickRepair : public UndoRepairs {
public:
    UndoDeleteClickRepair(const FileHistoryEntry& entry, int channels, int64_t start, int64_t end,
                          std::string description)
        : UndoRepairs(entry, RepairStretch(entry, channels, start, end), std::move(description)) {}
};

// `repair` gets new samples and goes from `start` to `end`.
class UndoAdjustClickRepair : public UndoRepairs {
public:
    UndoAdjustClickRepair(const FileHistoryEntry& entry, int channel, const ClickRepair& repair, int64_t start,
                          int64_t end, std::string description);
};

// A patch is entered in each of `channels`.
class UndoPatch : public UndoRepairs {
public:
    UndoPatch(const FileHistoryEntry& entry, int channels, int64_t start, int64_t end);
};

// The list of cuts with the times of all of them.
class UndoCuts : public UndoCorrections {
public:
    UndoCuts(const FileHistoryEntry& entry, std::string description);

private:
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;

    std::vector<CutAndSpliceCorrection> cuts;
};

class UndoCut : public UndoCuts {
    using UndoCuts::UndoCuts;
};

class UndoDeleteCut : public UndoCuts {
    using UndoCuts::UndoCuts;
};

// A click scan of `channels` from `start` to `end`, and what the last scan was. Made before the scan takes out what it
// does not keep: those repairs then belong to this record alone, the others share their samples with it.
class UndoUpdateCorrections : public UndoRepairs {
public:
    UndoUpdateCorrections(const FileHistoryEntry& entry, int channels, int64_t start, int64_t end,
                          std::string description);

private:
    UndoUpdateCorrections(const FileHistoryEntry& entry, RepairStretch stretch, std::string description);
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;

    ScanSettings scan;
};

// Around a change of cleanup settings or curves. What was tried of them is withdrawn with it.
class SettingsChange {
public:
    explicit SettingsChange(FileHistoryEntry& entry) : change(entry) { entry.tried.reset(); }

private:
    const TimelineChange change;
};

// Cleanup settings and curves alike: T is FilterSetting or FFTEq.
template <class T>
Foundation::LinkedList<T>& SettingsOf(FileHistoryEntry& entry);

// One setting, by its place in the list.
template <class T>
class UndoSetting : public UndoCorrections {
public:
    UndoSetting(FileHistoryEntry& entry, int index, std::string description);
    bool Covers(const UndoEntry& later) const override;

private:
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;

    int index;
    T setting;
};

// The order of the settings, of which only places change.
template <class T>
class UndoOrder : public UndoCorrections {
public:
    // Before settings are moved so that the one now at order[i] comes to place i.
    UndoOrder(const FileHistoryEntry& entry, const std::vector<int>& order, std::string description);

private:
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;

    std::vector<int> back;
};

// All settings.
template <class T>
class UndoSettings : public UndoCorrections {
public:
    UndoSettings(FileHistoryEntry& entry, std::string description);

private:
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;

    std::vector<T> settings;
};

// The stretch of the noise sample.
class UndoNoiseSample : public UndoCorrections {
public:
    UndoNoiseSample(const FileHistoryEntry& entry, std::string description);

private:
    std::unique_ptr<UndoEntry> Exchange(FileHistoryEntry& entry) override;

    FrameRange stretch;
};

using UndoUpdateFSL = UndoSetting<FilterSetting>;
using UndoUpdateFFTCurve = UndoSetting<FFTEq>;
using UndoShuffleFilterList = UndoOrder<FilterSetting>;
using UndoUpdateFSLArray = UndoSettings<FilterSetting>;

// Puts the settings in the order that `order` says as above; each place appears once.
template <class T>
void Reorder(Foundation::LinkedList<T>& list, const std::vector<int>& order);

// Start and end of the noise sample, frames in the file. Inside the bracket of the filter list, which readers of the
// noise sample watch.
void SetNoiseSample(FileHistoryEntry& entry, const FrameRange& stretch);

template <class T>
T* SettingAt(Foundation::LinkedList<T>& list, int index);

}  // namespace Orvane
