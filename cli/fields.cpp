#include "cli/fields.h"

#include <algorithm>
#include <charconv>
#include <climits>

#include "cli/texts.h"
#include "collection/albumset.h"
#include "foundation/text.h"
#include "split/trackbreaks.h"

using namespace Foundation;

namespace Orvane {
namespace {

bool ReadNumber(const std::string& text, int low, int high, int& number) {
    const char* end = text.data() + text.size();
    auto [stopped, failure] = std::from_chars(text.data(), end, number);
    return failure == std::errc() && stopped == end && number >= low && number <= high;
}

template <class Record>
Field<Record> TextField(std::string name, std::string Record::*member) {
    return {std::move(name), "any text", [member](const Record& record) { return Json(record.*member); },
            [member](Record& record, const std::string& value) {
                record.*member = ValidUtf8(value);
                return true;
            }};
}

template <class Record>
Field<Record> TimeField(std::string name, int64_t Record::*member) {
    return {std::move(name), "a time", [member](const Record& record) { return Json(record.*member); },
            [member](Record& record, const std::string& value) { return ParseTypedTime(value, record.*member); }};
}

// A length of 0 takes the fade away.
Field<ALBUMTRACK> FadeField(std::string name, int32_t ALBUMTRACK::*member, Fader fader) {
    return {std::move(name), "a time, held to 0.1 to 20 seconds, or 0",
            [member](const ALBUMTRACK& track) { return Json(track.*member); },
            [member, fader](ALBUMTRACK& track, const std::string& value) {
                int64_t ticks = 0;
                if (!ParseTypedTime(value, ticks)) return false;
                const int64_t hundredths = (ticks * 100 + kTicksPerSecond / 2) / kTicksPerSecond;
                SetFaderLength(track, fader, static_cast<int>(std::min<int64_t>(hundredths, INT_MAX)));
                EnableFader(track, fader, ticks > 0);
                if (ticks == 0) track.*member = 0;
                return true;
            }};
}

bool IsStatus(int status) {
    return (status >= STATUS_NONE && status <= STATUS_BURNED_AND_SAVED) ||
           (status >= STATUS_CUSTOM_1 && status <= STATUS_CUSTOM_5);
}

bool SetStatusField(AlbumDetails& album, const std::string& value) {
    int status = -1;
    if (!ReadNumber(value, 0, STATUS_CUSTOM_5, status)) {
        for (int known = 0; known <= STATUS_CUSTOM_5; ++known) {
            if (IsStatus(known) && EqualNoCaseAscii(StatusText(known), value)) status = known;
        }
    }
    if (!IsStatus(status)) return false;
    album.status = static_cast<uint8_t>(status);
    return true;
}

std::vector<Field<AlbumDetails>> MakeAlbumFields() {
    std::vector<Field<AlbumDetails>> fields = {
        TextField("artist", &AlbumDetails::artist),       TextField("title", &AlbumDetails::title),
        TextField("genre", &AlbumDetails::genre),         TextField("label", &AlbumDetails::label),
        TextField("grouping", &AlbumDetails::grouping),   TextField("composer", &AlbumDetails::composer),
        TextField("conductor", &AlbumDetails::conductor), TextField("alias", &AlbumDetails::alias),
        TextField("comment", &AlbumDetails::comment),     TextField("release_number", &AlbumDetails::release_number),
        TextField("art_file", &AlbumDetails::art_file),   TextField("custom_tags", &AlbumDetails::custom_tags),
        TextField("notes", &AlbumDetails::notes),
    };
    fields.push_back({"year", "0 (unknown) to 9999", [](const AlbumDetails& album) { return Json(album.year); },
                      [](AlbumDetails& album, const std::string& value) {
                          int year = 0;
                          if (!ReadNumber(value, 0, 9999, year)) return false;
                          album.year = static_cast<int16_t>(year);
                          return true;
                      }});
    fields.push_back({"playing_speed", "33, 45 or 78",
                      [](const AlbumDetails& album) { return Json(album.playing_speed); },
                      [](AlbumDetails& album, const std::string& value) {
                          if (value != "33" && value != "45" && value != "78") return false;
                          album.playing_speed = static_cast<int16_t>(ParseInt(value));
                          return true;
                      }});
    fields.push_back({"channel_mode", "1 (mono) or 2 (stereo), and 4 (left channel only) or 8 (right) added to it",
                      [](const AlbumDetails& album) { return Json(album.channel_mode); },
                      [](AlbumDetails& album, const std::string& value) {
                          int mode = 0;
                          if (!ReadNumber(value, CHANNELS_MONO, CHANNELS_STEREO + CHANNELS_RIGHT_ONLY, mode))
                              return false;
                          int width = mode & (CHANNELS_MONO | CHANNELS_STEREO);
                          if (width != CHANNELS_MONO && width != CHANNELS_STEREO) return false;
                          album.channel_mode = static_cast<uint8_t>(mode);
                          return true;
                      }});
    fields.push_back({"status", "0 to 7, 10 to 14, or the name of a status",
                      [](const AlbumDetails& album) { return Json(album.status); }, SetStatusField});
    fields.push_back({"single", "0 or 1", [](const AlbumDetails& album) { return Json(album.IsSingle()); },
                      [](AlbumDetails& album, const std::string& value) {
                          if (value != "0" && value != "1") return false;
                          album.single = value == "1";
                          return true;
                      }});
    return fields;
}

std::vector<Field<ALBUMTRACK>> MakeTrackFields() {
    return {
        TextField("title", &ALBUMTRACK::title),
        TextField("artist", &ALBUMTRACK::artist),
        TextField("genre", &ALBUMTRACK::genre),
        TextField("grouping", &ALBUMTRACK::grouping),
        TextField("composer", &ALBUMTRACK::composer),
        TextField("conductor", &ALBUMTRACK::conductor),
        TextField("alias", &ALBUMTRACK::alias),
        TextField("comment", &ALBUMTRACK::comment),
        TextField("custom_tags", &ALBUMTRACK::custom_tags),
        TimeField("start", &ALBUMTRACK::start),
        TimeField("end", &ALBUMTRACK::end),
        FadeField("fade_in", &ALBUMTRACK::fade_in, Fader::In),
        FadeField("fade_out", &ALBUMTRACK::fade_out, Fader::Out),
        {"excluded", "0 or 1", [](const ALBUMTRACK& track) { return Json(track.excluded); },
         [](ALBUMTRACK& track, const std::string& value) {
             if (value != "0" && value != "1") return false;
             track.excluded = value == "1";
             return true;
         }},
    };
}

template <class Record>
std::string SetNamedField(const std::vector<Field<Record>>& fields, Record& record, const std::string& name,
                          const std::string& value) {
    std::string names;
    for (const Field<Record>& field : fields) {
        if (field.name == name) {
            if (field.set(record, value)) return {};
            return fmt::format("\"{}\" is no value for {}, which takes {}", value, name, field.values);
        }
        names += (names.empty() ? "" : ", ") + field.name;
    }
    return fmt::format("There is no key \"{}\"; the keys are {}", name, names);
}

}  // namespace

const std::vector<Field<AlbumDetails>>& AlbumFields() {
    static const std::vector<Field<AlbumDetails>> fields = MakeAlbumFields();
    return fields;
}

const std::vector<Field<ALBUMTRACK>>& TrackFields() {
    static const std::vector<Field<ALBUMTRACK>> fields = MakeTrackFields();
    return fields;
}

std::string SetField(AlbumDetails& album, const std::string& name, const std::string& value) {
    return SetNamedField(AlbumFields(), album, name, value);
}

std::string SetField(ALBUMTRACK& track, const std::string& name, const std::string& value) {
    return SetNamedField(TrackFields(), track, name, value);
}

}  // namespace Orvane
