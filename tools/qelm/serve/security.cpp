#include "serve/security.h"

#include <algorithm>
#include <random>

namespace qelm::server {
namespace {

Response refused(unsigned status, const std::string& sentence) {
    return {.status = status, .contentType = "text/plain; charset=utf-8", .body = sentence + "\n"};
}

bool sameText(std::string_view left, std::string_view right) {
    return !HeaderLess()(left, right) && !HeaderLess()(right, left);
}

/** "localhost:8080" and "[::1]:8080" without the port. */
std::string_view hostName(std::string_view host) {
    const std::size_t bracket = host.find(']');
    const std::size_t colon = host.find(':', bracket == std::string_view::npos ? 0 : bracket);
    return host.substr(0, colon);
}

bool isAllowedHost(std::string_view host, const SecurityOptions& options) {
    const std::string_view name = hostName(host);
    const auto isName = [name](std::string_view allowed) { return sameText(name, allowed); };
    return isName("127.0.0.1") || isName("localhost") || isName("[::1]") ||
           std::ranges::any_of(options.allowedHosts, isName);
}

/** Takes as long whatever is equal. */
bool equalsSecret(std::string_view text, std::string_view secret) {
    unsigned difference = text.size() == secret.size() ? 0 : 1;
    for (std::size_t i = 0; i < secret.size(); ++i) {
        difference |= static_cast<unsigned>(static_cast<unsigned char>(secret[i]) ^
                                            static_cast<unsigned char>(i < text.size() ? text[i] : 0));
    }
    return difference == 0;
}

} // namespace

std::string newToken() {
    constexpr char digits[] = "0123456789abcdef";
    std::random_device random; // the operating system's
    std::string token;
    for (int word = 0; word < 4; ++word) {
        for (unsigned bits = random(), i = 0; i < 8; ++i, bits >>= 4U) {
            token += digits[bits & 15U];
        }
    }
    return token;
}

std::optional<Response> refusal(const Request& request, const SecurityOptions& options) {
    const std::string& host = request.header("Host");
    if (!isAllowedHost(host, options)) {
        return refused(403, "This server does not answer to the name \"" + host + "\"; --allow-host adds one.");
    }
    const std::string& origin = request.header("Origin");
    if (!origin.empty() && !sameText(origin, "http://" + host)) {
        return refused(403, "Requests from pages of other servers are refused.");
    }
    // The page itself holds no secret and acts for nobody: a link from elsewhere, as the file of --open has, may lead
    // to it.
    const bool isVisit =
        request.method == "GET" && request.path == "/" && request.header("Sec-Fetch-Dest") == "document";
    const std::string& site = request.header("Sec-Fetch-Site");
    if (!site.empty() && site != "same-origin" && site != "none" && !isVisit) {
        return refused(403, "Requests from pages of other servers are refused.");
    }
    if (request.path.starts_with("/api/")) {
        constexpr std::string_view scheme = "Bearer ";
        const std::string& authorization = request.header("Authorization");
        const bool isBearer = sameText(std::string_view(authorization).substr(0, scheme.size()), scheme);
        if (!isBearer || !equalsSecret(std::string_view(authorization).substr(scheme.size()), options.token)) {
            Response response =
                refused(401, "The token is missing or wrong: open the address that qelm serve printed.");
            response.headers["WWW-Authenticate"] = "Bearer";
            return response;
        }
    }
    return std::nullopt;
}

void addSecurityHeaders(Headers& headers) {
    headers["Content-Security-Policy"] =
        "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; base-uri 'none'; "
        "form-action 'none'; frame-ancestors 'none'";
    headers["X-Content-Type-Options"] = "nosniff";
    headers["Referrer-Policy"] = "no-referrer";
    headers["Cross-Origin-Resource-Policy"] = "same-origin";
    headers["Cross-Origin-Opener-Policy"] = "same-origin";
    headers["Cache-Control"] = "no-store";
}

bool isJson(std::string_view contentType) {
    const std::size_t end = contentType.find(';');
    std::string_view type = contentType.substr(0, end);
    while (type.ends_with(' ')) {
        type.remove_suffix(1);
    }
    return sameText(type, "application/json");
}

} // namespace qelm::server
