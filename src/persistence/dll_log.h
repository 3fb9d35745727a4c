#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace qelm::persistence {

/**
 * A text log of one-line entries. Writes to a stream that its owner has opened and attached; without one every
 * operation does nothing. Entries are flushed at once, so that the file is complete when the process ends abruptly;
 * write errors are ignored. Takes no lock.
 */
class DllLog {
  public:
    DllLog() = default;
    /** Takes over the stream, which the log closes. */
    explicit DllLog(std::FILE* stream) : stream_(stream) {}
    DllLog(const DllLog&) = delete;
    DllLog& operator=(const DllLog&) = delete;
    ~DllLog() { close(); }

    /** Takes over the stream, in place of the one attached before, which is closed. */
    void attach(std::FILE* stream);
    /** Flushes and closes the stream. */
    void close();

    /** Plain information is discarded. */
    void info(const char* /*message*/) {}
    void infoEnd() {}
    void info(const char* message, std::int32_t value);
    void error(const char* message);
    void error(const char* message, const char* detail, std::int32_t value);
    void error(const char* message, const char* detail, double value);
    /** The formatted text alone: no line end, no flush. */
    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);

    /** The block that opens a log file: the vendor's copyright line and the time. */
    void writeHeader();
    /** The local time as "Sun Sep 16 01:03:52 1973" and a line feed, in English whatever the locale. */
    static std::string timeStamp();

  private:
    std::FILE* stream_ = nullptr;
};

} // namespace qelm::persistence
