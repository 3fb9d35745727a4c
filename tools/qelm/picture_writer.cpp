#include "picture_writer.h"

#include "console.h"
#include "output_file.h"
#include "tiff_file.h"

#include "persistence/configuration_keys.h"
#include "qelm/host/text.h"

#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <streambuf>

namespace qelm::tool {
namespace {

namespace fs = std::filesystem;

/** "out.tif" for a single picture; "out-001.tif" and so on, as many digits as the last one needs. */
fs::path fileOf(const PictureTarget& target, std::uint32_t number) {
    if (target.pictures == 1) {
        return target.file;
    }
    std::string digits = std::to_string(number);
    digits.insert(0, std::to_string(target.pictures).size() - digits.size(), '0');
    fs::path file = target.file;
    file.replace_filename(target.file.stem());
    file += "-" + digits;
    file += target.file.extension();
    return file;
}

std::string describe(const host::Frame& frame, const Json& settings) {
    Json description = informationJson(frame.information());
    description["fullScale"] = frame.format().fullScale;
    description["settings"] = settings;
    return description.dump(-1, ' ', true, Json::error_handler_t::replace);
}

class NumberedFiles : public PictureWriter {
  public:
    NumberedFiles(const host::VirtualBoardFunctions& control, const PictureTarget& target, const Json& settings,
                  bool isPng)
        : control_(control)
        , target_(target)
        , settings_(settings)
        , isPng_(isPng) {}

    std::string write(const host::Frame& frame) override {
        const fs::path file = fileOf(target_, ++written_);
        if (isPng_) {
            writePng(control_, file, frame);
        } else {
            TiffFile tiff(file);
            tiff.add(frame, describe(frame, settings_));
            tiff.commit();
        }
        return file.string();
    }

  private:
    const host::VirtualBoardFunctions& control_;
    PictureTarget target_;
    Json settings_;
    bool isPng_;
    std::uint32_t written_ = 0;
};

class Pages : public PictureWriter {
  public:
    Pages(const fs::path& file, const Json& settings) : file_(file), settings_(settings), tiff_(file) {}

    std::string write(const host::Frame& frame) override {
        tiff_.add(frame, describe(frame, settings_));
        return file_.string() + " page " + std::to_string(++written_);
    }
    void finish() override { tiff_.commit(); }

  private:
    fs::path file_;
    Json settings_;
    TiffFile tiff_;
    std::uint32_t written_ = 0;
};

class RawFile : public PictureWriter {
  public:
    explicit RawFile(const fs::path& file) : file_(file), output_(file) {}

    std::string write(const host::Frame& frame) override {
        output_.write(frame.bytes().data(), frame.bytes().size());
        return file_.string() + " frame " + std::to_string(++written_);
    }
    void finish() override {
        if (written_ != 0) {
            output_.commit();
        }
    }

  private:
    fs::path file_;
    OutputFile output_;
    std::uint32_t written_ = 0;
};

class RawStream : public PictureWriter {
  public:
    RawStream() : output_(*std::cout.rdbuf()) { // before reports go elsewhere
        std::cout.flush();
        useBinaryOutput();
    }

    std::string write(const host::Frame& frame) override {
        const auto size = static_cast<std::streamsize>(frame.bytes().size());
        errno = 0;
        if (output_.sputn(reinterpret_cast<const char*>(frame.bytes().data()), size) != size ||
            output_.pubsync() != 0) {
            throw FileError("-", "written", errno != 0 ? errno : EIO);
        }
        return "standard output";
    }

  private:
    std::streambuf& output_;
};

} // namespace

Json settingsJson(const Session& session) {
    Json settings = Json::object();
    for (const persistence::ConfigurationKey& key : persistence::configurationKeys) {
        const host::Reference reference = host::parseReference(session.parameters(), key.name);
        const std::optional<host::Value> value = session.read(reference);
        const auto* number = value ? std::get_if<std::uint32_t>(&*value) : nullptr;
        const host::EnumerationEntry* entry =
            number != nullptr ? reference.parameter->findEntry(static_cast<std::int32_t>(*number)) : nullptr;
        settings[key.name] = entry != nullptr ? Json(entry->name) : valueJson(value);
    }
    return settings;
}

Json informationJson(const host::FrameInformation& information) {
    Json json{{"number", information.number}};
    json["nanoseconds"] = information.timestamp ? Json(*information.timestamp) : Json();
    json["triggerNanoseconds"] = information.triggerTime ? Json(*information.triggerTime) : Json();
    json["lost"] = information.lost;
    json["missing"] = information.missing;
    return json;
}

std::unique_ptr<PictureWriter> makePictureWriter(const host::VirtualBoardFunctions& control,
                                                 const PictureTarget& target, const Json& settings) {
    if (target.isStandardOutput()) {
        return std::make_unique<RawStream>();
    }
    requireExtension(target.file, {".png", ".tif", ".tiff", ".raw"});
    const char first = target.file.extension().string().at(1);
    const bool isPng = first == 'p' || first == 'P';
    const bool isRaw = first == 'r' || first == 'R';
    if (target.multiPage && (isPng || isRaw)) {
        throw std::runtime_error("only a TIFF file has pages: --multi-page needs -o FILE.tif");
    }
    if (isRaw) {
        return std::make_unique<RawFile>(target.file);
    }
    if (target.multiPage) {
        return std::make_unique<Pages>(target.file, settings);
    }
    return std::make_unique<NumberedFiles>(control, target, settings, isPng);
}

void writePng(const host::VirtualBoardFunctions& control, const fs::path& file, const host::Frame& frame) {
    OutputFile output(file);
    const host::FrameFormat& format = frame.format();
    errno = 0;
    if (control.writePicture(host::systemFileName(output.path()).c_str(), frame.bytes().data(), format.width,
                             format.height, format.bits) != 0) {
        throw FileError(file, "written", errno != 0 ? errno : EIO);
    }
    output.commit();
}

ReportsToErrors::ReportsToErrors(bool divert) {
    if (divert) {
        std::cout.flush();
        before_ = std::cout.rdbuf(std::cerr.rdbuf());
    }
}

ReportsToErrors::~ReportsToErrors() {
    if (before_ != nullptr) {
        std::cout.flush();
        std::cout.rdbuf(before_);
    }
}

} // namespace qelm::tool
