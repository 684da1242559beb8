#include "draw/canvas.h"

#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>

#include "draw/font.h"
#include "foundation/fileerror.h"
#include "foundation/platform.h"
#include "foundation/safefile.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {

Canvas::Canvas(int width, int height, Colour background)
    : width(width), height(height), pixels(static_cast<size_t>(width) * height, background) {}

void Canvas::Blend(int x, int y, Colour colour, double opacity) {
    if (x < 0 || x >= width || y < 0 || y >= height) return;
    Colour& pixel = pixels[static_cast<size_t>(y) * width + x];
    const auto mix = [opacity](uint8_t from, uint8_t to) {
        return static_cast<uint8_t>(std::lround(from + (to - from) * opacity));
    };
    pixel = {mix(pixel.red, colour.red), mix(pixel.green, colour.green), mix(pixel.blue, colour.blue)};
}

void Canvas::Fill(int left, double top, int right, double bottom, Colour colour, double opacity) {
    const int first = std::max(0, static_cast<int>(std::floor(top)));
    const int last = std::min(height - 1, static_cast<int>(std::ceil(bottom)) - 1);
    for (int y = first; y <= last; ++y) {
        const double covered = std::min(bottom, y + 1.0) - std::max(top, static_cast<double>(y));
        for (int x = std::max(0, left); x < std::min(width, right); ++x) Blend(x, y, colour, opacity * covered);
    }
}

int Canvas::TextWidth(std::string_view text) {
    return kGlyphWidth * CharacterCount(text);
}

void Canvas::Text(int left, int top, std::string_view text, Colour colour, int room, Weight weight) {
    constexpr char32_t kEllipsis = 0x2026;
    int n_fitting = room / kGlyphWidth;
    const bool cut = CharacterCount(text) > n_fitting;
    for (size_t offset = 0; offset < text.size() && n_fitting > 0; --n_fitting, left += kGlyphWidth) {
        const char32_t character = NextCharacter(text, offset);
        const Glyph glyph = GlyphOf(cut && n_fitting == 1 ? kEllipsis : character);
        for (int y = 0; y < kGlyphHeight; ++y) {
            const int row = glyph[static_cast<size_t>(y)];
            const int drawn = weight == Weight::Bold ? row << 1 | row : row << 1;
            for (int x = 0; x <= kGlyphWidth; ++x) {
                if (drawn >> (kGlyphWidth - x) & 1) Blend(left + x, top + y, colour, 1);
            }
        }
    }
}

namespace {

// The library ends a failed call by a jump, over which nothing may be left to destroy.
bool Encode(FILE* file, int width, int height, const uint8_t* bytes) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool made = info && setjmp(png_jmpbuf(png)) == 0;
    if (made) {
        png_init_io(png, file);
        png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                     PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        for (int y = 0; y < height; ++y) png_write_row(png, bytes + static_cast<size_t>(3) * width * y);
        png_write_end(png, info);
    }
    png_destroy_write_struct(&png, &info);
    return made;
}

}  // namespace

Outcome Canvas::WritePng(const std::string& path) const {
    static_assert(sizeof(Colour) == 3);
    const std::string temporary = TemporaryName(path);
    int error = 0;
    FILE* file = OpenFile(temporary, "wb", error);
    if (!file) return Outcome::OfLastError(FailOpenForWriting(path, error));
    errno = 0;
    if (!Encode(file, width, height, &pixels.front().red)) error = errno ? errno : EIO;
    if (!error) error = FlushToDisk(file);
    if (std::fclose(file) != 0 && !error) error = errno;
    if (!error) return Outcome::OfLastError(PutInPlace(temporary, path, OldFile::Drop));
    RemoveFile(temporary);
    return Outcome::OfLastError(FailWrite(path, error));
}

}  // namespace Orvane
