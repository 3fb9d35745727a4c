#include "serve/router.h"

#include "serve/security.h"

#include "qelm/host/errors.h"
#include "qelm/host/numbers.h"
#include "qelm/host/values.h"

#include <algorithm>

namespace qelm::server {
namespace {

[[noreturn]] void refuse(const char* key, const std::string& wanted) {
    throw ApiError(400, "\"" + std::string(key) + "\" has to be " + wanted + ".");
}

std::string range(std::int64_t minimum, std::int64_t maximum) {
    return "a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum);
}

bool matches(const Route& route, std::string_view path) {
    if (!route.path.ends_with('*')) {
        return route.path == path;
    }
    const std::string_view start = route.path.substr(0, route.path.size() - 1);
    return path.size() > start.size() && path.starts_with(start) &&
           path.find('/', start.size()) == std::string_view::npos;
}

} // namespace

std::int64_t Call::number(const char* key, std::int64_t minimum, std::int64_t maximum) const {
    const auto found = request.query.find(key);
    std::int64_t value = 0;
    if (found == request.query.end() || host::parseNumber(found->second, value) != std::errc{} || value < minimum ||
        value > maximum) {
        refuse(key, range(minimum, maximum));
    }
    return value;
}

std::string Call::text(const char* key, const std::string& otherwise) const {
    const auto found = request.query.find(key);
    return found == request.query.end() ? otherwise : found->second;
}

std::int64_t Call::integer(const char* key, std::int64_t minimum, std::int64_t maximum) const {
    const auto found = json.find(key);
    // A double is looked at as one: what no integer holds is out of range as well.
    if (found == json.end() || !found->is_number() || found->get<double>() < static_cast<double>(minimum) ||
        found->get<double>() > static_cast<double>(maximum) ||
        (found->is_number_float() && found->get<double>() != static_cast<double>(found->get<std::int64_t>()))) {
        refuse(key, range(minimum, maximum));
    }
    return found->get<std::int64_t>();
}

std::int64_t Call::integer(const char* key, std::int64_t minimum, std::int64_t maximum, std::int64_t otherwise) const {
    return has(key) ? integer(key, minimum, maximum) : otherwise;
}

double Call::real(const char* key) const {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_number()) {
        refuse(key, "a number");
    }
    return found->get<double>();
}

bool Call::flag(const char* key) const {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_boolean()) {
        refuse(key, "true or false");
    }
    return found->get<bool>();
}

std::string Call::string(const char* key) const {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_string()) {
        refuse(key, "a text");
    }
    return found->get<std::string>();
}

const Route& findRoute(const Request& head) {
    const std::span<const Route> all = routes();
    std::string allowed;
    for (const Route& route : all) {
        if (!matches(route, head.path)) {
            continue;
        }
        if (route.method != head.method && !(route.method == "GET" && head.method == "HEAD")) {
            allowed += (allowed.empty() ? "" : " or ") + std::string(route.method);
            continue;
        }
        if (route.body == BodyKind::json && !isJson(head.header("Content-Type"))) {
            throw ApiError(415, "The body has to be JSON, with the header Content-Type: application/json.");
        }
        return route;
    }
    if (!allowed.empty()) {
        throw ApiError(405, head.path + " takes " + allowed + ".");
    }
    throw ApiError(404, "There is no " + head.path + ".");
}

Response jsonResponse(const Json& json, unsigned status) {
    return {.status = status, .body = json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"};
}

Response errorResponse(const ApiError& error) {
    Json json = error.details();
    json["sentence"] = error.what();
    return jsonResponse({{"error", json}}, error.status());
}

Answer answer(ServedBoard& served, const Request& request) {
    try {
        const Route& route = findRoute(request);
        Call call{request, {}};
        if (route.path.ends_with('*')) {
            call.name = request.path.substr(route.path.size() - 1);
        }
        if (route.body == BodyKind::json) {
            call.json = Json::parse(request.body, nullptr, false);
            if (!call.json.is_object()) {
                throw ApiError(400, "The body is no JSON object.");
            }
        }
        return route.answer(served, call);
    } catch (const ApiError& error) {
        return {errorResponse(error)};
    } catch (const host::AppletError& error) {
        return {errorResponse(
            ApiError(409, error.what(), {{"code", error.code()}, {"name", host::errorName(error.code())}}))};
    } catch (const std::invalid_argument& error) {
        return {errorResponse(ApiError(400, error.what()))};
    } catch (const std::exception& error) {
        return {errorResponse(ApiError(500, error.what()))};
    }
}

} // namespace qelm::server
