// Reads and writes that the system splits and signals interrupt.
#include "file.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "test.h"

// These two take the place of the system's. They do at most three bytes, and nothing each other
// time.
static std::string disk;

static bool interrupt() {
    static bool now = false;
    errno = EINTR;
    return now = !now;
}

ssize_t short_read(int fd, void* to, size_t len, off_t pos) asm("pread64");
ssize_t short_read(int, void* to, size_t len, off_t pos) {
    if (interrupt()) return -1;
    const size_t count = std::min<size_t>(len, 3);
    return static_cast<ssize_t>(disk.copy(static_cast<char*>(to), count, static_cast<size_t>(pos)));
}

ssize_t short_write(int fd, const void* from, size_t len) asm("write");
ssize_t short_write(int fd, const void* from, size_t len) {
    if (fd >= 0) return syscall(SYS_write, fd, from, len);  // by other parts of the test program
    if (interrupt()) return -1;
    const size_t count = std::min<size_t>(len, 3);
    disk.append(static_cast<const char*>(from), count);
    return static_cast<ssize_t>(count);
}

TEST(file, calls_that_are_split_or_interrupted_are_continued) {
    const std::string bytes = ascending(100);
    std::string copy(101, '\0');
    write_all(-1, bytes.data(), bytes.size());
    EXPECT_EQ(read_at(-1, 0, copy.data(), copy.size()), 100);
    EXPECT_EQ(copy, bytes + '\0');
}
