// The files that nothing may be written over.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "collection/dataobjects.h"

namespace Orvane {

// A file is known by what it is, so that no link and no linked folder leads around the check.
class KeptFiles {
public:
    KeptFiles() = default;
    // All recordings and covers of these albums and of the collection that the first belongs to, the files named after
    // the recordings, and the collection itself with its backup. Main thread, or while the albums do not change.
    explicit KeptFiles(const std::vector<AlbumInfo*>& albums);

    void Add(std::string_view path);
    // Whether a file that is written as `path`, or the temporary file for it, would take the place of one of these. Any
    // thread.
    bool Has(std::string_view path) const;

private:
    void AddFilesOf(const AlbumInfo& album);

    std::unordered_set<std::string> files;  // identities, and the paths of those that need not be there
};

}  // namespace Orvane
