// In how many texts each of many names occurs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Searches a text for all names at once (an Aho-Corasick automaton): the time is linear in the
// names and the texts, however many names there are.
class SubstringCounter {
   public:
    explicit SubstringCounter(const std::vector<std::string>& names);

    // Looks for every name in `text`. A name that occurs several times counts once for the text;
    // the empty name occurs in every text.
    void Add(std::string_view text);

    // The number of texts added so far in which names[index] occurs.
    size_t TextsWith(size_t index) const;

   private:
    using StateId = uint32_t;
    static constexpr StateId kRoot = 0;

    // A state stands for a prefix of some name: the longest that ends where the search has got to.
    struct State {
        StateId parent = kRoot;   // the prefix without its last byte
        unsigned char byte = 0;   // that last byte
        size_t depth = 0;         // length of the prefix
        bool isName = false;      // the prefix is a whole name
        StateId shorter = kRoot;  // the next shorter prefix that ends here as well
        StateId name = kRoot;     // the longest name that ends here
        size_t lastText = 0;      // the last text counted for this name, from 1
        size_t texts = 0;         // number of texts with this name
    };

    StateId AddName(const std::string& name);
    void LinkStates();
    StateId Next(StateId state, unsigned char byte) const;
    void CountNamesEndingAt(StateId state);

    std::vector<State> states_ = {State()};
    std::unordered_map<uint64_t, StateId> edges_;  // by state and byte
    std::vector<StateId> stateOfName_;
    size_t textCount_ = 0;
};
