// The error of a package that cannot be used, as opposed to one of the machine.
#pragma once

#include <stdexcept>

class PackageError : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
};
