// A loudspeaker that is not there: it takes time to play, like a real one, and can write what it plays to a WAV file.
#pragma once

#include <memory>

#include "devices/driver.h"
#include "foundation/clock.h"

namespace Tesslib {

// Sound is heard kLatencyMs after it was handed over; what is dropped before that is not heard. The key of Open is the
// path of a WAV file to be written over, or empty.
class Loudspeaker : public PlaybackDriver {
public:
    static constexpr int kLatencyMs = 30;

    explicit Loudspeaker(Foundation::Clock& clock);
    ~Loudspeaker() override;

    Foundation::Result<StreamFormat> Open(const StreamRequest& request, PlaybackSource& source) override;
    Foundation::Outcome Start() override;
    void Halt() override;
    void Stop() override;

private:
    class Cone;

    Foundation::Clock& clock;
    std::unique_ptr<Cone> cone;
};

}  // namespace Tesslib
