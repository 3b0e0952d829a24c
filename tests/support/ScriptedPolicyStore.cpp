#include "ScriptedPolicyStore.h"

#include <cstdlib>
#include <optional>

#include "ZnXml.h"

namespace {

struct Scribble {
    std::string text;
    int number;
};

std::map<int, ScriptedPolicyStore::Items> g_policies;
std::vector<std::string> g_calls;
std::optional<Scribble> g_scribble;
int g_liveAccessors = 0;

}  // namespace

void ScriptedPolicyStore::Publish(int id, const Items& items) {
    g_policies[id] = items;
}

void ScriptedPolicyStore::ScribbleOnFailure(const std::string& text, int number) {
    g_scribble = Scribble{text, number};
}

std::vector<std::string> ScriptedPolicyStore::Calls() {
    return g_calls;
}

int ScriptedPolicyStore::LiveAccessors() {
    return g_liveAccessors;
}

void ScriptedPolicyStore::Reset() {
    g_policies.clear();
    g_calls.clear();
    g_scribble.reset();
}

struct ZnXml::Impl {
    const ScriptedPolicyStore::Items* items = nullptr;

    const std::string* Find(const char* key) const {
        if (items == nullptr) {
            return nullptr;
        }
        const auto found = items->find(key);
        return found == items->end() ? nullptr : &found->second;
    }
};

ZnXml::ZnXml() : impl_(std::make_unique<Impl>()) {
    ++g_liveAccessors;
}

ZnXml::~ZnXml() {
    --g_liveAccessors;
}

bool ZnXml::LoadPolicyShareMemory(int id) {
    g_calls.push_back("load " + std::to_string(id));
    const auto found = g_policies.find(id);
    impl_->items = found == g_policies.end() ? nullptr : &found->second;
    return impl_->items != nullptr;
}

bool ZnXml::GetXmlContent(const char* key, std::string& value) {
    g_calls.push_back(std::string("text ") + key);
    const std::string* text = impl_->Find(key);
    if (text != nullptr) {
        value = *text;
    } else if (g_scribble) {
        value = g_scribble->text;
    }
    return text != nullptr;
}

bool ZnXml::GetXmlContent(const char* key, int& value) {
    g_calls.push_back(std::string("int ") + key);
    const std::string* text = impl_->Find(key);
    if (text != nullptr && !text->empty()) {
        char* end = nullptr;
        const long number = std::strtol(text->c_str(), &end, 10);
        if (*end == '\0') {
            value = static_cast<int>(number);
            return true;
        }
    }
    if (g_scribble) {
        value = g_scribble->number;
    }
    return false;
}
