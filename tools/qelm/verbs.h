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
    bool directRegisters = false; ///< the design's registers are parameters, too
    bool directDesign = false;    ///< the design's parameters are parameters, too
};

struct ListOptions {
    std::string filter;    ///< part of a parameter's or a category's name
    bool markdown = false; ///< the reference of the fixed parameters instead
};

struct TraceOptions {
    std::vector<std::string> steps; ///< "NAME=VALUE" sets, "NAME" reads
    bool startUp = false;           ///< shows what the applet's start does, too
    bool reads = false;             ///< shows the calls that change nothing, too
};

int info(const CommonOptions& options);
int list(const CommonOptions& options, const ListOptions& listOptions);
int describe(const CommonOptions& options, const std::string& name);
/** @param file empty: the standard output */
int xml(const CommonOptions& options, const std::filesystem::path& file);
int get(const CommonOptions& options, const std::vector<std::string>& names);
int set(const CommonOptions& options, const std::vector<std::string>& assignments);
int trace(const CommonOptions& options, const TraceOptions& traceOptions);

} // namespace qelm::tool
