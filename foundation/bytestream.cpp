#include "foundation/bytestream.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace Foundation {
namespace {

const char* ModeText(ByteMode mode) {
    switch (mode) {
        case ByteMode::Read:
            return "rb";
        case ByteMode::Update:
            return "r+b";
        case ByteMode::Create:
            break;
    }
    return "wb";
}

int ErrnoOr(int usual) {
    return errno != 0 ? errno : usual;
}

class DiskStream : public ByteStream {
public:
    DiskStream(FILE* opened, size_t buffer_size) : file(opened) {
        if (buffer_size == 0) return;
        // Of our own: without one the C library may choose another size.
        buffer = std::make_unique<char[]>(buffer_size);
        setvbuf(file, buffer.get(), _IOFBF, buffer_size);
    }
    ~DiskStream() override {
        if (file) std::fclose(file);
    }

    int Read(void* to, size_t n_wanted, size_t& n_read) override {
        errno = 0;
        n_read = std::fread(to, 1, n_wanted, file);
        return n_read < n_wanted && std::ferror(file) ? ErrnoOr(EIO) : 0;
    }
    int Write(const void* from, size_t n) override {
        errno = 0;
        return std::fwrite(from, 1, n, file) == n ? 0 : ErrnoOr(EIO);
    }
    int Seek(int64_t position) override {
        return fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0 ? 0 : errno;
    }
    int64_t Tell() override { return ftello(file); }
    int GetLength(int64_t& length) override {
        const off_t here = ftello(file);
        if (here < 0 || fseeko(file, 0, SEEK_END) != 0 || (length = ftello(file)) < 0) return ErrnoOr(EIO);
        return Seek(here);
    }
    int Truncate(int64_t length) override { return TruncateFile(file, length); }
    int Flush() override { return FlushToDisk(file); }
    int Close() override {
        errno = 0;
        const int result = std::fclose(std::exchange(file, nullptr));
        buffer.reset();
        return result == 0 ? 0 : ErrnoOr(EIO);
    }

private:
    FILE* file;
    std::unique_ptr<char[]> buffer;
};

class Disk : public ByteStore {
public:
    int Open(std::string_view path, ByteMode mode, size_t buffer_size, std::unique_ptr<ByteStream>& stream) override {
        stream.reset();
        int error = 0;
        FILE* file = OpenFile(path, ModeText(mode), error);
        if (file) stream = std::make_unique<DiskStream>(file, buffer_size);
        return error;
    }
    int GetInfo(std::string_view path, FileInfo& info) override { return GetFileInfo(path, info); }
    int Remove(std::string_view path) override { return RemoveFile(path); }
};

class MemoryByteStream : public ByteStream {
public:
    MemoryByteStream(std::shared_ptr<std::vector<uint8_t>> bytes, bool writable)
        : bytes(std::move(bytes)), writable(writable) {}

    int Read(void* to, size_t n_wanted, size_t& n_read) override {
        n_read = position < bytes->size() ? std::min(n_wanted, bytes->size() - position) : 0;
        if (n_read > 0) std::memcpy(to, bytes->data() + position, n_read);
        position += n_read;
        return 0;
    }
    int Write(const void* from, size_t n) override {
        if (!writable) return EBADF;
        if (bytes->size() < position + n) bytes->resize(position + n);
        if (n > 0) std::memcpy(bytes->data() + position, from, n);
        position += n;
        return 0;
    }
    int Seek(int64_t wanted) override {
        if (wanted < 0) return EINVAL;
        position = static_cast<size_t>(wanted);
        return 0;
    }
    int64_t Tell() override { return static_cast<int64_t>(position); }
    int GetLength(int64_t& length) override {
        length = static_cast<int64_t>(bytes->size());
        return 0;
    }
    int Truncate(int64_t length) override {
        if (!writable) return EBADF;
        bytes->resize(static_cast<size_t>(length));
        return 0;
    }
    int Flush() override { return 0; }
    int Close() override { return 0; }

private:
    std::shared_ptr<std::vector<uint8_t>> bytes;
    size_t position = 0;
    bool writable;
};

}  // namespace

ByteStore& DiskStore() {
    static Disk disk;
    return disk;
}

MemoryStore::Bytes MemoryStore::Find(std::string_view path) const {
    std::lock_guard hold(lock);
    const auto found = files.find(path);
    return found == files.end() ? nullptr : found->second;
}

int MemoryStore::Open(std::string_view path, ByteMode mode, size_t, std::unique_ptr<ByteStream>& stream) {
    stream.reset();
    if (mode == ByteMode::Create) SetContents(path, {});
    Bytes bytes = Find(path);
    if (!bytes) return ENOENT;
    stream = std::make_unique<MemoryByteStream>(std::move(bytes), mode != ByteMode::Read);
    return 0;
}

int MemoryStore::GetInfo(std::string_view path, FileInfo& info) {
    const Bytes bytes = Find(path);
    if (!bytes) return ENOENT;
    info = {};
    info.size = static_cast<int64_t>(bytes->size());
    return 0;
}

int MemoryStore::Remove(std::string_view path) {
    std::lock_guard hold(lock);
    const auto found = files.find(path);
    if (found == files.end()) return ENOENT;
    files.erase(found);
    return 0;
}

std::vector<uint8_t> MemoryStore::Contents(std::string_view path) const {
    const Bytes bytes = Find(path);
    return bytes ? *bytes : std::vector<uint8_t>();
}

void MemoryStore::SetContents(std::string_view path, std::vector<uint8_t> bytes) {
    auto made = std::make_shared<std::vector<uint8_t>>(std::move(bytes));
    std::lock_guard hold(lock);
    files.insert_or_assign(std::string(path), std::move(made));
}

}  // namespace Foundation
