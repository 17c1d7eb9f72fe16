#include "arm_models.h"

#include <cstddef>
#include <utility>

namespace zqsim {
namespace {

constexpr int kMaxRows = 8;

// End link lengths by variant; 0 where the family has no such variant.
struct EndLengths {
    double b = 0, zf = 0, six_f = 0, six_fb = 0, v = 0;
};

// One family's factory data. Angles in degrees, lengths in metres.
struct Family {
    const char* tag;  // substring of the product version that names the family
    int dof;
    int fixed_links;
    double d[kMaxRows];
    double a[kMaxRows];
    double alpha[kMaxRows];
    double offset[kMaxRows];
    int end_link;  // index into d of the length that depends on the variant, -1 for none
    EndLengths end;
    double max_pos[7];
    double min_pos[7];
    double max_speed[7];
};

constexpr EndLengths kZq41End{0.144, 0.152, 0.1725, 0.1612, 0};
constexpr EndLengths kZql36End{0.115, 0.123, 0.1435, 0.1322, 0};
constexpr EndLengths kZql36IIIEnd{0.1151, 0.1231, 0.1436, 0.1323, 0};
constexpr EndLengths kVdaEnd{0.0795, 0.0875, 0.108, 0.0967, 0};
constexpr EndLengths kMq52End{0.0968, 0, 0.114, 0, 0};
constexpr EndLengths kMq52IIEnd{0.1018, 0, 0.0962, 0, 0.119};
constexpr EndLengths kNoEnd{};

// Speeds shared by several families.
#define SPEED6 \
    { 180, 180, 225, 225, 225, 225 }
#define SPEED7 \
    { 180, 180, 225, 225, 225, 225, 225 }
// Twist and zero offsets of the left and right arms of the two-arm families.
#define LEFT_ALPHA \
    { 0, -90, 90, 90, -90, 90, 90, 90 }
#define LEFT_OFFSET \
    { 0, -90, 90, 0, 0, 90, 90, 0 }
#define RIGHT_ALPHA \
    { 0, -90, 90, 90, -90, 90, 90, -90 }
#define RIGHT_OFFSET \
    { 0, -90, -90, 0, 0, 90, -90, 0 }

// clang-format off
// Longer tags come before their prefixes: the first family whose tag the product text
// contains is the arm.
const Family kFamilies[] = {
    {"ZQ41", 6, 0, {0.2405, 0, 0, 0.21, 0, 0}, {0, 0, 0.256}, {0, 90, 0, 90, -90, 90}, {0, 90, 90},
     5, kZq41End, {178, 130, 135, 178, 128, 360}, {-178, -130, -135, -178, -128, -360}, SPEED6},
    // Reported in the modified form, like every other chain of this controller.
    {"ZQ52", 7, 0, {0.2405, 0, 0.256, 0, 0.21, 0, 0}, {0}, {0, -90, 90, -90, 90, -90, 90}, {0},
     6, kZq41End, {178, 130, 178, 135, 178, 128, 360}, {-178, -130, -178, -135, -178, -128, -360}, SPEED7},
    {"ZQL36III", 6, 0, {0.1625, 0, 0, 0.405, 0, 0}, {0, -0.086, 0.38, 0.069}, {0, -90, 0, 90, -90, -90},
     {0, -90, 90, 0, 180, 180}, 5, kZql36IIIEnd, {178, 178, 145, 178, 178, 360},
     {-178, -178, -178, -178, -178, -360}, SPEED6},
    {"ZQL36", 6, 0, {0.172, 0, 0, 0.405, 0, 0}, {0, -0.086, 0.38, 0.069}, {0, -90, 0, 90, -90, -90},
     {0, -90, 90, 0, 180, 180}, 5, kZql36End, {178, 178, 145, 178, 178, 360},
     {-178, -178, -178, -178, -178, -360}, SPEED6},
    {"VDA41", 6, 0, {0.1625, 0, 0, -0.05888, 0.11, 0}, {0, -0.086, 0.26, 0.24}, {0, -90, 0, 0, 90, -90},
     {0, -90, 0, 90}, 5, kVdaEnd, {180, 180, 145, 140, 180, 180}, {-180, -180, -160, -140, -180, -180}, SPEED6},
    {"VDA26", 6, 0, {0.136, 0, 0, -0.0585, 0.071, 0.0707}, {0, -0.07, 0.148, 0.136}, {0, -90, 0, 0, 90, -90},
     {0, -90, 0, 90}, -1, kNoEnd, {178, 110, 155, 178, 178, 360}, {-178, -170, -155, -178, -178, -360},
     {225, 225, 225, 180, 180, 180}},
    {"HTR27", 7, 0, {0.218, 0, 0.28, 0, 0.2525, 0, 0.0905}, {0, 0, 0, 0.04, -0.019, 0, 0.067},
     {0, -90, 90, 90, -90, 90, 90}, {0, 0, 0, 0, 0, 90}, -1, kNoEnd, {172, 105, 172, 55, 172, 120, 172},
     {-172, -105, -172, -170, -172, -90, -172}, {180, 180, 180, 180, 225, 225, 225}},
    {"VDA36", 6, 0, {0.1625, 0, 0, -0.0589, 0.11, 0}, {0, -0.086, 0.41, 0.38}, {0, -90, 0, 0, 90, -90},
     {0, -90, 0, 90}, 5, kVdaEnd, {178, 135, 158, 178, 178, 360}, {-178, -178, -168, -178, -178, -360}, SPEED6},
    {"KWBL37", 7, 1, {0.1785, 0, 0.29, 0, 0.3088, 0, 0, 0.11462}, {0, 0, 0, 0.01, -0.01, 0, 0.01}, LEFT_ALPHA,
     LEFT_OFFSET, -1, kNoEnd, {178, 178, 178, 7, 178, 70, 28}, {-178, -25, -178, -130, -178, -70, -120}, SPEED7},
    {"KWBR37", 7, 1, {0.1785, 0, 0.29, 0, 0.3088, 0, 0, 0.11462}, {0, 0, 0, 0.01, -0.01, 0, 0.01}, RIGHT_ALPHA,
     RIGHT_OFFSET, -1, kNoEnd, {178, 25, 178, 7, 178, 70, 120}, {-178, -178, -178, -130, -178, -70, -28}, SPEED7},
    {"MQL52II", 7, 1, {0.1915, 0, 0.322, 0, 0.2755, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.0155}, LEFT_ALPHA,
     LEFT_OFFSET, 7, kMq52IIEnd, {173, 178, 173, 15, 173, 55, 35}, {-173, -35, -173, -130, -173, -55, -109},
     SPEED7},
    {"MQR52II", 7, 1, {0.1915, 0, 0.322, 0, 0.2755, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.0155}, RIGHT_ALPHA,
     RIGHT_OFFSET, 7, kMq52IIEnd, {173, 178, 173, 15, 173, 55, 109}, {-173, -35, -173, -130, -173, -55, -35},
     SPEED7},
    {"MQL52", 7, 1, {0.2405, 0, 0.322, 0, 0.273, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.01}, LEFT_ALPHA, LEFT_OFFSET, 7,
     kMq52End, {172, 178, 172, 15, 172, 55, 23}, {-172, -35, -172, -130, -172, -55, -109}, SPEED7},
    {"MQR52", 7, 1, {0.2405, 0, 0.322, 0, 0.273, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.01}, RIGHT_ALPHA, RIGHT_OFFSET,
     7, kMq52End, {172, 178, 172, 15, 172, 55, 109}, {-172, -35, -172, -130, -172, -55, -23}, SPEED7},
    {"KWBL47", 7, 1, {0.1785, 0, 0.29, 0, 0.2855, 0, 0, 0.119}, {0, 0, 0, 0.01, -0.01, 0, 0.0155}, LEFT_ALPHA,
     LEFT_OFFSET, -1, kNoEnd, {175, 175, 175, 97, 175, 67, 37}, {-175, -19, -175, -127, -175, -67, -117},
     SPEED7},
    {"KWBR47", 7, 1, {0.1785, 0, 0.29, 0, 0.2855, 0, 0, 0.119}, {0, 0, 0, 0.01, -0.01, 0, 0.0155}, RIGHT_ALPHA,
     RIGHT_OFFSET, -1, kNoEnd, {175, 175, 175, 97, 175, 67, 117}, {-175, -19, -175, -127, -175, -67, -37},
     SPEED7},
};

// clang-format on

#undef SPEED6
#undef SPEED7
#undef LEFT_ALPHA
#undef LEFT_OFFSET
#undef RIGHT_ALPHA
#undef RIGHT_OFFSET

// The generic arm of an unknown product: the six-joint chain of the first family.
const Family& generic_family() {
    return kFamilies[0];
}

const Family& family_of(const std::string& product) {
    for (const Family& f : kFamilies) {
        if (product.find(f.tag) != std::string::npos) return f;
    }
    return generic_family();
}

// The end link of the variant; a variant the family does not build falls back to the
// nearest one it does.
double end_length(const EndLengths& e, EndVariant v) {
    auto first = [](double x, double y, double z) { return x != 0 ? x : (y != 0 ? y : z); };
    switch (v) {
        case EndVariant::ZF:
            return first(e.zf, e.six_f, e.b);
        case EndVariant::SixF:
            return first(e.six_f, e.b, 0);
        case EndVariant::SixFB:
            return first(e.six_fb, e.six_f, e.b);
        case EndVariant::SixFBV:
            return first(e.v, first(e.six_fb, e.six_f, e.b), 0);
        case EndVariant::B:
        case EndVariant::BV:
            break;
    }
    return e.b;
}

}  // namespace

EndVariant end_variant_of(const std::string& product) {
    // The suffixes are tested in this order; the first one the text contains decides.
    static const std::pair<const char*, EndVariant> kSuffixes[] = {
        {"-B-V", EndVariant::BV},       {"-B", EndVariant::B},       {"-ZF", EndVariant::ZF},
        {"-6FB-V", EndVariant::SixFBV}, {"-6FB", EndVariant::SixFB}, {"-6F", EndVariant::SixF},
    };
    for (const auto& s : kSuffixes) {
        if (product.find(s.first) != std::string::npos) return s.second;
    }
    return EndVariant::B;
}

std::vector<std::string> known_families() {
    std::vector<std::string> out;
    for (const Family& f : kFamilies) out.emplace_back(f.tag);
    return out;
}

bool is_known_model(const std::string& product) {
    for (const Family& f : kFamilies) {
        if (product.find(f.tag) != std::string::npos) return true;
    }
    return false;
}

bool has_force_sensor(EndVariant v) {
    return v != EndVariant::B && v != EndVariant::BV;
}

void apply_factory_data(ArmConfig& cfg, const std::string& product) {
    const Family& f = family_of(product);
    const EndVariant variant = end_variant_of(product);
    cfg.product_version = product;
    cfg.dof = f.dof;
    cfg.fixed_links = f.fixed_links;
    const int rows = f.dof + f.fixed_links;
    cfg.dh.assign(static_cast<std::size_t>(rows), DhRow{});
    for (int i = 0; i < rows; ++i) {
        DhRow& r = cfg.dh[static_cast<std::size_t>(i)];
        r.d = (i == f.end_link) ? end_length(f.end, variant) : f.d[i];
        r.a = f.a[i];
        r.alpha = f.alpha[i];
        r.offset = f.offset[i];
    }
    cfg.joints.assign(static_cast<std::size_t>(f.dof), JointLimits{});
    for (int i = 0; i < f.dof; ++i) {
        JointLimits& j = cfg.joints[static_cast<std::size_t>(i)];
        j.min_pos = f.min_pos[i];
        j.max_pos = f.max_pos[i];
        j.max_speed = f.max_speed[i];
        j.max_acc = 600.0;
    }
    cfg.joint_angles.assign(static_cast<std::size_t>(f.dof), 0.0);
    // Every variant but the plain one keeps a force frame in its push settings
    // (the base frame, 0, by default); only sensor arms fill it with data.
    cfg.realtime.force_coordinate = variant != EndVariant::B ? 0 : -1;
}

}  // namespace zqsim
