// INI files of the framework (libZnIni).
// The functions keep no handle, never throw, log nothing, and are safe from any thread. A file that
// changed since the last call is seen by the next one; a file that did not is not parsed again, nor
// even read once its last change is a moment old, so reading a large file key by key is cheap. A
// null section, key or file is a missing one.
//
// The file is made of lines, ended by LF, CRLF or CR:
//   [section]     begins a section. A section that occurs twice is one section with the keys of
//                 both. Keys before the first section belong to the section "".
//   key = value   gives a key its value. Of a key given twice in a section, the last value counts.
//   ; or #        at the beginning of a line makes it a comment. Within a value they are ordinary
//                 characters, and so are quotes and backslashes.
// Blanks around section names, keys and values do not belong to them; inside they do. Names are
// case-sensitive. Other lines, and those with an empty key, are skipped; after a "[" without its
// "]", the keys up to the next section are lost. All text is bytes: a UTF-8 byte order mark at the
// beginning is skipped, and no encoding is checked. A file with a NUL byte in it, a file larger
// than 16 MiB, and anything but a regular file cannot be read.
#pragma once

#include <set>
#include <string>

#include "ZnExport.h"

// Copies the value of `key` in `[section]` of `file` into `buffer`.
//   bufferSize  bytes that may be written, the terminator included. A longer value is cut to
//               bufferSize - 1 bytes; the text always ends with a NUL.
// Returns 0 when the key was found (its value may be empty or cut). Returns non-zero when the file
// cannot be read or the section or key is missing; `buffer` then holds `defaultValue` (null counts
// as ""), cut in the same way. Returns non-zero and writes nothing for a null `buffer` or a
// `bufferSize` below 1.
ZN_API int IniGetString(const char* section, const char* key, const char* defaultValue,
                        char* buffer, int bufferSize, const char* file);

// Returns the value of `key` in `[section]` of `file` as a number, or `defaultValue` when it cannot
// be read: the file, section or key is missing, or the whole value is not a decimal number with an
// optional sign that fits into 32 bits.
ZN_API int IniGetInt(const char* section, const char* key, int defaultValue, const char* file);

// Fills `keys` with the names of all keys of `[section]` in `file`, replacing what it held.
// Returns 0 when the section exists (a section without keys gives an empty set). Returns non-zero
// when the file cannot be read or the section is missing; `keys` is then empty.
ZN_API int IniGetStringItems(const char* section, std::set<std::string>& keys, const char* file);
