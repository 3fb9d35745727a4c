// TIFF and PNG files through the system's imaging component.
#include "model/image_file.h"

#include <fstream>
#include <system_error>
#include <utility>

#include <windows.h>

#include <objbase.h>
#include <wincodec.h>

namespace qelm::virtual_board {
namespace {

/** Keeps the calling thread in an apartment; a thread that its owner put into one already is left there. */
class Apartment {
  public:
    Apartment() : entered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~Apartment() {
        if (entered_) {
            CoUninitialize();
        }
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

  private:
    bool entered_;
};

/** Owner of one reference to a COM object. */
template <typename Interface>
class Com {
  public:
    Com() = default;
    ~Com() {
        if (object_ != nullptr) {
            object_->Release();
        }
    }
    Com(const Com&) = delete;
    Com& operator=(const Com&) = delete;

    Interface* operator->() const { return object_; }
    Interface* get() const { return object_; }
    Interface** operator&() { return &object_; }

  private:
    Interface* object_ = nullptr;
};

struct PixelFormat {
    const GUID& id;
    std::int32_t bitsPerSample, samplesPerPixel;
    bool isBlueFirst;
};

const PixelFormat pixelFormats[] = {
    {GUID_WICPixelFormatBlackWhite, 1, 1, false}, {GUID_WICPixelFormat2bppGray, 2, 1, false},
    {GUID_WICPixelFormat4bppGray, 4, 1, false},   {GUID_WICPixelFormat8bppGray, 8, 1, false},
    {GUID_WICPixelFormat16bppGray, 16, 1, false}, {GUID_WICPixelFormat24bppRGB, 8, 3, false},
    {GUID_WICPixelFormat24bppBGR, 8, 3, true},    {GUID_WICPixelFormat32bppRGBA, 8, 4, false},
    {GUID_WICPixelFormat32bppBGRA, 8, 4, true},   {GUID_WICPixelFormat48bppRGB, 16, 3, false},
    {GUID_WICPixelFormat64bppRGBA, 16, 4, false},
};

const PixelFormat* pixelFormat(const GUID& id) {
    for (const PixelFormat& format : pixelFormats) {
        if (format.id == id) {
            return &format;
        }
    }
    return nullptr;
}

bool createFactory(Com<IWICImagingFactory>& factory) {
    return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                      reinterpret_cast<void**>(&factory)));
}

bool openStream(IWICImagingFactory& factory, const std::filesystem::path& path, DWORD access, Com<IWICStream>& stream) {
    return SUCCEEDED(factory.CreateStream(&stream)) && SUCCEEDED(stream->InitializeFromFilename(path.c_str(), access));
}

void swapRedAndBlue(unsigned char* pixels, std::size_t count, std::size_t samplesPerPixel) {
    for (; count > 0; --count, pixels += samplesPerPixel) {
        std::swap(pixels[0], pixels[2]);
    }
}

bool openFrame(IWICImagingFactory& factory, IWICStream& stream, const GUID& container,
               Com<IWICBitmapFrameDecode>& frame) {
    Com<IWICBitmapDecoder> decoder;
    return SUCCEEDED(factory.CreateDecoder(container, nullptr, &decoder)) &&
           SUCCEEDED(decoder->Initialize(&stream, WICDecodeMetadataCacheOnDemand)) &&
           SUCCEEDED(decoder->GetFrame(0, &frame));
}

/** Whether the component leaves 16-bit samples of a big-endian file as they are, as Wine's does; tried out once. */
bool leavesBytesSwapped(IWICImagingFactory& factory) {
    // One pixel of value 0x0102.
    static BYTE sample[] = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 8,          // header; a directory of eight entries:
                            1,   0,   0, 4,  0, 0, 0, 1, 0, 0,  0, 1,   // width
                            1,   1,   0, 4,  0, 0, 0, 1, 0, 0,  0, 1,   // height
                            1,   2,   0, 3,  0, 0, 0, 1, 0, 16, 0, 0,   // bits per sample
                            1,   3,   0, 3,  0, 0, 0, 1, 0, 1,  0, 0,   // no compression
                            1,   6,   0, 3,  0, 0, 0, 1, 0, 1,  0, 0,   // min is black
                            1,   17,  0, 4,  0, 0, 0, 1, 0, 0,  0, 110, // offset of the strip
                            1,   22,  0, 4,  0, 0, 0, 1, 0, 0,  0, 1,   // rows in it
                            1,   23,  0, 4,  0, 0, 0, 1, 0, 0,  0, 2,   // bytes in it
                            0,   0,   0, 0,  1, 2};
    static const bool result = [&factory] {
        Com<IWICStream> stream;
        Com<IWICBitmapFrameDecode> frame;
        BYTE pixel[2] = {};
        return SUCCEEDED(factory.CreateStream(&stream)) &&
               SUCCEEDED(stream->InitializeFromMemory(sample, sizeof sample)) &&
               openFrame(factory, *stream.get(), GUID_ContainerFormatTiff, frame) &&
               SUCCEEDED(frame->CopyPixels(nullptr, sizeof pixel, sizeof pixel, pixel)) && pixel[0] == 1;
    }();
    return result;
}

/** Whether it is a TIFF file of that order. */
bool isBigEndian(IWICStream& stream) {
    char mark = 0;
    ULONG count = 0;
    return SUCCEEDED(stream.Read(&mark, 1, &count)) && SUCCEEDED(stream.Seek({}, STREAM_SEEK_SET, nullptr)) &&
           count == 1 && mark == 'M';
}

/** Writes the picture; the encoder has it in the file once this is true. */
bool encode(IWICImagingFactory& factory, IWICStream& stream, const GUID& container, const void* pixels,
            const ImageFormat& format) {
    const GUID& wanted = format.bitsPerSample == 8 ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat16bppGray;
    GUID given = wanted;
    Com<IWICBitmapEncoder> encoder;
    Com<IWICBitmapFrameEncode> frame;
    Com<IPropertyBag2> options;
    if (FAILED(factory.CreateEncoder(container, nullptr, &encoder)) ||
        FAILED(encoder->Initialize(&stream, WICBitmapEncoderNoCache)) ||
        FAILED(encoder->CreateNewFrame(&frame, &options))) {
        return false;
    }
    PROPBAG2 compression{};
    wchar_t name[] = L"TiffCompressionMethod";
    compression.pstrName = name;
    VARIANT none;
    VariantInit(&none);
    none.vt = VT_UI1;
    none.bVal = WICTiffCompressionNone;
    if ((container == GUID_ContainerFormatTiff && FAILED(options->Write(1, &compression, &none))) ||
        FAILED(frame->Initialize(options.get())) ||
        FAILED(frame->SetSize(static_cast<UINT>(format.width), static_cast<UINT>(format.height))) ||
        FAILED(frame->SetPixelFormat(&given)) || given != wanted) {
        return false;
    }
    auto* bytes = static_cast<BYTE*>(const_cast<void*>(pixels)); // not changed
    return SUCCEEDED(frame->WritePixels(static_cast<UINT>(format.height), static_cast<UINT>(format.rowBytes()),
                                        static_cast<UINT>(format.bytes()), bytes)) &&
           SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
}

/**
 * Writes a plain little-endian TIFF of one strip without the component: not every version of it encodes 16-bit grey.
 */
bool writePlain(const std::filesystem::path& path, const void* pixels, const ImageFormat& format) {
    constexpr std::uint32_t headerLength = 8;
    const auto length = static_cast<std::uint32_t>(format.bytes());
    const struct {
        std::uint16_t tag, type;
        std::uint32_t count, value;
    } entries[] = {
        {256, 4, 1, static_cast<std::uint32_t>(format.width)},
        {257, 4, 1, static_cast<std::uint32_t>(format.height)},
        {258, 3, 1, static_cast<std::uint32_t>(format.bitsPerSample)},
        {259, 3, 1, 1}, // no compression
        {262, 3, 1, 1}, // min is black
        {273, 4, 1, headerLength},
        {277, 3, 1, 1}, // one sample
        {278, 4, 1, static_cast<std::uint32_t>(format.height)},
        {279, 4, 1, length},
    };
    static_assert(sizeof entries[0] == 12, "as it lies in the file");
    const std::uint32_t start[] = {0x002A4949, headerLength + length + length % 2};
    const std::uint16_t count = sizeof entries / sizeof entries[0];
    const char zeros[4] = {};
    std::ofstream file(path, std::ios::binary);
    const auto put = [&file](const void* bytes, std::size_t size) {
        file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    };
    put(start, sizeof start);
    put(pixels, length);
    put(zeros, length % 2);
    put(&count, sizeof count);
    put(entries, sizeof entries);
    put(zeros, sizeof zeros);
    file.close();
    return file.good();
}

std::optional<Image> readContainer(const std::filesystem::path& path, const GUID& container) {
    const Apartment apartment;
    Com<IWICImagingFactory> factory;
    Com<IWICStream> stream;
    Com<IWICBitmapFrameDecode> frame;
    UINT width = 0, height = 0;
    GUID id{};
    if (!createFactory(factory) || !openStream(*factory.get(), path, GENERIC_READ, stream)) {
        return std::nullopt;
    }
    std::error_code error;
    const std::uint64_t fileBytes = std::filesystem::file_size(path, error);
    const bool bigEndian = isBigEndian(*stream.get());
    if (!openFrame(*factory.get(), *stream.get(), container, frame) || FAILED(frame->GetSize(&width, &height)) ||
        FAILED(frame->GetPixelFormat(&id)) || width > INT32_MAX || height > INT32_MAX) {
        return std::nullopt;
    }
    const PixelFormat* known = pixelFormat(id);
    if (known == nullptr) {
        return std::nullopt;
    }
    Image image{{static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), known->bitsPerSample,
                 known->samplesPerPixel},
                nullptr};
    if (error || !image.format.isReasonable(fileBytes)) {
        return std::nullopt;
    }
    image.pixels.reset(std::malloc(image.format.bytes()));
    auto* pixels = static_cast<unsigned char*>(image.pixels.get());
    if (pixels == nullptr || FAILED(frame->CopyPixels(nullptr, static_cast<UINT>(image.format.rowBytes()),
                                                      static_cast<UINT>(image.format.bytes()), pixels))) {
        return std::nullopt;
    }
    if (known->isBlueFirst) {
        swapRedAndBlue(pixels, static_cast<std::size_t>(width) * height,
                       static_cast<std::size_t>(known->samplesPerPixel));
    }
    if (bigEndian && known->bitsPerSample == 16 && leavesBytesSwapped(*factory.get())) {
        for (std::size_t i = 0; i + 1 < image.format.bytes(); i += 2) {
            std::swap(pixels[i], pixels[i + 1]);
        }
    }
    return image;
}

bool writeContainer(const std::filesystem::path& path, const GUID& container, const void* pixels,
                    const ImageFormat& format) {
    if (!format.isGray()) {
        return false;
    }
    const Apartment apartment;
    bool written = false;
    {
        Com<IWICImagingFactory> factory;
        Com<IWICStream> stream;
        if (!createFactory(factory) || !openStream(*factory.get(), path, GENERIC_WRITE, stream)) {
            return false;
        }
        written = encode(*factory.get(), *stream.get(), container, pixels, format);
    }
    if (!written && container == GUID_ContainerFormatTiff && format.bitsPerSample == 16) {
        written = writePlain(path, pixels, format);
    }
    if (!written) {
        DeleteFileW(path.c_str());
    }
    return written;
}

} // namespace

std::optional<Image> readImageFile(const std::filesystem::path& path) {
    return readContainer(path, GUID_ContainerFormatTiff);
}

std::optional<Image> readPngFile(const std::filesystem::path& path) {
    return readContainer(path, GUID_ContainerFormatPng);
}

bool writeImageFile(const std::filesystem::path& path, const void* pixels, const ImageFormat& format) {
    return writeContainer(path, GUID_ContainerFormatTiff, pixels, format);
}

bool writePngFile(const std::filesystem::path& path, const void* pixels, const ImageFormat& format) {
    return writeContainer(path, GUID_ContainerFormatPng, pixels, format);
}

} // namespace qelm::virtual_board
