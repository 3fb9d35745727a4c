// "inspect.conf", which selects the design parameters of the direct access, and the descriptions of what it selects.

#include "fuzzer.h"

#include "applet/resources.h"
#include "description/direct_access.h"
#include "description/information.h"
#include "description/parameter_info_builder_xml.h"
#include "surfaces/model_interface.h"
#include "vendor/nuvrod.h"

#include <string_view>

namespace {

void* startedRuntime() {
    const auto image = qelm::applet::embeddedDesignImage();
    void* loaded = loadDesignImageMemory(image.data(), image.size(), 1);
    return virtualBoard_Fg_InitHandle("", virtualBoardOpen(), loaded);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qelm;
    static void* const runtime = startedRuntime();
    persistence::SettingsStore settings;
    settings.setSection("Zantor_Obvelline_Qx4_RK");
    settings.read(std::string_view(reinterpret_cast<const char*>(data), size));

    const DesignNode* tree = virtualBoard_Fg_getDesignTree(runtime);
    parameters::Registry registry;
    // All of the design takes its time, so that most inputs do with what they select.
    if (size % 16 == 0) {
        description::direct_access::addDefaultSelection(settings, tree);
    }
    description::direct_access::registerDesignParameters(
        registry, settings, [](const char* name) { return virtualBoard_Fg_getParameterIdByName(runtime, name); });
    description::Information information;
    description::direct_access::describeDesignParameters(information, registry, tree);
    for (std::int32_t index = 0; index < registry.count(); ++index) {
        const char* name = registry.nameAt(index);
        fuzz::expect(name != nullptr, "every index has a name");
        const auto id = registry.directDesignId(name);
        fuzz::expect(id.has_value(), "a registered design parameter has a number");
        information.describe(*id);
    }
    description::ParameterInfoBuilderXML document(information, "Zantor_Obvelline_Qx4_RK");
    fuzz::expect(!document.build().empty(), "there is a document");
    return 0;
}
