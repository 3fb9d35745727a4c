#pragma once

#include <cstdint>
#include <optional>
#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>

/** What goes wrong here becomes an exception of the package: qelm.Error and those derived from it. */
namespace qelm::python {

/** Something was refused; raised as the class of that name in qelm._errors. */
class Refusal : public std::runtime_error {
  public:
    const char* type = "Error"; ///< or "Timeout", "UnknownName"
    std::optional<std::int32_t> code{};
    std::string parameter{}; ///< the name of the parameter that it is about
    std::string allowed{};   ///< the values that it takes now

    explicit Refusal(const std::string& sentence) : std::runtime_error(sentence) {}
};

/** Translates the exceptions of the host library, too. */
void registerErrors();

} // namespace qelm::python
