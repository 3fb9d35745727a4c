#include "save_configuration.h"

#include "configuration.h"
#include "output_file.h"
#include "set_up.h"
#include "temporary_folder.h"

#include "configuration/text.h"
#include "qelm/host/text.h"

namespace qelm::tool {
namespace {

/** File names that a load would not read as they were saved. */
void warnOfTexts(const Session& session, const std::filesystem::path& copy) {
    ConfigurationFile saved(copy);
    for (const auto& key : configuration::configurationKeys) {
        if (key.type != configuration::KeyType::text) {
            continue;
        }
        const auto value = session.read(host::parseReference(session.parameters(), key.name));
        const auto read = saved.value(key);
        if (!isSame(value, read)) {
            printWarning(std::string(key.name) + " is saved as \"" + std::get<std::string>(*value) + "\", but a load " +
                         (read ? "reads \"" + std::get<std::string>(*read) + "\"" : "refuses the file for it") +
                         ": names with quotes, \";\", \"=\", line breaks or \"Error\", and long ones, do not last");
        }
    }
}

} // namespace

void saveConfiguration(const CommonOptions& options, const Session& session, const std::filesystem::path& file) {
    const std::string attempt = "saving \"" + file.string() + "\" failed";
    if (file.string().find(".kcf") == std::string::npos) {
        throw host::AppletError(FG_ERROR_FILE_ACCESS, attempt,
                                "The name of a configuration file has to contain \".kcf\".");
    }
    const std::filesystem::path copy = temporaryFolder().path() / "saved.kcf";
    const host::Board& board = session.board();
    if (const std::int32_t code = board.applet()->Fg_saveConfig(board, host::systemFileName(copy).c_str()); code < 0) {
        throw host::AppletError(code, attempt);
    }
    warnOfTexts(session, copy);
    requireNoWarnings(options);
    writeFile(file, readFile(copy, configuration::ConfigurationText::largestText));
}

} // namespace qelm::tool
