#include "platform/whole_file.h"

#include "platform/operating_system.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

namespace qelm::platform {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

} // namespace

bool readRest(std::FILE* stream, std::size_t limit, std::string& content) {
    content.clear();
    // The size is not asked for beforehand: pipes and devices have none.
    for (std::size_t piece = std::size_t{16} << 10; std::feof(stream) == 0; piece *= 2) {
        const std::size_t start = content.size();
        content.resize(start + std::min(piece, limit + 1 - start));
        content.resize(start + std::fread(content.data() + start, 1, content.size() - start, stream));
        if (std::ferror(stream) != 0 || content.size() > limit) {
            return false;
        }
    }
    return true;
}

ReadOutcome readWholeFile(const std::string& path, std::size_t limit, std::string& content) {
    const File file(std::fopen(path.c_str(), "rb"));
    if (file == nullptr) {
        return ReadOutcome::cannotOpen;
    }
    return readRest(file.get(), limit, content) ? ReadOutcome::done : ReadOutcome::cannotRead;
}

FileReplacement::FileReplacement(const std::string& path, const char* mode) : target_(replaceableFile(path)) {
    if (!target_) {
        stream_ = std::fopen(path.c_str(), mode);
        return;
    }
    // A name that stays of a process that was ended says what it was; the next one is free.
    constexpr int attempts = 1000;
    const std::string folder = target_->substr(0, target_->rfind(pathSeparator) + 1);
    for (int attempt = 0; attempt < attempts && stream_ == nullptr; ++attempt) {
        std::string beside = folder + "unfinished-save-" + std::to_string(attempt) + ".tmp";
        if (createFileExclusively(beside, FileAccess::others)) {
            written_ = std::move(beside);
            stream_ = std::fopen(written_.c_str(), mode);
            return;
        }
    }
}

FileReplacement::~FileReplacement() {
    close();
    if (!written_.empty()) {
        std::remove(written_.c_str());
    }
}

bool FileReplacement::close() {
    const bool good = stream_ != nullptr && std::ferror(stream_) == 0;
    return stream_ != nullptr && std::fclose(std::exchange(stream_, nullptr)) == 0 && good;
}

bool FileReplacement::finish() {
    const bool complete = close();
    if (written_.empty()) {
        return complete;
    }
    const std::string written = std::exchange(written_, {});
    if (complete && replaceFile(*target_, written)) {
        return true;
    }
    std::remove(written.c_str());
    return false;
}

bool writeWholeFile(const std::string& path, std::string_view content) {
    File file(std::fopen(path.c_str(), "wb"));
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
    return std::fclose(file.release()) == 0 && written;
}

} // namespace qelm::platform
