#include "NearestName.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <numeric>

static std::string LowerCase(std::string_view text) {
    std::string lower;
    std::transform(text.begin(), text.end(), std::back_inserter(lower),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

// Returns the number of characters to insert, delete or replace to turn `a` into `b`.
static std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row[b.size()];
}

std::string NearestName(std::string_view name, const std::vector<std::string>& choices) {
    const std::string lower = LowerCase(name);
    std::size_t least = name.size() / 3 + 1;
    std::string nearest;
    for (const std::string& choice : choices) {
        const auto [shorter, longer] = std::minmax({choice.size(), name.size()});
        if (longer - shorter >= least) {
            continue;
        }
        const std::size_t distance = EditDistance(lower, LowerCase(choice));
        if (distance < least) {
            least = distance;
            nearest = choice;
        }
    }
    return nearest;
}
