#pragma once

#include "qelm/host/values.h"

#include <nlohmann/json.hpp>

#include <exception>
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

/**
 * Lets everything that goes to the standard output be checked, whoever writes it. Call it first; afterwards `std::cout`
 * and `stdout` may be mixed.
 */
void checkStandardOutput();
/** Writes out what is left. @return the first failure of the standard output as an errno value, or 0 */
int finishStandardOutput();

/** Ends a verb whose output has nowhere to go: finishStandardOutput tells why. */
class OutputLost : public std::exception {
  public:
    const char* what() const noexcept override { return "the standard output cannot be written"; }
};

/** Prints the one document of a run; the warnings that there were go into an object. */
void print(Json json);
/**
 * A piece of a document that grows as the run goes on. Also keeps a later failure from adding a second document.
 *
 * @param end what would make the document whole after this piece, for a run that is forced to end
 */
void printPiece(std::string_view piece, std::string end = {});
/** With --json: failures are documents, too. */
void wantJson();
/**
 * For a run that is forced to end, from another thread: makes the document whole, as far as that can be. Whoever has
 * more of it to print waits for the end.
 */
void endDocument(const std::exception& error);
/** The text of a document, on one line or with an indentation. Bytes that are no UTF-8 are replaced. */
std::string dump(const Json& json, int indentation = -1);
/** {"message": ..., "code": ...} */
Json failureJson(const std::exception& error);
/** With --json, a failure is a document, too, unless the verb has printed one: {"error": {...}}. */
void printFailureDocument(const std::exception& error);

void printError(std::string_view sentence);
/** As printError, from another thread: does not touch the standard output. */
void printErrorAlone(std::string_view sentence);
/** Something did not go as one would expect. With --strict the run fails for it. */
void printWarning(const std::string& sentence);
/** The warnings so far. */
const std::vector<std::string>& warnings();

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
