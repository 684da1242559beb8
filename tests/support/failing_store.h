// A store whose files fail when they are told to, as on a disk that is full or goes away.
#pragma once

#include <cerrno>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "foundation/bytestream.h"

namespace OrvaneTest {

struct Faults {
    int64_t written = INT64_MAX;  // writing fails behind so many bytes
    int64_t read = INT64_MAX;     // likewise reading
    bool flush = false;
    bool close = false;  // the file is closed all the same
};

// Hands everything on to another store, but for the faults.
class FailingStore : public Foundation::ByteStore {
public:
    static constexpr int kError = ENOSPC;

    FailingStore(Foundation::ByteStore& real, Faults faults) : real(real), faults(faults) {}

    int Open(std::string_view path, Foundation::ByteMode mode, size_t buffer_size,
             std::unique_ptr<Foundation::ByteStream>& stream) override {
        std::unique_ptr<Foundation::ByteStream> opened;
        const int error = real.Open(path, mode, buffer_size, opened);
        stream = error ? nullptr : std::make_unique<Stream>(std::move(opened), faults);
        return error;
    }
    int GetInfo(std::string_view path, Foundation::FileInfo& info) override { return real.GetInfo(path, info); }
    int Remove(std::string_view path) override { return real.Remove(path); }

private:
    class Stream : public Foundation::ByteStream {
    public:
        Stream(std::unique_ptr<Foundation::ByteStream> real, Faults faults) : real(std::move(real)), left(faults) {}

        int Read(void* to, size_t n_wanted, size_t& n_read) override {
            n_read = 0;
            if ((left.read -= static_cast<int64_t>(n_wanted)) < 0) return kError;
            return real->Read(to, n_wanted, n_read);
        }
        int Write(const void* from, size_t n) override {
            return (left.written -= static_cast<int64_t>(n)) < 0 ? kError : real->Write(from, n);
        }
        int Seek(int64_t position) override { return real->Seek(position); }
        int64_t Tell() override { return real->Tell(); }
        int GetLength(int64_t& length) override { return real->GetLength(length); }
        int Truncate(int64_t length) override { return real->Truncate(length); }
        int Flush() override { return left.flush ? kError : real->Flush(); }
        int Close() override {
            const int error = real->Close();
            return left.close ? kError : error;
        }

    private:
        std::unique_ptr<Foundation::ByteStream> real;
        Faults left;
    };

    Foundation::ByteStore& real;
    Faults faults;
};

}  // namespace OrvaneTest
