#include "persistence/dll_log.h"

#include "configuration/numbers.h"
#include "platform/operating_system.h"

#include <array>
#include <cstdarg>
#include <ctime>
#include <utility>

#ifndef QELM_COPYRIGHT
#error "The build supplies QELM_COPYRIGHT, the vendor's copyright line"
#endif

namespace qelm::persistence {

void DllLog::attach(std::FILE* stream) {
    close();
    stream_ = stream;
}

void DllLog::close() {
    if (std::FILE* stream = std::exchange(stream_, nullptr)) {
        std::fclose(stream);
    }
}

void DllLog::print(const char* format, ...) {
    if (stream_ == nullptr) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stream_, format, arguments);
    va_end(arguments);
}

void DllLog::info(const char* message, std::int32_t value) {
    if (stream_ != nullptr) {
        print("korabitIV::Info >> %s >> %d;\n", message, static_cast<int>(value));
        std::fflush(stream_);
    }
}

void DllLog::error(const char* message) {
    if (stream_ != nullptr) {
        print("korabitIV::Error >> %s;\n", message);
        std::fflush(stream_);
    }
}

void DllLog::error(const char* message, const char* detail, std::int32_t value) {
    if (stream_ != nullptr) {
        print("korabitIV::Error >> %s >> %s >> %d;\n", message, detail, static_cast<int>(value));
        std::fflush(stream_);
    }
}

void DllLog::error(const char* message, const char* detail, double value) {
    if (stream_ != nullptr) {
        print("korabitIV::Error >> %s >> %s >> %s;\n", message, detail, configuration::numberText(value).c_str());
        std::fflush(stream_);
    }
}

void DllLog::writeHeader() {
    if (stream_ != nullptr) {
        const std::string rule(73, '-');
        print("%s\n%s\nContents: Log details for korabit Dll\n%s%s\n", rule.c_str(), QELM_COPYRIGHT,
              timeStamp().c_str(), rule.c_str());
        std::fflush(stream_);
    }
}

// Written here: the C library's own form is shared by all threads, and not the same on every system.
std::string DllLog::timeStamp() {
    constexpr std::array<const char*, 7> days = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    constexpr std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm time = platform::localTime(std::time(nullptr));
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%s %s%3d %02d:%02d:%02d %d\n",
                  days[static_cast<std::size_t>(time.tm_wday) % days.size()],
                  months[static_cast<std::size_t>(time.tm_mon) % months.size()], time.tm_mday, time.tm_hour,
                  time.tm_min, time.tm_sec, 1900 + time.tm_year);
    return text.data();
}

} // namespace qelm::persistence
