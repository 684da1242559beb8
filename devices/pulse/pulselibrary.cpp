#include "devices/pulse/pulselibrary.h"

#include "foundation/messages.h"
#include "foundation/platform.h"

namespace Tesslib {
namespace {

PulseLibrary LoadPulse() {
    PulseLibrary loaded;
    std::string reason;
    void* library = Foundation::OpenLibrary("libpulse.so.0", reason);
    bool complete = library != nullptr;
#define ORVANE_LOAD(name)                                                                                 \
    if (complete) {                                                                                       \
        loaded.name = reinterpret_cast<decltype(loaded.name)>(Foundation::LibrarySymbol(library, #name)); \
        complete = loaded.name != nullptr;                                                                \
        if (!complete) reason = #name;                                                                    \
    }
    ORVANE_PULSE_FUNCTIONS(ORVANE_LOAD)
#undef ORVANE_LOAD
    if (!complete) {
        loaded.available = Foundation::Outcome::Fail(Foundation::Kind::CannotOpen, Foundation::Msg::LibraryMissing,
                                                     "PulseAudio", reason);
    }
    return loaded;
}

}  // namespace

const PulseLibrary& Pulse() {
    static const PulseLibrary library = LoadPulse();
    return library;
}

}  // namespace Tesslib
