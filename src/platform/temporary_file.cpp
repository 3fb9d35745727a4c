#include "platform/temporary_file.h"

#include "platform/operating_system.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace qelm::platform {
namespace {

constexpr std::string_view nameTemplate = "coef-XXXXXX.tiff";
constexpr std::size_t variablePart = 5; // where the six X begin
constexpr std::size_t variableLength = 6;
constexpr std::size_t folderLimit = 243; // folder and name fit into 260 bytes, terminator included
constexpr std::string_view digits = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
constexpr int attempts = 32767;
constexpr std::uint64_t attemptStep = 7777;

// Shared by the boards of the process, whose threads compute side by side.
std::atomic<std::uint64_t> counter{0};

/** Advances the counter. @return its value afterwards */
std::uint64_t advance(std::uint64_t step) {
    return counter.fetch_add(step, std::memory_order_relaxed) + step;
}

} // namespace

std::optional<TemporaryFile> TemporaryFile::create() {
    const std::optional<std::string> folder = temporaryDirectory();
    if (!folder || folder->size() >= folderLimit) {
        return std::nullopt;
    }
    std::string path = *folder + std::string(nameTemplate);
    std::uint64_t value = advance(millisecondTicks());
    for (int attempt = 0; attempt < attempts; ++attempt, value = advance(attemptStep)) {
        std::uint64_t rest = value;
        for (std::size_t i = 0; i < variableLength; ++i, rest /= digits.size()) {
            path[folder->size() + variablePart + i] = digits[rest % digits.size()];
        }
        if (createFileExclusively(path, FileAccess::owner)) {
            return TemporaryFile(std::move(path));
        }
    }
    return std::nullopt;
}

TemporaryFile::~TemporaryFile() {
    if (!path_.empty()) {
        std::remove(path_.c_str());
    }
}

} // namespace qelm::platform
