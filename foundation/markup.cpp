#include "foundation/markup.h"

#include "foundation/messages.h"

namespace Foundation {
namespace {

struct TagName {
    std::string_view name;
    Tag tag;
    bool has_attributes;
};

constexpr TagName kTags[] = {
    {"b", Tag::Bold, false},        {"u", Tag::Underline, false},
    {"center", Tag::Centre, false}, {"font_size", Tag::FontSize, true},
    {"fg", Tag::Colour, true},      {"indent", Tag::Indent, true},
    {"l", Tag::Link, false},
};

constexpr std::string_view kActionStart = "<h>";
constexpr std::string_view kActionEnd = "</h>";

// Takes a tag off the front of `rest`, which begins with "<". False, with nothing taken, when it is none.
bool TakeTag(std::string_view& rest, MarkupPiece& piece) {
    if (rest.substr(0, kActionStart.size()) == kActionStart) {
        const size_t end = rest.find(kActionEnd);
        if (end == rest.npos) return false;
        piece = {MarkupPiece::Action, Tag::Link, rest.substr(kActionStart.size(), end - kActionStart.size())};
        rest.remove_prefix(end + kActionEnd.size());
        return true;
    }
    const size_t end = rest.find('>');
    if (end == rest.npos) return false;
    std::string_view inside = rest.substr(1, end - 1);
    const bool closes = !inside.empty() && inside.front() == '/';
    if (closes) inside.remove_prefix(1);
    const size_t blank = inside.find(' ');
    const std::string_view name = inside.substr(0, blank);
    const std::string_view attributes = blank == inside.npos ? std::string_view() : inside.substr(blank + 1);
    for (const TagName& known : kTags) {
        if (known.name != name || (blank != inside.npos && (closes || !known.has_attributes))) continue;
        piece = {closes ? MarkupPiece::Close : MarkupPiece::Open, known.tag, attributes};
        rest.remove_prefix(end + 1);
        return true;
    }
    return false;
}

}  // namespace

bool NextMarkup(std::string_view& rest, MarkupPiece& piece) {
    if (rest.empty()) return false;
    const bool literal = rest.front() == kLiteral;
    if (literal) rest.remove_prefix(1);
    if (!literal && rest.front() == '<' && TakeTag(rest, piece)) return true;
    // Text goes on to the next "<" that begins a tag, or to the mark before one that does not.
    constexpr char kStops[] = {'<', kLiteral, 0};
    size_t length = rest.find_first_of(kStops, 1);
    for (; length != rest.npos; length = rest.find_first_of(kStops, length + 1)) {
        std::string_view ahead = rest.substr(length);
        if (ahead.front() == kLiteral || TakeTag(ahead, piece)) break;
    }
    piece = {MarkupPiece::Text, Tag::Bold, rest.substr(0, length)};
    rest.remove_prefix(piece.text.size());
    return true;
}

std::string LiteralMarkup(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (c == kLiteral) continue;
        if (c == '<') result += kLiteral;
        result += c;
    }
    return result;
}

std::string PlainText(std::string_view markup) {
    std::string result;
    bool broken = false;
    for (MarkupPiece piece; NextMarkup(markup, piece);) {
        if (piece.kind != MarkupPiece::Text) continue;
        for (char c : piece.text) {
            if (c == '\n' || c == '\r') {
                broken = true;
                continue;
            }
            // A break is a blank between words only: none at either end.
            if (broken && !result.empty() && result.back() != ' ') result += ' ';
            broken = false;
            result += c == '\t' ? ' ' : c;
        }
    }
    return result;
}

}  // namespace Foundation
