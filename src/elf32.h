// The records of a 32-bit little-endian ELF file. Copying the file's bytes fills one. See elf(5).
#pragma once

#include <elf.h>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the records are copied from the file without byte-order conversion");

using Ehdr = Elf32_Ehdr;
using Phdr = Elf32_Phdr;
using Shdr = Elf32_Shdr;
