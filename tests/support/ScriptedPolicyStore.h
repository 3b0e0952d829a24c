// A policy store whose contents a test writes, in place of libZnXml.
#pragma once

#include <map>
#include <string>
#include <vector>

class ScriptedPolicyStore {
   public:
    // The items of a policy as text; an item that is a decimal number can be read as one.
    using Items = std::map<std::string, std::string>;

    // Makes `items` the policy of `id`.
    static void Publish(int id, const Items& items);

    // Makes every failing read change its target, as a store is free to: text to `text`, integers
    // to `number`.
    static void ScribbleOnFailure(const std::string& text, int number);

    // What was asked of the store since the last Reset, in order: "load 7", "text PolicyName",
    // "int AutoConnectInterval".
    static std::vector<std::string> Calls();

    // Accessors that exist now.
    static int LiveAccessors();

    // No policies, no calls, no scribbling.
    static void Reset();
};
