// The Trash that desktops share: folders "files" and "info" in the user's data folder, or at the top of other volumes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "foundation/path.h"
#include "foundation/platform.h"

namespace Foundation {
namespace {

bool Status(const std::string& path, struct stat& status) {
    return lstat(path.c_str(), &status) == 0;
}

// Where the volume of `path` is mounted.
std::string TopFolder(const std::string& path) {
    struct stat status {};
    std::string top = FolderOf(path);
    if (stat(top.c_str(), &status) != 0) return top;
    const dev_t device = status.st_dev;
    while (top.size() > 1) {
        const std::string above = FolderOf(top);
        if (stat(above.c_str(), &status) != 0 || status.st_dev != device) break;
        top = above;
    }
    return top;
}

std::string PercentEncoded(const std::string& path) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string result;
    for (char c : path) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                           std::string_view("/-_.~").find(c) != std::string_view::npos;
        if (plain) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
        }
    }
    return result;
}

int WriteInfo(int descriptor, const std::string& original_path) {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char date[32] = "";
    strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    const std::string text = "[Trash Info]\nPath=" + PercentEncoded(original_path) + "\nDeletionDate=" + date + "\n";
    const ssize_t written = write(descriptor, text.data(), text.size());
    return written == static_cast<ssize_t>(text.size()) ? 0 : written < 0 ? errno : ENOSPC;
}

int MakePrivateFolder(const std::string& path) {
    if (int error = CreateFolders(FolderOf(path))) return error;
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return errno;
    struct stat status {};
    return !Status(path, status) ? errno : S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

// Moves `path` into the Trash at `trash`; its info file says `original_path`, from where it came.
int MoveInto(const std::string& trash, const std::string& path, const std::string& original_path) {
    for (const char* folder : {"", "/files", "/info"}) {
        if (int error = MakePrivateFolder(trash + folder)) return error;
    }
    const std::string name = FileNameOf(path);
    const std::string stem = FileNameOf(WithoutExtension(path));
    for (int n = 1;; ++n) {
        const std::string unique = n == 1 ? name : stem + "." + std::to_string(n) + name.substr(stem.size());
        const std::string target = trash + "/files/" + unique;
        const std::string info = trash + "/info/" + unique + ".trashinfo";
        struct stat status {};
        if (Status(target, status)) continue;
        // Making the info file takes the name: two processes cannot both succeed.
        const int descriptor = open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor < 0 && errno == EEXIST) continue;
        if (descriptor < 0) return errno;
        int error = WriteInfo(descriptor, original_path);
        close(descriptor);
        if (!error) error = RenameFile(path, target);
        if (error) unlink(info.c_str());
        return error;
    }
}

// The Trash that an administrator has set up for all users of a volume has to be a real folder with the sticky bit.
bool IsSharedTrash(const std::string& folder) {
    struct stat status {};
    return Status(folder, status) && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
}

}  // namespace

int MoveToTrash(std::string_view path) {
    const std::string whole = AbsolutePath(path);
    struct stat status {};
    if (!Status(whole, status)) return errno;

    // Renaming tells most surely whether the home Trash is on the file's volume.
    const int error = MoveInto(JoinPath(DataFolder(), "Trash"), whole, whole);
    if (error != EXDEV) return error;

    const std::string top = TopFolder(whole);
    const std::string below_top = whole.substr(top.size() == 1 ? 1 : top.size() + 1);
    const std::string user = std::to_string(getuid());
    const std::string shared = JoinPath(top, ".Trash");
    if (IsSharedTrash(shared) && MoveInto(JoinPath(shared, user), whole, below_top) == 0) return 0;
    return MoveInto(JoinPath(top, ".Trash-" + user), whole, below_top);
}

}  // namespace Foundation
