// The terminal as a host of the engine: what it says, how it shows progress, and Ctrl+C.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "foundation/host.h"

namespace Orvane {

// A text in mark-up as lines of plain text. Line breaks stay, but for empty lines; links that only a window can follow
// are left out.
std::string PlainLines(std::string_view markup);

// Writes a line to stderr.
void WriteError(std::string_view line);

// Messages go to stderr. A question is asked where somebody sits at a terminal; everywhere else the answer is the one
// that changes and loses nothing. Only of an edit that the command itself asks for are questions agreed to then, and
// remarked on.
class ConsoleMessages : public Foundation::MessageHost {
public:
    explicit ConsoleMessages(bool may_ask) : may_ask(may_ask) {}
    Foundation::Answer Ask(const Foundation::Message& message) override;

    const bool may_ask;
    std::function<void(const std::string&)> remark;  // set during such an edit
    std::string last_shown;                          // in plain text
};

// How progress is shown: a bar on one line that is drawn over, lines one below the other, or not at all.
enum class ProgressStyle { Bar, Lines, None };

class ConsoleProgress : public Foundation::ProgressHost {
public:
    using Write = std::function<void(std::string_view)>;
    using Clock = std::function<double()>;  // seconds

    ConsoleProgress(ProgressStyle style, Write write, Clock clock);

    void Begin(const std::string& title, bool can_cancel) override;
    void Phase(const std::string& title) override;
    void Position(int per_mille) override;
    void Status(const std::string& text) override { status = text; }
    void Log(const std::string& markup) override;
    void End(bool keep_open) override;

private:
    std::string PercentAndTime(int per_mille) const;
    void TellTitle();

    const ProgressStyle style;
    const Write write;
    const Clock clock;
    std::string title;
    std::string status;
    std::string log;  // the last piece, while its line has no end
    double started = 0;
    double last_shown = 0;
    bool drawn = false;       // a bar stands on the line
    bool title_told = false;  // as lines; a job of phases is told of by their titles
};

// From now on Ctrl+C and a polite request to end cancel the job in progress, as a Cancel button does.
void CatchInterrupts();
// True once the user has asked for the end.
bool Interrupted();

// Shows the progress of a job while it lives. Main thread.
class ProgressJob {
public:
    explicit ProgressJob(const std::string& title);
    ~ProgressJob();
    ProgressJob(const ProgressJob&) = delete;
    ProgressJob& operator=(const ProgressJob&) = delete;
};

}  // namespace Orvane
