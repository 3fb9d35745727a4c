#include "platform/whole_file.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace qelm::platform {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

} // namespace

ReadOutcome readWholeFile(const std::string& path, std::size_t limit, std::string& content) {
    const File file(std::fopen(path.c_str(), "rb"));
    if (file == nullptr) {
        return ReadOutcome::cannotOpen;
    }
    content.clear();
    // The size is not asked for beforehand: pipes and devices have none.
    for (std::size_t piece = std::size_t{64} << 10;; piece *= 2) {
        const std::size_t start = content.size();
        content.resize(start + std::min(piece, limit + 1 - start));
        content.resize(start + std::fread(content.data() + start, 1, content.size() - start, file.get()));
        if (std::ferror(file.get()) != 0 || content.size() > limit) {
            return ReadOutcome::cannotRead;
        }
        if (std::feof(file.get()) != 0) {
            return ReadOutcome::done;
        }
    }
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
