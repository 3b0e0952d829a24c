// A private mount namespace in which tests write the library's fixed paths. Linux only.
#pragma once

// Moves the process into a private mount namespace with an empty tmpfs on /usr/local. Call it once,
// before any thread starts. Needs root or user namespaces; on failure it prints one line that says
// what to do and exits with 1.
void EnterPrivateMounts();

// Mounts another empty tmpfs on /usr/local, so that a test starts without the files of earlier
// ones. Exits with 1 when EnterPrivateMounts has not been called.
void EmptyPrivateMounts();
