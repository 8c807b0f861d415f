#ifndef SIM_RANDOMWALK_H
#define SIM_RANDOMWALK_H

#include <algorithm>
#include <cstdint>
#include <random>

// The small random steps that make simulated figures move like measured ones.
namespace randomwalk {

// centre give or take spread, never below 0.
inline int wander(std::mt19937& random, int centre, int spread)
{
    std::uniform_int_distribution<int> offset(-spread, spread);
    return std::max(0, centre + offset(random));
}

// One step of a random walk kept between lo and hi.
inline int drift(std::mt19937& random, int value, int step, int lo, int hi)
{
    std::uniform_int_distribution<int> offset(-step, step);
    return std::clamp(value + offset(random), lo, hi);
}

inline bool oneIn(std::mt19937& random, int n)
{
    return std::uniform_int_distribution<int>(1, n)(random) == 1;
}

// A bit rate give or take `permille` thousandths.
inline uint32_t rate(std::mt19937& random, uint32_t bitrate, int permille)
{
    std::uniform_int_distribution<int> offset(-permille, permille);
    return static_cast<uint32_t>(static_cast<int64_t>(bitrate) * (1000 + offset(random)) / 1000);
}

} // namespace randomwalk

#endif
