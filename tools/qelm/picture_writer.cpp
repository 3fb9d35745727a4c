#include "picture_writer.h"

#include "console.h"
#include "output_file.h"
#include "tiff_file.h"

#include "configuration/keys.h"

#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <streambuf>

namespace qelm::tool {
namespace {

namespace fs = std::filesystem;

enum class Kind { png, tiff, raw };

/** Of a file whose extension is one of theirs. */
Kind kindOf(const fs::path& file) {
    switch (file.extension().string().at(1)) {
    case 'p':
    case 'P':
        return Kind::png;
    case 'r':
    case 'R':
        return Kind::raw;
    default:
        return Kind::tiff;
    }
}

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
    NumberedFiles(const host::VirtualBoardFunctions& control, const PictureTarget& target, const Json& settings)
        : control_(control)
        , target_(target)
        , settings_(settings) {}

    std::string write(const host::Frame& frame) override {
        const fs::path file = fileOf(target_, ++written_);
        if (kindOf(file) == Kind::png) {
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
        output_.check();
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
        if (output_.sputn(reinterpret_cast<const char*>(frame.bytes().data()), size) != size ||
            output_.pubsync() != 0) {
            throw OutputLost(); // the end of the run tells why
        }
        return "frame " + std::to_string(++written_);
    }

  private:
    std::streambuf& output_;
    std::uint32_t written_ = 0;
};

} // namespace

Json settingsJson(const Session& session) {
    Json settings = Json::object();
    for (const configuration::ConfigurationKey& key : configuration::configurationKeys) {
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
    json["skipped"] = information.skipped;
    return json;
}

void checkPictureTarget(const PictureTarget& target) {
    if (target.isStandardOutput()) {
        if (target.multiPage) {
            throw std::runtime_error("the standard output takes raw frames, which have no pages");
        }
        return;
    }
    requireExtension(target.file, {".png", ".tif", ".tiff", ".raw"});
    if (target.multiPage && kindOf(target.file) != Kind::tiff) {
        throw std::runtime_error("only a TIFF file has pages: --multi-page needs -o FILE.tif");
    }
}

std::unique_ptr<PictureWriter> makePictureWriter(const host::VirtualBoardFunctions& control,
                                                 const PictureTarget& target, const Json& settings) {
    if (target.isStandardOutput()) {
        return std::make_unique<RawStream>();
    }
    if (kindOf(target.file) == Kind::raw) {
        return std::make_unique<RawFile>(target.file);
    }
    if (target.multiPage) {
        return std::make_unique<Pages>(target.file, settings);
    }
    return std::make_unique<NumberedFiles>(control, target, settings);
}

void writePng(const host::VirtualBoardFunctions& control, const fs::path& file, const host::Frame& frame) {
    OutputFile output(file);
    const host::FrameFormat& format = frame.format();
    errno = 0;
    if (control.writePicture(output.closedPath().string().c_str(), frame.bytes().data(), format.width, format.height,
                             format.bits) != 0) {
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
