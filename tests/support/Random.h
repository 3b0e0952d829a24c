// Random choices for property tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

// Prints its seed; ZN_TEST_SEED=<seed> in the environment repeats a run.
class Random {
   public:
    Random() : engine_(Seed()) {}

    size_t Below(size_t limit) {
        return static_cast<size_t>(engine_() % limit);
    }

    bool OneIn(size_t chances) {
        return Below(chances) == 0;
    }

    template <typename T>
    const T& OneOf(const std::vector<T>& choices) {
        return choices[Below(choices.size())];
    }

    char OneOf(const std::string& characters) {
        return characters[Below(characters.size())];
    }

    // Up to `longest` of these characters.
    std::string Text(const std::string& characters, size_t longest) {
        std::string text(Below(longest + 1), '\0');
        for (char& c : text) {
            c = OneOf(characters);
        }
        return text;
    }

   private:
    static uint64_t Seed() {
        const char* chosen = std::getenv("ZN_TEST_SEED");
        const uint64_t seed =
            chosen != nullptr ? std::strtoull(chosen, nullptr, 10) : std::random_device()();
        std::cout << "seed: " << seed << " (repeat with ZN_TEST_SEED=" << seed << ")\n";
        testing::Test::RecordProperty("seed", std::to_string(seed));
        return seed;
    }

    std::mt19937_64 engine_;
};
