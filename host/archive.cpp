#include "host/archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "host/archive_names.h"
#include "host/bundle.h"
#include "host/zip_library.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kModuleFile = "MAIN.MX";
constexpr std::string_view kArchiveStart("PK\3\4", 4);

constexpr size_t kLongestQuote = 200;
constexpr const char* kNoLibrary = "libzip, which opens archives, is not installed";

// Loaded by whoever calls from outside.
constinit const ZipLibrary* zip = nullptr;

using Archive = std::unique_ptr<zip_t, void (*)(zip_t*)>;
using Entry = std::unique_ptr<zip_file_t, int (*)(zip_file_t*)>;

std::string ErrorText(int code) {
    zip_error_t error;
    zip->error_init_with_code(&error, code);
    std::string text = zip->error_strerror(&error);
    zip->error_fini(&error);
    return text;
}

// --- What is in an archive

struct PackedFile {
    zip_uint64_t index = 0;
    std::string name;  // without the "/" at the end of a folder's
    bool isFolder = false;
    u64 size = 0;
};

// The kinds of files that archives of Unix systems know stand in the upper half of the attributes.
std::string WhyNoKind(zip_t* archive, zip_uint64_t index, bool isFolder) {
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip->file_get_external_attributes(archive, index, 0, &system, &attributes) != 0) {
        return "its attributes cannot be read";
    }
    const mode_t kind = attributes >> 16 & S_IFMT;
    if (kind == S_IFLNK) {
        return "a link";
    }
    const bool fits = kind == 0 || kind == (isFolder ? S_IFDIR : S_IFREG);
    return fits ? "" : "neither a file nor a folder";
}

std::string WhyNotReadable(const zip_stat_t& about) {
    constexpr zip_uint64_t kNeeded = ZIP_STAT_SIZE | ZIP_STAT_COMP_METHOD;
    if ((about.valid & kNeeded) != kNeeded) {
        return "its size is not known";
    }
    if ((about.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && about.encryption_method != ZIP_EM_NONE) {
        return "encrypted";
    }
    if (zip->compression_method_supported(about.comp_method, 0) == 0) {
        return "compressed in an unknown way";
    }
    return "";
}

// Reads what an entry says of itself, and returns "" or why it is refused.
std::string ReadEntry(zip_t* archive, zip_uint64_t index, const ArchiveLimits& limits,
                      PackedFile& file) {
    zip_stat_t about;
    if (zip->stat_index(archive, index, 0, &about) != 0 || (about.valid & ZIP_STAT_NAME) == 0) {
        return "entry " + std::to_string(index + 1) + ": " + zip->strerror(archive);
    }
    file.index = index;
    file.name = about.name;
    file.isFolder = !file.name.empty() && file.name.back() == '/';
    if (file.isFolder) {
        file.name.pop_back();
    }
    std::string problem = WhyNoName(file.name, limits.nameBytes);
    if (problem.empty()) {
        problem = WhyNoKind(archive, index, file.isFolder);
    }
    if (problem.empty() && !file.isFolder) {
        problem = WhyNotReadable(about);
    }
    file.size = file.isFolder ? 0 : about.size;
    if (problem.empty()) {
        return "";
    }
    // A line that says what is wrong has no room for the whole of a long name.
    const std::string_view name = about.name;
    return std::string(name.substr(0, kLongestQuote)) + (name.size() > kLongestQuote ? "..." : "") +
           ": " + problem;
}

std::string WhyTooLarge(u64 bytes, u64 archiveBytes, const ArchiveLimits& limits) {
    if (bytes > limits.bytes) {
        return "unpacked it is larger than " + std::to_string(limits.bytes >> 20) + " MiB";
    }
    if (bytes > limits.smallBytes && bytes / limits.ratio > archiveBytes) {
        return "unpacked it is more than " + std::to_string(limits.ratio) + " times as large";
    }
    return "";
}

// All names, before anything is written.
std::string ReadEntries(zip_t* archive, u64 archiveBytes, const ArchiveLimits& limits,
                        std::vector<PackedFile>& files) {
    const zip_int64_t count = zip->get_num_entries(archive, 0);
    if (count < 0 || static_cast<u64>(count) > limits.entries) {
        return "it has more than " + std::to_string(limits.entries) + " entries";
    }
    ArchiveNames names;
    u64 bytes = 0;
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        PackedFile file;
        if (std::string problem = ReadEntry(archive, index, limits, file); !problem.empty()) {
            return problem;
        }
        if (std::string problem = names.Take(file.name, file.isFolder); !problem.empty()) {
            return file.name + ": " + problem;
        }
        // Added one by one, each cut to just beyond the limit, so that the sum cannot overflow.
        bytes += std::min(file.size, limits.bytes + 1);
        if (std::string problem = WhyTooLarge(bytes, archiveBytes, limits); !problem.empty()) {
            return problem;
        }
        files.push_back(file);
    }
    return "";
}

// --- Unpacking

// The part of an entry that was read, into a new file. No more is written than the entry has said.
std::string CopyOut(zip_file_t* entry, int out, u64 size) {
    u8 part[65536];
    u64 written = 0;
    zip_int64_t count = 0;
    while ((count = zip->fread(entry, part, sizeof part)) > 0) {
        written += static_cast<u64>(count);
        if (written > size) {
            return "larger than it says";
        }
        const u8* at = part;
        while (count > 0) {
            const ssize_t done = write(out, at, static_cast<size_t>(count));
            if (done < 0) {
                return std::strerror(errno);
            }
            at += done;
            count -= done;
        }
    }
    if (count < 0) {
        return std::string("damaged: ") + zip->error_strerror(zip->file_get_error(entry));
    }
    return written == size ? "" : "damaged: it ends early";
}

std::string UnpackFile(zip_t* archive, const PackedFile& file, const fs::path& folder) {
    const fs::path path = folder / file.name;
    std::error_code error;
    fs::create_directories(file.isFolder ? path : path.parent_path(), error);
    if (error) {
        return error.message();
    }
    if (file.isFolder) {
        return "";
    }
    const Entry entry(zip->fopen_index(archive, file.index, 0), zip->fclose);
    if (entry == nullptr) {
        return std::string("damaged: ") + zip->strerror(archive);
    }
    const int out = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (out < 0) {
        return std::strerror(errno);
    }
    std::string problem = CopyOut(entry.get(), out, file.size);
    if (close(out) != 0 && problem.empty()) {
        problem = std::strerror(errno);
    }
    return problem;
}

// --- Writing

// Data that packing makes no smaller is kept as it is.
bool IsPackedAlready(const fs::path& path) {
    std::string extension = path.extension();
    for (char& c : extension) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    constexpr std::string_view kPacked[] = {".png", ".ogg", ".mp3", ".jpg", ".gz", ".zip"};
    return std::find(std::begin(kPacked), std::end(kPacked), extension) != std::end(kPacked);
}

// 1980-01-01, the first day that archives know.
constexpr zip_uint16_t kDosTime = 0;
constexpr zip_uint16_t kDosDate = 1 << 5 | 1;

std::string AddFile(zip_t* archive, const fs::path& path, const std::string& name) {
    zip_source_t* const source = zip->source_file(archive, path.c_str(), 0, -1);
    if (source == nullptr) {
        return name + ": " + zip->strerror(archive);
    }
    const zip_int64_t index = zip->file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip->source_free(source);
        return name + ": " + zip->strerror(archive);
    }
    const zip_uint64_t at = static_cast<zip_uint64_t>(index);
    const zip_int32_t method = IsPackedAlready(path) ? ZIP_CM_STORE : ZIP_CM_DEFLATE;
    zip->set_file_compression(archive, at, method, method == ZIP_CM_DEFLATE ? 9 : 0);
    zip->file_set_dostime(archive, at, kDosTime, kDosDate, 0);
    constexpr zip_uint32_t kPlainFile = static_cast<zip_uint32_t>(S_IFREG | 0644) << 16;
    zip->file_set_external_attributes(archive, at, 0, ZIP_OPSYS_UNIX, kPlainFile);
    return "";
}

// "" or why the new archive would be refused where it is opened.
std::string WhyNotUnpacked(const fs::path& path, u64 bytes, const ArchiveLimits& limits) {
    std::error_code error;
    const u64 archiveBytes = fs::file_size(path, error);
    if (error) {
        return error.message();
    }
    std::string problem = WhyTooLarge(bytes, archiveBytes, limits);
    if (archiveBytes > limits.archiveBytes) {
        problem = "too large for an archive of a game";
    }
    if (!problem.empty()) {
        fs::remove(path, error);
    }
    return problem;
}

// The names of all files below a folder, in order.
std::string FilesBelow(const fs::path& folder, std::vector<std::string>& names) {
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (!entry->is_regular_file(error)) {
            continue;
        }
        names.push_back(entry->path().lexically_relative(folder).string());
    }
    std::sort(names.begin(), names.end());
    return error ? folder.string() + ": " + error.message() : "";
}

}  // namespace

bool IsArchive(const std::string& name) {
    const fs::path path = name;
    std::error_code error;
    if (path.filename() == kModuleFile || !fs::is_regular_file(path, error)) {
        return false;
    }
    const std::string extension = path.extension();
    if (extension == ".mxz" || extension == ".zip") {
        return true;
    }
    char start[kArchiveStart.size()] = {};
    const int file = open(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const ssize_t count = read(file, start, sizeof start);
    close(file);
    return count == sizeof start && std::string_view(start, sizeof start) == kArchiveStart;
}

std::string UnpackArchive(int file, const std::string& folder, const ArchiveLimits& limits) {
    zip = LoadZipLibrary();
    if (zip == nullptr) {
        return kNoLibrary;
    }
    struct stat status;
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        return "no file";
    }
    const u64 archiveBytes = static_cast<u64>(status.st_size);
    if (archiveBytes > limits.archiveBytes) {
        return "too large for an archive of a game";
    }
    int code = 0;
    const int copy = dup(file);
    const Archive archive(copy >= 0 ? zip->fdopen(copy, 0, &code) : nullptr, zip->discard);
    if (archive == nullptr) {
        if (copy >= 0) {
            close(copy);
        }
        return "damaged, or no archive: " + ErrorText(code);
    }
    std::vector<PackedFile> files;
    std::string problem = ReadEntries(archive.get(), archiveBytes, limits, files);
    if (!problem.empty()) {
        return problem;
    }
    for (const PackedFile& packed : files) {
        problem = UnpackFile(archive.get(), packed, folder);
        if (!problem.empty()) {
            return packed.name + ": " + problem;
        }
    }
    return "";
}

std::string WriteArchive(const std::string& folder, const std::string& path,
                         const ArchiveLimits& limits) {
    zip = LoadZipLibrary();
    if (zip == nullptr) {
        return kNoLibrary;
    }
    std::vector<std::string> names;
    if (std::string problem = FilesBelow(folder, names); !problem.empty()) {
        return problem;
    }
    if (names.size() > limits.entries) {
        return "more than " + std::to_string(limits.entries) + " files, which no moxi would unpack";
    }
    int code = 0;
    Archive archive(zip->open(path.c_str(), ZIP_CREATE | ZIP_EXCL, &code), zip->discard);
    if (archive == nullptr) {
        return ErrorText(code);
    }
    u64 bytes = 0;
    ArchiveNames taken;
    for (const std::string& name : names) {
        std::error_code error;
        bytes += fs::file_size(fs::path(folder) / name, error);
        std::string problem = WhyNoName(name, limits.nameBytes);
        if (problem.empty()) {
            problem = taken.Take(name, false);
        }
        if (!problem.empty()) {
            return problem.insert(0, name + ": ");
        }
        problem = AddFile(archive.get(), fs::path(folder) / name, name);
        if (!problem.empty()) {
            return problem;
        }
    }
    if (bytes > limits.bytes) {
        return WhyTooLarge(bytes, 0, limits);
    }
    if (zip->close(archive.get()) != 0) {
        return zip->strerror(archive.get());
    }
    // Closing has freed it; only an archive that could not be closed has to be discarded.
    archive.release();  // NOLINT(bugprone-unused-return-value)
    return WhyNotUnpacked(path, bytes, limits);
}

std::string GameInFolder(const std::string& folder, std::string& problem) {
    if (HoldsModule(folder)) {
        return folder;
    }
    std::string found;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (!entry->is_directory(error) || !HoldsModule(entry->path())) {
            continue;
        }
        if (!found.empty()) {
            problem = "there is more than one game in it";
            return "";
        }
        found = entry->path();
    }
    if (found.empty()) {
        problem = "there is no game in it";
    }
    return found;
}

}  // namespace moxi
