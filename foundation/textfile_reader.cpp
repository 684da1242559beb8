#include <cerrno>
#include <cstring>
#include <vector>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "foundation/textfile.h"

namespace Foundation {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Bytes in pieces: those of a file through a buffer, or those of a memory block in one.
struct ByteSource {
    // Puts the next piece in `piece`, which lasts until the next call. False at the end and on a read error.
    bool Next() {
        piece = {};
        if (!file) return false;
        const size_t n_read = std::fread(buffer.data(), 1, buffer.size(), file.get());
        piece = {buffer.data(), n_read};
        if (n_read == 0 && std::ferror(file.get())) {
            failed = true;
            FailRead(path, errno);
        }
        return n_read > 0;
    }

    std::string_view piece;
    FilePtr file;
    std::vector<char> buffer;
    std::string path;
    bool failed = false;
    NotUtf8 not_utf8 = NotUtf8::Replace;
};

class BufferedReader : public TextFileReader {
public:
    BufferedReader(ByteSource&& from, Encoding encoding) : source(std::move(from)), encoding(encoding) {}
    void Close() override {
        source.file.reset();
        source.piece = {};
    }
    bool Failed() const override { return source.failed; }
    Encoding GetEncoding() const override { return encoding; }

protected:
    // True when a byte is waiting in the source's piece.
    bool HasBytes() { return !source.piece.empty() || source.Next(); }

    ByteSource source;

private:
    const Encoding encoding;
};

void DropCarriageReturn(std::string& line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
}

class ANSI_TextFileReader : public BufferedReader {
public:
    using BufferedReader::BufferedReader;

    bool ReadLine(std::string& line) override {
        line.clear();
        if (!HasBytes()) return false;
        do {
            const size_t end = source.piece.find('\n');
            line.append(source.piece.substr(0, end));
            source.piece.remove_prefix(end == std::string_view::npos ? source.piece.size() : end + 1);
            if (end != std::string_view::npos) break;
        } while (HasBytes());
        if (source.failed) return false;
        DropCarriageReturn(line);
        if (ValidUtf8Prefix(line) == line.size()) return true;
        line = source.not_utf8 == NotUtf8::Replace ? ValidUtf8(line) : FromWindows1252(line);
        return true;
    }
};

class UTF8_TextFileReader : public ANSI_TextFileReader {
public:
    using ANSI_TextFileReader::ANSI_TextFileReader;
};

template <bool kBigEndian>
class UTF16_TextFileReader : public BufferedReader {
public:
    using BufferedReader::BufferedReader;

    bool ReadLine(std::string& line) override {
        line.clear();
        char32_t unit;
        if (!TakeUnit(unit)) return false;
        do {
            if (unit == '\n') break;
            AppendUtf8(line, IsHighSurrogate(unit) ? Combined(unit) : unit);
        } while (TakeUnit(unit));
        if (source.failed) return false;
        DropCarriageReturn(line);
        return true;
    }

private:
    static bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

    // The character that a high surrogate begins. One without its second half is damaged, and what follows it stands.
    char32_t Combined(char32_t high) {
        char32_t low;
        if (!TakeUnit(low)) return kReplacement;
        if (low >= 0xDC00 && low <= 0xDFFF) return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
        has_waiting_unit = true;
        waiting_unit = low;
        return kReplacement;
    }

    bool TakeUnit(char32_t& unit) {
        if (has_waiting_unit) {
            has_waiting_unit = false;
            unit = waiting_unit;
            return true;
        }
        unsigned char bytes[2];
        if (!TakeByte(bytes[0])) return false;
        // Half a unit at the end of the file.
        if (!TakeByte(bytes[1])) {
            unit = kReplacement;
            return true;
        }
        unit = static_cast<char32_t>(kBigEndian ? bytes[0] << 8 | bytes[1] : bytes[1] << 8 | bytes[0]);
        return true;
    }

    bool TakeByte(unsigned char& byte) {
        if (!HasBytes()) return false;
        byte = static_cast<unsigned char>(source.piece.front());
        source.piece.remove_prefix(1);
        return true;
    }

    char32_t waiting_unit = 0;
    bool has_waiting_unit = false;
};

using UTF16LE_TextFileReader = UTF16_TextFileReader<false>;
using UTF16BE_TextFileReader = UTF16_TextFileReader<true>;

bool TakeMark(std::string_view& bytes, std::string_view mark) {
    if (bytes.substr(0, mark.size()) != mark) return false;
    bytes.remove_prefix(mark.size());
    return true;
}

std::unique_ptr<TextFileReader> MakeReader(ByteSource&& source, Encoding encoding) {
    const bool detect = encoding == Encoding::Detect;
    const auto is = [&](Encoding candidate) {
        if (!detect && encoding != candidate) return false;
        const bool marked = TakeMark(source.piece, ByteOrderMark(candidate));
        return marked || !detect;
    };
    if (is(Encoding::UTF16LE)) return std::make_unique<UTF16LE_TextFileReader>(std::move(source), Encoding::UTF16LE);
    if (is(Encoding::UTF16BE)) return std::make_unique<UTF16BE_TextFileReader>(std::move(source), Encoding::UTF16BE);
    if (is(Encoding::UTF8)) {
        source.not_utf8 = NotUtf8::Replace;  // it says what it is
        return std::make_unique<UTF8_TextFileReader>(std::move(source), Encoding::UTF8);
    }
    return std::make_unique<ANSI_TextFileReader>(std::move(source), Encoding::ANSI);
}

}  // namespace

std::string_view ByteOrderMark(Encoding encoding) {
    switch (encoding) {
        case Encoding::UTF16LE:
            return "\xFF\xFE";
        case Encoding::UTF16BE:
            return "\xFE\xFF";
        case Encoding::UTF8:
            return "\xEF\xBB\xBF";
        case Encoding::Detect:
        case Encoding::ANSI:
            break;
    }
    return {};
}

std::unique_ptr<TextFileReader> OpenTextFile(std::string_view path, Encoding encoding_or_detect, size_t buffer_size,
                                             NotUtf8 not_utf8) {
    ORVANE_ASSERT(buffer_size >= 4);
    int error = 0;
    ByteSource source;
    source.file.reset(OpenFile(path, "rb", error));
    if (!source.file) {
        FailOpen(path, error);
        return nullptr;
    }
    source.path = path;
    source.not_utf8 = not_utf8;
    source.buffer.resize(buffer_size);
    std::setvbuf(source.file.get(), nullptr, _IONBF, 0);
    source.Next();
    return MakeReader(std::move(source), encoding_or_detect);
}

std::unique_ptr<TextFileReader> ReadTextFrom(std::string_view bytes, Encoding encoding_or_detect, NotUtf8 not_utf8) {
    ByteSource source;
    source.not_utf8 = not_utf8;
    source.piece = bytes;
    return MakeReader(std::move(source), encoding_or_detect);
}

}  // namespace Foundation
