#include "markdown.h"

#include "output.h"

#include <iostream>

namespace qelm::tool {
namespace {

constexpr const char* introduction = R"(# Parameters

The fixed parameters of the applet by category, as `qelm list --markdown` prints them. Limits are the widest; some follow
other parameters, and `qelm describe NAME` tells what holds now. Nothing is said where no range is stated.
)";

/** The text with what Markdown's tables reserve escaped. */
std::string cell(std::string_view text) {
    std::string escaped;
    for (const char letter : text) {
        escaped += letter == '|' || letter == '*' || letter == '<' ? std::string("\\") : std::string();
        escaped += letter;
    }
    return escaped;
}

void printCategory(const std::string& path) {
    bool isFirst = true;
    for (const host::Parameter& parameter : host::fixedParameters()) {
        if (parameter.category != path) {
            continue;
        }
        if (isFirst) {
            std::cout << "\n## " << (path.empty() ? "In no category" : path)
                      << "\n\n| Name | Identifier | Shown as | Kind | Values | Access | Description |"
                         "\n|---|---|---|---|---|---|---|\n";
            isFirst = false;
        }
        std::cout << "| `" << parameter.name << "` | " << parameter.id << " | " << cell(parameter.displayName) << " | "
                  << host::kindName(parameter.kind) << " | " << cell(parameter.allowedValues()) << " | "
                  << accessText(parameter) << " | " << cell(parameter.description) << " |\n";
    }
}

} // namespace

void printMarkdownReference() {
    std::cout << introduction;
    for (const std::string& path : host::fixedCategories()) {
        printCategory(path);
    }
    printCategory("");
}

} // namespace qelm::tool
