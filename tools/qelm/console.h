#pragma once

#include <cstddef>

/** What differs between consoles; one source per system. */
namespace qelm::tool {

/** Lets the console show UTF-8. */
void prepareConsole();
/** The width of the terminal that the output goes to; 0 when it goes elsewhere. */
std::size_t terminalWidth();
/** Whether messages go to a terminal, where they can be replaced. */
bool errorsGoToTerminal();

} // namespace qelm::tool
