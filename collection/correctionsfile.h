// The file that keeps the click repairs of a recording, and how the lists in memory stand to it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "collection/corrections.h"
#include "foundation/outcome.h"
#include "foundation/platform.h"

namespace Orvane {

// Not safe for several threads by itself: a recording's entry guards it with the file history lock.
class CorrectionsFile {
public:
    // A recording's full name and ".crd".
    static std::string PathFor(std::string_view recording);
    // Files of older versions carry ".crd" in the place of the extension and are read when no other is there. Such a
    // file can be that of several recordings, x.wav and x.flac, so it is never written.
    static std::string OlderPathFor(std::string_view recording);

    enum class Access {
        Read,    // a file that holds no lists stays where it is
        Change,  // it is put aside, so that new repairs can be kept
    };
    // Fills the lists on first use. A failure leaves them empty and not loaded. What was wrong with a file that could
    // be read all the same, or belongs to another size of the recording, is reported, once.
    Foundation::Outcome Load(const std::string& recording, ClickRepairs& repairs, Access access);

    // Writes the lists through a temporary file. An empty pair removes the file, unless one of the older name would be
    // read in its place.
    Foundation::Outcome Save(const std::string& recording, ClickRepairs& repairs);

    // For a recording whose file has another size than the one the repairs belong to: moves them to the Trash, or where
    // that refuses them to another name, which is reported. One of the older name stays when it may be that of another
    // recording. False when the file could not be moved: it stays stale.
    bool PutAside(const std::string& recording);

    bool IsLoaded() const { return loaded; }
    void SetLoaded(bool is_loaded) { loaded = is_loaded; }  // the lists are what is true, whatever the file holds
    bool IsStale() const { return stale; }
    void SetStale(bool is_stale) { stale = is_stale; }

private:
    Foundation::Outcome Read(const std::string& path, ClickRepairs& repairs, Access access);
    void ReportOnce(Foundation::Outcome what, Foundation::FileTime file_time);

    Foundation::FileTime time = 0;                 // of the file
    std::optional<Foundation::FileTime> reported;  // the time of the file that was reported on
    bool loaded = false;                           // the lists hold what the file holds
    bool stale = false;  // the file is of another size of the recording than the one that is there
};

}  // namespace Orvane
