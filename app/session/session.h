// The collection that the program works on: opened, changed, saved, taken back. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/functionref.h"
#include "foundation/outcome.h"

namespace Orvane {

// What is done to a collection. One that is only read leaves its file, its side files and the settings as they are.
enum class Access { Read, Change };

// While another job has its turn, opening, creating and undoing are refused (Kind::Busy).
class Session {
public:
    Session() = default;
    ~Session();  // closes the collection; what has not been saved is lost
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Opens a collection, which nobody else has open. One that is open to be changed becomes the live one, in the place
    // of the one before. Asks before it opens the file of a newer version.
    Foundation::Outcome Open(const std::string& path, Access access);
    // Writes a new empty collection, with its folder, and opens it to be changed. Refused where there is a file
    // already.
    Foundation::Outcome Create(const std::string& path);
    bool IsOpen() const { return set != nullptr; }
    AlbumSet& Collection() const { return *set; }

    // Removes the collection that Create has made, and the folders made for it, unless something has been saved in it
    // since. True if it did; there is no collection then.
    bool TakeBack();
    // Saves the collection where it was changed. Asks before it replaces a file that is marked read-only.
    Foundation::Outcome Save();
    // Runs a change that may rename the recordings of an album and saves it, or takes it back: what the user was told
    // has failed has not been done.
    Foundation::Outcome ChangeAndSave(AlbumInfo& album, Foundation::FunctionRef<Foundation::Outcome()> change);

private:
    std::unique_ptr<AlbumSet> read_only_set;
    AlbumSet* set = nullptr;
    std::vector<std::string> made;  // by Create, in the order of removal; empty once the collection has been saved
};

}  // namespace Orvane
