#include "kinematics/model_table.h"

namespace zq {
namespace {

constexpr float h = 1.5707964f;  // single-precision pi/2
constexpr float p = 3.1415927f;  // single-precision pi
constexpr float L = 0.0f;        // the force-dependent length, filled at load
constexpr uint8_t kAllForces = 0x3F;
constexpr uint8_t kPlainForces = 0x11;  // force values 0 and 4 only

// Force-dependent last lengths, indexed by force value 0 to 5.
#define ZQ41_LENGTHS {0.144f, 0.152f, 0.1725f, 0.1612f, 0.144f, 0.1612f}
#define ZQL36_LENGTHS {0.115f, 0.123f, 0.1435f, 0.1322f, 0.115f, 0.1322f}
#define ZQL36III_LENGTHS {0.1151f, 0.1231f, 0.1436f, 0.1323f, 0.1151f, 0.1323f}
#define VDA41_LENGTHS {0.0795f, 0.0875f, 0.108f, 0.0967f, 0.0795f, 0.0967f}
#define MQ52_LENGTHS {0.0968f, 0.114f, 0.114f, 0.114f, 0.0968f, 0.114f}
#define MQ52II_LENGTHS {0.1018f, 0.0962f, 0.0962f, 0.0962f, 0.1018f, 0.119f}
#define NO_LENGTHS {0, 0, 0, 0, 0, 0}

#define VEL6 {180, 180, 225, 225, 225, 225}
#define VEL7 {180, 180, 225, 225, 225, 225, 225}
#define PLUS {1, 1, 1, 1, 1, 1, 1, 1}

#define ZQL36_CHAIN {0, -0.086f, 0.38f, 0.069f}, {0, -h, 0, h, -h, -h}, {0, -h, h, 0, p, p}
#define VDA_TWIST {0, -h, 0, 0, h, -h}, {0, -h, 0, h}
#define VDA_DIR {1, -1, 1, -1, 1, 1, 1, 1}
#define KWB_LEFT_TWIST {0, -h, h, h, -h, h, h, h}, {0, -h, h, 0, 0, h, h}
#define KWB_RIGHT_TWIST {0, -h, h, h, -h, h, h, -h}, {0, -h, -h, 0, 0, h, -h}
#define KWB_LEFT_DIR {1, 1, 1, -1, 1, 1, 1, 1}
#define KWB_RIGHT_DIR {1, -1, 1, 1, 1, -1, 1, 1}
#define MQR_DIR {1, -1, 1, -1, 1, -1, 1, 1}

// code, dof, d, a, alpha, offset, length index, lengths, forces, max, min, vel, direction
const zq_model_entry_t kModels[] = {
    {0, 6, {0.2405f, 0, 0, 0.21f, 0, L}, {0, 0, 0.256f}, {0, h, 0, h, -h, h}, {0, h, h},
     5, ZQ41_LENGTHS, kAllForces,
     {178, 130, 135, 178, 128, 360}, {-178, -130, -135, -178, -128, -360}, VEL6, PLUS},
    {1, 7, {0.2405f, 0, 0.256f, 0, 0.21f, 0, L}, {0}, {-h, h, -h, h, -h, h, 0}, {0},
     6, ZQ41_LENGTHS, kAllForces,
     {178, 130, 178, 135, 178, 128, 360}, {-178, -130, -178, -135, -178, -128, -360}, VEL7, PLUS},
    {3, 6, {0.172f, 0, 0, 0.405f, 0, L}, ZQL36_CHAIN,
     5, ZQL36_LENGTHS, kAllForces,
     {178, 178, 145, 178, 178, 360}, {-178, -178, -178, -178, -178, -360}, VEL6,
     {1, -1, 1, 1, 1, 1, 1, 1}},
    {10, 6, {0.1625f, 0, 0, 0.405f, 0, L}, ZQL36_CHAIN,
     5, ZQL36III_LENGTHS, kAllForces,
     {178, 178, 145, 178, 178, 360}, {-178, -178, -178, -178, -178, -360}, VEL6,
     {1, -1, 1, 1, 1, 1, 1, 1}},
    {5, 6, {0.1625f, 0, 0, -0.05888f, 0.11f, L}, {0, -0.086f, 0.26f, 0.24f}, VDA_TWIST,
     5, VDA41_LENGTHS, kAllForces,
     {180, 180, 145, 140, 180, 180}, {-180, -180, -160, -140, -180, -180}, VEL6, VDA_DIR},
    {8, 6, {0.1625f, 0, 0, -0.0589f, 0.11f, L}, {0, -0.086f, 0.41f, 0.38f}, VDA_TWIST,
     5, VDA41_LENGTHS, kAllForces,
     {178, 135, 158, 178, 178, 360}, {-178, -178, -168, -178, -178, -360}, VEL6, VDA_DIR},
    {6, 6, {0.136f, 0, 0, -0.0585f, 0.071f, 0.0707f}, {0, -0.07f, 0.148f, 0.136f}, VDA_TWIST,
     -1, NO_LENGTHS, kPlainForces,
     {178, 110, 155, 178, 178, 360}, {-178, -170, -155, -178, -178, -360},
     {225, 225, 225, 180, 180, 180}, VDA_DIR},
    {7, 7, {0.218f, 0, 0.28f, 0, 0.2525f, 0, 0.0905f}, {0, 0, 0, 0.04f, -0.019f, 0, 0.067f},
     {0, -h, h, h, -h, h, h}, {0, 0, 0, 0, 0, h},
     -1, NO_LENGTHS, kPlainForces,
     {172, 105, 172, 55, 172, 120, 172}, {-172, -105, -172, -170, -172, -90, -172},
     {180, 180, 180, 180, 225, 225, 225}, {-1, 1, -1, 1, -1, 1, -1, 1}},
    {9, 7, {0}, {0}, {0}, {0},
     -1, NO_LENGTHS, kAllForces,
     {360, 360, 360, 360, 360, 360, 360}, {-360, -360, -360, -360, -360, -360, -360},
     {300, 300, 300, 300, 300, 300, 300}, PLUS},
    {12, 7, {0.1785f, 0, 0.29f, 0, 0.3088f, 0, 0, 0.11462f}, {0, 0, 0, 0.01f, -0.01f, 0, 0.01f},
     KWB_LEFT_TWIST, -1, NO_LENGTHS, kAllForces,
     {178, 178, 178, 7, 178, 70, 28}, {-178, -25, -178, -130, -178, -70, -120}, VEL7, KWB_LEFT_DIR},
    {13, 7, {0.1785f, 0, 0.29f, 0, 0.3088f, 0, 0, 0.11462f}, {0, 0, 0, 0.01f, -0.01f, 0, 0.01f},
     KWB_RIGHT_TWIST, -1, NO_LENGTHS, kAllForces,
     {178, 25, 178, 7, 178, 70, 120}, {-178, -178, -178, -130, -178, -70, -28}, VEL7, KWB_RIGHT_DIR},
    {27, 7, {0.1785f, 0, 0.29f, 0, 0.2855f, 0, 0, 0.119f}, {0, 0, 0, 0.01f, -0.01f, 0, 0.0155f},
     KWB_LEFT_TWIST, -1, NO_LENGTHS, kAllForces,
     {175, 175, 175, 97, 175, 67, 37}, {-175, -19, -175, -127, -175, -67, -117}, VEL7, KWB_LEFT_DIR},
    {28, 7, {0.1785f, 0, 0.29f, 0, 0.2855f, 0, 0, 0.119f}, {0, 0, 0, 0.01f, -0.01f, 0, 0.0155f},
     KWB_RIGHT_TWIST, -1, NO_LENGTHS, kAllForces,
     {175, 175, 175, 97, 175, 67, 117}, {-175, -19, -175, -127, -175, -67, -37}, VEL7, KWB_RIGHT_DIR},
    {14, 7, {0.2405f, 0, 0.322f, 0, 0.273f, 0, 0, L}, {0, 0, 0, 0, 0, 0, 0.01f},
     KWB_LEFT_TWIST, 7, MQ52_LENGTHS, kAllForces,
     {172, 178, 172, 15, 172, 55, 23}, {-172, -35, -172, -130, -172, -55, -109}, VEL7, PLUS},
    {15, 7, {0.2405f, 0, 0.322f, 0, 0.273f, 0, 0, L}, {0, 0, 0, 0, 0, 0, 0.01f},
     KWB_RIGHT_TWIST, 7, MQ52_LENGTHS, kAllForces,
     {172, 178, 172, 15, 172, 55, 109}, {-172, -35, -172, -130, -172, -55, -23}, VEL7, MQR_DIR},
    {21, 7, {0.1915f, 0, 0.322f, 0, 0.2755f, 0, 0, L}, {0, 0, 0, 0, 0, 0, 0.0155f},
     KWB_LEFT_TWIST, 7, MQ52II_LENGTHS, kAllForces,
     {173, 178, 173, 15, 173, 55, 35}, {-173, -35, -173, -130, -173, -55, -109}, VEL7, PLUS},
    {22, 7, {0.1915f, 0, 0.322f, 0, 0.2755f, 0, 0, L}, {0, 0, 0, 0, 0, 0, 0.0155f},
     KWB_RIGHT_TWIST, 7, MQ52II_LENGTHS, kAllForces,
     {173, 178, 173, 15, 173, 55, 109}, {-173, -35, -173, -130, -173, -55, -35}, VEL7, MQR_DIR},
};

// Internal code of each public model number 0 to 17.
constexpr int kPublicToInternal[] = {0, 1, 2, 3, 10, 5, 6, 7, 8, 9, 12, 13, 14, 15, 27, 28, 21, 22};

}  // namespace

const zq_model_entry_t* find_model_entry(int code) {
    for (const auto& e : kModels)
        if (e.code == code) return &e;
    return nullptr;
}

int public_to_internal_model(int model) {
    constexpr int n = sizeof(kPublicToInternal) / sizeof(kPublicToInternal[0]);
    return (model >= 0 && model < n) ? kPublicToInternal[model] : 0;
}

int internal_to_public_model(int code) {
    constexpr int n = sizeof(kPublicToInternal) / sizeof(kPublicToInternal[0]);
    for (int i = 0; i < n; ++i)
        if (kPublicToInternal[i] == code) return i;
    return kUniversalCode;
}

int public_force(int force) { return (force >= 0 && force < kForceVariants) ? force : 0; }

}  // namespace zq
