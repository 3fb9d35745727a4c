#pragma once

#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace qelm::test {

/** The calls of start-up as they are written down in the test data, by the heading of their group. */
inline std::vector<std::pair<std::string, std::vector<std::string>>> startUpGroups() {
    std::vector<std::pair<std::string, std::vector<std::string>>> groups;
    std::ifstream file(QELM_TEST_DATA "/start_up.txt");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("# ")) {
            groups.emplace_back(line.substr(2), std::vector<std::string>{});
        } else {
            groups.back().second.push_back(line);
        }
    }
    return groups;
}

} // namespace qelm::test
