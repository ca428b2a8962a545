// Cleaning and splitting a line of text.
#include "xstring.h"

#include <algorithm>

constexpr char blanks[] = " \t";

void xstring::trim_left() {
    erase(0, find_first_not_of(blanks));  // npos: all of it
}

void xstring::trim_right() {
    erase(find_last_not_of(blanks) + 1);  // npos + 1 is 0: all of it
}

void xstring::trim() {
    trim_left();
    trim_right();
}

void xstring::remove_crlf() {
    const auto is_crlf = [](char c) { return c == '\r' || c == '\n'; };
    erase(std::remove_if(begin(), end(), is_crlf), end());
}

void xstring::remove_comments() {
    erase(std::min(find_first_of("#;"), size()));
}

bool xstring::tokenize(std::vector<std::string>& tokens) const {
    tokens.clear();
    size_t from = find_first_not_of(blanks);
    while (from != npos) {
        const size_t to = std::min(find_first_of(blanks, from), size());
        tokens.push_back(substr(from, to - from));
        from = find_first_not_of(blanks, to);
    }
    return !tokens.empty();
}
