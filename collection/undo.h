// The stack of what can be undone and redone: one for the whole program. Main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "foundation/outcome.h"

namespace Orvane {

struct AlbumInfo;

// The screens of the main window, by the place of their tab.
enum ScreenId : int {
    SCREEN_NONE = -1,  // there are no windows
    SCREEN_RECORD = 0,
    SCREEN_SPLIT = 1,
    SCREEN_CLEANUP = 2,
    SCREEN_BURN = 3,
    SCREEN_BATCH = 4,
};

enum class UndoDirection { Redo = 0, Undo = 1 };

// What the stack asks of the windows. The built-in answers are those of a program without any.
class UndoHost {
public:
    virtual ~UndoHost() = default;
    virtual int CurrentScreen() const { return SCREEN_NONE; }
    // False when the album that the screen worked on is gone: Split Tracks then stands in for it.
    virtual bool IsUsable(int /*screen*/) { return true; }
    // A failure: the screen shown cannot be left, or the other not be entered.
    virtual Foundation::Outcome ShowScreen(int /*screen*/) { return {}; }
    // A failure while the current screen is busy or has something open that an undo would disturb.
    virtual Foundation::Outcome CanGoOn(UndoDirection) { return {}; }
    virtual void ShowAlbum(AlbumInfo* album);                                            // makes it the current one
    virtual void ShowTracks(const AlbumInfo& /*album*/, int /*first*/, int /*last*/) {}  // whose data have come back
    virtual void CatchUp() {}       // the waveform displays of the current screen are out of date
    virtual void MenusChanged() {}  // what GetUndoMenu gives is
};

// Null restores the built-in host. Returns the one before.
UndoHost* SetUndoHost(UndoHost* host);
UndoHost& GetUndoHost();

class UndoEntry;
using UndoResult = Foundation::Result<std::unique_ptr<UndoEntry>>;

// One action of the user. It remembers the screen that was shown when it was made.
class UndoEntry {
public:
    explicit UndoEntry(std::string description);
    UndoEntry(const UndoEntry&) = delete;
    UndoEntry& operator=(const UndoEntry&) = delete;
    virtual ~UndoEntry() = default;

    // The album that it changes, null for none. A failure when that, or the recording meant, has been deleted.
    virtual Foundation::Result<AlbumInfo*> Target() const { return nullptr; }
    // Puts the data back as they were and returns the record that does the opposite. A failure has changed nothing.
    virtual UndoResult Apply() = 0;
    // Points out to the user what has been put back in exchange for what this record holds now.
    virtual void Show() const {}
    virtual int32_t Bytes() const { return 0; }  // held, of records that may hold many
    // Whether putting back what this record holds also undoes `later`, the action right after it.
    virtual bool Covers(const UndoEntry& /*later*/) const { return false; }

    std::string description;  // what the menu shows
    int screen;
    int32_t size = 0;          // Bytes() when the record came on the stack, which keeps their sum
    bool needs_screen = true;  // it must be applied on its own screen
};

inline constexpr int kMostUndo = 100;
inline constexpr int32_t kMostUndoBytes = 0xA00000;
inline constexpr int kUndoAlwaysKept = 4;  // of these the last stay however large they are

enum class UndoTop { Keep, Replace };

// Enters a record of what has just been done; null is ignored. It ends what could be redone, and the oldest records go
// when there are too many or too large ones. With Replace it takes the place of the last one, which must be there with
// nothing to redo behind it. Inside the move of a gesture (gesture.h) it becomes part of that. Not while an undo runs.
void AddUndo(std::unique_ptr<UndoEntry> entry, UndoTop top = UndoTop::Keep);

// What the user has agreed to.
struct UndoAnswers {
    bool other_window = false;
    bool other_album = false;
};

// A failure leaves everything as it is. With NeedsAnswer, UndoOtherWindow or UndoOtherAlbum, the user has to be asked
// before it is called again with that answer; a question may follow another. A gesture that runs is kept first.
Foundation::Outcome Undo(const UndoAnswers& answers = {});
Foundation::Outcome Redo(const UndoAnswers& answers = {});

// Forgets everything.
void ClearUndo();

// Between the two what stands on the stack cannot be undone, and nothing be redone before a new record is added.
void SetUndoFloor();
void ClearUndoFloor();

struct UndoMenu {
    bool enabled;
    std::string text;  // of the menu item, its key behind a tab
    std::string tip;   // of the toolbar button
};
UndoMenu GetUndoMenu(UndoDirection direction);

// The stack's own counts.
struct UndoState {
    int undo_index = 0;      // records below it can be undone, those from it on redone
    int undo_highwater = 0;  // the first unused slot
    int floor = 0;           // records below it cannot be undone
    int64_t undo_size = 0;   // bytes held by all of them
    bool redo_barred = false;
    bool in_undo = false;
};
const UndoState& GetUndoState();

}  // namespace Orvane
