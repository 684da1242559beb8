#include "cleanup/filter/curvefile.h"

#include <fmt/printf.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <pugixml.hpp>
#include <string>

#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/platform.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr size_t kLargestFile = 16 << 20;  // a preset file has some tens of kilobytes

bool ReadNumber(const pugi::xml_attribute& attribute, float& number) {
    const std::string_view text = Trim(attribute.value());
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
}

}  // namespace

std::vector<FFTCurve> ParseCurveFile(std::string_view text, std::string_view path) {
    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size());
    std::vector<FFTCurve> curves;
    for (const pugi::xml_node& node : document.child("equalizationeffect").children("curve")) {
        FFTCurve curve;
        curve.name = ValidUtf8(node.attribute("name").value());
        for (const pugi::xml_node& point : node.children("point")) {
            FFTCurve::Point p;
            if (ReadNumber(point.attribute("f"), p.freq) && ReadNumber(point.attribute("d"), p.gain) && p.freq > 0) {
                curve.points.push_back(p);
            }
        }
        std::stable_sort(curve.points.begin(), curve.points.end(),
                         [](const FFTCurve::Point& a, const FFTCurve::Point& b) { return a.freq < b.freq; });
        if (!curve.points.empty()) curves.push_back(std::move(curve));
    }
    if (curves.empty()) {
        SetLastErrorText(fmt::sprintf("There are no equalisation curves in:\n\n<b>%s</b>\n\n%s", std::string(path),
                                      parsed ? "" : parsed.description()));
    }
    return curves;
}

std::vector<FFTCurve> ReadCurveFile(std::string_view path) {
    int error = 0;
    FILE* file = OpenFile(path, "rb", error);
    if (!file) {
        FailOpen(path, error);
        return {};
    }
    std::string text(kLargestFile, '\0');
    text.resize(fread(text.data(), 1, text.size(), file));
    const bool failed = ferror(file);
    fclose(file);
    if (failed) {
        FailRead(path, errno);
        return {};
    }
    return ParseCurveFile(text, path);
}

}  // namespace Orvane
