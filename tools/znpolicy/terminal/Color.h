// Colours on terminals.
#pragma once

#include <ostream>
#include <string>

enum class Color { kRed, kYellow };

// Chooses when to use colours: "always", "never", or "auto", the default: on a terminal, unless the
// environment variable NO_COLOR is set and not empty or TERM is "dumb".
void SetColorMode(const std::string& mode);

// Returns `text` in a colour if `out`, std::cout or std::cerr, has colours, else as it is.
std::string Colored(const std::ostream& out, Color color, const std::string& text);
