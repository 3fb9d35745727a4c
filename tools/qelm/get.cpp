#include "output.h"
#include "set_up.h"

namespace qelm::tool {

int get(const CommonOptions& options, const std::vector<std::string>& names) {
    const host::Applet applet = loadApplet(options);
    const Session session = startSession(applet, options);
    std::vector<host::Reference> references;
    references.reserve(names.size());
    for (const std::string& name : names) {
        references.push_back(host::parseReference(session.parameters(), name));
    }
    Json objects = Json::array();
    Table table;
    int status = 0;
    for (const host::Reference& reference : references) {
        try {
            const host::Value value = host::readValue(session.board(), reference);
            table.add({reference.text(), "= " + valueText(*reference.parameter, value)});
            Json& object = objects.emplace_back(Json{{"name", reference.text()}});
            addValue(object, "value", *reference.parameter, value);
        } catch (const host::AppletError& error) { // the others may still be had
            printError(error.what());
            status = 1;
        }
    }
    if (options.json) {
        print(objects);
    } else {
        table.print();
    }
    return status;
}

} // namespace qelm::tool
