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

bool CSect::readv(block_reader& file) {
    data.resize(hdr.sh_size);
    const size_t in_file = hdr.sh_type == SHT_NOBITS ? 0 : data.size();
    const size_t delivered = file.read(hdr.sh_offset, data.data(), in_file);
    memset(data.data() + delivered, 0, data.size() - delivered);
    return delivered == in_file;
}

bool CSect::writev() const {
    return write_buf(fname.c_str(), data.data(), static_cast<int>(hdr.sh_size));
}

void CSect::print(FILE* stream) const {
    fprintf(stream, "[%s] %08x %08x (%d,0x%x)\n", name.c_str(), hdr.sh_addr, last(),
            static_cast<int>(hdr.sh_size), hdr.sh_size);
}

bool write_buf(const char* path, const char* buf, int len) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    return fd >= 0 && close_written(fd, write_all(fd, buf, static_cast<size_t>(len)));
}
