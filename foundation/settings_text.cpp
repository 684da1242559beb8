// The text form of a settings store: one line a key, with escapes, so that any text survives.
#include <algorithm>
#include <charconv>

#include "foundation/settings.h"
#include "foundation/text.h"

namespace Foundation {
namespace {

constexpr char kComment = '#';

constexpr std::string_view kMark = "\xEF\xBB\xBF";

enum class Part { Key, Value };

bool BeginsWithMark(std::string_view text) {
    return text.substr(0, kMark.size()) == kMark;
}

void AppendHex(char c, std::string& line) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    line.append({'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]});
}

std::string Escaped(std::string_view text, Part part) {
    std::string line;
    size_t valid_end = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        // Bytes that are not UTF-8 are escaped, so that the file stays a text file.
        if (i >= valid_end) valid_end = i + ValidUtf8Prefix(text.substr(i));
        const bool at_an_end = i == 0 || i + 1 == text.size();
        if (c == '\\') {
            line += "\\\\";
        } else if (c == '\n') {
            line += "\\n";
        } else if (c == '\t') {
            line += "\\t";
        } else if (i >= valid_end || static_cast<unsigned char>(c) < 32 || (c == ' ' && at_an_end) ||
                   (part == Part::Key && (c == '=' || (c == kComment && i == 0)))) {
            AppendHex(c, line);
        } else {
            line += c;
        }
    }
    return line;
}

// False when an escape is none of ours.
bool Unescape(std::string_view line, std::string& text) {
    text.clear();
    for (size_t at; (at = line.find('\\')) != line.npos;) {
        text.append(line.substr(0, at));
        line.remove_prefix(at + 1);
        const char kind = line.empty() ? '\0' : line.front();
        if (kind == 'x') {
            unsigned byte = 0;
            const std::string_view digits = line.substr(1, 2);
            const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
            if (digits.size() != 2 || read.ptr != digits.data() + 2) return false;
            text += static_cast<char>(byte);
            line.remove_prefix(3);
            continue;
        }
        if (kind != '\\' && kind != 'n' && kind != 't') return false;
        text += kind == 'n' ? '\n' : kind == 't' ? '\t' : '\\';
        line.remove_prefix(1);
    }
    text.append(line);
    return true;
}

enum class Line { Empty, Damaged, Setting };

Line ParseLine(std::string_view line, std::string& key, std::string& value) {
    line = Trim(line);
    if (line.empty() || line.front() == kComment) return Line::Empty;
    const size_t equals = line.find('=');
    if (equals == line.npos || ValidUtf8Prefix(line) != line.size()) return Line::Damaged;
    const bool whole = Unescape(Trim(line.substr(0, equals)), key) && Unescape(Trim(line.substr(equals + 1)), value);
    return whole && !key.empty() ? Line::Setting : Line::Damaged;
}

// Calls `visit(line, kind, key, value)` for each line, which is handed over without its line feed.
template <class Visit>
void ForEachLine(std::string_view text, Visit visit) {
    if (BeginsWithMark(text)) text.remove_prefix(kMark.size());
    std::string key;
    std::string value;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        visit(line, ParseLine(line, key, value), key, value);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
}

}  // namespace

std::vector<std::pair<std::string, std::string>> ParseSettings(std::string_view text, int* n_damaged) {
    std::vector<std::pair<std::string, std::string>> settings;
    int damaged = 0;
    ForEachLine(text, [&](std::string_view, Line kind, const std::string& key, const std::string& value) {
        if (kind == Line::Setting) settings.emplace_back(key, value);
        if (kind == Line::Damaged) ++damaged;
    });
    if (n_damaged) *n_damaged = damaged;
    return settings;
}

std::string ChangeSettingsText(std::string_view text, const SettingChanges& changes) {
    std::vector<bool> placed(changes.size());
    std::string result;
    const auto place = [&](size_t i) {
        const SettingChange& change = changes[i];
        if (change.value && !placed[i]) {
            result += Escaped(change.key, Part::Key) + " = " + Escaped(*change.value, Part::Value) + "\n";
        }
        placed[i] = true;
    };
    ForEachLine(text, [&](std::string_view line, Line kind, const std::string& key, const std::string&) {
        const auto change = std::ranges::find(changes, key, &SettingChange::key);
        if (kind == Line::Setting && change != changes.end()) {
            place(static_cast<size_t>(change - changes.begin()));
        } else {
            result.append(line) += '\n';
        }
    });
    for (size_t i = 0; i < changes.size(); ++i) place(i);
    // A mark that belongs to the first line needs the file's own before it, or it would be taken for that.
    if (BeginsWithMark(text) || BeginsWithMark(result)) result.insert(0, kMark);
    return result;
}

}  // namespace Foundation
