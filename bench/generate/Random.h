#pragma once
// Pseudo-random numbers that are the same everywhere: the standard library's distributions differ between its
// implementations, but the generated feeds must not.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>

/// SplitMix64. Seeding it with several numbers gives each feed and each episode a sequence of its own, so that an
/// episode's bytes do not depend on how many others are written.
class Random {
public:
    Random(std::initializer_list<std::uint64_t> seeds) noexcept {
        for (const std::uint64_t seed : seeds) {
            FState ^= seed;
            // Mix after each seed: merely combining them would give neighbouring seeds the same sequence, shifted by
            // one step.
            FState = Next();
        }
    }

    std::uint64_t Next() noexcept {
        std::uint64_t z = (FState += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    /// A number from `least` to `most`, both included. The slight bias of the modulo does not matter here.
    std::int64_t Between(std::int64_t least, std::int64_t most) noexcept {
        return least + static_cast<std::int64_t>(Next() % static_cast<std::uint64_t>(most - least + 1));
    }

    bool OneIn(std::int64_t n) noexcept { return Between(1, n) == 1; }

    /// One of an array's elements.
    template <class Choices>
    const auto& Of(const Choices& choices) noexcept {
        return choices[static_cast<std::size_t>(Between(0, static_cast<std::int64_t>(std::size(choices)) - 1))];
    }

private:
    std::uint64_t FState = 0;
};
