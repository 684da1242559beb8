// What the engine asks of whoever runs it: the windows, the command line and the tests each bring their own.
#pragma once

#include <cstdint>
#include <string>

namespace Foundation {

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel, RetryCancel };
enum class Answer { Ok, Cancel, Yes, No, Retry };
enum class Severity { Information, Warning, Error };

// A message in mark-up. With a `hide_key` ("Warn...", "Acknowledge...", "Advise...", "Confirm...") the user may have
// switched it off; the host then answers without showing it.
struct Message {
    std::string text;
    Buttons buttons = Buttons::Ok;
    Severity severity = Severity::Information;
    std::string hide_key;
};

class MessageHost {
public:
    virtual ~MessageHost() = default;
    // Shows the message and waits for the answer. Main thread only, for a worker has nobody to talk to; but a fatal
    // error (in_fatal_error_handler) speaks from whatever thread it is met on.
    virtual Answer Ask(const Message& message) = 0;
};

// The progress dialog. All calls come from Progress (progress.h). Position, Status and Log may come from workers, one
// at a time; they must not wait for the main thread.
class ProgressHost {
public:
    virtual ~ProgressHost() = default;
    virtual void Begin(const std::string& title, bool can_cancel) = 0;
    // The job goes on with something else, whose positions begin at 0 again.
    virtual void Phase(const std::string& /*title*/) {}
    virtual void Position(int per_mille) = 0;  // 0 to 1000
    // How far the job has come, in words that take the place of those before.
    virtual void Status(const std::string& /*text*/) {}
    virtual void Log(const std::string& markup) = 0;  // a piece of the results log; may hold line breaks or none
    virtual void End(bool keep_open) = 0;             // with keep_open it waits for the user to close it
};

// The hosts in use; null restores the built-in ones (messages to stderr, the safest answer, no progress display).
// Set on the main thread while no job runs. Return the one before.
MessageHost* SetMessageHost(MessageHost* host);
ProgressHost* SetProgressHost(ProgressHost* host);
MessageHost& Messages();
ProgressHost& ProgressDisplay();

// Shows a message with one button.
void ShowMessage(std::string text, Severity severity = Severity::Error);
// Shows the thread's last error.
void ShowLastError();

}  // namespace Foundation
