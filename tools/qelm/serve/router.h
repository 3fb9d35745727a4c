#pragma once

#include "output.h"
#include "serve/http_server.h"

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

/** Which function answers which request. */
namespace qelm::server {

class ServedBoard;
using Json = tool::Json;

/** A request that cannot be met; the text is a whole sentence. */
class ApiError : public std::runtime_error {
  public:
    ApiError(unsigned status, const std::string& sentence, Json details = Json::object())
        : std::runtime_error(sentence)
        , status_(status)
        , details_(std::move(details)) {}
    unsigned status() const { return status_; }
    /** What is known besides: code, name, parameter, allowed, value. */
    const Json& details() const { return details_; }

  private:
    unsigned status_;
    Json details_;
};

enum class BodyKind : std::uint8_t {
    none,
    json, ///< an object; other content types are refused
    file, ///< any bytes
};

/** A request with what the router has read of it. */
struct Call {
    const Request& request;
    std::string name; ///< what stands for the '*' of the route
    Json json{};      ///< the body of BodyKind::json

    /** A number of the query. @throws ApiError unless it is a whole one from `minimum` to `maximum` */
    std::int64_t number(const char* key, std::int64_t minimum, std::int64_t maximum) const;
    /** A text of the query, or `otherwise`. */
    std::string text(const char* key, const std::string& otherwise) const;

    /* Fields of the body; ApiError when one is missing, of another type or out of its limits. */

    bool has(const char* key) const { return json.contains(key); }
    std::int64_t integer(const char* key, std::int64_t minimum, std::int64_t maximum) const;
    std::int64_t integer(const char* key, std::int64_t minimum, std::int64_t maximum, std::int64_t otherwise) const;
    double real(const char* key) const;
    bool flag(const char* key) const;
    std::string string(const char* key) const;
};

struct Route {
    std::string_view method;
    std::string_view path; ///< a '*' at the end stands for a name
    BodyKind body;
    Answer (*answer)(ServedBoard& served, const Call& call);
    std::uint64_t bodyLimit = 1U << 20U; ///< bytes

    /** The most bytes that its body may have. */
    std::uint64_t limit() const { return body == BodyKind::none ? 0 : bodyLimit; }
};

/** All that stands under /api/. */
std::span<const Route> routes();

/** The route of a request. @throws ApiError 404 for an unknown path, 405 for another method, 415 for another body */
const Route& findRoute(const Request& head);
/** Calls the route and puts what it throws into an answer. */
Answer answer(ServedBoard& served, const Request& request);

Response jsonResponse(const Json& json, unsigned status = 200);
Response errorResponse(const ApiError& error);

} // namespace qelm::server
