#pragma once

#include "output_file.h"

#include "qelm/host/frame.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qelm::tool {

/** A grey TIFF file of one or more pages, uncompressed, each page with a description of its own. */
class TiffFile {
  public:
    static constexpr std::uint64_t largestSize = 0xFFFFFFFF; ///< bytes: what its offsets can name

    /** @throws FileError when nothing can be written there */
    explicit TiffFile(const std::filesystem::path& file);

    /**
     * Appends a page.
     *
     * @param description plain ASCII text
     * @throws std::runtime_error when the file would grow beyond largestSize; what came before is still whole
     * @throws FileError
     */
    void add(host::Frame frame, std::string description);
    /** After the last page; without any there is no file. @throws FileError */
    void commit();

  private:
    struct Page {
        host::Frame frame;
        std::string description;
        std::uint32_t number;
    };

    /** Writes the page that waits; only now it is known whether another one follows. */
    void writePage(bool isLast);

    OutputFile output_;
    std::filesystem::path file_;
    std::uint64_t position_ = 0; // where the page that waits is to begin
    std::optional<Page> waiting_;
};

} // namespace qelm::tool
