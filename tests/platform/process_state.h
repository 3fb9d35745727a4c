#pragma once

#include <cstddef>

/** What a library may leave behind in its host's process; one source per system under posix/ and win32/. */
namespace qelm::test {

/** The next free index of thread-local storage. Indices are given from the lowest up, so it grows by what is kept. */
std::size_t nextThreadLocalIndex();
/** Open handles or file descriptors. */
std::size_t openHandles();
/** Bytes that are allocated from the heap. */
std::size_t heapInUse();
/** Bytes of address space that the process has taken. */
std::size_t addressSpaceInUse();

/** Whether the process may write to the page at an address. @throws std::runtime_error when nothing is mapped there */
bool isWritable(const void* address);

} // namespace qelm::test
