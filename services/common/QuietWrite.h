// Writing messages to descriptors that may be broken or stuck.
#pragma once

#include <cstddef>
#include <string_view>

// Writes `text` to `fd` as far as that is possible without waiting for a reader and without raising
// SIGPIPE or SIGXFSZ. Returns the number of bytes written: fewer than all after an error, with
// errno set; EAGAIN when the reader of a pipe or terminal does not keep up.
//
// The system can promise that for sockets, and on recent Linux for pipes. For terminals and FIFOs,
// and for pipes on macOS, room is checked before each write: a blocking write waits if another
// process or thread takes the room in between.
//
// Never makes `fd` non-blocking: other processes may share it.
std::size_t QuietWrite(int fd, std::string_view text);
