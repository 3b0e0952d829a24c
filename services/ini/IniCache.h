// The INI files read last, so that a file is not read and parsed anew for every key.
#pragma once

#include <memory>

#include "IniDocument.h"

// The document in the file `path`, as it is now; null when it cannot be read. Reads the file only
// when it may have changed since the last call, and parses it only when it did. The eight documents
// used last are kept. Safe from any thread.
std::shared_ptr<const IniDocument> OpenIni(const char* path);
