#pragma once

#include "qelm/host/values.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/** Results as aligned text and as JSON. */
namespace qelm::tool {

using Json = nlohmann::ordered_json;

/** Rows of aligned columns. On a terminal the last column is wrapped; elsewhere every row stays one line. */
class Table {
  public:
    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    /** A line of its own, across the columns. */
    void addHeading(std::string heading) { rows_.push_back({std::move(heading)}); }
    void print() const;

  private:
    std::vector<std::vector<std::string>> rows_;
};

void print(const Json& json);
void printError(std::string_view sentence);

/** "1024 pixel", "FG_GRAY (3)", "-" when there is none */
std::string valueText(const host::Parameter& parameter, const std::optional<host::Value>& value);
/** "read and write", "read-only", "write-only", "none" */
std::string_view accessText(const host::Parameter& parameter);
/** All that is known about a parameter. */
Json parameterJson(const host::Parameter& parameter, const std::optional<host::Value>& value);
/** A number or a text; null when there is none. */
Json valueJson(const std::optional<host::Value>& value);
/** The parameter's name and, under the key given, its value; a symbolic name stands beside it as "...Name". */
void addValue(Json& object, const char* key, const host::Parameter& parameter, const std::optional<host::Value>& value);

} // namespace qelm::tool
