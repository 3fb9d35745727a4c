#pragma once

#include "serve/http_server.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/** Who may drive the board: whoever has the token, from a page of this server or a program of the user's. */
namespace qelm::server {

struct SecurityOptions {
    std::string token;                       ///< 128 bits in hexadecimal
    std::vector<std::string> allowedHosts{}; ///< names beside those of the loopback addresses
};

/** @return a token that nobody can guess */
std::string newToken();

/**
 * Looks at the head of a request: the name that the server was called by, where the request comes from, and for what
 * stands under /api/ the token. @return the refusal (403 or 401), or nothing
 */
std::optional<Response> refusal(const Request& request, const SecurityOptions& options);

/** The headers of every answer: nothing is loaded from elsewhere, framed, guessed or kept. */
void addSecurityHeaders(Headers& headers);

/** @return whether a content type is JSON in UTF-8: "application/json", with or without a charset */
bool isJson(std::string_view contentType);

} // namespace qelm::server
