#include "qelm/host/errors.h"

#include "zantor_obvelline_qx4_rk/error_codes.h"

namespace qelm::host {
namespace {

struct ErrorRow {
    std::string_view name;
    std::int32_t code;
    std::string_view sentence;
};

constexpr ErrorRow errorRows[] = {
#define FG_ERROR(name, code, sentence) {#name, code, sentence},
#include "zantor_obvelline_qx4_rk/error_codes.inc"
};

const ErrorRow* findError(std::int32_t code) {
    for (const ErrorRow& row : errorRows) {
        if (row.code == code)
            return &row;
    }
    return nullptr;
}

} // namespace

std::string_view errorName(std::int32_t code) {
    const ErrorRow* row = findError(code);
    return row != nullptr ? row->name : std::string_view{};
}

std::string errorMeaning(std::int32_t code) {
    const std::string number = std::to_string(code);
    const ErrorRow* row = findError(code);
    if (row == nullptr)
        return "an error of the acquisition runtime or the register library (" + number + ")";
    return std::string(row->sentence) + " (" + number + ", " + std::string(row->name) + ")";
}

AppletError::AppletError(std::int32_t code, const std::string& attempt, const std::string& advice)
    : std::runtime_error(attempt + ": " + errorMeaning(code) + "." + (advice.empty() ? "" : " " + advice))
    , code_(code) {}

AppletError::AppletError(std::int32_t code, const std::string& attempt, const Reason& reason)
    : std::runtime_error(attempt + ": " + reason.sentence + " (" + std::to_string(code) +
                         (errorName(code).empty() ? "" : ", " + std::string(errorName(code))) + ").")
    , code_(code) {}

} // namespace qelm::host
