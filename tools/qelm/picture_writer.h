#pragma once

#include "output.h"
#include "session.h"

#include "qelm/host/frame.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

/** Where the pictures of a verb go. */
namespace qelm::tool {

/** What a picture's file tells about it: the settings that it was taken with, in their own words. */
Json settingsJson(const Session& session);
/** Number, times and losses of a picture. */
Json informationJson(const host::FrameInformation& information);

class PictureWriter {
  public:
    virtual ~PictureWriter() = default;

    /**
     * @return where it went, for the report: a file's name, "all.tif page 2"
     * @throws FileError, OutputLost, std::runtime_error
     */
    virtual std::string write(const host::Frame& frame) = 0;
    /** After the last one: only now a file of many pictures appears. @throws FileError */
    virtual void finish() {}
};

inline constexpr const char* standardOutputName = "-";

struct PictureTarget {
    std::filesystem::path file; ///< ends in .png, .tif, .tiff or .raw; "-" for raw frames to the standard output
    std::uint32_t pictures = 1; ///< several get numbered files, unless
    bool multiPage = false;     ///< they are to be pages of one TIFF

    bool isStandardOutput() const { return file == standardOutputName; }
};

/** @throws std::runtime_error for a file name that tells no format that there is, or none with pages where they are
 * wanted */
void checkPictureTarget(const PictureTarget& target);

/**
 * @param target checked
 * @param settings of settingsJson, for the descriptions of TIFF files
 * @throws FileError
 */
std::unique_ptr<PictureWriter> makePictureWriter(const host::VirtualBoardFunctions& control,
                                                 const PictureTarget& target, const Json& settings);

/** Writes a picture as PNG. @throws FileError */
void writePng(const host::VirtualBoardFunctions& control, const std::filesystem::path& file, const host::Frame& frame);

/** While it lives, what is printed goes to the standard error output: the standard output is taken by pictures. */
class ReportsToErrors {
  public:
    explicit ReportsToErrors(bool divert);
    ~ReportsToErrors();
    ReportsToErrors(const ReportsToErrors&) = delete;
    ReportsToErrors& operator=(const ReportsToErrors&) = delete;

  private:
    std::streambuf* before_ = nullptr;
};

} // namespace qelm::tool
