#include <cerrno>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "foundation/textfile.h"

namespace Foundation {
namespace {

class BufferedWriter : public TextFileWriter {
public:
    BufferedWriter(FILE* file, std::string_view path, std::string_view start, LineEnds line_ends, size_t buffer_size)
        : file(file), path(path), buffer(start), buffer_size(buffer_size), line_ends(line_ends) {
        std::setvbuf(file, nullptr, _IONBF, 0);
    }
    ~BufferedWriter() override { BufferedWriter::Close(false); }

    bool Write(std::string_view text) override {
        if (failed) return false;
        if (line_ends == LineEnds::LF) {
            Encode(text, buffer);
        } else {
            for (size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1)) {
                Encode(text.substr(0, end), buffer);
                Encode("\r\n", buffer);
            }
            Encode(text, buffer);
        }
        return buffer.size() < buffer_size || Flush();
    }

    bool Flush() override {
        if (failed) return false;
        if (std::fwrite(buffer.data(), 1, buffer.size(), file) != buffer.size()) return Fail(errno);
        buffer.clear();
        return true;
    }

    bool Close(bool to_disk) override {
        if (!file) return !failed;
        BufferedWriter::Flush();
        if (to_disk && !failed) {
            if (int error = FlushToDisk(file)) Fail(error);
        }
        FILE* closing = file;
        file = nullptr;
        if (std::fclose(closing) != 0 && !failed) Fail(errno);
        const bool ok = !failed;
        failed = true;  // for whoever writes on
        return ok;
    }

private:
    // Appends `text`, which is UTF-8, in the encoding of the file.
    virtual void Encode(std::string_view text, std::string& bytes) const = 0;

    bool Fail(int error) {
        failed = true;
        FailWrite(path, error);
        return false;
    }

    FILE* file;
    const std::string path;
    std::string buffer;
    const size_t buffer_size;
    const LineEnds line_ends;
    bool failed = false;
};

class ANSI_TextFileWriter : public BufferedWriter {
public:
    using BufferedWriter::BufferedWriter;

private:
    void Encode(std::string_view text, std::string& bytes) const override { bytes.append(text); }
};

class UTF8_TextFileWriter : public ANSI_TextFileWriter {
public:
    using ANSI_TextFileWriter::ANSI_TextFileWriter;
};

template <bool kBigEndian>
class UTF16_TextFileWriter : public BufferedWriter {
public:
    using BufferedWriter::BufferedWriter;

private:
    static void AppendUnit(char32_t unit, std::string& bytes) {
        const char low = static_cast<char>(unit);
        const char high = static_cast<char>(unit >> 8);
        bytes += kBigEndian ? high : low;
        bytes += kBigEndian ? low : high;
    }

    void Encode(std::string_view text, std::string& bytes) const override {
        for (size_t offset = 0; offset < text.size();) {
            const char32_t character = NextCharacter(text, offset);
            if (character >= 0x10000) {
                AppendUnit(0xD800 + ((character - 0x10000) >> 10), bytes);
                AppendUnit(0xDC00 + ((character - 0x10000) & 0x3FF), bytes);
            } else {
                AppendUnit(character, bytes);
            }
        }
    }
};

using UTF16LE_TextFileWriter = UTF16_TextFileWriter<false>;
using UTF16BE_TextFileWriter = UTF16_TextFileWriter<true>;

}  // namespace

std::unique_ptr<TextFileWriter> CreateTextFile(std::string_view path, Encoding encoding, int mode, LineEnds line_ends,
                                               size_t buffer_size) {
    const bool creates = (mode & ~TEXT_NO_MARK) == TEXT_CREATE;
    int error = 0;
    FILE* file = OpenFile(path, creates ? "wb" : "ab", error);
    if (!file) {
        FailOpenForWriting(path, error);
        return nullptr;
    }
    FileInfo info;
    const bool is_new = creates || (GetFileInfo(path, info) == 0 && info.size == 0);
    const std::string_view mark = is_new && !(mode & TEXT_NO_MARK) ? ByteOrderMark(encoding) : std::string_view();
    switch (encoding) {
        case Encoding::UTF16LE:
            return std::make_unique<UTF16LE_TextFileWriter>(file, path, mark, line_ends, buffer_size);
        case Encoding::UTF16BE:
            return std::make_unique<UTF16BE_TextFileWriter>(file, path, mark, line_ends, buffer_size);
        case Encoding::UTF8:
            return std::make_unique<UTF8_TextFileWriter>(file, path, mark, line_ends, buffer_size);
        case Encoding::Detect:
        case Encoding::ANSI:
            break;
    }
    ORVANE_ASSERT(encoding == Encoding::ANSI);
    return std::make_unique<ANSI_TextFileWriter>(file, path, mark, line_ends, buffer_size);
}

}  // namespace Foundation
