#pragma once

#include <filesystem>

namespace qelm::virtual_board {

/** A file that a host names: UTF-8 on Windows, elsewhere the bytes as they are. Empty for what is no UTF-8. */
std::filesystem::path fromUtf8(const char* name);

/** A file that comes through a vendor library's char*: in the system's code page on Windows. */
std::filesystem::path fromSystem(const char* name);

} // namespace qelm::virtual_board
