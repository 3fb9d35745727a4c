// Start-up to the ready applet and the load of a configuration, beside the calls into the vendor libraries that each of
// them consists of, made again plainly: what any implementation has to spend on the same kind of virtual board. The
// counters tell the parts in microseconds. Both sides take turns, and the fastest of each counts, so that whatever else
// the machine does meets both.

#include "runtime.h"

#include "configuration/keys.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qelm::host;
using qelm::bench::Runtime;
using Clock = std::chrono::steady_clock;

template <typename Action>
double microsecondsOf(Action&& action) {
    const auto start = Clock::now();
    action();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

/** The fastest of several. */
class Fastest {
  public:
    void add(double value) { value_ = std::min(value_, value); }
    double value() const { return value_; }

  private:
    double value_ = std::numeric_limits<double>::max();
};

/** What the vendor libraries were asked for, as calls that can be made again. */
class Recording {
  public:
    /** Records all that `action` leads to. */
    template <typename Action>
    Recording(const Applet& applet, const Runtime& runtime, Action&& action) {
        applet.virtualBoard()->traceStart();
        action();
        applet.virtualBoard()->traceStop();
        for (std::size_t i = 0; i < applet.virtualBoard()->traceLength(); ++i) {
            add(*applet.virtualBoard()->traceAt(i), runtime);
        }
        if (writes_.empty()) {
            throw std::runtime_error("nothing was written");
        }
    }

    void lookUp(const Runtime& runtime) const {
        for (const std::string& name : names_) {
            benchmark::DoNotOptimize(runtime.idOf(name.c_str()));
        }
        for (const std::string& name : registers_) {
            benchmark::DoNotOptimize(runtime.addressOf(name.c_str()));
        }
    }
    void write(const Runtime& runtime) const {
        for (const Write& write : writes_) {
            benchmark::DoNotOptimize(runtime.set(write.id, write.values.data()));
        }
        for (const Element& element : elements_) {
            benchmark::DoNotOptimize(runtime.setElement(element.id, element.value));
        }
        for (const Write& field : fields_) {
            benchmark::DoNotOptimize(runtime.setField(field.id, field.values));
        }
        for (const Write& entry : registerWrites_) {
            benchmark::DoNotOptimize(runtime.writeRegister(static_cast<std::uint32_t>(entry.id), entry.values[0]));
        }
    }
    std::size_t writes() const { return writes_.size() + elements_.size() + fields_.size() + registerWrites_.size(); }

  private:
    struct Write {
        std::int32_t id;
        std::vector<std::uint32_t> values;
    };
    struct Element {
        std::int32_t id;
        FieldElement value;
    };

    /** The numbers of a field, "[4096] 0 1 2 ...". */
    static std::vector<std::uint32_t> fieldOf(std::string_view text) {
        std::vector<std::uint32_t> values;
        for (std::size_t position = text.find(' '); position != text.npos; position = text.find(' ', position + 1)) {
            std::from_chars(text.data() + position + 1, text.data() + text.size(), values.emplace_back());
        }
        return values;
    }

    void add(const VirtualBoardTraceEntry& entry, const Runtime& runtime) {
        const std::string_view call = entry.call;
        const std::string_view value = entry.value;
        if (call == "Fg_getParameterIdByName") {
            names_.emplace_back(entry.target);
        } else if (call == "getDesignRegisterAddress") {
            registers_.emplace_back(entry.target);
        } else if (call == "writeRegister") {
            registerWrites_.push_back({static_cast<std::int32_t>(runtime.addressOf(entry.target)),
                                       {static_cast<std::uint32_t>(entry.number)}});
        } else if (call == "Fg_setParameterWithType" && value.starts_with('[')) {
            fields_.push_back({runtime.idOf(entry.target), fieldOf(value)});
        } else if (call == "Fg_setParameterWithType" && value.find(": ") != value.npos) {
            elements_.push_back({runtime.idOf(entry.target), {static_cast<std::uint32_t>(entry.number), entry.index}});
        } else if (call == "Fg_setParameterWithType") {
            writes_.push_back({runtime.idOf(entry.target), {static_cast<std::uint32_t>(entry.number)}});
        }
    }

    std::vector<std::string> names_;
    std::vector<std::string> registers_;
    std::vector<Write> writes_;
    std::vector<Element> elements_;
    std::vector<Write> fields_;
    std::vector<Write> registerWrites_;
};

void startUp(benchmark::State& state) {
    const Applet applet;
    const Runtime replayer(applet);
    const Recording recording(applet, replayer, [&] { const Board board(applet); });
    Fastest whole;
    Fastest handle;
    Fastest names;
    Fastest writes;
    for (auto _ : state) {
        VirtualBoard* board = applet.virtualBoard()->open();
        std::optional<Board> started;
        const double time = microsecondsOf([&] { started.emplace(applet, BoardOptions{.handle = board}); });
        started.reset();
        applet.virtualBoard()->close(board);
        whole.add(time);
        state.SetIterationTime(time / 1e6);

        std::optional<Runtime> runtime;
        handle.add(microsecondsOf([&] { runtime.emplace(applet); }));
        names.add(microsecondsOf([&] { recording.lookUp(*runtime); }));
        writes.add(microsecondsOf([&] { recording.write(*runtime); }));
    }
    state.counters["image_and_handle_us"] = handle.value();
    state.counters["names_us"] = names.value();
    state.counters["writes_us"] = writes.value();
    state.counters["writes"] = static_cast<double>(recording.writes());
    state.counters["whole_us"] = whole.value();
    state.counters["ratio"] = whole.value() / (handle.value() + names.value() + writes.value());
}
BENCHMARK(startUp)->UseManualTime()->Unit(benchmark::kMicrosecond);

/** A file of this run's own. */
class SavedFile {
  public:
    explicit SavedFile(const Board& board) {
        std::string folder = (std::filesystem::temp_directory_path() / "qelm-start-up-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) {
            throw std::runtime_error("there is no room for files");
        }
        folder_ = folder;
        name_ = (folder_ / "setup.kcf").string();
        if (board.applet()->Fg_saveConfig(board, name_.c_str()) != 0) {
            throw std::runtime_error("the configuration cannot be saved");
        }
    }
    ~SavedFile() { std::filesystem::remove_all(folder_); }
    SavedFile(const SavedFile&) = delete;
    SavedFile& operator=(const SavedFile&) = delete;

    const char* name() const { return name_.c_str(); }

  private:
    std::filesystem::path folder_;
    std::string name_;
};

/** Reads the file and looks all its keys up, twice as a load does. */
void readKeys(const char* file) {
    std::ifstream stream(file, std::ios::binary);
    qelm::configuration::ConfigurationText text(std::string(std::istreambuf_iterator<char>(stream), {}));
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& key : qelm::configuration::configurationKeys) {
            benchmark::DoNotOptimize(qelm::configuration::readKey(text, key));
        }
    }
}

void loadConfiguration(benchmark::State& state) {
    const Applet applet;
    const Board board(applet);
    const SavedFile file(board);
    Runtime runtime(applet);
    const auto load = [&] {
        if (applet->Fg_loadConfig(board, file.name()) != 0) {
            state.SkipWithError("the configuration cannot be loaded");
        }
    };
    const Recording recording(applet, runtime, load);
    Fastest whole;
    Fastest reading;
    Fastest writes;
    for (auto _ : state) {
        const double time = microsecondsOf(load);
        whole.add(time);
        state.SetIterationTime(time / 1e6);
        reading.add(microsecondsOf([&] { readKeys(file.name()); }));
        writes.add(microsecondsOf([&] { recording.write(runtime); }));
    }
    state.counters["file_us"] = reading.value();
    state.counters["writes_us"] = writes.value();
    state.counters["writes"] = static_cast<double>(recording.writes());
    state.counters["whole_us"] = whole.value();
    state.counters["ratio"] = whole.value() / (reading.value() + writes.value());
}
BENCHMARK(loadConfiguration)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
