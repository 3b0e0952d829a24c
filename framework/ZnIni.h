// INI files of the framework (libZnIni).
// The functions never throw, log nothing, and are safe from any thread, and in a child process that
// was forked while other threads read INI files. A null section, key or file counts as missing.
//
// A file that has changed since the last call is seen by the next one. A file that has not is not
// parsed again, nor even read once its last change is a moment old, so reading a large file key by
// key is cheap. For that, the documents used last stay in memory: up to eight, which take up to
// about 64 MiB in total (the last one stays in any case; in the worst case, a file of very short
// keys, it takes some fifteen times the size of the file).
//
// A file consists of lines that end with LF, CRLF or CR:
//   [section]     begins a section. Sections of the same name are merged. Keys before the first
//                 section belong to the section "".
//   key = value   sets a key. If a key is repeated within a section, the last value counts.
//   ; or #        begins a comment at the start of a line. Within a value they are ordinary
//                 characters, as are quotes and backslashes.
// Blanks around section names, keys and values are removed. Names are case-sensitive. Other lines,
// and those with an empty key, are skipped; after a "[" without "]", all keys up to the next
// section are skipped. Text is bytes of any encoding; a UTF-8 byte order mark at the beginning is
// skipped. A file that contains a NUL byte, is larger than 16 MiB, or is not a regular file cannot
// be read.
#pragma once

#include <set>
#include <string>

#include "ZnExport.h"

// Copies the value of `key` in `[section]` of `file` into `buffer`.
//   bufferSize  size of `buffer` in bytes. A longer value is truncated to bufferSize - 1 bytes; the
//               text always ends with a NUL.
// Returns 0 when the key was found (its value may be empty or truncated). Returns non-zero when the
// file cannot be read or the section or key is missing; `buffer` then holds `defaultValue` (null
// counts as ""), truncated in the same way. Returns non-zero and writes nothing for a null `buffer`
// or a `bufferSize` below 1.
ZN_API int IniGetString(const char* section, const char* key, const char* defaultValue,
                        char* buffer, int bufferSize, const char* file);

// Returns the value of `key` in `[section]` of `file` as a number. Returns `defaultValue` when the
// file, section or key is missing, or the value is not a decimal number, with an optional sign,
// that fits into 32 bits.
ZN_API int IniGetInt(const char* section, const char* key, int defaultValue, const char* file);

// Fills `keys` with the names of all keys of `[section]` in `file`, replacing its contents.
// Returns 0 when the section exists (a section without keys gives an empty set). Returns non-zero
// when the file cannot be read or the section is missing; `keys` is then empty.
ZN_API int IniGetStringItems(const char* section, std::set<std::string>& keys, const char* file);
