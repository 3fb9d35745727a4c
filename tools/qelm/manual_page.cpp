#include "command_reference.h"

#include <sstream>

namespace qelm::tool {
namespace {

/** A text as man(7) shows it unchanged. */
std::string escaped(std::string_view text) {
    std::string result;
    bool startsLine = true;
    for (const char character : text) {
        if (startsLine && (character == '.' || character == '\'')) {
            result += "\\&"; // no request
        }
        if (character == '\\') {
            result += "\\e";
        } else if (character == '-') {
            result += "\\-";
        } else {
            result += character;
        }
        startsLine = character == '\n';
    }
    return result;
}

void addOptions(std::ostream& page, const std::vector<OptionText>& options) {
    for (const OptionText& option : options) {
        page << ".TP\n";
        const char* separator = "";
        for (const std::string& name : option.names) {
            page << separator << (option.isPositional ? "\\fI" : "\\fB") << escaped(name) << "\\fR";
            separator = ", ";
        }
        if (!option.value.empty()) {
            page << " \\fI" << escaped(option.value) << "\\fR";
        }
        page << '\n' << escaped(option.description) << '\n';
    }
}

/** Lines as they stand: most are examples. */
void addDetails(std::ostream& page, const std::string& details) {
    page << ".PP\n.nf\n" << escaped(details) << "\n.fi\n";
}

} // namespace

std::string manualPage(const CommandReference& reference, std::string_view version) {
    std::ostringstream page;
    page << ".TH QELM 1 \"\" \"qelm " << version << "\" \"User Commands\"\n"
         << ".SH NAME\nqelm \\- drives an acquisition applet on a board\n"
         << ".SH SYNOPSIS\n.B qelm\n.I VERB\n[\\fIARGUMENT\\fR ...]\n"
         << ".SH DESCRIPTION\n"
         << escaped(reference.program.description) << '\n';
    addDetails(page, reference.program.details);
    page << ".SH OPTIONS\nThey may stand before and after the verb.\n";
    addOptions(page, reference.program.options);
    page << ".SH VERBS\n";
    for (const VerbText& verb : reference.verbs) {
        page << ".SS " << escaped(verb.name) << '\n' << escaped(verb.description) << ".\n";
        addOptions(page, verb.options);
        if (!verb.details.empty()) {
            addDetails(page, verb.details);
        }
    }
    return page.str();
}

} // namespace qelm::tool
