// Writes scenarios: the same seed gives the same text, on every machine.
#pragma once

#include <cstdint>
#include <string>

namespace soak {

struct GeneratorOptions {
    int days = 1;
    std::string family;  // empty: the seed decides
};

std::string GenerateScenario(uint64_t seed, const GeneratorOptions& options);

}  // namespace soak
