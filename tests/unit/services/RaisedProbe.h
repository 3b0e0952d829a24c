// Runs the environment probe as a program with raised privileges.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"

// What the probe says when it lies in `directory` and belongs to another group, whose rights it
// gets; `setEnvironment` runs before it. Nothing where this system does not let the test give a
// file to another group, or gives set-group-ID programs no privileges.
inline std::optional<ProcessResult> RunRaisedProbe(const TemporaryDirectory& directory,
                                                   const std::function<void()>& setEnvironment) {
    const std::string probe = directory / "probe";
    std::filesystem::copy(ENVIRONMENT_PROBE, probe);
    const gid_t otherGroup = 65534;
    if (chown(probe.c_str(), geteuid(), otherGroup) != 0 || chmod(probe.c_str(), 02755) != 0) {
        return std::nullopt;
    }
    const ProcessResult outcome = RunInChild([&] {
        setEnvironment();
        execl(probe.c_str(), "probe", nullptr);
    });
    if (outcome.out.rfind("raised\n", 0) != 0) {
        return std::nullopt;
    }
    return outcome;
}
