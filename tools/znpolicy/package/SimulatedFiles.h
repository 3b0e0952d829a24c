// The destinations of an installation as they will be while it proceeds.
#pragma once

#include <map>
#include <set>
#include <string>

// Starts from the files on disk, which are never changed, and records what the installer would do.
class SimulatedFiles {
   public:
    struct Target {
        bool exists;
        std::string digest;  // SHA-256, "" when there is no readable file
        bool hasBackup;
        std::string digestAtStart;  // before the installation
    };

    // What the installer finds at a destination. Assign what it leaves there. Throws PackageError
    // when the file there cannot be read.
    Target& At(const std::string& destination);

    // The digest of a destination before the installation.
    const std::string& AtStart(const std::string& destination) {
        return At(destination).digestAtStart;
    }

    // Records that the installer creates a destination directory if it is missing. Only the last
    // level is created.
    void MakeDirectory(const std::string& directory);

    // Why nothing can be created or deleted in the directory of `destination`, or "".
    std::string WriteProblem(const std::string& destination) const;

   private:
    std::string DirectoryProblem(const std::string& directory) const;

    std::map<std::string, Target> targets_;
    std::set<std::string> made_;
};
