// What tests of the policy store share.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "PolicyStore.h"
#include "TemporaryDirectory.h"

inline bool operator==(const PolicyStore::Item& left, const PolicyStore::Item& right) {
    return left.key == right.key && left.value == right.value;
}

inline void PrintTo(const PolicyStore::Item& item, std::ostream* out) {
    *out << item.key << "=" << testing::PrintToString(item.value);
}

// Runs `action` and returns the message of its PolicyStore::Error.
inline std::string ErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const PolicyStore::Error& error) {
        return error.what();
    }
    return "no error";
}

// A test with a store of its own, which is also the one that ZnXml reads.
class StoreTest : public testing::Test {
   protected:
    StoreTest() : store_(directory_ / "store") {
        setenv("ZN_POLICY_STORE", store_.Directory().c_str(), 1);
    }

    ~StoreTest() override {
        unsetenv("ZN_POLICY_STORE");
    }

    void Publish(int id, const std::string& xml) const {
        store_.Publish(id, xml, "policy.xml");
    }

    // The path of the policy file of `id`.
    std::string FileOf(int id) const {
        return store_.Directory() + "/" + std::to_string(id) + ".cdb";
    }

    std::vector<std::string> FilesInStore() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(store_.Directory())) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    const TemporaryDirectory directory_;
    const PolicyStore store_;
};
