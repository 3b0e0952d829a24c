#include "ScriptedServices.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>

#include "ZnCrypto.h"
#include "ZnIni.h"
#include "ZnSysInfo.h"

static std::string ToyDigest(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return "";
    }
    const std::string contents{std::istreambuf_iterator<char>(in),
                               std::istreambuf_iterator<char>()};
    uint64_t hash = 14695981039346656037U;
    for (const char c : contents) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }
    const std::string number = std::to_string(hash);
    return std::string(64 - number.size(), '0') + number;
}

ScriptedServices& ScriptedServices::Get() {
    static ScriptedServices services;
    return services;
}

void ScriptedServices::Reset() {
    ScriptedServices& services = Get();
    services = ScriptedServices();
    services.beforeIniCall = [](const std::string&) {};
    services.fileSha256 = ToyDigest;
    services.decodeBase64 = [](const std::string&, unsigned char*, int) { return 0; };
    services.shell = [](const std::string&) { return 0; };
}

static const std::string* FindIniValue(const char* section, const char* key, const char* file) {
    const auto& files = ScriptedServices::Get().iniFiles;
    const auto foundFile = files.find(file);
    if (foundFile == files.end()) {
        return nullptr;
    }
    const auto foundSection = foundFile->second.find(section);
    if (foundSection == foundFile->second.end()) {
        return nullptr;
    }
    const auto foundKey = foundSection->second.find(key);
    return foundKey == foundSection->second.end() ? nullptr : &foundKey->second;
}

static void NoteIniCall(const std::string& call) {
    ScriptedServices::Get().iniCalls.push_back(call);
    ScriptedServices::Get().beforeIniCall(call);
}

int IniGetString(const char* section, const char* key, const char* defaultValue, char* buffer,
                 int bufferSize, const char* file) {
    NoteIniCall(std::string("string ") + section + "/" + key + " " + file);
    const std::string* value = FindIniValue(section, key, file);
    const std::string text = value != nullptr ? *value : defaultValue;
    const size_t length = text.copy(buffer, static_cast<size_t>(bufferSize) - 1);
    buffer[length] = '\0';
    return value != nullptr ? 0 : -1;
}

int IniGetInt(const char* section, const char* key, int defaultValue, const char* file) {
    NoteIniCall(std::string("int ") + section + "/" + key + " " + file);
    const std::string* value = FindIniValue(section, key, file);
    return value != nullptr ? static_cast<int>(std::strtol(value->c_str(), nullptr, 10))
                            : defaultValue;
}

int IniGetStringItems(const char* section, std::set<std::string>& keys, const char* file) {
    NoteIniCall(std::string("items ") + section + " " + file);
    keys.clear();
    const auto& files = ScriptedServices::Get().iniFiles;
    const auto foundFile = files.find(file);
    if (foundFile == files.end()) {
        return -1;
    }
    const auto foundSection = foundFile->second.find(section);
    if (foundSection == foundFile->second.end()) {
        return -1;
    }
    for (const auto& [key, value] : foundSection->second) {
        keys.insert(key);
    }
    return 0;
}

int ZnBase64::Decode(const std::string& text, unsigned char* out, int outSize) {
    return ScriptedServices::Get().decodeBase64(text, out, outSize);
}

std::string ZnSha256::FileSha256Value(std::string path) {
    ScriptedServices::Get().digestCalls.push_back(path);
    return ScriptedServices::Get().fileSha256(path);
}

std::string ZnSysInfo::GetCurrentProcessDirectory() {
    return ScriptedServices::Get().processDirectory;
}

extern "C" int system(const char* command) {
    ScriptedServices::Get().shellCommands.emplace_back(command);
    return ScriptedServices::Get().shell(command);
}
