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

bool writeWholeFile(const std::string& path, std::string_view content) {
    File file(std::fopen(path.c_str(), "wb"));
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
    return std::fclose(file.release()) == 0 && written;
}

} // namespace qelm::platform
