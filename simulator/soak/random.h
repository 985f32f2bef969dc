// Random numbers that are the same on every machine: the standard fixes the engine, but not its
// distributions.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace soak {

class Random {
  public:
    explicit Random(uint64_t seed) : engine_(seed) {}

    /// 0 to `bound` - 1. The remainder favours small numbers by less than one in 2^40 for any bound here.
    uint64_t Below(uint64_t bound) { return engine_() % bound; }
    int64_t Between(int64_t least, int64_t most) {
        return least + static_cast<int64_t>(Below(static_cast<uint64_t>(most - least) + 1));
    }
    /// As Between, with the small numbers more often than the large ones.
    int64_t Skewed(int64_t least, int64_t most) { return Between(least, Between(least, most)); }
    bool Percent(int percent) { return Below(100) < static_cast<uint64_t>(percent); }

    template <class T, size_t N>
    const T& Pick(const T (&choices)[N]) {
        return choices[Below(N)];
    }
    template <class T>
    const T& Pick(const std::vector<T>& choices) {
        return choices[Below(choices.size())];
    }

    /// A generator of its own, so that what one part draws doesn't shift what another one gets.
    Random Fork() { return Random(engine_()); }

  private:
    std::mt19937_64 engine_;
};

}  // namespace soak
