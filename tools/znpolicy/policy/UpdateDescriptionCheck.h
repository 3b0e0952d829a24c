// Mistakes in an update description.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct UpdateDescriptionProblem {
    std::size_t offset = 0;  // in the text that was checked
    std::string message;
    std::string suggestion;  // the member that was probably meant, or ""
};

// Checks a description as a policy contains it: plain JSON or Base64 of it. Returns the problems in
// the order of the text, at most 1000 and a note that there are more.
std::vector<UpdateDescriptionProblem> CheckUpdateDescription(const std::string& text);
