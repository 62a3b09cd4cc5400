#include "tests/hook/CapturedPayloads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace pelorin {

namespace {

std::filesystem::path payloadDirectory() {
    return std::filesystem::path(PELORIN_SOURCE_DIR) / "tests/fixtures/payloads";
}

} // namespace

std::vector<CapturedPayload> capturedPayloads(const std::string& cli) {
    std::vector<CapturedPayload> payloads;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(payloadDirectory() / cli)) {
        if (entry.path().extension() != ".json")
            continue;
        const std::string name = std::filesystem::relative(entry.path(), payloadDirectory()).string();
        const std::string file = entry.path().filename().string();
        payloads.push_back({name, file.substr(0, file.find('.')), capturedPayload(name)});
    }
    std::sort(payloads.begin(), payloads.end(),
              [](const auto& one, const auto& other) { return one.name < other.name; });
    EXPECT_FALSE(payloads.empty()) << "no payloads of " << cli;
    return payloads;
}

std::string capturedPayload(const std::string& name) {
    std::ifstream file(payloadDirectory() / name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace pelorin
