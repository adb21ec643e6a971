// Chance that is the same on every system: the standard's distributions are not.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace simulation {

class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}
    /// One of the many sequences of a seed.
    Random(std::uint64_t seed, std::uint64_t number) : m_state(seed * 0x9E3779B97F4A7C15 + number)
    {
        next();
        m_state ^= number << 32;
    }

    std::uint64_t next()
    {
        std::uint64_t number = m_state += 0x9E3779B97F4A7C15;
        number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9;
        number = (number ^ (number >> 27)) * 0x94D049BB133111EB;
        return number ^ (number >> 31);
    }

    /// From the least to the most, both included.
    int between(int least, int most)
    {
        return least + static_cast<int>(next() % (static_cast<std::uint64_t>(most) -
                                                  static_cast<std::uint64_t>(least) + 1));
    }

    /// True once in so many times.
    bool once(int in) { return between(1, in) == 1; }

    template <typename Item>
    const Item& one(const std::vector<Item>& items)
    {
        return items[static_cast<std::size_t>(next() % items.size())];
    }
    template <typename Item>
    Item one(std::initializer_list<Item> items)
    {
        return *(items.begin() + static_cast<std::ptrdiff_t>(next() % items.size()));
    }

private:
    std::uint64_t m_state;
};

} // namespace simulation
