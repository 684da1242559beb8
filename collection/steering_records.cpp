#include "collection/steering_records.h"

#include <charconv>
#include <cmath>

#include "collection/tracktime.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr std::string_view kCommaInNames = "\xC2\xAC";  // U+00AC
constexpr int64_t kLastTime = int64_t{1} << 47;

// The bands in the order in which a record holds them, counted from 0.
constexpr int kBandOrder[kEqBands] = {1, 2, 3, 4, 5, 6, 7, 8, 0, 9};

std::string_view WithoutQuotes(std::string_view field) {
    if (!field.empty() && field.front() == '"') field.remove_prefix(1);
    if (!field.empty() && field.back() == '"') field.remove_suffix(1);
    return field;
}

void WriteCurvePoints(LineBuilder& line, const FFTCurve& curve) {
    line.Int(static_cast<int64_t>(curve.points.size()));
    for (const FFTCurve::Point& point : curve.points) {
        line.Fixed(point.freq, 2);
        line.Fixed(point.gain, 4);
    }
}

// Returns the field behind the points.
int ReadCurvePoints(const Fields& fields, int first, FFTCurve& curve) {
    const int there = std::max(0, (fields.size() - first - 1) / 2);
    const int n = std::clamp(fields.Int<int32_t>(first), 0, there);
    curve.points.reserve(static_cast<size_t>(n));
    for (int i = first + 1; i < first + 1 + 2 * n; i += 2) {
        curve.points.push_back({static_cast<float>(fields.Number(i)), static_cast<float>(fields.Number(i + 1))});
    }
    return first + 1 + 2 * n;
}

void WriteCurveAxes(LineBuilder& line, const FFTCurve& curve) {
    line.Int(curve.axis_max);
    line.Int(curve.axis_min);
    line.Int(curve.preserve_level);
}

void ReadCurveAxes(const Fields& fields, int first, FFTCurve& curve) {
    curve.axis_max = fields.Int<int32_t>(first, 30);
    curve.axis_min = fields.Int<int32_t>(first + 1, -30);
    curve.preserve_level = fields.Bool(first + 2);
}

void WriteLevels(LineBuilder& line, const RecordEq& eq) {
    line.Int(eq.enable);
    line.Int(eq.level_a);
    line.Int(eq.level_b);
}

void ReadLevels(const Fields& fields, int first, RecordEq& eq) {
    eq.enable = fields.Int<int32_t>(first, 1);
    eq.level_a = fields.Int<int32_t>(first + 1);
    eq.level_b = fields.Int<int32_t>(first + 2);
}

// The second field says which form a RecordEq has; a curve may not be called as one of the other forms is.
bool IsFormNumber(std::string_view text) {
    return text == "0" || text == "1";
}

}  // namespace

void Fields::Cut(std::string_view new_line) {
    line = new_line;
    fields.clear();
    for (size_t start = 0; start < line.size();) {
        if (line[start] == '\t') {
            ++start;
            continue;
        }
        const size_t end = std::min(line.find('\t', start), line.size());
        fields.push_back({WithoutQuotes(line.substr(start, end - start)), end});
        start = end + 1;
    }
}

std::string_view Fields::Behind(int index) const {
    if (!Has(index)) return {};
    const size_t start = fields[static_cast<size_t>(index)].end + 1;
    return start < line.size() ? line.substr(start) : std::string_view();
}

int64_t Fields::Time(int index, int64_t missing) const {
    return std::clamp(Int<int64_t>(index, missing), -kLastTime, kLastTime);
}

double Fields::Number(int index, double missing) const {
    return Has(index) ? std::clamp(ParseDouble((*this)[index]), -1e9, 1e9) : missing;
}

void LineBuilder::Open() {
    if (!text.empty() && text.back() != '\n') text += '\t';
}

void LineBuilder::Bare(std::string_view field) {
    Open();
    const size_t first = text.size();
    text += field;
    for (size_t i = first; i < text.size(); ++i) {
        if (text[i] == '\n' || text[i] == '\r') text[i] = ' ';
    }
}

void LineBuilder::Text(std::string_view field) {
    Open();
    text += '"';
    const size_t first = text.size();
    text += field;
    for (size_t i = first; i < text.size(); ++i) {
        if (text[i] == '\t' || text[i] == '\n' || text[i] == '\r') text[i] = ' ';
    }
    text += '"';
}

void LineBuilder::Name(std::string_view field) {
    if (field.find(',') == field.npos) {
        Text(field);
    } else {
        Text(Replace(field, ",", kCommaInNames));
    }
}

void LineBuilder::Int(int64_t value) {
    Open();
    char digits[24];
    text += '"';
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    text += '"';
}

void LineBuilder::Time(int64_t ticks) {
    Open();
    text += '"';
    AppendTime(text, ticks);
    text += '"';
}

void LineBuilder::Shortest(double value) {
    char digits[64];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr;
    Text({digits, static_cast<size_t>(end - digits)});
}

void LineBuilder::Fixed(double value, int decimals) {
    char digits[64];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
    Text({digits, static_cast<size_t>(end - digits)});
}

std::string NameFromFile(std::string_view text) {
    return Replace(text, kCommaInNames, ",");
}

std::string EscapeNotes(std::string_view text) {
    std::string escaped;
    for (size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
            case '\n':
                escaped += "\\n";
                break;
            case '\t':
                escaped += "\\t";
                break;
            case '\\':
                escaped += "\\\\";
                break;
            case '\r':  // of a line break, or alone one itself
                if (i + 1 == text.size() || text[i + 1] != '\n') escaped += "\\n";
                break;
            default:
                escaped += text[i];
        }
    }
    return escaped;
}

std::string UnescapeNotes(std::string_view text) {
    std::string notes;
    for (size_t i = 0; i < text.size(); ++i) {
        const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
        if (next == 'n' || next == 't' || next == '\\') {
            notes += next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
            ++i;
        } else {
            notes += text[i];
        }
    }
    return notes;
}

int32_t ToInteger(double value) {
    constexpr double kLimit = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(value + (value > 0 ? 0.01 : -0.01), -kLimit, kLimit));
}

void WriteCut(LineBuilder& line, const CutAndSpliceCorrection& cut) {
    line.Int(cut.start_time);
    line.Int(cut.end_time);
    line.Int(cut.splice_length);
}

void WriteFilterSetting(LineBuilder& line, const FilterSetting& setting) {
    const FilterValues& values = setting.values;
    line.Int(setting.absolute_start_time);
    line.Int(setting.absolute_end_time);
    line.Int(values.hiss_reduction);
    line.Shortest(values.hiss_quality / 2.0);
    line.Int(values.hum_mode);
    line.Int(values.mains_frequency);
    line.Int(values.rumble_mode);
    line.Int(values.eq_mode);
    line.Int(values.preamp_left);
    line.Int(values.preamp_right);
    for (int band : kBandOrder) line.Shortest(values.bands[static_cast<size_t>(band)] * 5.0 / 12);
    line.Name(setting.name);
    line.Int(values.hiss_mode);
    line.Int(values.dc_offset_only);
    line.Int(values.filter_harmonics);
    line.Name(setting.preset);
    line.Text(setting.extra);
    line.Int(1);
}

bool ReadFilterSetting(const Fields& fields, int first, FilterSetting& setting) {
    const FilterValues defaults;
    FilterValues& values = setting.values;
    const bool old_form = fields.Int<int32_t>(first + 26) < 1;
    setting.absolute_start_time = setting.start_time = fields.Time(first);
    setting.absolute_end_time = setting.end_time = fields.Time(first + 1);
    values.hiss_reduction = fields.Int(first + 2, defaults.hiss_reduction);
    values.hiss_quality = ToInteger(2 * fields.Number(first + 3, defaults.hiss_quality / 2.0));
    values.hum_mode = fields.Int(first + 4, defaults.hum_mode);
    values.mains_frequency = fields.Int(first + 5, defaults.mains_frequency);
    values.rumble_mode = fields.Int(first + 6, defaults.rumble_mode);
    values.eq_mode = fields.Int(first + 7, defaults.eq_mode);
    values.preamp_left = fields.Int(first + 8, defaults.preamp_left);
    values.preamp_right = fields.Int(first + 9, defaults.preamp_right);
    for (int i = 0; i < kEqBands; ++i) {
        const int field = first + 10 + i;
        const bool outer = i >= kEqBands - 2;  // of whole dB in the older form
        const double db = old_form && outer ? fields.Int<int32_t>(field) : fields.Number(field);
        values.bands[static_cast<size_t>(kBandOrder[i])] = ToInteger(db * 2.4);
    }
    setting.name = NameFromFile(fields[first + 20]);
    values.hiss_mode = fields.Int(first + 21, defaults.hiss_mode);
    values.dc_offset_only = fields.Int(first + 22, defaults.dc_offset_only);
    values.filter_harmonics = fields.Int(first + 23, defaults.filter_harmonics);
    setting.preset = NameFromFile(fields[first + 24]);
    setting.extra = fields[first + 25];
    return old_form;
}

void WriteFFTEq(LineBuilder& line, const FFTEq& eq) {
    line.Name(eq.name);
    line.Int(eq.absolute_start_time);
    line.Int(eq.absolute_end_time);
    line.Int(eq.enable);
    line.Int(eq.gain);
    WriteCurveAxes(line, eq.curve);
    WriteCurvePoints(line, eq.curve);
    line.Name(eq.preset);
    line.Int(1);
}

bool ReadFFTEq(const Fields& fields, int first, FFTEq& eq) {
    eq.name = NameFromFile(fields[first]);
    eq.absolute_start_time = eq.start_time = fields.Time(first + 1);
    eq.absolute_end_time = eq.end_time = fields.Time(first + 2);
    eq.enable = fields.Int<int32_t>(first + 3);
    ReadCurveAxes(fields, first + 5, eq.curve);
    const int behind = ReadCurvePoints(fields, first + 8, eq.curve);
    eq.preset = NameFromFile(fields[behind]);
    const bool old_form = fields.Int<int32_t>(behind + 1) < 1;
    eq.gain = old_form ? ToInteger(24 * fields.Number(first + 4)) : fields.Int<int32_t>(first + 4);
    return old_form;
}

void WriteRecordEq(LineBuilder& line, const RecordEq& eq) {
    line.Name(eq.name);
    if (eq.fft_curve) {
        line.Name(IsFormNumber(eq.fft_curve->name) ? eq.fft_curve->name + " " : eq.fft_curve->name);
        WriteCurveAxes(line, *eq.fft_curve);
        WriteLevels(line, eq);
        WriteCurvePoints(line, *eq.fft_curve);
        return;
    }
    line.Int(eq.use_time_constants ? 1 : 0);
    if (eq.use_time_constants) {
        line.Int(eq.t1);
        line.Int(eq.t2);
        line.Int(eq.t3);
    } else {
        line.Int(eq.turnover);
        line.Fixed(eq.rolloff, 1);
        line.Int(eq.shelf);
    }
    WriteLevels(line, eq);
}

void ReadRecordEq(const Fields& fields, int first, RecordEq& eq) {
    eq.name = NameFromFile(fields[first]);
    const std::string_view form = fields[first + 1];
    if (fields.Has(first + 1) && !IsFormNumber(form)) {
        eq.fft_curve.emplace();
        eq.fft_curve->name = NameFromFile(form);
        ReadCurveAxes(fields, first + 2, *eq.fft_curve);
        ReadLevels(fields, first + 5, eq);
        ReadCurvePoints(fields, first + 8, *eq.fft_curve);
        return;
    }
    eq.use_time_constants = form == "0" ? 0 : 1;
    if (eq.use_time_constants) {
        eq.t1 = fields.Int(first + 2, eq.t1);
        eq.t2 = fields.Int(first + 3, eq.t2);
        eq.t3 = fields.Int(first + 4, eq.t3);
    } else {
        eq.turnover = fields.Int(first + 2, eq.turnover);
        eq.rolloff = static_cast<float>(fields.Number(first + 3, -13.7));
        eq.shelf = fields.Int(first + 4, eq.shelf);
    }
    ReadLevels(fields, first + 5, eq);
}

}  // namespace Orvane
