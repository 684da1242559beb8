// The fields and records of a collection's lines. docs/collection-format.md describes them.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "collection/corrections.h"
#include "foundation/text.h"

namespace Orvane {

// One line cut at its tabs; runs of tabs count as one, and the quotes around a field are taken off. What it hands out
// points into the line.
class Fields {
public:
    void Cut(std::string_view line);

    int size() const { return static_cast<int>(fields.size()); }
    bool Has(int index) const { return index < size(); }
    // Empty for a field that is missing.
    std::string_view operator[](int index) const {
        return Has(index) ? fields[static_cast<size_t>(index)].text : std::string_view();
    }
    // Everything behind the field and the tab that ends it, as it stands.
    std::string_view Behind(int index) const;

    // `missing` stands for a field that is not there; an empty one reads 0. Held to the limits of T.
    template <std::integral T>
    T Int(int index, T missing = 0) const {
        if (!Has(index)) return missing;
        using Limits = std::numeric_limits<T>;
        return static_cast<T>(std::clamp<int64_t>(Foundation::ParseInt(fields[static_cast<size_t>(index)].text),
                                                  Limits::min(), Limits::max()));
    }
    bool Bool(int index, bool missing = false) const { return Int<int32_t>(index, missing) != 0; }
    // Recording time, held to what no recording reaches so that sums of times cannot overflow.
    int64_t Time(int index, int64_t missing = 0) const;
    // Held to plus and minus 1e9.
    double Number(int index, double missing = 0) const;

private:
    struct Field {
        std::string_view text;
        size_t end;  // in the line
    };
    std::string_view line;
    std::vector<Field> fields;
};

// Builds lines: each call appends one field with the tab before it where needed.
class LineBuilder {
public:
    void Bare(std::string_view text);  // as it stands, tabs included; line breaks become blanks
    void Text(std::string_view text);  // in quotes, with anything that would end the field or the line made a blank
    void Name(std::string_view text);  // likewise, with commas replaced
    void Int(int64_t value);           // in quotes, as the following
    void Time(int64_t ticks);
    void Shortest(double value);  // six significant digits, no zeros behind
    void Fixed(double value, int decimals);
    void EndLine() { text += '\n'; }

    std::string text;

private:
    void Open();
};

// Names may hold commas; a list of the same records in the settings is separated by commas. So a comma is stored as
// U+00AC.
std::string NameFromFile(std::string_view text);

// Notes keep their line breaks, tabs and backslashes as \n, \t and two backslashes.
std::string EscapeNotes(std::string_view text);
std::string UnescapeNotes(std::string_view text);

// A float becomes an integer by truncation after 0.01 was added, or taken where it is not positive.
int32_t ToInteger(double value);

// The records below begin at field `first`. The readers return true for a record in an older form, which a save will
// rewrite.
void WriteCut(LineBuilder& line, const CutAndSpliceCorrection& cut);
void WriteFilterSetting(LineBuilder& line, const FilterSetting& setting);
bool ReadFilterSetting(const Fields& fields, int first, FilterSetting& setting);
void WriteFFTEq(LineBuilder& line, const FFTEq& eq);
bool ReadFFTEq(const Fields& fields, int first, FFTEq& eq);
void WriteRecordEq(LineBuilder& line, const RecordEq& eq);
void ReadRecordEq(const Fields& fields, int first, RecordEq& eq);

}  // namespace Orvane
