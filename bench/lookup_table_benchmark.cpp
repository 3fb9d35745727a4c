// The lookup table: the processor's curve beside the calls of pow that it cannot do without, and its files beside an
// integer parser and printer tuned by hand for these very bytes.

#include "features/lookup_table.h"
#include "features/lut_data_file.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstring>

namespace {

namespace features = qelm::features;

constexpr int entries = 4096;

void powCalls(benchmark::State& state) {
    const volatile double gamma = 2.2;
    const double exponent = 1.0 / gamma;
    std::array<double, entries> results{};
    for (auto _ : state) {
        for (int i = 0; i < entries; ++i) {
            results[static_cast<std::size_t>(i)] = std::pow(i / 4095.0, exponent);
        }
        benchmark::DoNotOptimize(results);
    }
}
BENCHMARK(powCalls);

void processorTable(benchmark::State& state, double gamma) {
    std::array<std::uint32_t, entries> table{};
    for (auto _ : state) {
        features::computeProcessorTable({.gamma = gamma}, table);
        benchmark::DoNotOptimize(table);
    }
}
BENCHMARK_CAPTURE(processorTable, gamma, 2.2);
BENCHMARK_CAPTURE(processorTable, linear, 1.0);

features::LutData table() {
    features::LutData data;
    for (std::uint32_t i = 0; i < entries; ++i) {
        data.data.push_back(i * 37 % entries);
    }
    return data;
}

std::string fileText() {
    features::LutDataFile file;
    file.writeGray(table());
    return file.text();
}

/** Knows that every line is right, and where the entries begin. */
void tunedParser(benchmark::State& state) {
    const std::string text = fileText();
    std::array<std::uint32_t, entries> values{};
    for (auto _ : state) {
        const char* place = text.data() + text.find("number=0;\n") + std::strlen("number=0;\n");
        for (std::uint32_t& value : values) {
            while (*place++ != ',') {
            }
            std::uint32_t number = 0;
            for (; *place != ';'; ++place) {
                number = number * 10 + static_cast<std::uint32_t>(*place - '0');
            }
            value = number;
            place += 2;
        }
        benchmark::DoNotOptimize(values);
    }
}
BENCHMARK(tunedParser);

void readGray(benchmark::State& state) {
    const features::LutDataFile file(fileText());
    for (auto _ : state) {
        benchmark::DoNotOptimize(file.readGray());
    }
}
BENCHMARK(readGray);

char* print(char* place, std::uint32_t number) {
    char digits[10];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    while (count > 0) {
        *place++ = digits[--count];
    }
    return place;
}

void tunedPrinter(benchmark::State& state) {
    const features::LutData data = table();
    const std::string head = fileText().substr(0, fileText().find("number=0;\n") + std::strlen("number=0;\n"));
    std::string text(std::size_t{64} << 10, '\0');
    for (auto _ : state) {
        std::memcpy(text.data(), head.data(), head.size());
        char* place = text.data() + head.size();
        for (std::uint32_t i = 0; i < entries; ++i) {
            place = print(place, i);
            *place++ = ',';
            place = print(place, data.data[i]);
            *place++ = ';';
            *place++ = '\n';
        }
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(tunedPrinter);

void writeGray(benchmark::State& state) {
    const features::LutData data = table();
    for (auto _ : state) {
        features::LutDataFile file;
        file.writeGray(data);
        benchmark::DoNotOptimize(file);
    }
}
BENCHMARK(writeGray);

} // namespace
