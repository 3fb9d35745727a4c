#include "model/file_name.h"

#if defined(_WIN32)

#include <string>

#include <windows.h>

namespace qelm::virtual_board {
namespace {

std::filesystem::path wide(const char* name, UINT codePage) {
    const int length = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, name, -1, nullptr, 0);
    std::wstring result(length > 0 ? static_cast<std::size_t>(length) : 1, L'\0');
    MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, name, -1, result.data(), length);
    result.pop_back(); // the terminator
    return result;
}

} // namespace

std::filesystem::path fromUtf8(const char* name) {
    return wide(name, CP_UTF8);
}

std::filesystem::path fromSystem(const char* name) {
    return wide(name, CP_ACP);
}

} // namespace qelm::virtual_board

#else

namespace qelm::virtual_board {

std::filesystem::path fromUtf8(const char* name) {
    return name;
}

std::filesystem::path fromSystem(const char* name) {
    return name;
}

} // namespace qelm::virtual_board

#endif
