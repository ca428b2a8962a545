// How the check follows paths. It opens no file and creates none.
#include "files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

// Returns the path that the run opens in the end: a link that leads nowhere is followed, since the
// run creates a file there.
static fs::path followed(fs::path path) {
    std::error_code ignored;
    for (int links = 0; links < 40 && !fs::exists(path, ignored); links++) {
        const fs::path to = fs::read_symlink(path, ignored);
        if (to.empty()) break;
        path = path.parent_path() / to;
    }
    return path;
}

// Returns the path from the root, without links, "." and "..", or as it is where it cannot be told.
static fs::path normal(const fs::path& path) {
    std::error_code error;  // in a directory that is gone, paths stay relative
    const fs::path whole = fs::weakly_canonical(fs::current_path(error) / path, error);
    if (error) return path;
    return whole.has_filename() ? whole : whole.parent_path();
}

std::string identity(const fs::path& path) {
    const fs::path target = normal(followed(path));
    struct stat status {};
    if (stat(target.c_str(), &status) != 0) return target;
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

static int why_no_access(const fs::path& path, int mode) {
    return access(path.c_str(), mode) == 0 ? 0 : errno;
}

int why_not_written(const std::string& path, const char* directory) {
    std::error_code ignored;
    const bool is_new = directory != nullptr && !fs::exists(directory, ignored);
    // A directory that is yet to be created will hold no links, so the path can be told before.
    const fs::path target = is_new ? normal(path) : followed(fs::absolute(path, ignored));
    struct stat status {};
    if (stat(target.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode) ? EISDIR : why_no_access(target, W_OK);
    }
    if (errno != ENOENT) return errno;
    fs::path parent = target.parent_path();
    if (is_new && parent == normal(directory)) {
        while (!parent.empty() && !fs::exists(parent, ignored)) parent = parent.parent_path();
    }
    return why_no_access(parent / "", W_OK | X_OK);
}
