#include "applet/fg_ze_wrapper.h"

#include "description/parameter_info_builder_xml.h"
#include "events/event_table.h"
#include "persistence/fg_config_file_parser.h"
#include "platform/locale.h"
#include "vendor/nuvrod.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace qelm::applet {

FgZeWrapper::~FgZeWrapper() noexcept(false) = default;

namespace {

/** The keys of a configuration's header: whose it is. */
namespace header {
constexpr const char* vendor = "Hersteller";
constexpr const char* applet = "Typ";
constexpr const char* version = "Version";
constexpr const char* loadAppletId = "LoadAppletId";
constexpr const char* activePort = "AktivePort";
} // namespace header

} // namespace

std::int32_t FgZeWrapper::saveConfig(void* /*runtimeHandle*/, const char* fileName) try {
    platform::useEnglishLocale();
    persistence::Fg_ConfigFileParser parser(nullptr, nullptr, false);
    if (!parser.setSaveFile(fileName)) {
        return setLastError(FG_ERROR_FILE_ACCESS);
    }
    parser.writeConfigFileHeader();
    parser.writeConfigFile(header::vendor, getVendorName());
    parser.writeConfigFile(header::applet, getAppletName());
    parser.writeConfigFile(header::version, getAppletVersion());
    parser.writeConfigFileIntKey(header::loadAppletId, getLoadAppletId());
    parser.writeConfigFileIntKey(header::activePort, 0);
    storeConfiguration(parser);
    return setLastError(parser.close() ? 0 : FG_ERROR_FILE_ACCESS);
} catch (const std::bad_alloc&) {
    return setLastError(FG_ERROR_FILE_ACCESS);
}

std::int32_t FgZeWrapper::loadConfig(void* /*runtimeHandle*/, const char* fileName) try {
    platform::useEnglishLocale();
    persistence::Fg_ConfigFileParser parser(nullptr, fileName, true);
    if (!parser.checkFileExist(fileName)) {
        setLastError(FG_ERROR_CONFIGURATION); // not what is returned, and callers know it so
        return FG_ERROR_FILE_NOT_FOUND;
    }
    const bool loaded = parser.checkFileType(fileName) && isOwnConfiguration(parser) && applyConfiguration(parser);
    return setLastError(loaded ? 0 : FG_ERROR_CONFIGURATION);
} catch (const std::bad_alloc&) {
    return setLastError(FG_ERROR_CONFIGURATION);
}

// The vendor and the port must be there, whatever they are.
bool FgZeWrapper::isOwnConfiguration(persistence::Fg_ConfigFileParser& parser) {
    std::string vendor;
    std::string applet;
    std::int32_t activePort = 0;
    return parser.parseKeyFromLine(header::vendor, vendor) == 0 &&
           parser.parseKeyFromLine(header::applet, applet) == 0 && applet == getAppletName() &&
           parser.parseIntKeyFromHeader(header::activePort, activePort) == 0;
}

std::int32_t FgZeWrapper::getParameterInfoXML(BoardStructure* /*board*/, std::int32_t /*port*/, char* buffer,
                                              std::size_t* bufferSize) {
    if (bufferSize == nullptr) {
        return setLastError(FG_ERROR_UNKNOWN);
    }
    const std::string document = description::ParameterInfoBuilderXML(information_, getAppletName()).build();
    const std::size_t room = std::exchange(*bufferSize, document.size() + 1);
    if (buffer == nullptr) {
        return setLastError(0);
    }
    if (room < *bufferSize) {
        return setLastError(FG_ERROR_UNKNOWN);
    }
    std::memcpy(buffer, document.data(), document.size());
    buffer[document.size()] = '\0';
    return setLastError(0);
}

ShadingAccess* FgZeWrapper::allocShading(std::int32_t /*set*/, std::int32_t /*port*/) {
    return nullptr;
}

std::int32_t FgZeWrapper::freeShading(ShadingAccess* /*shading*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::setSubValueLine(ShadingAccess* /*shading*/, std::int32_t /*x*/, std::int32_t /*channel*/,
                                          float /*value*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::setMultValueLine(ShadingAccess* /*shading*/, std::int32_t /*x*/, std::int32_t /*channel*/,
                                           float /*value*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::setFixedPatternNoiseLine(ShadingAccess* /*shading*/, std::int32_t /*x*/,
                                                   std::int32_t /*channel*/, std::int32_t /*on*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::getMaxLine(ShadingAccess* /*shading*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::getAccess(ShadingAccess* /*shading*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::freeAccess(ShadingAccess* /*shading*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::int32_t FgZeWrapper::writeActLine(ShadingAccess* /*shading*/, std::int32_t /*line*/) {
    return FG_ERROR_NOT_SUPPORTED;
}

std::uint64_t FgZeWrapper::getEventMask(const char* name) {
    return events::designEventMask(
        [this](std::uint32_t position) { return getDesignEvent(binding_.designImage(), position); }, name);
}

const char* FgZeWrapper::getEventName(std::uint64_t mask) {
    return events::designEventName(
        [this](std::uint32_t position) { return getDesignEvent(binding_.designImage(), position); }, mask);
}

} // namespace qelm::applet
