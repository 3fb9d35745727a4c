// The design image loader.
#include "model/crc32.h"
#include "model/libraries/observer.h"
#include "model/libraries/process.h"
#include "surfaces/model_interface.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using namespace qelm::virtual_board;

namespace {

// An image: magic, length (64 bits), CRC-32 and design number (32 bits each, little endian), zeros up to the text; the
// text; the bitstream, of which a virtual board makes no use.
constexpr std::string_view magic = "QELMHAP1";
constexpr std::size_t headerLength = 64;
constexpr std::size_t usedHeaderLength = 24;
constexpr std::size_t largestFile = std::size_t{16} << 20;

std::uint64_t littleEndian(const unsigned char* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = count; i > 0; --i) {
        value = value << 8 | bytes[i - 1];
    }
    return value;
}

std::shared_ptr<DesignImage> parseImage(const unsigned char* bytes, std::uint64_t length) {
    if (length < headerLength || std::memcmp(bytes, magic.data(), magic.size()) != 0) {
        return nullptr;
    }
    for (std::size_t i = usedHeaderLength; i < headerLength; ++i) {
        if (bytes[i] != 0) {
            return nullptr;
        }
    }
    const std::uint64_t textLength = littleEndian(bytes + 8, 8);
    if (textLength > length - headerLength || textLength > Design::maximumTextLength) {
        return nullptr;
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes + headerLength),
                                static_cast<std::size_t>(textLength));
    if (crc32(bytes + headerLength, text.size()) != littleEndian(bytes + 16, 4)) {
        return nullptr;
    }
    // The usual design is parsed once for the whole process.
    std::shared_ptr<const Design> design = text == Design::builtInText() ? Design::builtIn() : Design::parse(text);
    if (!design) {
        return nullptr;
    }
    return std::make_shared<DesignImage>(
        DesignImage{std::move(design), static_cast<std::int32_t>(littleEndian(bytes + 20, 4))});
}

std::shared_ptr<DesignImage> parseFile(const char* fileName, std::int32_t designNumber) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(fileName, "rb"), std::fclose);
    if (!file) {
        return nullptr;
    }
    std::vector<unsigned char> bytes;
    unsigned char block[65536];
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get())) {
        if (bytes.size() + count > largestFile) {
            return nullptr;
        }
        bytes.insert(bytes.end(), block, block + count);
    }
    if (std::ferror(file.get()) != 0) {
        return nullptr;
    }
    std::shared_ptr<DesignImage> image = parseImage(bytes.data(), bytes.size());
    return image && image->number == designNumber ? image : nullptr;
}

Outcome<void*> giveOut(std::shared_ptr<DesignImage> image) {
    if (!image) {
        return failed<void*>(noDesignImage);
    }
    return {Process::instance().images.give(std::move(image)), ok};
}

std::string nameOf(const DesignRegister* entry) {
    return entry == nullptr ? std::string() : entry->name;
}

/**
 * A question about the design of an image. `target` and `answer` get the design; an image that is none has an empty
 * target and the answer `none`.
 */
template <typename Result, typename Target, typename Answer>
Result ask(const char* function, void* image, std::uint64_t index, Result none, Target&& target, Answer&& answer) {
    const std::shared_ptr<DesignImage> found = Process::instance().images.find(image);
    return observe(
               [&] {
                   return Call{nullptr, function, found ? target(*found->design) : std::string(), false};
               },
               [&](const auto&) {
                   return CallValue{std::to_string(index), index, 0};
               },
               [&] {
                   return Outcome<Result>{found ? answer(*found->design) : none, ok};
               })
        .result;
}

std::string noTarget(const Design&) {
    return {};
}

} // namespace

void* virtualBoard_loadDesignImageFile(const char* fileName, std::int32_t designNumber, std::int32_t one) {
    return observe(
               [&] {
                   return Call{nullptr, "loadDesignImageFile", fileName == nullptr ? "" : fileName, false};
               },
               [&](const auto&) {
                   return CallValue{std::to_string(designNumber), 0, 0};
               },
               [&] { return giveOut(fileName == nullptr || one != 1 ? nullptr : parseFile(fileName, designNumber)); })
        .result;
}

void* virtualBoard_loadDesignImageMemory(const void* address, std::uint64_t length, std::int32_t one) {
    return observe(
               [] {
                   return Call{nullptr, "loadDesignImageMemory", "", false};
               },
               [&](const auto&) {
                   return CallValue{std::to_string(length), length, 0};
               },
               [&] {
                   return giveOut(address == nullptr || one != 1
                                      ? nullptr
                                      : parseImage(static_cast<const unsigned char*>(address), length));
               })
        .result;
}

void virtualBoard_releaseDesignImage(void* image) {
    observe(
        [] {
            return Call{nullptr, "releaseDesignImage", "", false, false};
        },
        [](const auto&) { return CallValue{}; },
        [&] { return code(Process::instance().images.takeBack(image) ? ok : unknown); });
}

std::uint32_t virtualBoard_getDesignRegisterCount(void* image) {
    return ask<std::uint32_t>("getDesignRegisterCount", image, 0, 0, noTarget, [](const Design& design) {
        return static_cast<std::uint32_t>(design.registers().size());
    });
}

const char* virtualBoard_getDesignRegisterName(void* image, std::uint32_t index) {
    return ask<const char*>("getDesignRegisterName", image, index, nullptr, noTarget, [&](const Design& design) {
        return index == 0 || index > design.registers().size() ? nullptr : design.registers()[index - 1].name.c_str();
    });
}

std::uint32_t virtualBoard_getDesignRegisterAddress(void* image, const char* name) {
    const std::string_view wanted = name == nullptr ? std::string_view() : std::string_view(name);
    return ask<std::uint32_t>(
        "getDesignRegisterAddress", image, 0, 0, [&](const Design&) { return std::string(wanted); },
        [&](const Design& design) {
            const DesignRegister* entry = design.registerNamed(wanted);
            return entry == nullptr ? 0 : entry->address;
        });
}

std::uint32_t virtualBoard_getDesignRegisterWidth(void* image, std::uint32_t address) {
    return ask<std::uint32_t>(
        "getDesignRegisterWidth", image, address, 0,
        [&](const Design& design) { return nameOf(design.registerAt(address)); },
        [&](const Design& design) {
            const DesignRegister* entry = design.registerAt(address);
            return entry == nullptr ? 0 : entry->width;
        });
}

std::int32_t virtualBoard_isDesignRegisterWritable(void* image, std::uint32_t address) {
    return ask<std::int32_t>(
        "isDesignRegisterWritable", image, address, 0,
        [&](const Design& design) { return nameOf(design.registerAt(address)); },
        [&](const Design& design) {
            const DesignRegister* entry = design.registerAt(address);
            return entry != nullptr && entry->writable ? 1 : 0;
        });
}

const DesignEvent* virtualBoard_getDesignEvent(void* image, std::uint32_t index) {
    return ask<const DesignEvent*>("getDesignEvent", image, index, nullptr, noTarget,
                                   [&](const Design& design) { return design.event(index); });
}
