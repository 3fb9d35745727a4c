#include "output.h"
#include "set_up.h"

#include "parameters/reference.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace qelm::tool {
namespace {

char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool contains(std::string_view text, std::string_view part) {
    const auto same = [](char left, char right) { return lowerCase(left) == lowerCase(right); };
    return !std::ranges::search(text, part, same).empty() || part.empty();
}

/** Rows of parameters under the categories of the tree. */
class Tree {
  public:
    Tree() {
        for (const std::string& path : host::fixedCategories()) {
            categories_.push_back({path, {}});
        }
    }

    void add(const host::Parameter& parameter, const std::optional<host::Value>& value) {
        auto category = std::ranges::find(categories_, parameter.category, &Category::path);
        if (category == categories_.end()) {
            category = categories_.insert(category, {parameter.category, {}});
        }
        category->rows.push_back({"  " + std::to_string(parameter.id), parameter.name, valueText(parameter, value),
                                  parameter.isWritable() ? "" : std::string(accessText(parameter)),
                                  parameter.allowedValues()});
    }

    void print() {
        Table table;
        table.add({"  ID", "NAME", "VALUE", "ACCESS", "RANGE"});
        for (Category& category : categories_) {
            if (category.rows.empty()) {
                continue;
            }
            table.addHeading(category.path.empty() ? "(in no category)" : category.path);
            for (std::vector<std::string>& row : category.rows) {
                table.add(std::move(row));
            }
        }
        table.print();
    }

  private:
    struct Category {
        std::string path;
        std::vector<std::vector<std::string>> rows;
    };

    std::vector<Category> categories_; // the fixed ones in the tree's order, then others as they come
};

} // namespace

int list(const CommonOptions& options, const ListOptions& listOptions) {
    if (listOptions.markdown && options.json) {
        throw std::runtime_error("the reference is Markdown; --json has no use for it");
    }
    if (listOptions.markdown) {
        std::cout << parameters::reference;
        return 0;
    }
    const host::Applet applet = loadApplet(options);
    const Session session = startSession(applet, options);
    Json objects = Json::array();
    Tree tree;
    for (const host::Parameter& parameter : session.parameters()) {
        if (!contains(parameter.name, listOptions.filter) && !contains(parameter.category, listOptions.filter)) {
            continue;
        }
        const std::optional<host::Value> value = session.readWhole(parameter);
        objects.push_back(parameterJson(parameter, value));
        tree.add(parameter, value);
    }
    if (objects.empty()) {
        throw std::runtime_error("no parameter or category has \"" + listOptions.filter +
                                 "\" in its name; \"qelm list\" shows them all");
    }
    if (options.json) {
        print(objects);
    } else {
        tree.print();
    }
    return 0;
}

} // namespace qelm::tool
