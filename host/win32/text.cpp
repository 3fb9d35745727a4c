#include "qelm/host/text.h"

#include <optional>
#include <windows.h>

namespace qelm::host {
namespace {

std::wstring wide(const std::string& text, UINT codePage) {
    const int size = static_cast<int>(text.size());
    std::wstring result(static_cast<size_t>(::MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0)), L'\0');
    ::MultiByteToWideChar(codePage, 0, text.data(), size, result.data(), static_cast<int>(result.size()));
    return result;
}

std::string narrow(const std::wstring& text, UINT codePage, DWORD flags, BOOL* lossy) {
    const int size = static_cast<int>(text.size());
    std::string result(
        static_cast<size_t>(::WideCharToMultiByte(codePage, flags, text.data(), size, nullptr, 0, nullptr, nullptr)),
        '\0');
    ::WideCharToMultiByte(codePage, flags, text.data(), size, result.data(), static_cast<int>(result.size()), nullptr,
                          lossy);
    return result;
}

/** Nothing when the active code page cannot express the text. */
std::optional<std::string> exactly(const std::wstring& text) {
    if (::GetACP() == CP_UTF8) { // knows no losses, and refuses to be asked for them
        return narrow(text, CP_UTF8, 0, nullptr);
    }
    BOOL lossy = FALSE;
    std::string result = narrow(text, CP_ACP, WC_NO_BEST_FIT_CHARS, &lossy);
    return lossy == FALSE ? std::optional(std::move(result)) : std::nullopt;
}

EncodingError inexpressible(const std::string& utf8) {
    return EncodingError("\"" + utf8 + "\" has letters that the system's code page " + std::to_string(::GetACP()) +
                         " does not have, and the applet takes no others");
}

} // namespace

std::string systemText(const std::string& utf8) {
    std::optional<std::string> text = exactly(wide(utf8, CP_UTF8));
    if (!text) {
        throw inexpressible(utf8);
    }
    return *std::move(text);
}

std::string utf8Text(const std::string& system) {
    return narrow(wide(system, CP_ACP), CP_UTF8, 0, nullptr);
}

std::string systemFileName(const std::filesystem::path& file) {
    if (std::optional<std::string> text = exactly(file.native())) {
        return *std::move(text);
    }
    std::wstring shortName(32768, L'\0');
    const DWORD size =
        ::GetShortPathNameW(file.c_str(), shortName.data(), static_cast<DWORD>(shortName.size())); // 0: no such file
    shortName.resize(size < shortName.size() ? size : 0);
    std::optional<std::string> text = exactly(shortName);
    if (!text || text->empty()) {
        throw inexpressible(file.string());
    }
    return *std::move(text);
}

} // namespace qelm::host
