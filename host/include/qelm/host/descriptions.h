#pragma once

#include "qelm/host/parameters.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/** What an applet says of its parameters: a text about each, and one GenApi document about all. */
namespace qelm::host {

/** Takes over what a text of Fg_getParameterInfo tells; lines that it does not know leave the parameter as it is. */
void readInformation(std::string_view information, Parameter& parameter);

/** The GenApi document of Fg_getParameterInfoXML. @throws AppletError */
std::string readDescriptionXml(const Board& board);

/** The parameters' identifiers by name: their register addresses in an applet's GenApi document. */
std::map<std::string, std::int32_t> parameterAddresses(std::string_view xml);

} // namespace qelm::host
