// A picture in memory and as a PNG file. The origin is at the top left; what lies outside is not drawn.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/outcome.h"

namespace Orvane {

struct Colour {
    uint8_t red, green, blue;

    bool operator==(const Colour&) const = default;
};

enum class Weight { Normal, Bold };

class Canvas {
public:
    Canvas(int width, int height, Colour background);

    // From the left edge to before the right one; edges between pixels are smoothed up and down. `opacity` 0 to 1.
    void Fill(int left, double top, int right, double bottom, Colour colour, double opacity = 1);
    // UTF-8 from the top left corner on. What does not fit into `room` pixels is left out, with an ellipsis.
    void Text(int left, int top, std::string_view text, Colour colour, int room, Weight weight = Weight::Normal);
    static int TextWidth(std::string_view text);

    // Replaces the file, at every moment of which the old or the new one is there.
    Foundation::Outcome WritePng(const std::string& path) const;

    Colour At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }

    const int width;
    const int height;

private:
    void Blend(int x, int y, Colour colour, double opacity);

    std::vector<Colour> pixels;
};

}  // namespace Orvane
