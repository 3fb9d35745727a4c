// Configuration files: down, a look at one, up.

#include "serve/api.h"
#include "serve/scratch_file.h"

#include "configuration.h"
#include "load_report.h"
#include "output_file.h"

#include "qelm/host/text.h"

namespace qelm::server {
namespace {

/**
 * The file as it may be loaded: it names no files of the server's computer but those in force already, which are this
 * server's. What it names else is left out, with a finding.
 */
std::string withoutFileNames(ServedBoard& served, const std::string& text, Json& findings) {
    const tool::Session& session = served.session();
    std::string result;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        start = end + 1;
        const std::size_t equals = line.find('=');
        const std::string name(tool::bareValue(line.substr(0, equals)));
        for (const host::Parameter& parameter : session.parameters()) {
            if (parameter.kind != host::ParameterKind::fileName || parameter.name != name ||
                equals == std::string::npos) {
                continue;
            }
            const std::string value = host::utf8Text(std::string(tool::bareValue(line.substr(equals + 1))));
            if (!value.empty() && session.read({&parameter}) != host::Value(value)) {
                findings.push_back(name + ": the name of a file on the server's computer is left out.");
                line = name + "=";
            }
        }
        result += line + "\n";
    }
    return result;
}

/** Whatever the text looked like: the board after its load names no files but those in force. @throws ApiError */
void requireNoFileNames(const tool::Session& trial, const tool::Session& session) {
    for (const host::Parameter& parameter : trial.parameters()) {
        if (parameter.kind != host::ParameterKind::fileName || !parameter.isWritable()) {
            continue;
        }
        const auto value = trial.read({&parameter});
        if (value && *value != host::Value(std::string()) && value != session.read({&parameter})) {
            throw ApiError(409, "The file names a file on the server's computer in " + parameter.name + ".");
        }
    }
}

} // namespace

Answer getConfiguration(ServedBoard& served, const Call& /*call*/) {
    const ScratchFile file(served, ".kcf");
    served.live().run([&](host::Board& board) {
        if (const std::int32_t code = served.applet()->Fg_saveConfig(board, host::systemFileName(file.path()).c_str());
            code < 0) {
            throw host::AppletError(code, "Saving the settings failed");
        }
    });
    return fileAnswer(file.path(), "application/octet-stream", "setup.kcf");
}

Answer postConfigurationCheck(ServedBoard& served, const Call& call) {
    const ScratchFile file(served, ".kcf");
    Json findings = Json::array();
    Json differences = Json::array();
    bool loadable = false;
    // On the board's thread, since the trace that a report looks at is the process's.
    served.live().run([&](host::Board&) {
        tool::writeTemporaryFile(file.path(), withoutFileNames(served, call.request.body, findings));
        tool::Session trial(served.applet());
        tool::ConfigurationFile configuration(file.path());
        const tool::LoadReport report(trial, configuration);
        loadable = report.code() == 0;
        for (const tool::Finding& finding : report.findings()) {
            findings.push_back((finding.line == 0 ? "" : "line " + std::to_string(finding.line) + ": ") +
                               finding.verdict + ": " + finding.sentence);
        }
        if (loadable) {
            for (tool::Difference& one : tool::readBefore(served.session())) {
                one.after = trial.read({one.parameter});
                if (!tool::isSame(one.before, one.after)) {
                    differences.push_back({{"name", one.name},
                                           {"now", tool::valueJson(one.before)},
                                           {"file", tool::valueJson(one.after)}});
                }
            }
        }
    });
    return {jsonResponse({{"loadable", loadable}, {"findings", findings}, {"differences", differences}})};
}

Answer putConfiguration(ServedBoard& served, const Call& call) {
    const ScratchFile file(served, ".kcf");
    Json findings = Json::array();
    const auto change = served.change("configuration", [&](host::Board&) {
        tool::writeTemporaryFile(file.path(), withoutFileNames(served, call.request.body, findings));
        tool::ConfigurationFile configuration(file.path());
        {
            tool::Session trial(served.applet());
            if (const tool::LoadReport report(trial, configuration); report.code() != 0) {
                throw ApiError(409, "The file is refused; nothing has changed." +
                                        (report.findings().empty() ? "" : " " + report.findings().front().sentence));
            }
            requireNoFileNames(trial, served.session());
        }
        const tool::LoadReport report(served.session(), configuration);
        for (const tool::Finding& finding : report.findings()) {
            findings.push_back(finding.verdict + ": " + finding.sentence);
        }
        for (const auto* key : report.overruled()) { // as the file means it
            tool::Session& session = served.session();
            host::writeValue(session.board(),
                             {host::parseReference(session.parameters(), key->name), *configuration.value(*key)});
            findings.push_back("set again after the load, as the file means it: " + std::string(key->name));
        }
    });
    return {jsonResponse({{"findings", findings}, {"changed", change.changed}})};
}

} // namespace qelm::server
