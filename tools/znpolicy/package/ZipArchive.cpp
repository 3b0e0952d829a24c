#include "ZipArchive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <zip.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "Digest.h"
#include "FileDescriptor.h"
#include "Interrupt.h"
#include "PackageError.h"

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& what) {
    throw PackageError(path + ": " + what);
}

std::string ErrorText(int code) {
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

// The Unix mode of an entry, or 0 when the archive does not have it.
mode_t UnixMode(zip* archive, zip_uint64_t index) {
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0 ||
        system != ZIP_OPSYS_UNIX) {
        return 0;
    }
    return static_cast<mode_t>(attributes >> 16U);
}

// Where unzip creates an entry: it drops components that would lead out of the directory.
std::string UnpackedPath(const std::string& name) {
    std::filesystem::path path;
    for (const auto& component : std::filesystem::path(name).relative_path()) {
        if (component != "." && component != ".." && !component.empty()) {
            path /= component;
        }
    }
    return path.string();
}

// Why unzip, which is never asked for a password, cannot unpack an entry, or "".
std::string ProblemOf(const zip_stat_t& status) {
    constexpr zip_uint16_t kMethods[] = {ZIP_CM_STORE,   ZIP_CM_SHRINK,    ZIP_CM_IMPLODE,
                                         ZIP_CM_DEFLATE, ZIP_CM_DEFLATE64, ZIP_CM_BZIP2};
    if (status.encryption_method != ZIP_EM_NONE) {
        return "is encrypted";
    }
    return std::find(std::begin(kMethods), std::end(kMethods), status.comp_method) !=
                   std::end(kMethods)
               ? ""
               : "uses compression method " + std::to_string(status.comp_method) +
                     ", which unzip does not have";
}

ZipEntry ReadEntry(zip* archive, zip_uint64_t index, const std::string& path) {
    zip_stat_t status;
    if (zip_stat_index(archive, index, ZIP_FL_ENC_RAW, &status) != 0) {
        Fail(path, zip_strerror(archive));
    }
    ZipEntry entry;
    entry.name = status.name;
    entry.path = UnpackedPath(entry.name);
    entry.size = status.size;
    entry.isDirectory = !entry.name.empty() && entry.name.back() == '/';
    entry.isLink = S_ISLNK(UnixMode(archive, index));
    entry.problem = ProblemOf(status);
    return entry;
}

}  // namespace

static zip* OpenZip(const std::string& path, int flags) {
    int code = 0;
    zip* archive = zip_open(path.c_str(), flags, &code);
    if (archive == nullptr) {
        Fail(path, ErrorText(code));
    }
    return archive;
}

ZipArchive::ZipArchive(const std::string& path)
    : path_(path), zip_(OpenZip(path, ZIP_RDONLY), zip_discard) {
    const zip_int64_t count = zip_get_num_entries(zip_.get(), 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        entries_.push_back(ReadEntry(zip_.get(), static_cast<zip_uint64_t>(i), path));
        byPath_[entries_.back().path] = static_cast<size_t>(i);
    }
}

const ZipEntry* ZipArchive::Find(const std::string& path) const {
    const auto found = byPath_.find(std::filesystem::path(path).lexically_normal().string());
    return found != byPath_.end() ? &entries_[found->second] : nullptr;
}

void ZipArchive::Read(const ZipEntry& entry,
                      const std::function<void(const char* data, size_t size)>& take) const {
    const auto index = static_cast<zip_uint64_t>(&entry - entries_.data());
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(
        zip_fopen_index(zip_.get(), index, 0), zip_fclose);
    if (file == nullptr) {
        Fail(path_, entry.name + ": " + zip_strerror(zip_.get()));
    }
    std::array<char, 65536> buffer;
    uint64_t total = 0;
    zip_int64_t count = 0;
    while ((count = zip_fread(file.get(), buffer.data(), buffer.size())) > 0) {
        ThrowIfInterrupted();
        total += static_cast<uint64_t>(count);
        if (total > entry.size) {
            Fail(path_, entry.name + ": larger than the " + std::to_string(entry.size) +
                            " bytes that the zip declares");
        }
        take(buffer.data(), static_cast<size_t>(count));
    }
    if (count < 0) {
        Fail(path_, entry.name + ": " + zip_file_strerror(file.get()));
    }
}

FileFacts ZipArchive::Look(const ZipEntry& entry) const {
    FileFacts facts;
    Digest digest;
    Read(entry, [&](const char* data, size_t size) {
        facts.size += size;
        digest.Add(data, size);
    });
    facts.digest = digest.Finish();
    return facts;
}

void ZipArchive::Extract(const ZipEntry& entry, const std::string& path) const {
    const auto require = [&](bool succeeded) {
        if (!succeeded) {
            throw std::runtime_error(path + ": " + std::strerror(errno));
        }
    };
    FileDescriptor out = FileDescriptor::Open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    require(out.IsOpen());
    Read(entry, [&](const char* data, size_t size) {
        const auto length = static_cast<long long>(size);
        require(out.Write(data, length) == length);
    });
    require(out.Close());
}

std::string ZipArchive::LinkTarget(const ZipEntry& entry) const {
    constexpr uint64_t kLongest = 4096;
    std::string target;
    if (entry.size <= kLongest) {
        Read(entry, [&](const char* data, size_t size) { target.append(data, size); });
    }
    return target;
}

void WriteZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& files) {
    zip* archive = OpenZip(path, ZIP_CREATE | ZIP_TRUNCATE);
    for (const auto& [name, file] : files) {
        zip_source_t* source = zip_source_file(archive, file.c_str(), 0, -1);
        const zip_int64_t index =
            source == nullptr ? -1 : zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_GUESS);
        struct stat status = {};
        if (index < 0 || stat(file.c_str(), &status) != 0) {
            const std::string what = file + ": " + zip_strerror(archive);
            if (index < 0) {
                zip_source_free(source);
            }
            zip_discard(archive);
            Fail(path, what);
        }
        zip_file_set_external_attributes(archive, static_cast<zip_uint64_t>(index), 0,
                                         ZIP_OPSYS_UNIX,
                                         static_cast<zip_uint32_t>(status.st_mode) << 16U);
    }
    if (zip_close(archive) != 0) {
        const std::string what = zip_strerror(archive);
        zip_discard(archive);
        Fail(path, what);
    }
}
