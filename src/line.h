// The layout of a line of an image: the sixteen bytes of a block as four words, and an address.
//
//     03020100 07060504 0b0a0908 0f0e0d0c //18440000
#pragma once

#include <cstddef>
#include <cstdint>

constexpr size_t line_len = 47;      // characters, newline included
constexpr size_t word_step = 9;      // from one word to the next: eight digits and a blank
constexpr size_t address_pos = 38;   // of the eight digits of the address
constexpr uint32_t block_size = 16;  // bytes
