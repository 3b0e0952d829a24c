// Runs the environment probe with raised privileges.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "ChildProcess.h"
#include "Platform.h"
#include "TemporaryDirectory.h"

// Runs a set-group-ID copy of the probe in `directory`, after `setEnvironment`. Returns nothing
// where this system does not allow that: the test is skipped with kNoRaisedPrivileges then.
inline std::optional<ProcessResult> RunRaisedProbe(const TemporaryDirectory& directory,
                                                   const std::function<void()>& setEnvironment) {
    const std::string probe = directory / "probe";
    std::filesystem::copy(ENVIRONMENT_PROBE, probe);
    if (chown(probe.c_str(), geteuid(), kNobody) != 0 || chmod(probe.c_str(), 02755) != 0) {
        return std::nullopt;
    }
    const ProcessResult result = RunInChild([&] {
        setEnvironment();
        execl(probe.c_str(), "probe", nullptr);
    });
    if (result.out.rfind("raised\n", 0) != 0) {
        return std::nullopt;
    }
    return result;
}

inline constexpr const char* kNoRaisedPrivileges =
    "this user cannot give a program to another group, or set-group-ID has no effect here";
