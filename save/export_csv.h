// Tracks of albums as comma-separated values for spreadsheets and data bases.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "collection/dataobjects.h"

namespace Orvane {

// Every keyword that a column may show, in brackets, each followed by a tab.
extern const std::string_view kCSVKeywords;

struct CSVOptions {
    std::vector<std::string> fields;  // keywords without their brackets, in the order of the columns
    char separator = ',';
    bool headers = true;  // a row of titles first
    int file_format = 0;  // for [File Type]

    // "Export CSV Fields" (the chosen ones; all of them where it is empty) in the order of "Export CSV Fields Order",
    // both written as kCSVKeywords, "Export CSV Separator" and "Export Include Headers".
    static CSVOptions FromStore();
};

// A row for each track. A value that holds the separator, a quote or a line break stands in quotes, its own quotes
// doubled. The lengths of recordings must be known (see PlaceRecordings).
std::string CSVListing(const std::vector<AlbumInfo*>& albums, const CSVOptions& options);

}  // namespace Orvane
