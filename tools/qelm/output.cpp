#include "output.h"

#include "console.h"

#include "qelm/host/errors.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <streambuf>
#include <utility>

namespace qelm::tool {
namespace {

const std::string_view columnGap = "  ";

/** Characters, where bytes of UTF-8 would be too many. */
size_t width(std::string_view text) {
    return static_cast<size_t>(
        std::ranges::count_if(text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

/** The text in lines of at most that width, broken at blanks; a longer word keeps a line of its own. */
std::vector<std::string> wrap(std::string_view text, size_t limit) {
    std::vector<std::string> lines;
    std::string line;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, std::min(text.find(' '), text.size()));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (!line.empty() && width(line) + 1 + width(word) > limit) {
            lines.push_back(std::move(line));
            line.clear();
        }
        line += (line.empty() ? "" : " ") + std::string(word);
    }
    lines.push_back(std::move(line));
    return lines;
}

void printLine(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << line << '\n';
}

/** Hands over to `stdout` and remembers why that failed, which the streams forget. */
class CheckedOutput : public std::streambuf {
  public:
    int error() const { return error_; }

  protected:
    int_type overflow(int_type letter) override {
        if (traits_type::eq_int_type(letter, traits_type::eof())) {
            return traits_type::not_eof(letter);
        }
        const char single = traits_type::to_char_type(letter);
        return xsputn(&single, 1) == 1 ? letter : traits_type::eof();
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        errno = 0;
        const auto written = static_cast<std::streamsize>(std::fwrite(text, 1, static_cast<std::size_t>(size), stdout));
        // When the buffer cannot be emptied, fwrite may count everything as written all the same.
        note(written != size || std::ferror(stdout) != 0);
        return written;
    }
    int sync() override {
        errno = 0;
        const bool failed = std::fflush(stdout) != 0;
        note(failed || std::ferror(stdout) != 0);
        return failed ? -1 : 0;
    }

  private:
    void note(bool failed) {
        if (failed && error_ == 0) {
            error_ = errno != 0 ? errno : EIO;
        }
    }

    int error_ = 0;
};

CheckedOutput& standardOutput() {
    static auto& output = *new CheckedOutput; // outlives std::cout
    return output;
}

std::vector<std::string>& allWarnings() {
    static std::vector<std::string> all;
    return all;
}

/** The one of a run with --json. Never destroyed: a thread may still be asking for it while the process ends. */
struct Document {
    std::mutex mutex;
    bool wanted = false;
    bool started = false;
    std::string end; // what is missing now
};

Document& document() {
    static auto& one = *new Document;
    return one;
}

} // namespace

void Table::print() const {
    std::vector<size_t> widths;
    for (const std::vector<std::string>& row : rows_) {
        if (row.size() == 1) { // a heading
            continue;
        }
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], width(row[column]));
        }
    }
    size_t indent = 0;
    for (size_t column = 0; column + 1 < widths.size(); ++column) {
        indent += widths[column] + columnGap.size();
    }
    constexpr size_t narrowest = 20; // wrapping into less would be worse to read than what the terminal does
    const size_t terminal = terminalWidth();
    const bool wraps = terminal >= indent + narrowest;
    for (const std::vector<std::string>& row : rows_) {
        std::string line;
        for (size_t column = 0; column + 1 < row.size(); ++column) {
            line += row[column] + std::string(widths[column] - width(row[column]), ' ') + std::string(columnGap);
        }
        if (!wraps || row.size() == 1) {
            printLine(line + row.back());
            continue;
        }
        for (const std::string& piece : wrap(row.back(), terminal - indent)) {
            printLine(line + piece);
            line.assign(indent, ' ');
        }
    }
}

void checkStandardOutput() {
    std::cout.rdbuf(&standardOutput());
}

int finishStandardOutput() {
    std::cout.flush();
    return standardOutput().error();
}

void print(Json json) {
    if (json.is_object() && !allWarnings().empty()) {
        json["warnings"] = allWarnings();
    }
    printPiece(dump(json, 2) + '\n');
}

std::string dump(const Json& json, int indentation) {
    // File names may hold any bytes; what is not UTF-8 is replaced instead of refused.
    return json.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

void printPiece(std::string_view piece, std::string end) {
    const std::lock_guard lock(document().mutex);
    document().started = true;
    document().end = std::move(end);
    std::cout << piece << std::flush;
}

void wantJson() {
    document().wanted = true;
}

void endDocument(const std::exception& error) {
    std::unique_lock lock(document().mutex, std::try_to_lock); // else the output hangs, and its end would, too
    if (!lock || !document().wanted) {
        return;
    }
    const std::string end = document().started ? document().end : dump(Json{{"error", failureJson(error)}}) + "\n";
    std::fwrite(end.data(), 1, end.size(), stdout);
    std::fflush(stdout);
    lock.release(); // for good: whoever has more to print waits for the end of the process
}

Json failureJson(const std::exception& error) {
    Json failure{{"message", error.what()}};
    if (const auto* refusal = dynamic_cast<const host::AppletError*>(&error)) {
        failure["code"] = refusal->code();
    }
    return failure;
}

void printFailureDocument(const std::exception& error) {
    if (!document().started) {
        print(Json{{"error", failureJson(error)}});
    }
}

void printError(std::string_view sentence) {
    std::cout.flush();
    printErrorAlone(sentence);
}

void printErrorAlone(std::string_view sentence) {
    const std::string line = "qelm: " + std::string(sentence) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

void printWarning(const std::string& sentence) {
    printError("warning: " + sentence);
    allWarnings().push_back(sentence);
}

const std::vector<std::string>& warnings() {
    return allWarnings();
}

std::string valueText(const host::Parameter& parameter, const std::optional<host::Value>& value) {
    if (!value) {
        return "-";
    }
    return host::formatValue(parameter, *value) + (parameter.unit.empty() ? "" : " " + parameter.unit);
}

std::string_view accessText(const host::Parameter& parameter) {
    constexpr std::string_view texts[] = {"none", "read-only", "write-only", "read and write"};
    return texts[parameter.access & 3];
}

Json parameterJson(const host::Parameter& parameter, const std::optional<host::Value>& value) {
    Json object{{"name", parameter.name}, {"id", parameter.id}, {"kind", host::kindName(parameter.kind)}};
    addValue(object, "value", parameter, value);
    if (!parameter.unit.empty()) {
        object["unit"] = parameter.unit;
    }
    object["access"] = accessText(parameter);
    object["writable"] = parameter.isWritable();
    if (parameter.kind == host::ParameterKind::wideInteger) {
        object["minimum"] = 0;
        object["maximum"] = parameter.wideMaximum;
    } else if (parameter.hasRange()) {
        object["minimum"] = parameter.minimum;
        object["maximum"] = parameter.maximum;
        object["increment"] = parameter.increment;
    }
    for (const host::EnumerationEntry& entry : parameter.entries) {
        object["entries"].push_back({{"name", entry.name}, {"value", entry.value}, {"text", entry.text}});
    }
    if (!parameter.filter.empty()) {
        object["filter"] = parameter.filter;
    }
    object["category"] = parameter.category;
    object["displayName"] = parameter.displayName;
    object["description"] = parameter.description;
    return object;
}

Json valueJson(const std::optional<host::Value>& value) {
    if (!value) {
        return nullptr;
    }
    if (const auto* entry = std::get_if<LutEntry>(&*value)) {
        return entry->value;
    }
    Json json;
    std::visit(
        [&json](const auto& plain) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(plain)>, LutEntry>) {
                json = plain;
            }
        },
        *value);
    return json;
}

void addValue(Json& object, const char* key, const host::Parameter& parameter,
              const std::optional<host::Value>& value) {
    object[key] = valueJson(value);
    if (const auto* number = value ? std::get_if<std::uint32_t>(&*value) : nullptr) {
        if (const host::EnumerationEntry* entry = parameter.findEntry(static_cast<std::int32_t>(*number))) {
            object[std::string(key) + "Name"] = entry->name;
        }
    }
}

} // namespace qelm::tool
