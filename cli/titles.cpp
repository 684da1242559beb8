#include "cli/titles.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "foundation/textfile.h"
#include "split/trackbreaks.h"

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

std::string OrderProblem(const std::vector<TitleLine>& titles) {
    for (size_t i = 0; i < titles.size(); ++i) {
        const TitleLine& title = titles[i];
        if (title.timed != titles[0].timed)
            return fmt::format("line {}: either all titles have times or none", title.line);
        if (!title.timed) continue;
        if (title.end <= title.start) return fmt::format("line {}: the track ends before it begins", title.line);
        if (title.end - title.start < kShortestTrack) {
            return fmt::format("line {}: {}", title.line,
                               FormatMessage(Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond));
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
    std::string_view first = TakeWord(rest);
    bool starts_with_time = ParseTimeArgument(first, title.start) && IsDash(TakeWord(rest));
    title.timed = starts_with_time && ParseTimeArgument(TakeWord(rest), title.end);
    if (starts_with_time && !title.timed && first.find(':') != std::string_view::npos) {
        problem = "behind the dash belongs the time at which the track ends";
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
