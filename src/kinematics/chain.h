// The general DH chain of the loaded arm, wrapped by its tool, work and
// installation transforms.
#pragma once

#include "kinematics/kin_types.h"
#include "kinematics/lanes.h"

namespace zq {

// Angle modes: "machine" adds each joint's offset, "modeling" does not. Any
// text other than "modeling" acts as "machine".
constexpr const char* kMachine = "machine";
constexpr const char* kModeling = "modeling";
bool is_modeling(const char* mode);

// q in radians (8 entries). `key` chooses the product:
//   "Twt" Twork_world Tworld_base Tbase_flange Tflange_tool
//   "T0n" Tbase_flange            "T06", "T02", "T05" the cached partial chains
//   "T0t" Tbase_flange Tflange_tool
//   "Tbt" Tworld_base Tbase_flange Tflange_tool
//   "Tbn" Tworld_base Tbase_flange
//   "Twn" Twork_world Tworld_base Tbase_flange
//   anything else: Twork_world Tworld_base
// Every evaluation refreshes the caches T02, T05 and T06 (the chain after
// joints 2, 5 and 6).
zq_matrix_t chain_transform(const float q[8], const char* mode, const char* key);
// Tbase_flange alone, the "T0n" product, with the offsets added when
// `add_offset` (the "machine" mode); refreshes the same caches.
zq_matrix_t chain_base_flange(const float q[8], bool add_offset);
// The same as columns: c[0] to c[2] the rotation columns, c[3] the translation.
void chain_base_flange_columns(const float q[8], bool add_offset, Lanes c[4]);

// The cached partial chains of the last evaluation.
zq_matrix_t cached_T02();
zq_matrix_t cached_T05();
zq_matrix_t cached_T06();

}  // namespace zq
