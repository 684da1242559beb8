// A disk that is full.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace OrvaneTest {

// While it lives no file of this process grows beyond `bytes`.
class DiskLimit {
public:
    explicit DiskLimit(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit limit = before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~DiskLimit() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    void (*handler)(int);
    rlimit before{};
};

}  // namespace OrvaneTest
