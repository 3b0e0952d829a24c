// Making untrusted text safe to print on one line of a log or terminal.
#pragma once

#include <string>
#include <string_view>

// Appends `text` to `line`, escaping everything that could end the line, start another one or
// change how its surroundings are displayed: control characters (C0, DEL and C1), line and
// paragraph separators and bidirectional formatting characters become \n, \r, \t, \xNN or \uNNNN;
// bytes that are not valid UTF-8 become \xNN. Everything else, backslashes included, is copied
// unchanged.
void AppendEscaped(std::string& line, std::string_view text);

// Returns `text` escaped in the same way.
std::string Escaped(std::string_view text);
