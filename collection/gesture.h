// Several changes that the user takes back as one: those of one action, and those of a gesture. Main thread.
#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "collection/undo.h"

namespace Orvane {

// Several records of one action, in the order of their changes.
class UndoGroup : public UndoEntry {
public:
    using UndoEntry::UndoEntry;
    void Add(std::unique_ptr<UndoEntry> entry);
    bool Empty() const { return entries.empty(); }
    const UndoEntry* Last() const { return entries.empty() ? nullptr : entries.back().get(); }
    Foundation::Result<AlbumInfo*> Target() const override;
    UndoResult Apply() override;
    void Show() const override;
    int32_t Bytes() const override;

private:
    std::vector<std::unique_ptr<UndoEntry>> entries;
};

// A drag or the turning of a knob: it begins with the first move, moves as often as the user likes, and is then kept as
// one record of undo or abandoned. One runs at a time: any other action, undo or gesture keeps it first.
class Gesture {
public:
    Gesture() = default;
    ~Gesture() { Abandon(); }
    Gesture(const Gesture&) = delete;
    Gesture& operator=(const Gesture&) = delete;

    // Runs an edit, any function that enters records of undo; they become part of the gesture. What the edit gives.
    template <class Edit>
    auto Move(Edit edit) {
        const Joining joining(*this);
        return edit();
    }
    // As Move, but the edit, which gives an Outcome, a Result or nothing, starts from how things were before the
    // gesture: nothing is left of the moves in between. For edges that push others aside. Not done when that cannot be.
    template <class Edit>
    auto MoveAfresh(Edit edit) {
        using Answer = decltype(edit());
        Foundation::Outcome back = TakeBack();
        if constexpr (std::is_void_v<Answer>) {
            if (back) Move(edit);
        } else {
            return back ? Move(edit) : Answer(back);
        }
    }
    bool Running() const { return steps != nullptr; }  // there is something to keep or to abandon

    // One record, named after the first change.
    void Keep();
    // Everything is as it was before the gesture, and so is the stack. What cannot be taken back is kept.
    void Abandon();

    // For the stack: the gesture whose move is under way, or null, which takes the records that are entered; and what
    // becomes of the one that runs.
    static Gesture* Moving() { return moving; }
    void Add(std::unique_ptr<UndoEntry> entry);
    static void KeepRunning();
    static void ForgetRunning();
    static const UndoEntry* Steps() { return running ? running->steps.get() : nullptr; }

private:
    class Joining {
    public:
        explicit Joining(Gesture& gesture);
        ~Joining();
    };
    Foundation::Outcome TakeBack();
    std::unique_ptr<UndoGroup> Stop();

    std::unique_ptr<UndoGroup> steps;  // null while nothing has changed

    static inline Gesture* running = nullptr;  // has steps
    static inline Gesture* moving = nullptr;
};

}  // namespace Orvane
