// INI files, crypto, system information and the shell as a test scripts them, in place of libZnIni,
// libZnCrypto, libZnSysInfo and system().
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

struct ScriptedServices {
    using IniSection = std::map<std::string, std::string>;
    using IniFile = std::map<std::string, IniSection>;

    // INI files by path. A file that is not here cannot be read; whether it exists on disk is the
    // test's affair.
    std::map<std::string, IniFile> iniFiles;

    // What was asked of the INI reader, in order: "string os/platform PATH", "int ...", "items
    // ...".
    std::vector<std::string> iniCalls;

    // Runs before each of these calls is answered, with the call as above: a test changes iniFiles
    // here, as another process changes a file between two reads.
    std::function<void(const std::string& call)> beforeIniCall;

    // The digest of a file. By default 64 characters that depend on the contents; "" for a file
    // that cannot be read.
    std::function<std::string(const std::string& path)> fileSha256;

    // Base64: the decoded bytes are written to `out`, their number returned. By default 0.
    std::function<int(const std::string& text, unsigned char* out, int outSize)> decodeBase64;

    // Paths whose digest was asked for, in order.
    std::vector<std::string> digestCalls;

    // The directory of the running executable.
    std::string processDirectory;

    // Runs in place of a shell command; by default nothing happens and the status is 0.
    std::function<int(const std::string& command)> shell;

    // The commands run, in order.
    std::vector<std::string> shellCommands;

    static ScriptedServices& Get();

    // Back to the defaults, nothing kept.
    static void Reset();
};
