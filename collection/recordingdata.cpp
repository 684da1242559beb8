#include "collection/recordingdata.h"

using namespace Foundation;

namespace Orvane {

const char* OpenStatusText(int status) {
    switch (status) {
        case 0:
        case OPEN_MISSING:
            return "(missing)";
        case OPEN_IN_USE:
            return "(in use)";
        case OPEN_NO_MP3:
            return "(no mp3)";
        case OPEN_CANCELLED:
            return "cancelled";
        case OPEN_BAD_RATE:
            return "(bad sr)";
        default:
            return "(bad file)";
    }
}

ScanSettings ScanSettings::WithDefaults() const {
    ScanSettings filled = *this;
    if (sensitivity < 0) filled.sensitivity = 3;
    if (percussion_protection < 0) filled.percussion_protection = 2;
    if (brass_protection < 0) filled.brass_protection = 1;
    if (passes < 0) filled.passes = 1;
    return filled;
}

bool ScanSettings::SameScan(const ScanSettings& other) const {
    constexpr int kWhenAndWhere = SCAN_SELECTION_ONLY | SCAN_BATCH_IF_NEW | SCAN_BATCH | SCAN_IF_NEW;
    const ScanSettings a = WithDefaults();
    const ScanSettings b = other.WithDefaults();
    return a.sensitivity == b.sensitivity && a.percussion_protection == b.percussion_protection &&
           a.brass_protection == b.brass_protection && a.passes == b.passes && a.channels == b.channels &&
           (a.options & ~kWhenAndWhere) == (b.options & ~kWhenAndWhere);
}

namespace {

template <class T>
void MoveToEdited(const CutList& cuts, LinkedList<T>& settings) {
    for (T& setting : settings) {
        setting.start_time = cuts.ToEdited(setting.absolute_start_time);
        setting.end_time = cuts.ToEdited(setting.absolute_end_time);
    }
}

}  // namespace

void RecordingDecisions::RecomputeTimes() {
    for (MarkerCorrection& marker : markers) {
        marker.absolute_start_time = cuts.ToAbsolute(marker.start_time);
        marker.absolute_end_time = cuts.ToAbsolute(marker.end_time);
    }
    MoveToEdited(cuts, filters);
    MoveToEdited(cuts, fft_eqs);
}

void TriedSettings::RecomputeTimes(const CutList& cuts) {
    MoveToEdited(cuts, filters);
    MoveToEdited(cuts, curves);
}

}  // namespace Orvane
