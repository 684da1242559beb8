// Bytes behind an interface: files on the disk, or their twins in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/platform.h"

namespace Foundation {

enum class ByteMode {
    Read,
    Update,  // an existing file, to read and write
    Create,  // a new file, or an old one emptied; written, and read back where the store can
};

// One open file. One thread at a time. What can fail returns 0 or the system's error number, as in platform.h.
class ByteStream {
public:
    ByteStream() = default;
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
    // Closes; a failure of that is not told, so whoever writes calls Close.
    virtual ~ByteStream() = default;

    // `n_read` bytes were read, fewer than wanted only at the end or on a failure.
    virtual int Read(void* to, size_t n_wanted, size_t& n_read) = 0;
    virtual int Write(const void* from, size_t n) = 0;
    virtual int Seek(int64_t position) = 0;  // from the beginning; it may be behind the end
    virtual int64_t Tell() = 0;
    virtual int GetLength(int64_t& length) = 0;
    virtual int Truncate(int64_t length) = 0;
    // Makes the system put everything written on the disk.
    virtual int Flush() = 0;
    // Nothing else may be called after it.
    virtual int Close() = 0;
};

// Where files are opened by their paths. Any thread.
class ByteStore {
public:
    virtual ~ByteStore() = default;
    // `buffer_size` 0 is the system's usual one. On failure `stream` is null.
    virtual int Open(std::string_view path, ByteMode mode, size_t buffer_size, std::unique_ptr<ByteStream>& stream) = 0;
    virtual int GetInfo(std::string_view path, FileInfo& info) = 0;
    virtual int Remove(std::string_view path) = 0;
};

// The files of the system.
ByteStore& DiskStore();

// Files that are gone with the object. Streams may outlive it.
class MemoryStore : public ByteStore {
public:
    int Open(std::string_view path, ByteMode mode, size_t buffer_size, std::unique_ptr<ByteStream>& stream) override;
    int GetInfo(std::string_view path, FileInfo& info) override;
    int Remove(std::string_view path) override;

    // The bytes of a file; empty when there is none. No stream of it may be open for writing.
    std::vector<uint8_t> Contents(std::string_view path) const;
    void SetContents(std::string_view path, std::vector<uint8_t> bytes);

private:
    using Bytes = std::shared_ptr<std::vector<uint8_t>>;
    Bytes Find(std::string_view path) const;

    mutable std::mutex lock;  // guards `files`
    std::map<std::string, Bytes, std::less<>> files;
};

}  // namespace Foundation
