// Pair distances measured a lane group at a time: four lanes, or eight where
// the processor has AVX2 (chosen at run time; the four lanes are the baseline
// and give the same bits). Each lane takes the ends of its pair from a list
// of points by their numbers.
#pragma once

#include <cstdint>

namespace zq {

// The lanes of the widest group.
constexpr int kPairBlock = 8;

// One pair: the numbers of its ends in the point list, the first segment's
// two ends then the second's (a point pair has its point in end 2).
struct pair_ends {
    uint8_t e[4];
};

// The widest lane group this processor measures: 8 or 4.
int pair_lane_width();

// Distances of n pairs whose ends are points of `xyz` (point i at xyz[3 i],
// xyz[3 i + 1], xyz[3 i + 2]; a point is read with the number after it, so
// the list must go on one number past the last point used, whatever its
// value): segment to segment as d_paralle measures them,
// or with `points`, from the point in end 2 to the segment of ends 0 and 1 as
// p2l does. `ends` holds n rounded up to eight entries (those past n repeat a
// pair), `out` has room for as many. `width` 4 or 8 picks the lanes (8 only
// where the processor has them), 0 the widest.
void pair_distances(const float* xyz, const pair_ends* ends, int n, bool points, float* out, int width = 0);

}  // namespace zq
