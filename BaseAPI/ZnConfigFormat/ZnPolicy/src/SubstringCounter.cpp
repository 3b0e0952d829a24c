#include "SubstringCounter.h"

#include <algorithm>
#include <numeric>

static uint64_t EdgeKey(uint32_t state, unsigned char byte) {
    return uint64_t{state} << 8 | byte;
}

SubstringCounter::SubstringCounter(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        stateOfName_.push_back(AddName(name));
    }
    LinkStates();
}

SubstringCounter::StateId SubstringCounter::AddName(const std::string& name) {
    StateId state = kRoot;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        const auto next = static_cast<StateId>(states_.size());
        const auto [edge, isNew] = edges_.emplace(EdgeKey(state, byte), next);
        if (isNew) {
            State added;
            added.parent = state;
            added.byte = byte;
            added.depth = states_[state].depth + 1;
            states_.push_back(added);
        }
        state = edge->second;
    }
    states_[state].isName = true;
    return state;
}

// Shorter prefixes first: each state's links build on those of the states before it.
void SubstringCounter::LinkStates() {
    std::vector<StateId> order(states_.size());
    std::iota(order.begin(), order.end(), kRoot);
    std::stable_sort(order.begin(), order.end(),
                     [this](StateId a, StateId b) { return states_[a].depth < states_[b].depth; });
    for (const StateId id : order) {
        State& state = states_[id];
        if (state.depth > 1) {
            state.shorter = Next(states_[state.parent].shorter, state.byte);
        }
        state.name = state.isName ? id : states_[state.shorter].name;
    }
}

SubstringCounter::StateId SubstringCounter::Next(StateId state, unsigned char byte) const {
    for (;;) {
        const auto edge = edges_.find(EdgeKey(state, byte));
        if (edge != edges_.end()) {
            return edge->second;
        }
        if (state == kRoot) {
            return kRoot;
        }
        state = states_[state].shorter;
    }
}

void SubstringCounter::Add(std::string_view text) {
    ++textCount_;
    StateId state = kRoot;
    for (const char c : text) {
        state = Next(state, static_cast<unsigned char>(c));
        CountNamesEndingAt(state);
    }
}

void SubstringCounter::CountNamesEndingAt(StateId state) {
    StateId name = states_[state].name;
    // Once a name has counted for this text, so have the shorter names that end with it.
    while (name != kRoot && states_[name].lastText != textCount_) {
        states_[name].lastText = textCount_;
        ++states_[name].texts;
        name = states_[states_[name].shorter].name;
    }
}

size_t SubstringCounter::TextsWith(size_t index) const {
    const StateId state = stateOfName_[index];
    return state == kRoot ? textCount_ : states_[state].texts;
}
