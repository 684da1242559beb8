// Small listings in one line: tracks as "start-end" in seconds, unset ones as a single number, fades as "<" and ">".
#pragma once

#include <sstream>
#include <string>

#include "split/trackbreaks.h"

namespace Orvane {

// "0-100> <100-200 200": a track with a fade-out, one with a fade-in, and an unset row. Titles are A, B, C and so on.
inline TrackList Listing(const std::string& text) {
    TrackList tracks;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        ALBUMTRACK track;
        track.title = std::string(1, static_cast<char>('A' + tracks.size()));
        if (word.front() == '<') {
            track.filter_flags |= TRACK_FADE_IN;
            track.fade_in = Foundation::kTicksPerSecond;
            word.erase(0, 1);
        }
        if (word.back() == '>') {
            track.filter_flags |= TRACK_FADE_OUT;
            track.fade_out = Foundation::kTicksPerSecond;
            word.pop_back();
        }
        const size_t dash = word.find('-');
        track.start = std::stoll(word) * Foundation::kTicksPerSecond;
        track.end = dash == word.npos ? track.start : std::stoll(word.substr(dash + 1)) * Foundation::kTicksPerSecond;
        tracks.push_back(track);
    }
    return tracks;
}

// The reverse; positions that are no whole seconds are shown in ticks ("441001t").
inline std::string Text(const TrackList& tracks) {
    const auto Place = [](int64_t ticks) {
        return ticks % Foundation::kTicksPerSecond ? std::to_string(ticks) + "t"
                                                   : std::to_string(ticks / Foundation::kTicksPerSecond);
    };
    std::string text;
    for (const ALBUMTRACK& track : tracks) {
        if (!text.empty()) text += ' ';
        if (track.FadeIn()) text += '<';
        text += Place(track.start);
        if (!track.IsEmpty()) text += "-" + Place(track.end);
        if (track.FadeOut()) text += '>';
    }
    return text;
}

inline std::string Titles(const TrackList& tracks) {
    std::string text;
    for (const ALBUMTRACK& track : tracks) text += (text.empty() ? "" : ",") + track.title;
    return text;
}

}  // namespace Orvane
