#include "output.h"
#include "session.h"

namespace qelm::tool {
namespace {

struct InfoText {
    const char* label;
    const char* key;
    std::int32_t request;
};

// What Info answers with a text.
constexpr InfoText infoTexts[] = {
    {"Applet", "applet", 0x1050},           {"Version", "version", 0x1060}, {"Build", "build", 0x1070},
    {"Identifier", "identifier", 0x413},    {"Family", "family", 0x1010},   {"Properties", "properties", 0x1020},
    {"Description", "description", 0x1000},
};
constexpr std::int32_t designNumberRequest = 0x880;
constexpr std::int32_t designImageRequest = 0x412;
constexpr std::int32_t iconRequest = 0x411;

/** The report, in the order of its lines, as text or as JSON. */
class Report {
  public:
    explicit Report(bool asJson) : asJson_(asJson) {}

    void add(const char* label, const char* key, const Json& value, const char* unit = "") {
        json_[key] = value;
        table_.add({std::string(label) + ":", (value.is_string() ? value.get<std::string>() : value.dump()) + unit});
    }

    void print() const {
        if (asJson_) {
            tool::print(json_);
        } else {
            table_.print();
        }
    }

  private:
    bool asJson_;
    Json json_;
    Table table_;
};

void addBoard(Report& report, const host::Applet& applet) {
    report.add("Board", "board", applet.virtualBoard() != nullptr ? "virtual" : "other");
    const Session session(applet);
    const auto value = [&session](const char* name) {
        return valueJson(session.read(host::parseReference(session.parameters(), name)));
    };
    report.add("Parameters", "parameters", session.parameters().size());
    report.add("Applet id", "appletId", value("FG_APPLET_ID"));
    report.add("Applet version", "appletVersion", value("FG_APPLET_VERSION"));
    report.add("Applet revision", "appletRevision", value("FG_APPLET_REVISION"));
    report.add("Design image file", "designImageFile", value("FG_HAP_FILE"));
    report.add("DMA channels", "dmaChannels", value("FG_NR_OF_DMAS"));
    report.add("Cameras", "cameras", value("FG_NR_OF_CAMS"));
}

} // namespace

int info(const CommonOptions& options) {
    const host::Applet applet = loadApplet(options);
    Report report(options.json);
    for (const InfoText& row : infoTexts) {
        report.add(row.label, row.key, applet.infoText(row.request));
    }
    report.add("Library", "library", applet.file().string());
    report.add("Design number", "designNumber", applet->Info(designNumberRequest, 0, 0, nullptr, nullptr));
    report.add("Design image", "designImageBytes", applet.infoSize(designImageRequest), " bytes");
    report.add("Icon", "iconBytes", applet.infoSize(iconRequest), " bytes");
    int status = 0;
    try {
        addBoard(report, applet);
    } catch (const host::AppletError& error) { // all that needs no board is still worth telling
        printError(error.what());
        status = 1;
    }
    report.print();
    return status;
}

} // namespace qelm::tool
