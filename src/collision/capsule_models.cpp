// The capsule tables of the arm families. Each cell is the frame a capsule
// hangs from and its two end points in that frame, metres; lengths that follow
// the arm read d[i] and a[i] of the DH chain in use.
#include "collision/capsule_models.h"

namespace zq {
namespace {

constexpr int B = kBaseFrame;

// Walk rules:     spheres  links  link   link   links  tool    last link:
//                 x joints rows   points caps   up to  points  joints  links   points caps
constexpr walk_rules kWalk4x4{3, 4, 3, 3, -1, 4, 0, 0, false, false};        // every link, last one spares the tool
constexpr walk_rules kWalk4x5{3, 5, 4, 4, -1, 4, 0, 0, false, false};        // the same over five links
constexpr walk_rules kWalkZQL{3, 4, 4, 3, 3, 4, 0x09, 0x09, false, true};    // forearm link meets joints 0, 3 and links 0, 3
constexpr walk_rules kWalkMQ{3, 5, 4, 4, 4, 4, 0x07, 0x07, false, false};    // elbow plate meets joints 0-2 and links 0-2
constexpr walk_rules kWalkMQII{3, 4, 3, 3, 3, 4, 0x00, 0x00, false, false};  // last link meets nothing further
constexpr walk_rules kWalkKWB{3, 5, 4, 4, 4, 4, 0x01, 0x03, true, false};    // elbow ball meets joint 0, tool, links 0-1

// The families of the seven-joint arms with a fixed eighth link share their
// link chain up to the side of the wrist plate; these build the rows.
constexpr capsule_def kMQBase{B, {0, 0, 0}, {0, 0, d_plus(0, -0.043f)}};
constexpr capsule_def kMQUpper{1, {0, -0.043f, 0}, {0, c_minus_d(0.036f, 2), 0}};
constexpr capsule_def kMQFore{3, {0, 0.036f, 0}, {0, d_plus(4, -0.1305f), 0}};
constexpr capsule_def kMQFlange{6, {0, 0, 0}, {0, d_plus(7), 0}};
// The left-hand arms turn the fixed last link the other way round: the flange
// lies at y -d[7] of frame 6 (printed with y d[7], as the right-hand arms).
constexpr capsule_def kMQFlangeLeft{6, {0, 0, 0}, {0, c_minus_d(0.0f, 7), 0}};
constexpr capsule_def kMQWrist6{6, {0, 0, -0.044f}, {0, 0, 0.044f}};
constexpr capsule_def kMQFlangeJoint{7, {0, 0, -0.032f}, {0, 0, 0}};

constexpr capsule_def kKWB37Upper{1, {0, -0.064f, 0}, {0, c_minus_d(0.068f, 2), 0}};
constexpr capsule_def kKWB37Fore{3, {a_plus(3), 0.068f, 0}, {a_plus(3), d_plus(4, -0.13348f), 0}};
constexpr capsule_def kKWB37Elbow{3, {a_plus(3), d_plus(4, -0.13348f), 0}, {a_plus(3), d_plus(4, -0.13348f), 0}};
constexpr capsule_def kKWB47Upper{1, {0, -0.065f, 0}, {0, c_minus_d(0.059f, 2), 0}};
constexpr capsule_def kKWB47Fore{3, {a_plus(3), 0.059f, 0}, {a_plus(3), d_plus(4, -0.13888f), 0}};
constexpr capsule_def kKWB47Elbow{3, {a_plus(3), d_plus(4, -0.13888f), 0}, {a_plus(3), d_plus(4, -0.13888f), 0}};

constexpr capsule_family kFamilies[] = {
    {"ZQ41", {0, -1, -1}, false, 6, 4, 4,
     {0.0405f, 0.034f, 0.03f, 0.03f}, {0.055f, 0.04f, 0.03f, 0.03f},
     {{1, {0, 0, -0.05301f}, {0, 0, 0.03369f}}, {2, {0, 0, -0.0552f}, {0, 0, 0.03222f}},
      {4, {0, 0, -0.04463f}, {0, 0, 0.03129f}}, {5, {0, 0, -0.03f}, {0, 0, 0}}},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.0405f)}}, {1, {0.0405f, 0, 0}, {a_plus(2, -0.034f), 0, 0}},
      {2, {0, -0.034f, 0}, {0, c_minus_d(0.03f, 3), 0}},   // printed with y d[3] - 0.03
      {4, {0, -0.03f, 0}, {0, c_minus_d(0.03f, 5), 0}}},  // printed with y d[5] - 0.03
     kWalk4x4},
    {"ZQ52", {1, -1, -1}, true, 7, 4, 4,
     {0.0405f, 0.034f, 0.03f, 0.03f}, {0.055f, 0.04f, 0.03f, 0.03f},
     {{1, {0, -0.05301f, 0}, {0, 0.03369f, 0}}, {3, {0, -0.0552f, 0}, {0, 0.03222f, 0}},
      {5, {0, -0.04463f, 0}, {0, 0.03129f, 0}}, {6, {0, 0, -0.03f}, {0, 0, 0}}},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.0405f)}}, {1, {0, 0, 0.0405f}, {0, 0, d_plus(2, -0.034f)}},
      {3, {0, 0, 0.034f}, {0, 0, d_plus(4, -0.03f)}}, {5, {0, 0, 0.03f}, {0, 0, d_plus(6, -0.03f)}}},
     kWalk4x4},
    {"ZQL36", {3, 10, -1}, false, 6, 4, 5,
     {0.043f, 0.037f, 0.03f, 0.03f}, {0.055f, 0.042f, 0.035f, 0.03f, 0.027f},
     {{1, {0, 0, -0.115f}, {0, 0, 0.008f}}, {2, {0, 0, -0.108f}, {0, 0, 0.024f}},
      {4, {0, 0, -0.081f}, {0, 0, 0.019f}}, {5, {0, 0, -0.029f}, {0, 0, 0}}},
     {{B, {0, 0, 0}, {0, 0, d_plus(0)}}, {1, {0.043f, 0, -0.073f}, {a_plus(2, -0.037f), 0, -0.073f}},
      {2, {a_plus(3), 0, 0}, {a_plus(3), -0.15f, 0}}, {4, {0, 0.03f, 0}, {0, d_plus(5, -0.029f), 0}},
      {3, {0, 0, c_minus_d(0.03f, 3)}, {0, -0.081f, -0.03f}}},  // printed with z d[3] - 0.03
     kWalkZQL},
    {"VDA41", {5, 8, -1}, false, 6, 4, 5,
     {0.042f, 0.036f, 0.035f, 0.03f}, {0.055f, 0.045f, 0.0365f, 0.03f, 0.03f},
     {{1, {0, 0, -0.0953f}, {0, 0, 0.02f}}, {2, {0, 0, -0.0716f}, {0, 0, 0.0293f}},
      {3, {0, 0, -0.03f}, {0, 0, 0.1005f}}, {5, {0, 0, -0.03f}, {0, 0, 0}}},
     {{B, {0, 0, 0}, {0, 0, d_plus(0)}}, {1, {0.042f, 0, -0.0503f}, {a_plus(2, -0.036f), 0, -0.0503f}},
      {2, {0.036f, 0, 0}, {a_plus(3, -0.035f), 0, 0}}, {3, {0, -0.035f, 0}, {0, c_minus_d(0.03f, 4), 0}},  // printed with y d[4] - 0.03
     
      {4, {0, -0.03f, 0}, {0, d_plus(5, -0.03f), 0}}},
     kWalk4x5},
    {"VDA26", {6, -1, -1}, false, 6, 4, 5,
     {0.033f, 0.033f, 0.025f, 0.025f}, {0.055f, 0.045f, 0.0375f, 0.029f, 0.029f},
     {{1, {0, 0, -0.08f}, {0, 0, 0.017f}}, {2, {0, 0, -0.0716f}, {0, 0, 0.023f}},
      {3, {0, 0, -0.023f}, {0, 0, 0.075f}}, {5, {0, 0, -0.025f}, {0, 0, 0}}},
     {{B, {0, 0, 0}, {0, 0, d_plus(0)}}, {1, {0.033f, 0, -0.035f}, {a_plus(2, -0.033f), 0, -0.035f}},
      {2, {0.033f, 0, 0}, {a_plus(3, -0.025f), 0, 0}}, {3, {0, -0.025f, 0}, {0, c_minus_d(0.025f, 4), 0}},  // printed with y d[4] - 0.025
     
      {4, {0, -0.025f, 0}, {0, d_plus(5, -0.025f), 0}}},
     kWalk4x5},
    {"HTR27", {7, 11, 18}, false, 7, 4, 4,
     {0.045f, 0.045f, 0.032f, 0.032f}, {0.055f, 0.045f, 0.032f, 0.032f},
     {{1, {0, 0, -0.045f}, {0, 0, 0.045f}}, {3, {0, 0, -0.038f}, {0, 0, 0.038f}},
      {5, {0, 0, -0.035f}, {0, 0, 0.035f}}, {6, {0, 0, -0.04f}, {0, 0, 0}}},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.045f)}},
      {1, {0, -0.045f, 0}, {0, c_minus_d(0.0f, 2), 0}},                               // printed with y d[2]
      {4, {0, 0, c_minus_d(0.045f, 4)}, {0, 0, -0.032f}},                             // printed with z d[4] - 0.045
      {6, {0, 0, c_minus_d(0.016f, 6)}, {0, 0, c_minus_d(0.032f, 6)}}},               // printed with z d[6] - 0.016, - 0.032
     kWalk4x4},
    {"MQL52", {14, -1, -1}, false, 8, 5, 6,
     {0.043f, 0.036f, 0.042f, 0.032f, 0.032f}, {0.056f, 0.037f, 0.032f, 0.02f, 0.031f, 0.03f},
     {{1, {0, 0, -0.047f}, {0, 0, 0.068f}}, {3, {0, 0, -0.067f}, {0, 0, 0.045f}},
      {4, {0, -0.0611f, -0.0885f}, {0, 0.0459f, -0.0885f}}, kMQWrist6, kMQFlangeJoint},
     {kMQBase, kMQUpper, kMQFore, {4, {0, -0.047f, -0.0465f}, {0, -0.047f, two_a(6)}}, kMQFlangeLeft,
      {6, {0.0845f, -0.07f, -0.044f}, {0.0845f, -0.07f, 0.044f}}},
     kWalkMQ},
    {"MQR52", {15, -1, -1}, false, 8, 5, 6,
     {0.043f, 0.036f, 0.042f, 0.032f, 0.032f}, {0.056f, 0.037f, 0.032f, 0.02f, 0.031f, 0.03f},
     {{1, {0, 0, -0.068f}, {0, 0, 0.047f}}, {3, {0, 0, -0.045f}, {0, 0, 0.067f}},
      {4, {0, -0.0459f, -0.0885f}, {0, 0.0611f, -0.0885f}}, kMQWrist6, kMQFlangeJoint},
     {kMQBase, kMQUpper, kMQFore, {4, {0, 0.047f, -0.0465f}, {0, 0.047f, two_a(6)}}, kMQFlange,
      {6, {0.0845f, 0.07f, -0.044f}, {0.0845f, 0.07f, 0.044f}}},
     kWalkMQ},
    {"MQL52II", {21, -1, -1}, false, 8, 5, 5,
     {0.043f, 0.036f, 0.042f, 0.032f, 0.032f}, {0.056f, 0.037f, 0.032f, 0.02f, 0.031f},
     {{1, {0, 0, -0.047f}, {0, 0, 0.068f}}, {3, {0, 0, -0.067f}, {0, 0, 0.045f}},
      {4, {0, -0.062f, -0.0885f}, {0, 0.041f, -0.0885f}}, kMQWrist6, kMQFlangeJoint},
     {kMQBase, kMQUpper, kMQFore, {4, {0, -0.055f, -0.0465f}, {0, -0.055f, two_a(6)}}, kMQFlangeLeft},
     kWalkMQII},
    {"MQR52II", {22, -1, -1}, false, 8, 5, 5,
     {0.043f, 0.036f, 0.042f, 0.032f, 0.032f}, {0.056f, 0.037f, 0.032f, 0.02f, 0.031f},
     {{1, {0, 0, -0.068f}, {0, 0, 0.047f}}, {3, {0, 0, -0.045f}, {0, 0, 0.067f}},
      {4, {0, -0.041f, -0.0885f}, {0, 0.062f, -0.0885f}}, kMQWrist6, kMQFlangeJoint},
     {kMQBase, kMQUpper, kMQFore, {4, {0, 0.055f, -0.0465f}, {0, 0.055f, two_a(6)}}, kMQFlange},
     kWalkMQII},
    {"KWBL37", {12, -1, -1}, false, 8, 5, 6,
     {0.064f, 0.068f, 0.04f, 0.032f, 0.032f}, {0.043f, 0.05f, 0.058f, 0.02f, 0.031f, 0.04f},
     {{1, {0, 0, -0.065f}, {0, 0, 0.065f}}, {3, {a_plus(3), 0, -0.035f}, {a_plus(3), 0, 0.035f}},
      {4, {0, -0.065f, -0.09348f}, {0, 0.036f, -0.09348f}}, kMQWrist6, kMQFlangeJoint},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.064f)}}, kKWB37Upper, kKWB37Fore,
      {4, {0, -0.047f, -0.05348f}, {0, -0.047f, two_a(6)}}, kMQFlangeLeft, kKWB37Elbow},
     kWalkKWB},
    {"KWBR37", {13, -1, -1}, false, 8, 5, 6,
     {0.064f, 0.068f, 0.04f, 0.032f, 0.032f}, {0.043f, 0.05f, 0.058f, 0.02f, 0.031f, 0.04f},
     {{1, {0, 0, -0.065f}, {0, 0, 0.065f}}, {3, {a_plus(3), 0, -0.035f}, {a_plus(3), 0, 0.035f}},
      {4, {0, -0.036f, -0.09348f}, {0, 0.065f, -0.09348f}}, kMQWrist6, kMQFlangeJoint},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.064f)}}, kKWB37Upper, kKWB37Fore,
      {4, {0, 0.047f, -0.05348f}, {0, 0.047f, two_a(6)}}, kMQFlange, kKWB37Elbow},
     kWalkKWB},
    {"KWBL47", {27, -1, -1}, false, 8, 5, 6,
     {0.065f, 0.059f, 0.04f, 0.032f, 0.032f}, {0.043f, 0.049f, 0.058f, 0.014f, 0.031f, 0.038f},
     {{1, {0, 0, -0.066f}, {0, 0, 0.066f}}, {3, {a_plus(3), 0, -0.033f}, {a_plus(3), 0, 0.033f}},
      {4, {0, -0.05f, -0.09888f}, {0, 0.025f, -0.09888f}}, kMQWrist6, kMQFlangeJoint},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.065f)}}, kKWB47Upper, kKWB47Fore,
      {4, {0, -0.05067f, -0.05888f}, {0, -0.05067f, two_a(6)}}, kMQFlangeLeft, kKWB47Elbow},
     kWalkKWB},
    {"KWBR47", {28, -1, -1}, false, 8, 5, 6,
     {0.065f, 0.059f, 0.04f, 0.032f, 0.032f}, {0.043f, 0.049f, 0.058f, 0.014f, 0.031f, 0.038f},
     {{1, {0, 0, -0.066f}, {0, 0, 0.066f}}, {3, {a_plus(3), 0, -0.033f}, {a_plus(3), 0, 0.033f}},
      {4, {0, -0.025f, -0.09888f}, {0, 0.05f, -0.09888f}}, kMQWrist6, kMQFlangeJoint},
     {{B, {0, 0, 0}, {0, 0, d_plus(0, -0.065f)}}, kKWB47Upper, kKWB47Fore,
      {4, {0, 0.05067f, -0.05888f}, {0, 0.05067f, two_a(6)}}, kMQFlange, kKWB47Elbow},
     kWalkKWB},
};

constexpr int kFamilyCount = static_cast<int>(sizeof(kFamilies) / sizeof(kFamilies[0]));
constexpr int kCodeCount = 33;

struct code_index {
    signed char family[kCodeCount];
    constexpr code_index() : family{} {
        for (int c = 0; c < kCodeCount; ++c) family[c] = -1;
        for (int f = 0; f < kFamilyCount; ++f)
            for (int code : kFamilies[f].codes)
                if (code >= 0 && code < kCodeCount) family[code] = static_cast<signed char>(f);
    }
};

constexpr code_index kByCode{};

}  // namespace

const capsule_family* capsule_family_of(int code) {
    if (code < 0 || code >= kCodeCount) return nullptr;
    const int f = kByCode.family[code];
    return f < 0 ? nullptr : &kFamilies[f];
}

const capsule_family* capsule_families(int* count) {
    if (count) *count = kFamilyCount;
    return kFamilies;
}

}  // namespace zq
