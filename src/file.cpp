// Reads and writes that continue until all is done or the system gives no more.
#include "file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

static_assert(sizeof(off_t) == 8,
              "a table may lie beyond 2 GiB: compile with -D_FILE_OFFSET_BITS=64");

size_t read_at(int fd, uint64_t pos, void* buf, size_t len) {
    size_t done = 0;
    while (done < len) {
        const ssize_t count =
            pread(fd, static_cast<char*>(buf) + done, len - done, static_cast<off_t>(pos + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        done += static_cast<size_t>(count);
    }
    return done;
}

const char* block_reader::peek(uint64_t at, size_t& count) {
    if (at < pos || at >= pos + len) {
        pos = at;
        len = read_at(fd, at, block, sizeof block);
    }
    const auto skip = static_cast<size_t>(at - pos);
    count = len - skip;
    return block + skip;
}

size_t block_reader::read(uint64_t at, char* buf, size_t count) {
    size_t available = 0;
    const char* const from = peek(at, available);
    const size_t part = std::min(available, count);
    memcpy(buf, from, part);
    return part + read_at(fd, at + part, buf + part, count - part);
}

bool write_all(int fd, const char* buf, size_t len) {
    while (len > 0) {
        const ssize_t count = write(fd, buf, len);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) errno = EIO;
        if (count <= 0) return false;
        buf += count;
        len -= static_cast<size_t>(count);
    }
    return true;
}

bool close_written(int fd, bool complete) {
    const int reason = errno;
    if (close(fd) != 0 && complete) return false;
    errno = reason;
    return complete;
}
