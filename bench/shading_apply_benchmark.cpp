// FG_SHADING_APPLY_SETTINGS through the export, from two files of 8192 x 8192 pixels of 16 bits to the coefficients in
// the design, beside what no implementation can do without: reading both files and writing two of the coefficients'
// size with the same libraries. They take turns, so that whatever else the machine does meets both. Times are those of
// the processor: both sides wait alike for the disk. "ratio_without_design" leaves out what the virtual board takes to
// read the coefficient files in, which is the hardware's affair elsewhere.

#include "runtime.h"

#include "vendor/nuvpix.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace qelm::host;

constexpr std::int32_t size = 8192;
constexpr std::size_t pixels = std::size_t{size} * size;
constexpr int rounds = 10;

template <typename Action>
double secondsOf(Action&& action) {
    const std::clock_t start = std::clock();
    action();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/** The image-file library as the applet uses it. */
class ImageFiles {
  public:
    ImageFiles() {
        library_.resolve(write_, "writeImage");
        library_.resolve(read_, "readImage");
        library_.resolve(free_, "freeImage");
    }
    bool write(const fs::path& file, const void* data, std::int32_t width, std::int32_t bits) const {
        return write_(file.c_str(), data, width, size, bits, 1) == 0;
    }
    void* read(const fs::path& file) const {
        void* data = nullptr;
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::int32_t bits = 0;
        std::int32_t samples = 0;
        return read_(file.c_str(), &data, &width, &height, &bits, &samples) != 0 ? data : nullptr;
    }
    void free(void* data) const { free_(data); }

  private:
    Library library_{executableFolder() / libraryFileName("nuvpix")};
    decltype(&::writeImage) write_ = nullptr;
    decltype(&::readImage) read_ = nullptr;
    decltype(&::freeImage) free_ = nullptr;
};

/** A folder for the files, which is the applet's temporary folder, too. */
class Folder {
  public:
    Folder() {
        std::string path = (fs::temp_directory_path() / "qelm-shading-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) {
            throw std::runtime_error("there is no room for files");
        }
        path_ = path;
        setEnvironment("TMPDIR", path.c_str());
    }
    ~Folder() {
        setEnvironment("TMPDIR", nullptr);
        fs::remove_all(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    fs::path file(const char* name) const { return path_ / name; }

  private:
    fs::path path_;
};

/** A figure of this process from the system, in MiB. */
double mebibytes(const std::string& key) {
    std::ifstream figures("/proc/self/status");
    for (std::string word; figures >> word;) {
        if (word == key + ":") {
            double kibibytes = 0.0;
            figures >> kibibytes;
            return kibibytes / 1024;
        }
    }
    return 0.0;
}

void applySettings(benchmark::State& state, std::uint32_t mode) {
    const Applet applet;
    Board board(applet);
    const ImageFiles images;
    const Folder folder;
    const std::array<fs::path, 2> references{folder.file("black.tif"), folder.file("gray.tif")};
    std::vector<std::uint16_t> data(pixels);
    std::mt19937 random(1);
    for (const bool gray : {false, true}) {
        for (std::size_t i = 0; i < pixels; ++i) {
            const auto noise = static_cast<std::uint32_t>(random());
            data[i] = static_cast<std::uint16_t>(gray ? 30000 + i % size * 2 + (noise & 0x7FF) : 600 + (noise & 0x7F));
        }
        if (!images.write(references[gray ? 1 : 0], data.data(), size, 16)) {
            state.SkipWithError("the reference images cannot be written");
            return;
        }
    }
    board.change(FG_SHADING_BLACK_FILENAME, references[0].string());
    board.change(FG_SHADING_GRAY_FILENAME, references[1].string());
    board.change(FG_SHADING_GAIN_CORRECTION_MODE, mode);

    double read = std::numeric_limits<double>::max();
    double write = read;
    double plain = read;
    double applied = read;
    double design = read;
    const auto work = [&](auto&& action) {
        return secondsOf([&] {
            if (!action()) {
                state.SkipWithError("a file cannot be read or written");
            }
        });
    };
    const std::array<fs::path, 2> planes{folder.file("coef-1.tiff"), folder.file("coef-2.tiff")};
    const double before = mebibytes("VmRSS");
    std::ofstream("/proc/self/clear_refs") << 5; // the peak starts anew
    double peak = 0.0;
    for (auto _ : state) {
        const double applying = work([&] { return board.set(FG_SHADING_APPLY_SETTINGS, std::int32_t{FG_APPLY}) == 0; });
        state.SetIterationTime(applying);
        applied = std::min(applied, applying);
        peak = std::max(peak, mebibytes("VmHWM"));

        std::array<void*, 2> decoded{};
        const double reading = work([&] {
            decoded = {images.read(references[0]), images.read(references[1])};
            return decoded[0] != nullptr && decoded[1] != nullptr;
        });
        const double writing = work([&] {
            return images.write(planes[0], decoded[0], 2 * size, 8) && images.write(planes[1], decoded[1], 2 * size, 8);
        });
        const double freeing = work([&] {
            for (void* image : decoded) {
                images.free(image);
            }
            return true;
        });
        // The virtual board's part: a design takes its coefficients in from the files.
        design = std::min(design, work([&] {
                              for (const fs::path& file : planes) {
                                  void* image = images.read(file);
                                  if (image == nullptr) {
                                      return false;
                                  }
                                  images.free(image);
                              }
                              return true;
                          }));
        for (const fs::path& file : planes) {
            fs::remove(file);
        }
        read = std::min(read, reading);
        write = std::min(write, writing);
        plain = std::min(plain, reading + writing + freeing);
    }
    state.counters["ratio"] = applied / plain;
    state.counters["ratio_without_design"] = (applied - design) / plain;
    state.counters["read_ms"] = read * 1e3;
    state.counters["write_ms"] = write * 1e3;
    state.counters["design_ms"] = design * 1e3;
    state.counters["peak_mib"] = peak - before;
}
BENCHMARK_CAPTURE(applySettings, full_range, FG_MAX_RANGE)->Iterations(rounds)->UseManualTime();
BENCHMARK_CAPTURE(applySettings, maximum, FG_MAX_VALUE)->Iterations(rounds)->UseManualTime();
BENCHMARK_CAPTURE(applySettings, mean, FG_MEAN_VALUE)->Iterations(rounds)->UseManualTime();

} // namespace
