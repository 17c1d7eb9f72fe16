// Pair distances measured a lane group at a time: the pairs are laid out in
// blocks of eight, coordinate by coordinate, and measured four lanes at a
// time, or eight where the processor has AVX2 (chosen at run time; the four
// lanes are the baseline and give the same bits).
#pragma once

namespace zq {

constexpr int kPairBlock = 8;

// Eight pairs: p[end][axis][lane], the ends being the first segment's two
// ends and the second's (a point pair keeps its point in end 2).
struct pair_block {
    float p[4][3][kPairBlock];
};

// Sets end `e` of pair `i` of the blocks.
inline void put_end(pair_block* blocks, int i, int e, float x, float y, float z) {
    float(&axis)[3][kPairBlock] = blocks[i / kPairBlock].p[e];
    const int l = i % kPairBlock;
    axis[0][l] = x, axis[1][l] = y, axis[2][l] = z;
}
// Fills the lanes after the n pairs, up to the end of their block, with the
// last pair, so that every lane measured holds a pair.
void pad_pairs(pair_block* blocks, int n);

// The widest lane group this processor measures: 8 or 4.
int pair_lane_width();

// Distances of the first n pairs of the blocks, padded, into out[0..n) (out
// has room for n rounded up to eight): segment to segment as d_paralle
// measures them, or with `points`, from the point in end 2 to the segment of
// ends 0 and 1 as p2l does. `width` 4 or 8 picks the lanes (8 only where the
// processor has them), 0 the widest.
void pair_distances(const pair_block* blocks, int n, bool points, float* out, int width = 0);

}  // namespace zq
