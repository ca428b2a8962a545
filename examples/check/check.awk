# Names what bankimg passes over in silence although the images come out wrong, or enormous. Reads
# the listing of "bankimg -P"; for any awk.
#
#     bankimg -P -C banks.cfg fw.elf >listing && awk -f check.awk listing
#
# It prints a line for
#   - every section that runs past its bank's end,
#   - every section that overlaps one that is listed before it in the same bank,
#   - every bank whose sections differ in their top three address bits: bankimg looks for a bank
#     without these bits, so that 00000000, 20000000 and 80000000 are one place, but counts the
#     gap between two sections with them,
#   - every bank whose image is longer than 64 MiB, or than BYTES with "-v most=BYTES",
#   - with "-v strict=1", every section that is in its bank only without those three bits. On Arm
#     and RISC-V that is another memory. On MIPS it is the same one: leave the option out there.
# The exit status is 1 then; if there is nothing to name it is 0, and nothing is printed.
#
# A listing without a bank or a section, or with a line that is neither, comes from a run that
# failed, and is named too. But a run may also fail after a complete listing, at an image that
# cannot be created, and in a pipe its status is lost: hence the file and the "&&".
#
# The run that prints the listing also writes the images, however long they become. With "-g 0" it
# writes no gaps, and the listing is the same: do that in another directory than that of the images
# to load.
#
# The length of an image is counted as without "-g 0" and "-z", of which the listing tells nothing:
# 47 bytes for every 16 from the first section's to the last one's. Under "-g 0" an image is
# shorter; under "-z" it is longer by what lies between the bank's start and the first section.
# Lines that overlapping sections write twice are counted once.

BEGIN {
    most = most == "" ? 64 * 1024 * 1024 : most + 0
}

# [.text] 18440000 184400f7 (248,0xf8)
# A section's name may hold anything, and begin like a bank's line: the end of the line decides.
# Sections above the first bank are those of "-p", and come again in their banks.
/^\[/ && match($0, /\] [0-9a-f]+ [0-9a-f]+ \([0-9]+,0x[0-9a-f]+\)$/) {
    if (banks > 0) {
        read_section(substr($0, 2, RSTART - 2), substr($0, RSTART + 2))
        check_section()
        add_section()
    }
    next
}

# [0]: pram0.dat<TAB>18440000 1844ffff (text,0)
/^\[[0-9]+\]: / && match($0, /\t[0-9a-f]+ [0-9a-f]+/) {
    check_image()
    read_bank(substr($0, 1, RSTART - 1), substr($0, RSTART + 1))
    next
}

# One such line is enough: a usage text has many.
!strange++ {
    complain("line " NR " of the listing is neither a bank nor a section: " $0)
}

END {
    check_image()
    if (banks == 0) complain("no bank in the listing: bankimg failed, or ran without -P")
    else if (sections == 0) complain("no section in the listing: bankimg failed, or found none")
    exit (complaints > 0)
}

function read_bank(head, range) {
    bank = substr(head, index(head, " ") + 1)
    start = hex(substr(range, 1, 8))
    end = hex(substr(range, 10, 8))
    banks++
    members = 0
}

# The last address is not the listed one, which wraps past ffffffff.
function read_section(name, numbers,    field) {
    split(numbers, field, /[ (,]+/)
    section = "[" name "] " field[1] " " field[2]
    first = hex(field[1])
    last = first + field[3] - 1
    sections++
}

function check_section() {
    check_end()
    if (members > 0) check_overlap()
    if (members > 0) check_region()
    if (strict) check_strict()
}

# For a section that is in its bank only without the top three bits, the bank ends where it would
# with the section's.
function check_end(    limit) {
    limit = in_range(first) ? end : first - memory(first) + memory(end)
    if (last > limit) complain(bank ": " section " runs past the bank's end")
}

# bankimg puts a section in front of the first one that it overlaps. So one that overlaps any before
# it overlaps the one right before it. Only behind a section that wraps past ffffffff, which seems
# to end early, this may fail: hence the second look, at the one that reaches farthest.
function check_overlap() {
    if (overlaps(before_first, before_last)) complain(bank ": " section " overlaps " before)
    else if (overlaps(far_first, far_last)) complain(bank ": " section " overlaps " far)
}

# Once for a bank.
function check_region() {
    if (differs || region(first) == region(leader_first)) return
    complain(bank ": " section " differs from " leader " in the top three address bits")
    differs = 1
}

function check_strict() {
    if (in_range(first)) return
    complain(bank ": " section " is in the bank only without the top three address bits")
}

function check_image(    bytes) {
    if (members == 0) return
    bytes = 47 * (block(far_last) - block(low) + 1)
    if (bytes <= most) return
    complain(sprintf("%s: the image takes %.0f bytes, more than %.0f", bank, bytes, most))
}

# Keeps what the sections behind this one are compared with.
function add_section() {
    if (members++ == 0) {
        leader = section
        leader_first = low = first
        far_last = -1
        differs = 0
    }
    if (first < low) low = first
    if (last > far_last) {
        far = section
        far_first = first
        far_last = last
    }
    before = section
    before_first = first
    before_last = last
}

function complain(text) {
    print text
    complaints++
}

function overlaps(other_first, other_last) {
    return first <= other_last && other_first <= last
}

function in_range(addr) {
    return start <= addr && addr <= end
}

# An address without its top three bits, and these bits alone.
function memory(addr) {
    return addr % 536870912
}

function region(addr) {
    return int(addr / 536870912)
}

# The 16 bytes of a line, counted from address 0.
function block(addr) {
    return int(addr / 16)
}

function hex(digits,    i, value) {
    for (i = 1; i <= length(digits); i++) {
        value = 16 * value + index("0123456789abcdef", substr(digits, i, 1)) - 1
    }
    return value
}
