#pragma once

#include "applet/fg_ze_wrapper.h"
#include "events/event_table.h"
#include "features/board_status.h"
#include "features/camera_link.h"
#include "features/camera_simulator.h"
#include "features/description_query.h"
#include "features/image_output.h"
#include "features/lookup_table.h"
#include "features/region_of_interest.h"
#include "features/shading/shading.h"
#include "features/trigger/trigger_unit.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/registry.h"
#include "persistence/settings_store.h"
#include "platform/critical_section.h"

namespace qelm::applet {

/** The applet object of one board: composes the features and routes the exports' operations to them. */
class FgZeWrapperImpl final : public FgZeWrapper {
  public:
    /** Reads the environment and the settings file beside the library; does not touch the board. */
    FgZeWrapperImpl();
    ~FgZeWrapperImpl() noexcept(false) override;

    /** The file that holds the design image when the embedded one is not used. */
    static const char* designImageFileName();

    /** Registers the parameters and the events; the runtime and the design image are bound. */
    void registerParameters();
    /** Resolves design parameters and registers; the runtime and the design image are bound. */
    void bindDesign();
    /** Marks the runtime's parameters that the applet handles, and brings shading and trigger into their first state.
     */
    void prepareDesign();
    /** Applies the initial settings; what is refused is skipped. */
    void applyInitialSettings();

    bool applyConfiguration(persistence::Fg_ConfigFileParser& parser) override;
    void storeConfiguration(persistence::Fg_ConfigFileParser& parser) override;
    void processChannelToDma() override;
    void mapDmaToFormat() override;
    void setDmaAlignment() override;
    void getDmaAlignment() override;
    void buildParameterInfo() override;
    std::int32_t setParameterWithType(std::int32_t id, const void* value, std::int32_t port,
                                      std::int32_t type) override;
    std::int32_t getParameterWithType(std::int32_t id, void* value, std::int32_t port, std::int32_t type) override;
    std::int32_t getParameterIdByName(const char* name) override;
    const char* getParameterName(std::int32_t index) override;
    std::int32_t getParameterId(std::int32_t index) override;
    std::int32_t getNrOfParameter() override;
    ShadingAccess* allocShading(std::int32_t set, std::int32_t port) override;
    std::int32_t freeShading(ShadingAccess* shading) override;
    std::int32_t setSubValueLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel, float value) override;
    std::int32_t setMultValueLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel, float value) override;
    std::int32_t setFixedPatternNoiseLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                          std::int32_t on) override;
    std::int32_t getMaxLine(ShadingAccess* shading) override;
    std::int32_t getAccess(ShadingAccess* shading) override;
    std::int32_t freeAccess(ShadingAccess* shading) override;
    std::int32_t writeActLine(ShadingAccess* shading, std::int32_t line) override;
    std::uint64_t getEventMask(const char* name) override;
    const char* getEventName(std::uint64_t mask) override;
    const char* getVendorName() override;
    const char* getAppletName() override;
    const char* getAppletVersion() override;
    std::int32_t getLoadAppletId() override;

  private:
    void loadInspectSettings();

    templates::platform::CriticalSection objectLock_; ///< held for the whole of every parameter set and get
    persistence::SettingsStore inspectSettings_;
    bool directDesignAccess_ = false; ///< design parameters that the settings select are parameters of their own
    parameters::DesignAccess design_;
    parameters::Registry registry_;
    events::EventTable events_;
    parameters::Dispatch dispatch_ QELM_GUARDED_BY(objectLock_);
    features::BoardStatus boardStatus_;
    features::CameraLink cameraLink_;
    features::RegionOfInterest regionOfInterest_;
    features::ImageOutput imageOutput_;
    features::CameraSimulator cameraSimulator_;
    features::LookupTable lookupTable_;
    features::Shading shading_ QELM_GUARDED_BY(objectLock_);
    features::TriggerUnit triggerUnit_ QELM_GUARDED_BY(objectLock_);
    features::DescriptionQuery descriptionQuery_;
};

} // namespace qelm::applet
