// INI files of the framework (libZnIni). Section and key names are case-sensitive.
// The functions keep no handle, never throw, log nothing, and are safe from any thread. A file that
// changed since the last call is seen by the next one.
#pragma once

#include <set>
#include <string>

#include "ZnExport.h"

// Copies the value of `key` in `[section]` of `file` into `buffer`.
//   bufferSize  bytes that may be written, the terminator included; 1 or more. A longer value is
//   cut
//               to bufferSize - 1 bytes; the text always ends with a NUL.
// Returns 0 when the key was found (its value may be empty or cut). Returns non-zero when the file,
// the section or the key is missing; `buffer` then holds `defaultValue` (null counts as ""), cut in
// the same way.
ZN_API int IniGetString(const char* section, const char* key, const char* defaultValue,
                        char* buffer, int bufferSize, const char* file);

// Returns the value of `key` in `[section]` of `file` as a decimal 32-bit signed integer, or
// `defaultValue` when it cannot be read (file, section or key missing, or not such a number).
ZN_API int IniGetInt(const char* section, const char* key, int defaultValue, const char* file);

// Fills `keys` with the names of all keys of `[section]` in `file`, replacing what it held.
// Returns 0 when the section exists (a section without keys gives an empty set). Returns non-zero
// when the file or the section is missing; `keys` is then empty.
ZN_API int IniGetStringItems(const char* section, std::set<std::string>& keys, const char* file);
