// The mark-up of messages, taken apart: one pass for whoever shows them, be it a window, a terminal or a log.
#pragma once

#include <string_view>

namespace Tesslib {

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
// and everything else, such as a "<" in a file name, is text.
bool NextMarkup(std::string_view& rest, MarkupPiece& piece);

}  // namespace Tesslib
