// How the check follows paths. It opens no file and creates none.
#include "files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

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

// Returns the path from the root, without links, "." and "..".
static fs::path normal(const fs::path& path) {
    std::error_code ignored;  // in a directory that is gone, paths stay relative
    const fs::path whole = fs::weakly_canonical(fs::current_path(ignored) / path, ignored);
    return whole.has_filename() ? whole : whole.parent_path();
}

std::string identity(const fs::path& path) {
    const fs::path target = followed(path);
    struct stat status {};
    if (stat(target.c_str(), &status) != 0) return normal(target);
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

static int why_no_access(const fs::path& path, int mode) {
    return access(path.empty() ? "." : path.c_str(), mode) == 0 ? 0 : errno;
}

int why_not_created(fs::path directory) {
    struct stat status {};
    if (stat(directory.c_str(), &status) == 0) return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
    if (errno != ENOENT) return errno;
    if (directory.empty()) return EINVAL;  // as create_directories does
    std::error_code ignored;
    while (!directory.empty() && !fs::exists(fs::symlink_status(directory, ignored))) {
        directory = directory.parent_path();
    }
    if (!directory.empty() && !fs::exists(directory, ignored)) return EEXIST;  // a link to nowhere
    return why_no_access(directory, W_OK | X_OK);
}

// A directory that is yet to be created will hold no links, so the path can be told before.
int why_not_written(const std::string& path, const char* directory) {
    std::error_code ignored;
    const bool is_new = directory != nullptr && !fs::exists(directory, ignored);
    const fs::path target = is_new ? normal(path) : followed(path);
    struct stat status {};
    if (stat(target.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode) ? EISDIR : why_no_access(target, W_OK);
    }
    if (errno != ENOENT) return errno;
    if (!is_new || target.parent_path() != normal(directory)) {
        return why_no_access(target.parent_path(), W_OK | X_OK);
    }
    return target.filename().native().size() > NAME_MAX ? ENAMETOOLONG : 0;
}
