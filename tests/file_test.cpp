// Reads and writes that the system splits and signals interrupt.
#undef _FORTIFY_SOURCE  // with which clang has a pread64 already
#include "file.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "test.h"

// These two take the place of the system's: they do at most three bytes, and nothing each other
// time.
static std::string disk;
static size_t calls = 0;

ssize_t pread64(int, void* buf, size_t nbytes, off_t offset) {
    errno = EINTR;
    if (calls++ % 2 == 0) return -1;
    const size_t count = std::min<size_t>(nbytes, 3), from = static_cast<size_t>(offset);
    return static_cast<ssize_t>(disk.copy(static_cast<char*>(buf), count, from));
}

ssize_t write(int fd, const void* buf, size_t n) {
    if (fd >= 0) return syscall(SYS_write, fd, buf, n);  // by other parts of the test program
    errno = EINTR;
    if (calls++ % 2 == 0) return -1;
    disk.append(static_cast<const char*>(buf), std::min<size_t>(n, 3));
    return std::min<ssize_t>(static_cast<ssize_t>(n), 3);
}

TEST(file, calls_that_are_split_or_interrupted_are_continued) {
    const std::string bytes = ascending(101);
    std::string copy(bytes.size(), '\0');
    EXPECT_TRUE(write_all(-1, bytes.data(), bytes.size()));
    EXPECT_EQ(read_at(-1, 0, copy.data(), 100), 100);
    EXPECT_EQ(read_at(-1, 100, &copy[100], 99), 1);
    EXPECT_EQ(copy, bytes);
    EXPECT_FALSE(close_written(-1, true));
}
