// Text files line by line, in the encodings that other programs write.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace Foundation {

enum class Encoding { Detect = 0, ANSI = 1, UTF16LE = 2, UTF16BE = 3, UTF8 = 4 };

// The bytes that a file of this encoding begins with; ANSI has none.
std::string_view ByteOrderMark(Encoding encoding);

// What a line becomes that should be UTF-8 and is not.
enum class NotUtf8 {
    Replace,      // every byte that is not becomes U+FFFD
    Windows1252,  // the line is taken to be in that code page, as older programs write it
};

// All texts handed in and out are UTF-8. The ANSI classes use code page 65001, which is UTF-8 too. Whatever a
// file holds, what comes out is valid.
class TextFileReader {
public:
    virtual ~TextFileReader() = default;
    // The next line without its end, which may be LF, CR LF or the end of the file. False at the end or on a read
    // error (see Failed).
    virtual bool ReadLine(std::string& line) = 0;
    virtual void Close() = 0;
    virtual bool Failed() const = 0;  // a read failed; the reason is the thread's last error
    virtual Encoding GetEncoding() const = 0;
};

// Opens a file for reading; with Detect its first bytes decide (FF FE, FE FF, EF BB BF, otherwise ANSI). Any other
// encoding is taken as said; a mark of its own is skipped. Null when it cannot be opened: last error. The file stays
// readable for others.
std::unique_ptr<TextFileReader> OpenTextFile(std::string_view path, Encoding encoding_or_detect = Encoding::Detect,
                                             size_t buffer_size = 16384, NotUtf8 not_utf8 = NotUtf8::Replace);

// The same over bytes in memory, which must outlive the reader.
std::unique_ptr<TextFileReader> ReadTextFrom(std::string_view bytes, Encoding encoding_or_detect = Encoding::Detect,
                                             NotUtf8 not_utf8 = NotUtf8::Replace);

// Line ends of what is written: "\n" in a text becomes this. Text files for other programs take CRLF; our own
// collections and sheets take LF.
enum class LineEnds { CRLF, LF };

class TextFileWriter {
public:
    virtual ~TextFileWriter() = default;
    // Appends a text with "\n" for its line ends. False on a write error, which is the thread's last error; later
    // calls then fail too.
    virtual bool Write(std::string_view text) = 0;
    virtual bool Flush() = 0;
    // Flushes and closes; with `to_disk` the system has put the data on the disk when it returns true.
    virtual bool Close(bool to_disk = false) = 0;
};

enum TextFileMode : int {
    TEXT_APPEND = 1,
    TEXT_CREATE = 2,
    TEXT_NO_MARK = 0x200,  // no byte-order mark at the start of a new file
};

// Null when it cannot be opened: last error.
std::unique_ptr<TextFileWriter> CreateTextFile(std::string_view path, Encoding encoding, int mode = TEXT_CREATE,
                                               LineEnds line_ends = LineEnds::CRLF, size_t buffer_size = 16384);

}  // namespace Foundation
