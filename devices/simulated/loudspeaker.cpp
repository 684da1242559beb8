#include "devices/simulated/loudspeaker.h"

#include <algorithm>
#include <vector>

#include "foundation/thread.h"
#include "tesslib/samples.h"
#include "tesslib/wavfile.h"

namespace Tesslib {

using Foundation::kNsPerMs;
using Foundation::kNsPerSecond;
using Foundation::Outcome;
using Foundation::Result;

namespace {

constexpr int64_t kPeriodNs = 10 * kNsPerMs;

}  // namespace

// The device's own thread.
class Loudspeaker::Cone : public Foundation::Thread {
public:
    Cone(Foundation::Clock& clock, const StreamRequest& request, PlaybackSource& source)
        : format{request.rate, request.rate, request.bits, 2},
          clock(clock),
          source(source),
          latency(request.rate * kLatencyMs / 1000),
          frame_bytes(static_cast<size_t>(request.bits / 8 * 2)),
          decoder(request.bits, false, false) {
        held.resize(static_cast<size_t>(latency) * frame_bytes);
        taken.resize(static_cast<size_t>(request.rate * kPeriodNs / kNsPerSecond + 1) * frame_bytes);
        pairs.resize(taken.size() / frame_bytes * 2);
    }
    ~Cone() override {
        if (file) file->Close();
    }

    Outcome OpenFile(const std::string& path) {
        file = Foundation::MakeRef<WAVFile>();
        int error = file->SetSBC(format.rate, format.bits, 2);
        if (error == 0) error = file->Open(path, OM_CREATE);
        return Outcome::OfLastError(error);
    }
    void Begin() {
        n_held = 0;
        clock.Join();
        Start();
    }
    void End() {
        Stop();
        wake.Set();
        Wait();
    }

    const StreamFormat format;

private:
    int Run() override {
        const int64_t start_ns = clock.NowNs();
        int64_t position = 0;
        for (int64_t next_ns = start_ns; !Stopped(); next_ns += kPeriodNs) {
            clock.WaitUntil(wake, next_ns);
            const int64_t due = (clock.NowNs() - start_ns) * format.rate / kNsPerSecond;
            while (position < due && !Stopped()) {
                const int64_t n = std::min(due - position, static_cast<int64_t>(taken.size() / frame_bytes));
                const int64_t heard = std::max<int64_t>(0, position + n - latency);
                source.Take(taken.data(), n, position - heard);
                Sound(n);
                position += n;
            }
        }
        clock.Leave();
        return 0;
    }

    // What has been held back for the length of the latency is heard.
    void Sound(int64_t n) {
        const size_t n_bytes = static_cast<size_t>(n) * frame_bytes;
        const size_t room = held.size() - n_held;
        if (n_bytes > room) {
            const size_t leaves = n_bytes - room;
            Write(held.data(), leaves);
            std::copy(held.begin() + static_cast<std::ptrdiff_t>(leaves),
                      held.begin() + static_cast<std::ptrdiff_t>(n_held), held.begin());
            n_held -= leaves;
        }
        std::copy_n(taken.begin(), n_bytes, held.begin() + static_cast<std::ptrdiff_t>(n_held));
        n_held += n_bytes;
    }
    void Write(const uint8_t* bytes, size_t n_bytes) {
        if (!file) return;
        const auto n_frames = static_cast<int32_t>(n_bytes / frame_bytes);
        decoder.Decode(bytes, 2 * n_frames, pairs.data());
        file->Write(pairs.data(), n_frames);
    }

    Foundation::Clock& clock;
    PlaybackSource& source;
    const int64_t latency;  // frames
    const size_t frame_bytes;
    const SampleDecoder decoder;
    Foundation::RefPtr<WAVFile> file;
    std::vector<uint8_t> held;  // handed over and not heard
    size_t n_held = 0;
    std::vector<uint8_t> taken;
    std::vector<float> pairs;
    Foundation::Signal wake;
};

Loudspeaker::Loudspeaker(Foundation::Clock& clock) : clock(clock) {}

Loudspeaker::~Loudspeaker() {
    Stop();
}

Result<StreamFormat> Loudspeaker::Open(const StreamRequest& request, PlaybackSource& source) {
    auto made = std::make_unique<Cone>(clock, request, source);
    if (!request.key.empty()) {
        if (Outcome opened = made->OpenFile(request.key); !opened) return opened;
    }
    cone = std::move(made);
    return cone->format;
}

Outcome Loudspeaker::Start() {
    cone->Begin();
    return {};
}

void Loudspeaker::Halt() {
    cone->End();
}

void Loudspeaker::Stop() {
    if (cone) cone->End();
    cone.reset();
}

}  // namespace Tesslib
