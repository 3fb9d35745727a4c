// Reading all keys of a full configuration file twice, as a load does: the parser, beside a one-pass read into a map
// with look-ups, beside inih, and beside reading the file anew for every key.

#include "persistence/configuration.h"

#include <benchmark/benchmark.h>
#include <ini.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace {

using qelm::configuration::configurationKeys;
using qelm::configuration::KeyType;
using qelm::persistence::Fg_ConfigFileParser;

constexpr int passes = 2;

/** A file with every key, removed at the end. */
class FullFile {
  public:
    FullFile() : path_((std::filesystem::temp_directory_path() / "qelm_configuration_benchmark.kcf").string()) {
        Fg_ConfigFileParser writer(nullptr, nullptr, false);
        writer.setSaveFile(path_.c_str());
        writer.writeConfigFileHeader();
        writer.writeConfigFile("Hersteller", "Quellmark GmbH");
        writer.writeConfigFile("Typ", "Zantor_Obvelline_Qx4_RK");
        writer.writeConfigFileIntKey("AktivePort", 0);
        writer.writePortSection(0);
        for (const auto& key : configurationKeys) {
            switch (key.type) {
            case KeyType::integer:
                writer.writeConfigFileIntKey(key.name, 1024);
                break;
            case KeyType::number:
                writer.wrtiteConfigFileDoubleKey(key.name, 40.5);
                break;
            case KeyType::text:
                writer.writeConfigFile(key.name, "/data/reference/flat_field_1.tif");
                break;
            }
        }
        if (!writer.close()) {
            throw std::runtime_error(path_ + " cannot be written");
        }
    }
    ~FullFile() { std::filesystem::remove(path_); }
    FullFile(const FullFile&) = delete;
    FullFile& operator=(const FullFile&) = delete;

    const char* path() const { return path_.c_str(); }

  private:
    std::string path_;
};

const FullFile file;

/** Converts the value as its key's type asks; the competitors' way. */
void convert(const qelm::configuration::ConfigurationKey& key, const std::string& value) {
    switch (key.type) {
    case KeyType::integer:
        benchmark::DoNotOptimize(std::atoi(value.c_str()));
        break;
    case KeyType::number:
        benchmark::DoNotOptimize(std::atof(value.c_str()));
        break;
    case KeyType::text:
        benchmark::DoNotOptimize(value.data());
        break;
    }
}

void parser(benchmark::State& state) {
    for (auto _ : state) {
        Fg_ConfigFileParser reader(nullptr, file.path(), true);
        for (int pass = 0; pass < passes; ++pass) {
            for (const auto& key : configurationKeys) {
                auto value = qelm::persistence::readKey(reader, key);
                if (!value) {
                    state.SkipWithError(key.name);
                    return;
                }
                benchmark::DoNotOptimize(value);
            }
        }
    }
}

using Map = std::unordered_map<std::string, std::string>;

void lookUp(benchmark::State& state, const Map& map) {
    for (int pass = 0; pass < passes; ++pass) {
        for (const auto& key : configurationKeys) {
            const auto entry = map.find(key.name);
            if (entry == map.end()) {
                state.SkipWithError(key.name);
                return;
            }
            convert(key, entry->second);
        }
    }
}

void onePassIntoMap(benchmark::State& state) {
    for (auto _ : state) {
        Map map;
        std::FILE* stream = std::fopen(file.path(), "r");
        char line[256];
        while (std::fgets(line, sizeof line, stream) != nullptr) {
            char* equals = std::strchr(line, '=');
            if (equals == nullptr) {
                continue;
            }
            char* value = equals + 1 + std::strspn(equals + 1, "'");
            map.try_emplace(std::string(line, equals), std::string(value, std::strcspn(value, "';")));
        }
        std::fclose(stream);
        lookUp(state, map);
    }
}

void inih(benchmark::State& state) {
    for (auto _ : state) {
        Map map;
        const auto add = [](void* user, const char*, const char* name, const char* value) {
            value += std::strspn(value, "'");
            static_cast<Map*>(user)->try_emplace(name, std::string(value, std::strcspn(value, "';")));
            return 1;
        };
        ini_parse(file.path(), add, &map);
        lookUp(state, map);
    }
}

void rewindingPerKey(benchmark::State& state) {
    for (auto _ : state) {
        std::FILE* stream = std::fopen(file.path(), "r");
        for (int pass = 0; pass < passes; ++pass) {
            for (const auto& key : configurationKeys) {
                std::rewind(stream);
                char line[256];
                const std::size_t length = std::strlen(key.name);
                bool found = false;
                while (!found && std::fgets(line, sizeof line, stream) != nullptr) {
                    found = std::strncmp(line, key.name, length) == 0 && line[length] == '=';
                }
                if (!found) {
                    state.SkipWithError(key.name);
                    break;
                }
                char* value = line + length + 1 + std::strspn(line + length + 1, "'");
                convert(key, std::string(value, std::strcspn(value, "';")));
            }
        }
        std::fclose(stream);
    }
}

BENCHMARK(parser);
BENCHMARK(onePassIntoMap);
BENCHMARK(inih);
BENCHMARK(rewindingPerKey);

} // namespace
