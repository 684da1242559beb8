// The stack of what can be undone and redone: one for the whole program. Main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

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
    virtual bool ShowScreen(int /*screen*/) { return true; }  // false: it could not be left or entered
    // False while the current screen is busy or has something open that an undo would disturb.
    virtual bool CanGoOn(UndoDirection) { return true; }
    virtual void ShowAlbum(AlbumInfo* album);                                            // makes it the current one
    virtual void ShowTracks(const AlbumInfo& /*album*/, int /*first*/, int /*last*/) {}  // whose data have come back
    virtual void CatchUp() {}       // the waveform displays of the current screen are out of date
    virtual void MenusChanged() {}  // what GetUndoMenu gives is
};

// Null restores the built-in host. Returns the one before.
UndoHost* SetUndoHost(UndoHost* host);
UndoHost& GetUndoHost();

// One action of the user. It remembers the screen that was shown when it was made.
class UndoEntry {
public:
    explicit UndoEntry(std::string description);
    UndoEntry(const UndoEntry&) = delete;
    UndoEntry& operator=(const UndoEntry&) = delete;
    virtual ~UndoEntry() = default;

    // Puts the data back as they were and returns the record that does the opposite. Null when it could not be done or
    // the user did not want it, which has been said: then nothing has changed.
    virtual std::unique_ptr<UndoEntry> Apply() = 0;

    std::string description;  // what the menu shows
    int screen;
    int32_t size = 0;          // bytes held, for records that may hold many; set before the record is added
    bool needs_screen = true;  // it must be applied on its own screen
};

inline constexpr int kMostUndo = 100;
inline constexpr int32_t kMostUndoBytes = 0xA00000;
inline constexpr int kUndoAlwaysKept = 4;  // of these the last stay however large they are

enum class UndoTop { Keep, Replace };

// Enters a record of what has just been done; null is ignored. It ends what could be redone, and the oldest records go
// when there are too many or too large ones. With Replace it takes the place of the last one, which must be there with
// nothing to redo behind it: a run of changes then undoes in one step. Not while an undo runs.
void AddUndo(std::unique_ptr<UndoEntry> entry, UndoTop top = UndoTop::Keep);

// True when something was done. Otherwise the stack is as it was.
bool Undo();
bool Redo();

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
