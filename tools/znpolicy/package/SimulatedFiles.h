// The destinations of an installation as they will be while it goes on.
#pragma once

#include <map>
#include <set>
#include <string>

// Begins with what is on the disk, which is never touched; what the installer would do is noted.
class SimulatedFiles {
   public:
    struct Target {
        bool exists;
        std::string digest;  // SHA-256, "" when there is no readable file
        bool hasBackup;
    };

    // What the installer finds at a destination; assign to it what it leaves there.
    Target& At(const std::string& destination);

    // The installer makes a destination directory that is missing: the last level only.
    void MakeDirectory(const std::string& directory);

    // Why nothing can be made or deleted beside `destination`; "" when it can.
    std::string FolderProblem(const std::string& destination) const;

   private:
    std::string DirectoryProblem(const std::string& directory) const;

    std::map<std::string, Target> targets_;
    std::set<std::string> made_;
};
