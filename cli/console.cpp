#include "cli/console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <csignal>
#include <cstdio>

#include "cli/texts.h"
#include "foundation/markup.h"
#include "foundation/messages.h"
#include "foundation/progress.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kBarWidth = 30;
constexpr double kBarSeconds = 0.1;   // a bar is drawn no more often
constexpr double kLineSeconds = 5.0;  // nor a line written

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);  // a signal handler may set it

extern "C" void OnInterrupt(int) {
    interrupted.store(true);
    Progress::Cancel();
}

Answer SafestAnswer(Buttons buttons) {
    switch (buttons) {
        case Buttons::Ok:
            return Answer::Ok;
        case Buttons::YesNo:
            return Answer::No;
        default:
            return Answer::Cancel;
    }
}

struct Choice {
    Answer answer;
    const char* word;
};

std::vector<Choice> ChoicesOf(Buttons buttons) {
    switch (buttons) {
        case Buttons::Ok:
            return {};
        case Buttons::OkCancel:
            return {{Answer::Ok, "ok"}, {Answer::Cancel, "cancel"}};
        case Buttons::YesNo:
            return {{Answer::Yes, "yes"}, {Answer::No, "no"}};
        case Buttons::YesNoCancel:
            return {{Answer::Yes, "yes"}, {Answer::No, "no"}, {Answer::Cancel, "cancel"}};
        case Buttons::RetryCancel:
            return {{Answer::Retry, "retry"}, {Answer::Cancel, "cancel"}};
    }
    return {};
}

// One line from the terminal, in lower case; empty when the user typed nothing or interrupted.
std::string ReadAnswer() {
    std::string line;
    char c = 0;
    while (read(STDIN_FILENO, &c, 1) == 1 && c != '\n') {
        line += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return line;
}

}  // namespace

std::string PlainLines(std::string_view markup) {
    std::string text;
    MarkupPiece piece;
    bool in_window_link = false;
    while (NextMarkup(markup, piece)) {
        if (piece.kind == MarkupPiece::Action && piece.text.starts_with("{browse_")) in_window_link = true;
        if (piece.kind == MarkupPiece::Close && piece.tag == Tag::Link) in_window_link = false;
        if (piece.kind == MarkupPiece::Text && !in_window_link) text += piece.text;
    }
    std::string lines;
    for (std::string_view rest = text; !rest.empty();) {
        size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view line = rest.substr(0, end);
        while (!line.empty() && line.back() == ' ') line.remove_suffix(1);
        bool ended = end < rest.size();
        if (!line.empty()) lines.append(line).append(ended ? "\n" : "");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return lines;
}

void WriteError(std::string_view line) {
    std::string text(line);
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

Answer ConsoleMessages::Ask(const Message& message) {
    std::vector<Choice> choices = ChoicesOf(message.buttons);
    // Who has switched a warning off has agreed to what it warns of, the first choice.
    if (!message.hide_key.empty() && GetSetting(message.hide_key, 1) == 0)
        return choices.empty() ? Answer::Ok : choices[0].answer;
    if (!may_ask && remark && !choices.empty()) {
        remark(message.text.substr(0, message.text.rfind("\n\n")));  // the question itself stands last
        return choices[0].answer;
    }
    if (message.hide_key.starts_with("Report ")) return Answer::Ok;  // the command tells its results itself
    last_shown = PlainText(message.text);
    if (!may_ask || choices.empty()) {
        WriteError("orvane-cli: " + last_shown);
        return SafestAnswer(message.buttons);
    }
    std::string words;
    for (const Choice& choice : choices) words += fmt::format("{}{}", words.empty() ? "" : "/", choice.word);
    std::fprintf(stderr, "%s [%s] ", last_shown.c_str(), words.c_str());
    std::fflush(stderr);
    std::string typed = ReadAnswer();
    for (const Choice& choice : choices) {
        if (!typed.empty() && std::string_view(choice.word).starts_with(typed)) return choice.answer;
    }
    return SafestAnswer(message.buttons);
}

ConsoleProgress::ConsoleProgress(ProgressStyle style, Write write, Clock clock)
    : style(style), write(std::move(write)), clock(std::move(clock)) {}

void ConsoleProgress::Begin(const std::string& new_title, bool) {
    title = new_title;
    status.clear();
    log.clear();
    started = last_shown = clock();
    drawn = title_told = false;
    if (Interrupted()) Progress::Cancel();  // the job's beginning has forgotten what came before it
}

void ConsoleProgress::Phase(const std::string& new_title) {
    End(false);
    Begin(new_title, true);
    TellTitle();
}

void ConsoleProgress::TellTitle() {
    if (style == ProgressStyle::Lines && !title_told) write(title + " ...\n");
    title_told = true;
}

std::string ConsoleProgress::PercentAndTime(int per_mille) const {
    double elapsed = clock() - started;
    std::string text = fmt::format("{:3d} %", per_mille / 10);
    if (per_mille > 0 && per_mille < 1000 && elapsed >= 1) {
        double left = elapsed * (1000 - per_mille) / per_mille;
        text += fmt::format("  {} left", ClockText(static_cast<int64_t>(left * kTicksPerSecond)));
    }
    return status.empty() ? text : text + "  " + status;
}

void ConsoleProgress::Position(int per_mille) {
    if (style == ProgressStyle::None) return;
    TellTitle();
    per_mille = std::clamp(per_mille, 0, 1000);
    double now = clock();
    if (now - last_shown < (style == ProgressStyle::Bar ? kBarSeconds : kLineSeconds)) return;
    last_shown = now;
    if (style == ProgressStyle::Lines) {
        write(fmt::format("{}: {}\n", title, PercentAndTime(per_mille)));
        return;
    }
    size_t full = static_cast<size_t>(per_mille * kBarWidth / 1000);
    write(fmt::format("\r{} [{}{}] {}\033[K", title, std::string(full, '='), std::string(kBarWidth - full, ' '),
                      PercentAndTime(per_mille)));
    drawn = true;
}

void ConsoleProgress::Log(const std::string& markup) {
    if (style != ProgressStyle::Lines) return;
    TellTitle();
    log += markup;
    if (!log.ends_with('\n')) return;
    write(PlainLines(log));
    log.clear();
}

void ConsoleProgress::End(bool) {
    if (drawn) write("\r\033[K");
    drawn = false;
    if (style == ProgressStyle::Lines && !log.empty()) write(PlainLines(log + "\n"));
    log.clear();
}

void CatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = OnInterrupt;
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

bool Interrupted() {
    return interrupted.load();
}

ProgressJob::ProgressJob(const std::string& title) {
    Progress::Begin(title);
    if (Interrupted()) Progress::Cancel();  // Begin has forgotten what came before it
}

ProgressJob::~ProgressJob() {
    Progress::End();
}

}  // namespace Orvane
