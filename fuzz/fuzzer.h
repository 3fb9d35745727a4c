#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/** What the fuzzers share. */
namespace qelm::fuzz {

/** Ends the run, which saves the input, unless the condition holds. */
inline void expect(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

/** A folder of this run's own for files. */
class WorkingFolder {
  public:
    WorkingFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "qelm-fuzz-XXXXXX").string();
        expect(::mkdtemp(path.data()) != nullptr, "a folder for the files");
        path_ = path;
    }
    ~WorkingFolder() { std::filesystem::remove_all(path_); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    std::string file(const char* name) const { return (path_ / name).string(); }
    const std::filesystem::path& path() const { return path_; }

    /** Writes the one file of that name anew. @return its path */
    std::string write(const char* name, const std::uint8_t* data, std::size_t size) const {
        std::ofstream(path_ / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        return file(name);
    }

  private:
    std::filesystem::path path_;
};

/** Takes input bytes one after another; past the end all are 0. */
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), end_(data + size) {}
    bool empty() const { return data_ == end_; }
    std::uint8_t take() { return empty() ? std::uint8_t{0} : *data_++; }

  private:
    const std::uint8_t* data_;
    const std::uint8_t* end_;
};

} // namespace qelm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
