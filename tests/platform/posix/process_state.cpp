#include "process_state.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <pthread.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace qelm::test {

std::size_t nextThreadLocalIndex() {
    pthread_key_t key{};
    if (pthread_key_create(&key, nullptr) != 0) {
        throw std::runtime_error("no key of thread-local storage is left");
    }
    pthread_key_delete(key);
    return key;
}

std::size_t openHandles() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

std::size_t heapInUse() {
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

std::size_t addressSpaceInUse() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

bool isWritable(const void* address) {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) { // "7f0000000000-7f0000001000 r--p ..."
        std::istringstream fields(line);
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        char dash = '-';
        std::string rights;
        fields >> std::hex >> first >> dash >> end >> rights;
        if (first <= wanted && wanted < end) {
            return rights.at(1) == 'w';
        }
    }
    throw std::runtime_error("nothing is mapped at the address");
}

} // namespace qelm::test
