// The mark-up of messages, taken apart: one pass for whoever shows them, be it a window, a terminal or a log.
#pragma once

#include <string>
#include <string_view>

namespace Foundation {

enum class Tag { Bold, Underline, Centre, FontSize, Colour, Indent, Link };

// What NextMarkup found. Text holds no tags but may hold line breaks and tabs.
struct MarkupPiece {
    enum Kind { Text, Open, Close, Action } kind = Text;
    Tag tag = Tag::Bold;    // of Open and Close
    std::string_view text;  // the text; the attributes of Open ("size=250"); the action with its braces
};

// Takes the next piece off the front of `rest`; false when `rest` is empty. A tag is known by its name alone:
//   <b> <u> <center> <font_size size=percent> <fg color=#rrggbb> <indent first=n second=m>
//   <l><h>{action}</h>text</l>
// and everything else, such as a "<" in a file name, is text. Behind kLiteral a "<" never begins a tag.
bool NextMarkup(std::string_view& rest, MarkupPiece& piece);

// Stands in mark-up before a "<" that is text whatever follows. It is never shown.
inline constexpr char kLiteral = '\x01';

// A plain text as mark-up that shows it: no tag in it, as in a file name, is taken for one.
std::string LiteralMarkup(std::string_view text);

}  // namespace Foundation
