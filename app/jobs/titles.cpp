#include "app/jobs/titles.h"

#include <fmt/format.h>

#include <algorithm>

#include "app/texts.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "foundation/textfile.h"
#include "split/trackbreaks.h"

using namespace Foundation;

namespace Orvane {
namespace {

std::string_view TakeWord(std::string_view& rest) {
    rest = Trim(rest);
    std::string_view word = rest.substr(0, std::min(rest.find_first_of(" \t"), rest.size()));
    rest = Trim(rest.substr(word.size()));
    return word;
}

bool IsDash(std::string_view word) {
    return word == "-" || word == "\u2013" || word == "\u2014";
}

// True for digits with colons, points and dashes among them, which nobody means as a word.
bool LooksLikeTime(std::string_view word) {
    return word.find(':') != word.npos && word.find_first_of("0123456789") == 0 &&
           word.find_first_not_of("0123456789:.,-") == word.npos;
}

std::string OrderProblem(const std::vector<TitleLine>& titles) {
    for (size_t i = 0; i < titles.size(); ++i) {
        const TitleLine& title = titles[i];
        if (title.timed != titles[0].timed)
            return fmt::format("line {}: either all titles have times or none", title.line);
        if (!title.timed) continue;
        if (title.end <= title.start) return fmt::format("line {}: the track ends before it begins", title.line);
        if (title.end - title.start < kShortestTrack) {
            return fmt::format("line {}: {}", title.line,
                               FormatMsg(Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond));
        }
        if (i > 0 && title.start < titles[i - 1].end) {
            return fmt::format("line {}: the track begins before the one above it has ended", title.line);
        }
    }
    return {};
}

}  // namespace

bool ParseTitleLine(std::string_view text, TitleLine& title, std::string& problem) {
    text = Trim(text);
    title.title.clear();
    title.timed = false;
    if (text.empty() || text.front() == '#') return true;
    std::string_view rest = text;
    const std::string_view first = TakeWord(rest);
    const bool has_start = ParseTypedTime(first, title.start);
    const std::string_view dash = TakeWord(rest);
    const std::string_view second = TakeWord(rest);
    title.timed = has_start && IsDash(dash) && ParseTypedTime(second, title.end);
    // "4:33" and "10:15 Saturday" are titles; what has a dash or another time behind it was meant as times.
    const bool one_word = first.find('-') != first.npos;
    const bool meant = IsDash(dash) ? LooksLikeTime(first) || LooksLikeTime(second)
                                    : LooksLikeTime(first) && (one_word || LooksLikeTime(dash));
    if (!title.timed && meant) {
        problem = "it begins like times, which are START - END with blanks between, such as 0:06 - 3:41.5";
        return false;
    }
    title.title = title.timed ? rest : text;
    if (!title.title.empty()) return true;
    problem = "the title is missing";
    return false;
}

bool ReadTitles(const std::string& path, std::vector<TitleLine>& titles, std::string& problem) {
    std::unique_ptr<TextFileReader> reader = OpenTextFile(path);
    if (!reader) {
        problem = GetLastError().text;
        return false;
    }
    std::string text;
    for (int line = 1; reader->ReadLine(text); ++line) {
        TitleLine title;
        title.line = line;
        if (!ParseTitleLine(text, title, problem)) {
            problem = fmt::format("{}, line {}: {}", path, line, problem);
            return false;
        }
        if (!title.title.empty()) titles.push_back(title);
    }
    if (reader->Failed()) {
        problem = GetLastError().text;
        return false;
    }
    problem = titles.empty() ? "it holds no titles" : OrderProblem(titles);
    if (problem.empty()) return true;
    problem = fmt::format("{}: {}", path, problem);
    return false;
}

}  // namespace Orvane
