#include "qelm/host/library.h"

#include "qelm/host/system.h"

#include <utility>

namespace qelm::host {

Library::Library(const std::filesystem::path& file) : file_(std::filesystem::absolute(file)) {
    if (!std::filesystem::is_regular_file(file_))
        throw LoadError("there is no library " + file_.string());
    std::string error;
    handle_ = detail::openLibrary(file_, error);
    if (handle_ == nullptr)
        throw LoadError("the library " + file_.string() + " could not be loaded: " + error);
}

std::optional<Library> Library::alreadyLoaded(const std::string& baseName) {
    void* handle = detail::openLoadedLibrary(libraryFileName(baseName));
    if (handle == nullptr)
        return std::nullopt;
    Library library(handle);
    library.file_ = libraryFileName(baseName);
    return library;
}

Library::~Library() {
    if (handle_ != nullptr)
        detail::closeLibrary(handle_);
}

Library::Library(Library&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr))
    , file_(std::move(other.file_)) {}

void* Library::find(const char* symbol) const {
    return detail::findSymbol(handle_, symbol);
}

void* Library::require(const char* symbol) const {
    void* address = find(symbol);
    if (address == nullptr)
        throw LoadError("the library " + file_.string() + " has no function " + symbol);
    return address;
}

} // namespace qelm::host
