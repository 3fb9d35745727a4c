// The applet as a library in its host's process: loaded, used and unloaded any number of times, its data write
// protected.

#include "process_state.h"

#include "qelm/host/board.h"
#include "qelm/host/system.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <span>
#include <thread>

namespace qelm::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/** The vendor libraries, kept in the process as a host does that has more than one applet. */
std::list<host::Library> vendorLibraries() {
    std::list<host::Library> libraries;
    for (const char* name : {"qelm_virtual_board", "nuvrak5", "nuvrod", "qelm_hw", "nuvpix"}) {
        libraries.emplace_back(host::executableFolder() / host::libraryFileName(name));
    }
    return libraries;
}

/** A thread of the host's that outlives the applets it calls. */
class Worker {
  public:
    Worker() : thread_([this] { work(); }) {}
    ~Worker() {
        run({});
        thread_.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void run(std::function<void()> task) {
        std::unique_lock lock(mutex_);
        task_ = std::move(task);
        busy_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return !busy_; });
    }

  private:
    void work() {
        std::unique_lock lock(mutex_);
        for (bool on = true; on;) {
            changed_.wait(lock, [this] { return busy_; });
            on = task_ != nullptr;
            if (on) {
                task_();
            }
            busy_ = false;
            changed_.notify_all();
        }
    }

    std::mutex mutex_; // semaphores of libstdc++ 12 lose a wake-up now and then where there is no futex
    std::condition_variable changed_;
    std::function<void()> task_; // none: the end
    bool busy_ = false;
    std::thread thread_;
};

void callOnceFromEachThread(host::Board& board, Worker& worker) {
    const auto call = [&board] {
        EXPECT_EQ(board.set(FG_WIDTH, 512U), 0);
        EXPECT_EQ(board.set(FG_WIDTH, 1U), -6000); // an exception, inside
        EXPECT_NE(board.applet()->Fg_getParameterInfo(board, FG_WIDTH), nullptr);
    };
    call();
    worker.run(call);
}

void useFiles(host::Board& board, const std::string& file) {
    std::size_t size = 0;
    EXPECT_EQ(board.applet()->Fg_getParameterInfoXML(board, 0, nullptr, &size), 0);
    std::string document(size, '\0');
    EXPECT_EQ(board.applet()->Fg_getParameterInfoXML(board, 0, document.data(), &size), 0);
    EXPECT_EQ(board.applet()->Fg_saveConfig(board, file.c_str()), 0);
    EXPECT_EQ(board.applet()->Fg_loadConfig(board, file.c_str()), 0);
}

TEST(AppletLibrary, IsLoadedAndUnloadedThousandsOfTimesWithoutATrace) {
#if defined(_WIN32)
    constexpr int cycles = 1200; // more than a process has indices; "--gtest_repeat=5" makes thousands of it
#else
    constexpr int cycles = isSanitized ? 300 : 5000;
#endif
    constexpr int warm = 100; // by then the host, the system and the vendor libraries have what they keep
    constexpr int seldom = 20;
    constexpr std::size_t tolerated = std::size_t{128} << 10;
    const std::list<host::Library> kept = vendorLibraries();
    const TemporaryFolder folder;
    Worker worker;
    std::size_t index = 0;
    std::size_t handles = 0;
    std::size_t heap = 0;
    std::size_t addresses = 0;
    for (int cycle = 0; cycle < warm + cycles && !HasFailure(); ++cycle) {
        if (cycle == warm) {
            index = nextThreadLocalIndex();
            handles = openHandles();
            heap = heapInUse();
            addresses = addressSpaceInUse();
        }
        {
            const host::Applet applet;
            EXPECT_EQ(applet->Info(0x1100, 0, 0, const_cast<char*>("FG_GRAY16"), nullptr), FG_GRAY16);
            host::Board board(applet);
            callOnceFromEachThread(board, worker);
            if (cycle % seldom == 0) {
                useFiles(board, folder.file("settings.kcf"));
            }
            EXPECT_EQ(board.free(), 0);
        }
        EXPECT_FALSE(host::detail::openLoadedLibrary(host::Applet::defaultFile().filename().string()));
    }
    EXPECT_EQ(nextThreadLocalIndex(), index);
    EXPECT_EQ(openHandles(), handles);
    if (!isSanitized) { // sanitizers keep what was freed for a while
        EXPECT_LE(heapInUse(), heap + tolerated);
        EXPECT_LE(addressSpaceInUse(), addresses + 8 * tolerated);
    }
}

TEST(AppletLibrary, CannotOverwriteItsEmbeddedData) {
    const host::Applet applet;
    for (const std::int32_t request : {0x411, 0x412}) { // icon, design image
        std::uint64_t size = 0;
        const void* start = nullptr;
        ASSERT_EQ(applet->Info(request, 0, 0, &size, &start), 0);
        ASSERT_GT(size, 0U);
        const auto* bytes = static_cast<const std::uint8_t*>(start);
        EXPECT_FALSE(isWritable(bytes)) << request;
        EXPECT_FALSE(isWritable(bytes + size - 1)) << request;
    }
    static int written = 0;
    EXPECT_TRUE(isWritable(&written));
}

} // namespace
} // namespace qelm::test
