#pragma once

#include <cstring>
#include <string>
#include <type_traits>

/** Values in the memory of callers, which may have any alignment: they are copied, never dereferenced. */
namespace qelm::parameters {

template <typename T>
T fromCaller(const void* place) {
    if constexpr (std::is_same_v<T, std::string>) {
        return static_cast<const char*>(place);
    } else {
        T value;
        std::memcpy(&value, place, sizeof value);
        return value;
    }
}

/** A text is copied with its terminating zero; the room for it is the caller's care. */
template <typename T>
void toCaller(const T& value, void* place) {
    if constexpr (std::is_same_v<T, std::string>) {
        std::memcpy(place, value.c_str(), value.size() + 1);
    } else {
        std::memcpy(place, &value, sizeof value);
    }
}

} // namespace qelm::parameters
