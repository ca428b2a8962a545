// Banks: which addresses belong to one, and in which order it holds its sections.
#include "bank.h"

#include <cstdio>

namespace {

// The top three bits of an address select how the core reaches the memory (cached or not, for
// example), not which memory it reaches.
constexpr uint32_t memory_mask = 0x1fffffff;

}  // namespace

bool CBank::in_bank(uint32_t addr, uint32_t& base) const {
    const uint32_t masked = addr & memory_mask;
    if (masked < (start & memory_mask) || masked > (end & memory_mask)) return false;
    base = start & memory_mask;
    return true;
}

bool CBank::overlap(const CBank& other) const {
    return start <= other.end && other.start <= end;
}

void CBank::operator+=(const CSect& sect) {
    insert(sections.begin(), sect);
}

std::list<CSect>::iterator CBank::insert(std::list<CSect>::iterator from, const CSect& sect) {
    while (from != sections.end() && from->last() < sect.hdr.sh_addr) ++from;
    return sections.insert(from, sect);
}

void CBank::print() const {
    printf("%s\t%08x %08x", name.c_str(), start, end);
    if (!prefix.empty() || !suffix.empty()) printf(" (%s,%s)", prefix.c_str(), suffix.c_str());
    printf("\n");
}
