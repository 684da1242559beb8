// What the user fills in about an album as a whole.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "collection/corrections.h"

namespace Orvane {

enum ChannelMode : uint8_t { CHANNELS_MONO = 1, CHANNELS_STEREO = 2, CHANNELS_LEFT_ONLY = 4, CHANNELS_RIGHT_ONLY = 8 };

enum AlbumStatus : uint8_t {
    STATUS_NONE = 0,
    STATUS_NEW = 1,
    STATUS_RECORDED = 2,
    STATUS_SPLIT = 3,
    STATUS_CLEANED = 4,
    STATUS_BURNED = 5,
    STATUS_SAVED = 6,
    STATUS_BURNED_AND_SAVED = 7,
    STATUS_CUSTOM_1 = 10,
    STATUS_CUSTOM_5 = 14,
};

struct AlbumDetails {
    bool IsSingle() const { return single; }

    std::string artist;
    std::string title;
    std::string genre;
    std::string label;
    std::string grouping;
    std::string composer;
    std::string conductor;
    std::string alias;
    std::string comment;
    std::string release_number;
    std::string art_file;  // full path, or relative to the collection's side folder
    std::string custom_tags;
    std::string notes;
    std::optional<RecordEq> record_eq;
    int16_t playing_speed = 33;
    int16_t year = 0;
    uint8_t channel_mode = CHANNELS_STEREO;
    uint8_t status = STATUS_NONE;
    bool single = false;  // no track breaks of interest
};

}  // namespace Orvane
