// What may be done to the program while something goes on in it: the busy query, the question before its end, and what
// waits for a job.
#pragma once

#include <functional>

#include "foundation/outcome.h"

namespace Orvane {

// True if an action that needs the collection quiet may go ahead. Listeners of event 6 can veto; open recordings and
// background jobs make it ask, but for BusyHibernate and ids below 1, which nothing else stops. From any thread.
bool IsBusyQuery(int message_id);

// The question before the program ends, or sleeps: busy query, saving of a changed collection, and with
// `close_collection` its closing. False stops the quit. A job whose call is still on the stack is cancelled instead of
// closed under: that is false too, and to be asked again when it has ended (WhenNoJobRuns). Main thread.
bool CanQuit(bool reason_is_hibernate, bool close_collection);

// Closes the live collection at the end of the program, when recordings may still be open. Kind::Busy while a job works
// on it. Main thread.
Foundation::Outcome CloseOnTheWayOut();

// Runs `task` once no job has its turn: at once, or from the main loop. Main thread.
void WhenNoJobRuns(std::function<void()> task);

}  // namespace Orvane
