// The side of a connection.
#pragma once

// Which side an installation is for. Passed by value; an operation that selects by side selects
// nothing for any other value.
enum ZnSide : int {
    SERVER_SIDE = 0,  // packages with "_Server" in their path
    CLIENT_SIDE = 1,  // packages with "_Client" in their path
};
