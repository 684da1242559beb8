#include "draw/sidepicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "draw/font.h"
#include "foundation/muldiv.h"
#include "tesslib/stages.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

namespace {

constexpr Colour kPaper{255, 255, 255};
constexpr Colour kLane{245, 247, 250};
constexpr Colour kGrid{214, 220, 228};
constexpr Colour kAxis{120, 130, 142};
constexpr Colour kInk{32, 40, 50};
constexpr Colour kBetweenTracks{176, 184, 194};
constexpr Colour kTracks[] = {{24, 116, 152}, {64, 142, 96}};  // one after the other
constexpr Colour kBreak{40, 48, 58};
constexpr Colour kFader{226, 112, 20};
constexpr Colour kCut{196, 32, 92};

// From the top: the heading, the tracks, a lane for each channel, the scale.
constexpr int kMargin = 12;
constexpr int kLeft = 60;
constexpr int kTracksTop = 36;
constexpr int kTracksHeight = 21;
constexpr int kLanesTop = kTracksTop + kTracksHeight + 5;
constexpr int kLaneHeight = 190;
constexpr int kLaneGap = 8;
constexpr int kScaleTop = kLanesTop + 2 * kLaneHeight + kLaneGap;
constexpr int kScaleHeight = 30;
constexpr int kAlbumScaleHeight = 18;

std::string TimeText(int64_t ticks, int64_t step) {
    const int64_t ms = (ticks * 1000 + kTicksPerSecond / 2) / kTicksPerSecond;
    std::string text =
        ms >= 3600000 ? fmt::format("{}:{:02}", ms / 3600000, ms / 60000 % 60) : fmt::format("{}", ms / 60000);
    text += fmt::format(":{:02}", ms / 1000 % 60);
    if (step < kTicksPerSecond) text += fmt::format(".{:03}", ms % 1000);
    return text;
}

class SideDrawing {
public:
    explicit SideDrawing(const SidePicture& side)
        : side(side),
          n_columns(static_cast<int>(side.columns.size())),
          canvas(kLeft + n_columns + kMargin, kScaleTop + kScaleHeight + (side.album_start > 0 ? kAlbumScaleHeight : 0),
                 kPaper) {}

    Canvas Draw() && {
        Heading();
        Lanes();
        for (int channel : {0, 1}) Waveform(channel);
        for (size_t i = 0; i < side.tracks.size(); ++i) Track(side.tracks[i], kTracks[i % std::size(kTracks)]);
        for (const int64_t cut : side.cuts) Cut(cut);
        Scale();
        return std::move(canvas);
    }

private:
    int X(int64_t ticks) const {
        const double part = static_cast<double>(ticks - side.from) / static_cast<double>(side.to - side.from);
        return kLeft + static_cast<int>(std::lround(std::clamp(part, -1.0, 2.0) * n_columns));
    }
    int64_t TimeAt(int x) const { return side.from + MulDiv64(side.to - side.from, x - kLeft, n_columns); }
    bool IsInside(int64_t ticks) const { return ticks >= side.from && ticks <= side.to; }
    int Right() const { return kLeft + n_columns; }
    static int LaneTop(int channel) { return kLanesTop + channel * (kLaneHeight + kLaneGap); }
    static double Y(int channel, double sample) { return LaneTop(channel) + kLaneHeight / 2.0 * (1 - sample / 32767); }

    void Heading() {
        const int format_width = Canvas::TextWidth(side.format);
        const int format_left = Right() - format_width;
        canvas.Text(kLeft, kMargin, side.title, kInk, format_left - kLeft - 2 * kGlyphWidth, Weight::Bold);
        canvas.Text(format_left, kMargin, side.format, kAxis, format_width);
    }

    void Lanes() {
        for (int channel : {0, 1}) {
            const int top = LaneTop(channel);
            canvas.Fill(kLeft, top, Right(), top + kLaneHeight, kLane);
            for (const double level : {0.5, -0.5}) {
                const double y = Y(channel, level * 32767);
                canvas.Fill(kLeft, y, Right(), y + 1, kGrid);
                canvas.Text(kLeft - 52, static_cast<int>(y) - kGlyphHeight / 2, "-6 dB", kAxis, 48);
            }
            canvas.Text(kLeft - 20, top + (kLaneHeight - kGlyphHeight) / 2, channel == 0 ? "L" : "R", kInk, 16,
                        Weight::Bold);
        }
    }

    // Columns of a track in its colour, within its faders as far as they leave them, and everything else grey.
    void Waveform(int channel) {
        for (int column = 0; column < n_columns; ++column) {
            const WaveformRecord& record = side.columns[static_cast<size_t>(column)];
            const double low = channel == 0 ? record.min_left : record.min_right;
            const double high = channel == 0 ? record.max_left : record.max_right;
            const int x = kLeft + column;
            Column(channel, x, low, high, kBetweenTracks);
            const int64_t time = TimeAt(x);
            for (size_t i = 0; i < side.tracks.size(); ++i) {
                const double gain = GainAt(side.tracks[i], time);
                if (gain > 0) Column(channel, x, gain * low, gain * high, kTracks[i % std::size(kTracks)]);
            }
        }
        const double middle = Y(channel, 0);
        canvas.Fill(kLeft, middle - 0.5, Right(), middle + 0.5, kAxis, 0.5);
    }

    // Silence is a line too.
    void Column(int channel, int x, double low, double high, Colour colour) {
        const double top = Y(channel, high), bottom = Y(channel, low);
        const double missing = std::max(0.0, 1 - (bottom - top)) / 2;
        canvas.Fill(x, top - missing, x + 1, bottom + missing, colour);
    }

    static double GainAt(const PicturedTrack& track, int64_t time) {
        if (time < track.start - track.fade_in || time >= track.end + track.fade_out) return 0;
        if (time < track.start) return FaderGain(time - (track.start - track.fade_in), track.fade_in, false);
        if (time >= track.end) return FaderGain(track.end + track.fade_out - time, track.fade_out, false);
        return 1;
    }

    void Track(const PicturedTrack& track, Colour colour) {
        Faders(track);
        if (track.end <= side.from || track.start >= side.to) return;
        const int left = std::max(kLeft, X(track.start)), right = std::min(Right(), X(track.end));
        canvas.Fill(left, kTracksTop, right, kTracksTop + kTracksHeight, colour, 0.18);
        canvas.Fill(left, kTracksTop, right, kTracksTop + 3, colour);
        Caption(track, left + 6, right - 6);
        for (const int64_t at : {track.start, track.end}) {
            if (IsInside(at)) Break(at, at == track.start ? 1 : -1);
        }
    }

    // The number, and what there is room for of the title and the length.
    void Caption(const PicturedTrack& track, int left, int right) {
        const int top = kTracksTop + 3 + (kTracksHeight - 3 - kGlyphHeight) / 2 + 1;
        const std::string caption = track.number + "  " + track.title;
        const std::string length = TimeText(track.end - track.start, kTicksPerSecond);
        const int length_left = right - Canvas::TextWidth(length);
        const bool both = left + Canvas::TextWidth(caption) + 2 * kGlyphWidth <= length_left;
        if (both) canvas.Text(length_left, top, length, kAxis, right - length_left);
        const bool title_fits = right - left >= Canvas::TextWidth(track.number) + 7 * kGlyphWidth;
        const int number_width = Canvas::TextWidth(track.number);
        if (title_fits || Canvas::TextWidth(caption) <= right - left) {
            canvas.Text(left, top, caption, kInk, right - left);
        } else if (number_width <= right - left + 6) {
            canvas.Text((left + right - number_width) / 2, top, track.number, kInk, number_width);
        }
    }

    // The gain as a line above and below the middle, on a ground of its own.
    void Faders(const PicturedTrack& track) {
        const auto curve = [&](int64_t from, int64_t to) {
            double before = -1;
            const int left = std::max(kLeft, X(from)), right = std::min(Right(), X(to));
            canvas.Fill(left, kTracksTop, right, kTracksTop + kTracksHeight, kFader, 0.3);
            for (int channel : {0, 1}) {
                canvas.Fill(left, LaneTop(channel), right, LaneTop(channel) + kLaneHeight, kFader, 0.12);
            }
            for (int x = left; x < right; ++x) {
                const double gain = std::min(1.0, GainAt(track, TimeAt(x)));
                if (before < 0) before = gain;
                for (int channel : {0, 1}) {
                    for (const double sign : {32767.0, -32767.0}) {
                        const auto [top, bottom] = std::minmax({Y(channel, sign * gain), Y(channel, sign * before)});
                        canvas.Fill(x, top - 0.7, x + 1, bottom + 0.7, kFader);
                    }
                }
                before = gain;
            }
        };
        if (track.fade_in > 0) curve(track.start - track.fade_in, track.start);
        if (track.fade_out > 0) curve(track.end, track.end + track.fade_out);
    }

    // A line with a flag towards the track.
    void Break(int64_t at, int towards) {
        const int x = std::min(X(at), Right() - 1);
        canvas.Fill(x, kTracksTop, x + 1, kScaleTop, kBreak);
        constexpr int kFlag = 7;
        for (int i = 0; i < kFlag; ++i) {
            const int edge = x + towards * i;
            canvas.Fill(edge, kLanesTop, edge + 1, kLanesTop + kFlag - i, kBreak);
        }
    }

    void Cut(int64_t at) {
        if (!IsInside(at)) return;
        const int x = std::min(X(at), Right() - 1);
        for (int y = kLanesTop; y < kScaleTop; y += 8) canvas.Fill(x, y, x + 1, y + 4, kCut);
        canvas.Fill(x - 2, kScaleTop - 6, x + 3, kScaleTop, kCut);
    }

    // The least step that leaves room between two labels.
    int64_t Step() const {
        constexpr int kMs[] = {1,    2,     5,     10,    20,    50,     100,    200,    500,    1000,   2000,
                               5000, 10000, 15000, 30000, 60000, 120000, 300000, 600000, 900000, 1800000};
        const auto is_wide = [this](int64_t step) {
            return static_cast<double>(step) * n_columns / static_cast<double>(side.to - side.from) >= 10 * kGlyphWidth;
        };
        for (const int ms : kMs) {
            if (const int64_t step = MulDiv64(ms, kTicksPerSecond, 1000); is_wide(step)) return step;
        }
        int64_t step = int64_t{3600} * kTicksPerSecond;
        while (!is_wide(step)) step *= 2;
        return step;
    }

    void Scale() {
        const int64_t step = Step();
        canvas.Fill(kLeft, kScaleTop + 3, Right(), kScaleTop + 4, kAxis);
        Ticks(0, step, kScaleTop + 4, kInk);
        if (side.album_start > 0) {
            const int top = kScaleTop + 4 + kAlbumScaleHeight;
            canvas.Text(kLeft - 52, top + 5, "album", kAxis, 48);
            Ticks(side.album_start, step, top, kAxis);
        }
    }

    // Labels of a time line on which the side begins at `offset`, and with the side's own also small ticks between.
    void Ticks(int64_t offset, int64_t step, int top, Colour colour) {
        const int n_small = offset == 0 ? 5 : 1;
        const int64_t first = (side.from + offset) / step * step;
        for (int64_t big = first; big <= side.to + offset; big += step) {
            for (int i = 0; i < n_small; ++i) {
                const int64_t at = big + step * i / n_small - offset;
                if (IsInside(at)) canvas.Fill(X(at), top, X(at) + 1, top + (i == 0 ? 6 : 3), kAxis);
            }
            if (!IsInside(big - offset)) continue;
            const std::string label = TimeText(big, step);
            const int width = Canvas::TextWidth(label);
            const int left = std::clamp(X(big - offset) - width / 2, kLeft - width / 2, canvas.width - width);
            canvas.Text(left, top + 7, label, colour, width);
        }
    }

    const SidePicture& side;
    const int n_columns;
    Canvas canvas;
};

}  // namespace

int ColumnsIn(int picture_width) {
    return std::clamp(picture_width, kLeastPictureWidth, kGreatestPictureWidth) - kLeft - kMargin;
}

Canvas DrawSide(const SidePicture& side) {
    return SideDrawing(side).Draw();
}

}  // namespace Orvane
