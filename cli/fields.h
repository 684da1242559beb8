// The details of albums and tracks that "key=value" can set, by the names of the model's own fields.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/context.h"

namespace Orvane {

template <class Record>
struct Field {
    std::string name;
    std::string values;  // what it takes, for the user
    std::function<Json(const Record&)> get;
    // False when the value is none for this field; the record is then as it was.
    std::function<bool(Record&, const std::string&)> set;
};

const std::vector<Field<AlbumDetails>>& AlbumFields();
const std::vector<Field<ALBUMTRACK>>& TrackFields();

// Sets one field; the reason why not, or nothing.
std::string SetField(AlbumDetails& album, const std::string& name, const std::string& value);
std::string SetField(ALBUMTRACK& track, const std::string& name, const std::string& value);

// Sets fields from "key=value" texts; the reason why not, or nothing.
template <class Record>
std::string Assign(Record& record, const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
        size_t equals = assignment.find('=');
        if (equals == std::string::npos) return fmt::format("\"{}\" is not of the form key=value", assignment);
        std::string problem = SetField(record, assignment.substr(0, equals), assignment.substr(equals + 1));
        if (!problem.empty()) return problem;
    }
    return {};
}

}  // namespace Orvane
