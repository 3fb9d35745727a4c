#include "output_file.h"

#include "console.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <random>
#include <set>
#include <utility>

namespace qelm::tool {
namespace {

namespace fs = std::filesystem;

std::string quoted(const fs::path& file) {
    return "\"" + file.string() + "\"";
}

// Never destroyed: a thread may still be asking for them while the process ends.
struct Files {
    std::mutex mutex;
    std::set<fs::path> unfinished;
    std::size_t written = 0;
    fs::path first, last;
};

Files& files() {
    static auto& all = *new Files;
    return all;
}

void addWritten(const fs::path& file) {
    const std::lock_guard lock(files().mutex);
    if (files().written++ == 0) {
        files().first = file;
    }
    files().last = file;
}

/** The name in front of the extension gets a suffix, since writers of images look at the extension. */
fs::path siblingOf(const fs::path& file) {
    static std::random_device random;
    fs::path sibling = file;
    sibling.replace_filename(fs::path(".").concat(file.stem().native()));
    sibling += "-" + std::to_string(random());
    sibling += file.extension();
    return sibling;
}

} // namespace

FileError::FileError(const fs::path& file, const char* attempt, int error)
    : FileError(file, attempt, std::error_code(error, std::generic_category())) {}

FileError::FileError(const fs::path& file, const char* attempt, const std::error_code& error)
    : std::runtime_error(quoted(file) + " cannot be " + attempt + ": " + systemMessage(error)) {}

OutputFile::OutputFile(const fs::path& target) : target_(target), destination_(target) {
    std::error_code error;
    if (fs::is_symlink(target, error)) {
        destination_ = fs::weakly_canonical(target, error);
        if (error) {
            throw FileError(target, "written", error);
        }
    }
    const fs::file_status status = fs::status(destination_, error);
    if (fs::is_directory(status)) {
        throw FileError(target, "written", EISDIR);
    }
    const bool replaces = fs::is_regular_file(status);
    if (replaces) { // a file that may not be written is not to be replaced either
        std::FILE* old = openFile(destination_, FileMode::append);
        if (old == nullptr) {
            throw FileError(target, "written", errno);
        }
        std::fclose(old);
    }
    path_ = replaces || !fs::exists(status) ? siblingOf(destination_) : destination_;
    if (isDirect()) {
        stream_ = openFile(path_, FileMode::append);
    } else {
        createUnfinished(path_, [this] { stream_ = openFile(path_, FileMode::create); });
    }
    if (stream_ == nullptr) {
        const int failure = errno;
        removeUnfinished(path_);
        throw FileError(target, "written", failure);
    }
    if (replaces) {
        fs::permissions(path_, status.permissions(), error); // as far as the system lets us
    }
}

OutputFile::~OutputFile() {
    close();
    if (!path_.empty() && !isDirect()) {
        std::error_code ignored;
        fs::remove(path_, ignored);
        removeUnfinished(path_);
    }
}

void OutputFile::close() {
    if (stream_ != nullptr) {
        errno = 0;
        if (std::fclose(std::exchange(stream_, nullptr)) != 0 && error_ == 0) {
            error_ = errno;
        }
    }
}

const fs::path& OutputFile::closedPath() {
    close();
    return path_;
}

void OutputFile::write(const void* bytes, std::size_t size) {
    errno = 0;
    if (stream_ == nullptr) {
        error_ = EBADF;
    } else if (error_ == 0 && std::fwrite(bytes, 1, size, stream_) != size) {
        error_ = errno;
    }
}

void OutputFile::check() const {
    if (error_ != 0) {
        throw FileError(target_, "written", error_);
    }
}

void OutputFile::commit() {
    close();
    check();
    if (!isDirect()) {
        std::error_code error;
        fs::rename(path_, destination_, error);
        if (error) {
            throw FileError(target_, "written", error);
        }
        removeUnfinished(path_);
    }
    path_.clear();
    addWritten(target_);
}

void writeFile(const fs::path& file, std::string_view content) {
    OutputFile output(file);
    output.write(content);
    output.commit();
}

void writeTemporaryFile(const fs::path& file, std::string_view content) {
    std::FILE* stream = openFile(file, FileMode::create);
    if (stream == nullptr) {
        throw FileError(file, "written", errno);
    }
    errno = 0;
    const bool written = std::fwrite(content.data(), 1, content.size(), stream) == content.size();
    if (std::fclose(stream) != 0 || !written) {
        throw FileError(file, "written", errno);
    }
}

std::string readFile(const fs::path& file, std::size_t limit) {
    std::error_code error;
    if (fs::is_directory(file, error)) {
        throw FileError(file, "read", EISDIR);
    }
    std::FILE* stream = openFile(file, FileMode::read);
    if (stream == nullptr) {
        throw FileError(file, "read", errno);
    }
    std::string content;
    std::string piece(std::size_t{64} << 10, '\0');
    std::size_t count = 0;
    errno = 0;
    while (content.size() <= limit && (count = std::fread(piece.data(), 1, piece.size(), stream)) > 0) {
        content.append(piece, 0, count);
    }
    const int failure = std::ferror(stream) != 0 ? errno : 0;
    std::fclose(stream);
    if (failure != 0) {
        throw FileError(file, "read", failure);
    }
    if (content.size() > limit) {
        throw std::runtime_error(quoted(file) + " is too large: more than " + std::to_string(limit >> 20) + " MiB");
    }
    return content;
}

void requireExtension(const fs::path& file, std::initializer_list<std::string_view> extensions) {
    std::string extension = file.extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (std::ranges::find(extensions, extension) != extensions.end()) {
        return;
    }
    std::string list;
    for (const std::string_view& known : extensions) {
        list += (list.empty() ? "" : &known + 1 == extensions.end() ? " or " : ", ") + std::string(known);
    }
    throw std::runtime_error(quoted(file) + " names no kind of file that is written here: it has to end in " + list);
}

std::string writtenBefore() {
    const std::lock_guard lock(files().mutex);
    switch (files().written) {
    case 0:
        return {};
    case 1:
        return "Written before: " + quoted(files().first) + ".";
    default:
        return "Written before: " + std::to_string(files().written) + " files, " + quoted(files().first) + " to " +
               quoted(files().last) + ".";
    }
}

void createUnfinished(const fs::path& path, const std::function<void()>& create) {
    const std::lock_guard lock(files().mutex);
    files().unfinished.insert(path);
    create();
}

void removeUnfinished(const fs::path& path) {
    const std::lock_guard lock(files().mutex);
    files().unfinished.erase(path);
}

void abandonUnfinished() {
    files().mutex.lock(); // for good
    for (const fs::path& path : files().unfinished) {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
}

} // namespace qelm::tool
