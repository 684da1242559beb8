// The one job that the program runs at a time. A job is a function that takes a record of options and returns a record
// of results; the results are values, which outlive the albums they tell of, unless they say otherwise.
#pragma once

#include <optional>
#include <string>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

// A job's turn, from its making to its end: its progress is on show, no other job begins, and a collection that it
// works on stays open. Main thread.
class Job {
public:
    // `title` says what is done. While another job has its turn this one is refused and shows nothing. `set` is what it
    // works on; null: none, or none yet.
    explicit Job(const std::string& title, AlbumSet* set = nullptr);
    ~Job();
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    // Success, or Kind::Busy.
    const Foundation::Outcome& Refusal() const { return refusal; }

    // The job goes on with something else.
    void Phase(const std::string& title) const;
    // The collection that it works on from now on; null: none.
    void Hold(AlbumSet* set);
    // Kind::Cancelled once the user has asked for the end.
    Foundation::Outcome GoOn() const;

    static bool InProgress();

private:
    Foundation::Outcome refusal;
    AlbumSet* held = nullptr;
};

}  // namespace Orvane
