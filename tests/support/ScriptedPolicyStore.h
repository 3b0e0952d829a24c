// Replaces libZnXml with a policy store whose contents are set by tests.
#pragma once

#include <map>
#include <string>
#include <vector>

class ScriptedPolicyStore {
   public:
    // The items of a policy. Decimal numbers can be read as integers.
    using Items = std::map<std::string, std::string>;

    // Makes `items` the policy of `id`.
    static void Publish(int id, const Items& items);

    // Makes failing reads change their targets, as a store may: text to `text`, integers to
    // `number`.
    static void ScribbleOnFailure(const std::string& text, int number);

    // The calls since the last Reset, in order: "load 7", "text PolicyName",
    // "int AutoConnectInterval".
    static std::vector<std::string> Calls();

    // The number of existing accessors.
    static int LiveAccessors();

    // Forgets policies, calls and scribbling.
    static void Reset();
};
