#pragma once

#include <span>
#include <string_view>

namespace qelm::server {

/** A file of the page. */
struct Asset {
    std::string_view path; ///< "/main.js"; "/" for the page itself
    std::string_view contentType;
    std::string_view bytes;
};

/** Every file of the page, in the program. */
std::span<const Asset> assets();

} // namespace qelm::server
