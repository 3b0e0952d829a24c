// A view of the file system of a test program's own, in which the library's fixed paths may be
// written. Linux only.
#pragma once

// Moves the process into a mount namespace of its own and puts an empty tmpfs on /usr/local there:
// what the process and its children do below /usr/local is seen by nobody else and is gone with
// them. To be called once, before any thread starts. Needs root or user namespaces; when it cannot
// be done, prints one line that says what to do, and ends the process with status 1.
void EnterPrivateMounts();

// Puts another empty tmpfs on /usr/local, so that a test begins with none of what the tests before
// it left there. Ends the process with status 1 when EnterPrivateMounts has not been called.
void EmptyPrivateMounts();
