#include "devices/simulated/turntable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "foundation/messages.h"
#include "foundation/text.h"
#include "foundation/thread.h"
#include "tesslib/fileformats.h"
#include "tesslib/josconvert.h"
#include "tesslib/samples.h"

namespace Tesslib {

using Foundation::Kind;
using Foundation::kNsPerMs;
using Foundation::kNsPerSecond;
using Foundation::Msg;
using Foundation::Outcome;
using Foundation::Result;

namespace {

constexpr int64_t kUsualPeriodNs = 10 * kNsPerMs;
constexpr int32_t kChunk = 2048;           // frames delivered at once
constexpr double kNoiseNeedleUp = 0.0005;  // peaks
constexpr double kNoiseRunOut = 0.003;
constexpr double kThump = 0.25;
constexpr double kTick = 0.006;  // once a turn, of the run-out groove
constexpr double kTurnSeconds = 60 / 33.3;

bool ParseNumber(std::string_view text, double& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && std::isfinite(value);
}

// The same for a frame whatever was asked for before: -1 to 1.
double NoiseAt(int64_t frame, int channel) {
    auto x = static_cast<uint64_t>(frame) * 2 + static_cast<uint64_t>(channel) + 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    x ^= x >> 31;
    return static_cast<double>(x >> 11) / 4503599627370496.0 - 1;
}

}  // namespace

Result<TurntableScript> ParseTurntable(std::string_view key) {
    TurntableScript script;
    const size_t question = key.rfind('?');
    script.record = key.substr(0, question);
    if (question == key.npos) return script;
    const auto fail = [key](std::string_view word) {
        return Outcome::Fail(Kind::Contents, Msg::BadTurntable, word, key);
    };
    for (std::string_view word : Foundation::Split(key.substr(question + 1), '&')) {
        const size_t equals = word.find('=');
        if (equals == word.npos) return fail(word);
        const std::string_view name = word.substr(0, equals);
        const std::string_view values = word.substr(equals + 1);
        const size_t colon = values.find(':');
        double value = 0, amount = 0;
        if (!ParseNumber(values.substr(0, colon), value)) return fail(word);
        const bool two = name == "stall" || name == "gap";
        if (two != (colon != values.npos)) return fail(word);
        if (two && !ParseNumber(values.substr(colon + 1), amount)) return fail(word);
        if (name == "needle-up" && value >= 0) {
            script.needle_up = value;
        } else if (name == "channels" && (value == 1 || value == 2 || value == 4)) {
            script.channels = static_cast<int>(value);
        } else if (name == "dop") {
            script.dop = value != 0;
        } else if (name == "drift" && std::abs(value) < 1e5) {
            script.drift_ppm = value;
        } else if (name == "refuse") {
            script.refuses = value != 0;
        } else if (name == "disconnect" && value >= 0) {
            script.disconnect_at = value;
        } else if (name == "stall" && value >= 0 && amount >= 0) {
            script.stall_at = value;
            script.stall_ms = amount;
        } else if (name == "gap" && value >= 0 && amount >= 0) {
            script.gap_at = value;
            script.gap_frames = std::llround(amount);
        } else {
            return fail(word);
        }
    }
    return script;
}

// The device's own thread.
class Turntable::Motor : public Foundation::Thread {
public:
    Motor(Foundation::Clock& clock, TurntableScript script, const StreamRequest& request, CaptureSink& sink)
        : clock(clock),
          script(std::move(script)),
          sink(sink),
          rate(request.rate),
          encoder(request.bits, false, false, false) {
        format = {rate, rate, request.bits,
                  this->script.channels == 4 && request.channels < 4 ? 2 : this->script.channels};
        if (request.hardware_frames > 0) period_ns = request.hardware_frames * kNsPerSecond / rate;
        pairs.resize(2 * kChunk);
        frames.resize(static_cast<size_t>(kChunk * format.channels));
        bytes.resize(frames.size() * 4);
    }

    Outcome OpenRecord() {
        int error = 0;
        file = OpenForReading(script.record, error);
        if (!file) return Outcome::OfLastError(error);
        source = file;
        if (file->GetSampleRate(0) != rate) source = Foundation::MakeRef<JOSConvert>(file.get(), rate);
        record_length = source->GetTotalSamples(0);
        return {};
    }

    void Begin() {
        clock.Join();
        Start();
    }
    void End() {
        Stop();
        wake.Set();
        Wait();
    }

    StreamFormat format;

private:
    int Run() override {
        const int64_t start_ns = clock.NowNs();
        const double frames_per_ns = rate * (1 + script.drift_ppm * 1e-6) / kNsPerSecond;
        int64_t next_ns = start_ns;
        while (!Stopped()) {
            next_ns += period_ns;
            clock.WaitUntil(wake, next_ns);
            const int64_t ran_ns = clock.NowNs() - start_ns;
            const double seconds = static_cast<double>(ran_ns) / kNsPerSecond;
            // Settled once for the whole period, so that a stall ends with all that it held back.
            const bool stalled = script.stall_at >= 0 && seconds >= script.stall_at &&
                                 seconds < script.stall_at + script.stall_ms / 1000;
            const bool gone = script.disconnect_at >= 0 && seconds >= script.disconnect_at;
            int64_t due = static_cast<int64_t>(static_cast<double>(ran_ns) * frames_per_ns);
            if (gone) due = std::min(due, static_cast<int64_t>(script.disconnect_at * rate));
            if (!stalled) Deliver(due);
            if (gone) {
                sink.Ended();
                break;
            }
        }
        clock.Leave();
        return 0;
    }

    void Deliver(int64_t due) {
        const int64_t gap = script.gap_at < 0 ? -1 : static_cast<int64_t>(script.gap_at * rate);
        while (position < due && !Stopped()) {
            if (position == gap && !gap_done) {
                position += script.gap_frames;
                gap_done = true;
                continue;
            }
            int64_t end = std::min(due, position + kChunk);
            if (position < gap) end = std::min(end, gap);
            const auto n = static_cast<int32_t>(end - position);
            Play(n);
            sink.Frames(bytes.data(), n);
            position = end;
        }
    }

    // `n` frames from `position` into `bytes`, in the device's form.
    void Play(int32_t n) {
        const int64_t landing = std::llround(script.needle_up * rate);
        const int64_t record_start = landing + ThumpFrames(rate);
        const int64_t record_end = record_start + record_length;
        for (int32_t i = 0; i < n;) {
            const int64_t at = position + i;
            if (at >= record_start && at < record_end) {
                const auto wanted = static_cast<int32_t>(std::min<int64_t>(n - i, record_end - at));
                const int32_t got = source->Read(at - record_start, &pairs[2 * i], wanted, 0);
                if (got < wanted)
                    std::fill(pairs.begin() + 2 * (i + std::max(0, got)), pairs.begin() + 2 * (i + wanted), 0.f);
                i += wanted;
                continue;
            }
            for (int channel = 0; channel < 2; ++channel) {
                pairs[2 * i + channel] = static_cast<float>(Between(at, channel, landing, record_end));
            }
            ++i;
        }
        if (script.dop) {
            for (int32_t i = 0; i < n; ++i) pairs[2 * i] = pairs[2 * i + 1] = DopWord(position + i);
        }
        for (int32_t i = 0; i < n; ++i) {
            for (int channel = 0; channel < format.channels; ++channel) {
                frames[i * format.channels + channel] = pairs[2 * i + (channel & 1)];
            }
        }
        encoder.Encode(frames.data(), n * format.channels, bytes.data());
    }

    // Everything that is not on the record.
    double Between(int64_t at, int channel, int64_t landing, int64_t record_end) const {
        if (at < landing) return kNoiseNeedleUp * NoiseAt(at, channel);
        if (at < record_end) {
            const double seconds = static_cast<double>(at - landing) / rate;
            return kThump * std::exp(-seconds / 0.015) * std::cos(2 * std::numbers::pi * 40 * seconds);
        }
        const double turn = std::fmod(static_cast<double>(at - record_end) / rate, kTurnSeconds);
        const double tick = turn > 0.9 && turn < 0.902 ? kTick * NoiseAt(at, 0) : 0;
        return kNoiseRunOut * NoiseAt(at, channel) + tick;
    }

    // Silence in DSD, framed for a pair or for four channels.
    float DopWord(int64_t at) const {
        const bool four = format.channels == 4;
        const bool second = ((four ? at / 2 : at) & 1) != 0;
        const int marker = four ? (second ? 0xF9 : 0x06) : (second ? 0xFA : 0x05);
        const int word = (marker << 16 | 0x6969) - (marker >= 0x80 ? 0x1000000 : 0);
        return static_cast<float>(word / 8388607.0);
    }

    Foundation::Clock& clock;
    const TurntableScript script;
    CaptureSink& sink;
    const int32_t rate;
    const SampleEncoder encoder;
    int64_t period_ns = kUsualPeriodNs;
    Foundation::RefPtr<FileStream> file;
    Foundation::RefPtr<PCMStream> source;
    int64_t record_length = 0;
    int64_t position = 0;  // frames since the start
    bool gap_done = false;
    std::vector<float> pairs, frames;
    std::vector<uint8_t> bytes;
    Foundation::Signal wake;
};

Turntable::Turntable(Foundation::Clock& clock) : clock(clock) {}

Turntable::~Turntable() {
    Stop();
}

Result<StreamFormat> Turntable::Open(const StreamRequest& request, CaptureSink& sink) {
    Result<TurntableScript> script = ParseTurntable(request.key);
    if (!script) return script.GetOutcome();
    if (script->refuses) return DeviceInUse(request.name);
    auto made = std::make_unique<Motor>(clock, std::move(*script), request, sink);
    if (Outcome opened = made->OpenRecord(); !opened) return opened;
    motor = std::move(made);
    return motor->format;
}

Outcome Turntable::Start() {
    motor->Begin();
    return {};
}

void Turntable::Stop() {
    if (motor) motor->End();
    motor.reset();
}

}  // namespace Tesslib
