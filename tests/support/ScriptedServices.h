// Replaces libZnIni, libZnCrypto, libZnSysInfo and system() with services scripted by tests.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

struct ScriptedServices {
    using IniSection = std::map<std::string, std::string>;
    using IniFile = std::map<std::string, IniSection>;

    // INI files by path; others cannot be read. Whether a file exists on disk is independent.
    std::map<std::string, IniFile> iniFiles;

    // The calls of the INI reader, in order: "string os/platform PATH", "int ...", "items ...".
    std::vector<std::string> iniCalls;

    // Runs before each of these calls. A test changes iniFiles here, as another process might
    // between two reads.
    std::function<void(const std::string& call)> beforeIniCall;

    // The digest of a file. By default 64 characters that depend on the contents; "" for a file
    // that cannot be read.
    std::function<std::string(const std::string& path)> fileSha256;

    // Decodes Base64 into `out` and returns the number of bytes. By default 0.
    std::function<int(const std::string& text, unsigned char* out, int outSize)> decodeBase64;

    // The paths of requested digests, in order.
    std::vector<std::string> digestCalls;

    // The directory of the running executable.
    std::string processDirectory;

    // Replaces system(). By default does nothing and returns 0.
    std::function<int(const std::string& command)> shell;

    // The commands in order.
    std::vector<std::string> shellCommands;

    static ScriptedServices& Get();

    // Restores the defaults and forgets all calls.
    static void Reset();
};
