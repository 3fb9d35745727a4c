#pragma once

#include <filesystem>
#include <string>
#include <vector>

/** The verbs of the tool, one source each. Every one returns the exit status and throws what it cannot do. */
namespace qelm::tool {

/** What every verb takes. */
struct CommonOptions {
    std::filesystem::path applet; ///< empty: the one beside the tool
    bool json = false;
};

struct TraceOptions {
    std::vector<std::string> steps; ///< "NAME=VALUE" sets, "NAME" reads
    bool startUp = false;           ///< shows what the applet's start does, too
    bool reads = false;             ///< shows the calls that change nothing, too
};

struct LutOptions {
    std::vector<std::string> settings; ///< "NAME=VALUE", made first
    std::filesystem::path load;
    std::filesystem::path save;
    std::filesystem::path plot; ///< a PNG
};

struct ShadingOptions {
    std::vector<std::string> settings; ///< "NAME=VALUE", made first
    std::filesystem::path black;
    std::filesystem::path gray;
    std::filesystem::path offsets; ///< a PNG of what is loaded
    std::filesystem::path gains;   ///< likewise
    int size = 1024;               ///< the pictures' longer side at most, in pixels
};

int info(const CommonOptions& options);
int list(const CommonOptions& options, const std::string& filter);
int get(const CommonOptions& options, const std::vector<std::string>& names);
int set(const CommonOptions& options, const std::vector<std::string>& assignments);
int lut(const CommonOptions& options, const LutOptions& lutOptions);
int shading(const CommonOptions& options, const ShadingOptions& shadingOptions);
int trace(const CommonOptions& options, const TraceOptions& traceOptions);

} // namespace qelm::tool
