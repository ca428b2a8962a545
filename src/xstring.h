// A line of text that is cleaned and split into fields. It consists of bytes; locales play no part.
// A blank is a space or a tab, nothing else.
#pragma once

#include <string>
#include <vector>

/// A string with the operations that the configuration reader needs.
class xstring : public std::string {
public:
    using std::string::operator=;

    /// Removes the blanks at the start.
    void trim_left();

    /// Removes the blanks at the end.
    void trim_right();

    /// Removes the blanks at both ends.
    void trim();

    /// Removes every carriage return and line feed, wherever it stands.
    void remove_crlf();

    /// Removes the first "#" or ";" and everything after it.
    void remove_comments();

    /// Replaces `tokens` by the runs of characters between blanks. Tells whether there is any.
    bool tokenize(std::vector<std::string>& tokens) const;
};
