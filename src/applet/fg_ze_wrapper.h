#pragma once

#include "applet/runtime_binding.h"
#include "description/information.h"
#include "zantor_obvelline_qx4_rk/applet.h"

#include <cstddef>
#include <cstdint>
#include <map>

namespace qelm::persistence {
class Fg_ConfigFileParser;
}

namespace qelm::applet {

/**
 * An applet as the exports see it: 32 virtual operations in the order of their slots, and the binding to the runtime.
 * Supplies what does not depend on the design; FgZeWrapperImpl adds the rest.
 */
class FgZeWrapper {
  public:
    FgZeWrapper() = default;
    FgZeWrapper(const FgZeWrapper&) = delete;
    FgZeWrapper& operator=(const FgZeWrapper&) = delete;

    virtual bool applyConfiguration(persistence::Fg_ConfigFileParser& parser) = 0;
    virtual void storeConfiguration(persistence::Fg_ConfigFileParser& parser) = 0;
    virtual void processChannelToDma() = 0;
    virtual void mapDmaToFormat() = 0;
    virtual void setDmaAlignment() = 0;
    virtual void getDmaAlignment() = 0;
    /** noexcept(false): the locks that an applet owns report being destroyed while held. */
    virtual ~FgZeWrapper() noexcept(false);
    virtual void buildParameterInfo() = 0;
    virtual std::int32_t setParameterWithType(std::int32_t id, const void* value, std::int32_t port,
                                              std::int32_t type) = 0;
    virtual std::int32_t getParameterWithType(std::int32_t id, void* value, std::int32_t port, std::int32_t type) = 0;
    virtual std::int32_t getParameterIdByName(const char* name) = 0;
    virtual const char* getParameterName(std::int32_t index) = 0;
    virtual std::int32_t getParameterId(std::int32_t index) = 0;
    virtual std::int32_t getNrOfParameter() = 0;
    /**
     * Writes all settings into a configuration file, which is emptied first: a save that fails halfway (-5001) leaves
     * what it had written.
     */
    virtual std::int32_t saveConfig(void* runtimeHandle, const char* fileName);
    /** @return 0, -2076 without the file (last error -5000), or -5000 when it is refused; see applyConfiguration */
    virtual std::int32_t loadConfig(void* runtimeHandle, const char* fileName);
    virtual std::int32_t getParameterInfoXML(BoardStructure* board, std::int32_t port, char* buffer,
                                             std::size_t* bufferSize);
    virtual ShadingAccess* allocShading(std::int32_t set, std::int32_t port);
    virtual std::int32_t freeShading(ShadingAccess* shading);
    virtual std::int32_t setSubValueLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel, float value);
    virtual std::int32_t setMultValueLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel, float value);
    virtual std::int32_t setFixedPatternNoiseLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                                  std::int32_t on);
    virtual std::int32_t getMaxLine(ShadingAccess* shading);
    virtual std::int32_t getAccess(ShadingAccess* shading);
    virtual std::int32_t freeAccess(ShadingAccess* shading);
    virtual std::int32_t writeActLine(ShadingAccess* shading, std::int32_t line);
    virtual std::uint64_t getEventMask(const char* name);
    virtual const char* getEventName(std::uint64_t mask);
    virtual const char* getVendorName() = 0;
    virtual const char* getAppletName() = 0;
    virtual const char* getAppletVersion() = 0;
    virtual std::int32_t getLoadAppletId() = 0;

    RuntimeBinding& binding() { return binding_; }
    const vendor::RuntimeFunctionTable& getFunctionTable() const { return binding_.functions(); }
    void* getRuntimeHandle() const { return binding_.runtimeHandle(); }
    std::int32_t getLastError() const { return binding_.lastError(); }
    std::int32_t setLastError(std::int32_t code) { return binding_.setLastError(code); }
    /** The information text of a parameter for Fg_getParameterInfo, or null. */
    const char* forwardParameterInfo(std::int32_t id) { return information_.describe(id); }

    /** Marks a runtime parameter as one that the applet handles itself: a record of the applet object, which nothing in
     * it reads. */
    void markHandled(std::int32_t port, std::int32_t id) { portParameterRecords_[port][id].mark = 1; }

  protected:
    description::Information& information() { return information_; }
    bool directRegisterAccess() const { return directRegisterAccess_; }
    void setDirectRegisterAccess(bool enabled) { directRegisterAccess_ = enabled; }

  private:
    /** Whether the header is one of this applet's. */
    bool isOwnConfiguration(persistence::Fg_ConfigFileParser& parser);

    struct PortParameterRecord {
        std::int32_t mark = 0;
    };

    RuntimeBinding binding_;
    description::Information information_;
    std::map<std::int32_t, std::map<std::int32_t, PortParameterRecord>> portParameterRecords_; // by port, by identifier
    bool directRegisterAccess_ = false;
};

} // namespace qelm::applet
