// Sections and their bytes: from the ELF file into memory, a listing or a raw file.
#include "sect.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

uint32_t CSect::last() const {
    return hdr.sh_size == 0 ? hdr.sh_addr : hdr.sh_addr + hdr.sh_size - 1;
}

void CSect::setfname() {
    const bool dotted = !name.empty() && name.front() == '.';
    fname = name.substr(dotted ? 1 : 0) + ".bin";
}

void CSect::readv(block_reader& file) {
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

void write_buf(const char* path, const char* buf, int len) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd < 0) return;
    write_all(fd, buf, static_cast<size_t>(len));
    close(fd);
}
