// The arm model table: one row of data per internal model code, and the
// mappings between public model and force numbers and internal codes.
#pragma once

#include <cstdint>

namespace zq {

constexpr int kForceVariants = 6;
constexpr int kMaxModelCode = 32;
constexpr int kUniversalCode = 9;

struct zq_model_entry_t {
    int code;  // internal model code
    int dof;
    float d[8];
    float a[8];
    float alpha[8];
    float offset[8];
    int length_index;                // entry of d set by the force variant, -1 for none
    float length[kForceVariants];    // that entry, per force value
    uint8_t force_mask;              // bit f set: force value f loads
    float pos_max[8];                // degrees
    float pos_min[8];                // degrees
    float vel[8];                    // degrees per second
    float direction[8];
};

constexpr float kTableAccLimit = 600.0f;                    // every joint of every model
constexpr float kTableTcpLimit[4] = {0.25f, 1.6f, 0.6f, 4.0f};

// The row of an internal code, or null (reserved codes, code 2, out of range).
const zq_model_entry_t* find_model_entry(int code);
// Public model number to internal code; values outside 0 to 17 give 0.
int public_to_internal_model(int model);
// Internal code to public model number; codes without one give 9.
int internal_to_public_model(int code);
// Public force value; values outside 0 to 5 give 0.
int public_force(int force);
// Codes whose chain ends in a fixed eighth link (the KWB and MQ families).
constexpr bool has_flange_link(int code) {
    constexpr uint64_t kCodes = 0x1FE60F000ull;  // 12 to 15, 21, 22, 25 to 32
    return code >= 0 && code < 64 && ((kCodes >> code) & 1u) != 0;
}
// Codes written in the standard DH form.
constexpr bool uses_standard_dh(int code) {
    return code == 1 || code == 19 || code == 20 || code == 23 || code == 24;
}

}  // namespace zq
