// The side of a connection.
#pragma once

// The side that an installation is for. Operations that select packages by side select none for any
// other value.
enum ZnSide : int {
    SERVER_SIDE = 0,  // packages with "_Server" in their path
    CLIENT_SIDE = 1,  // packages with "_Client" in their path
};
