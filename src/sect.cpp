// Sections and their bytes: from the ELF file into memory, into a listing, into a raw file.
#include "sect.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

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

const char* file_block::peek(uint64_t at, size_t& count) {
    if (at < pos || at >= pos + len) {
        pos = at;
        len = read_at(fd, at, bytes, sizeof bytes);
    }
    const auto skip = static_cast<size_t>(at - pos);
    count = len - skip;
    return bytes + skip;
}

size_t file_block::read(uint64_t at, char* buf, size_t count) {
    if (count >= sizeof bytes) return read_at(fd, at, buf, count);
    size_t done = 0, part = 0;
    for (; done < count; done += part) {
        const char* from = peek(at + done, part);
        if (part == 0) break;
        part = std::min(part, count - done);
        memcpy(buf + done, from, part);
    }
    return done;
}

void write_all(int fd, const char* buf, size_t len) {
    while (len > 0) {
        const ssize_t count = write(fd, buf, len);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        buf += count;
        len -= static_cast<size_t>(count);
    }
}

void write_buf(const char* path, const char* buf, int len) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd < 0) return;
    write_all(fd, buf, static_cast<size_t>(len));
    close(fd);
}

// Memory of this size and more is aligned to huge pages, so that the system can use them: one page
// fault instead of 512.
constexpr size_t large = 4 << 20;
constexpr std::align_val_t huge_page{2 << 20};

void* allocate_pages(size_t size) {
    if (size < large) return operator new(size);
    void* const at = operator new(size, huge_page);
    madvise(at, size, MADV_HUGEPAGE);
    return at;
}

void free_pages(void* at, size_t size) noexcept {
    if (size < large) return operator delete(at);
    operator delete(at, huge_page);
}

uint32_t CSect::last() const {
    return hdr.sh_addr + hdr.sh_size - 1;
}

void CSect::setfname() {
    const bool dotted = !name.empty() && name.front() == '.';
    fname = name.substr(dotted ? 1 : 0) + ".bin";
}

void CSect::readv(file_block& file) {
    data.resize(hdr.sh_size);
    size_t delivered = 0;
    if (hdr.sh_type != SHT_NOBITS) {
        delivered = file.read(hdr.sh_offset, data.data(), data.size());
    }
    memset(data.data() + delivered, 0, data.size() - delivered);
}

void CSect::writev() const {
    write_buf(fname.c_str(), data.data(), static_cast<int>(hdr.sh_size));
}

void CSect::print(FILE* stream) const {
    fprintf(stream, "[%s] %08x %08x (%d,0x%x)\n", name.c_str(), hdr.sh_addr, last(),
            static_cast<int>(hdr.sh_size), hdr.sh_size);
}
