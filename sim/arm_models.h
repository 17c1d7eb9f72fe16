// Factory data of the arm families the controller can drive: recognise the family and the
// end-of-arm variant from a product version text and fill an ArmConfig with that arm's
// chain, limits and sensor.
#pragma once

#include <string>
#include <vector>

#include "arm_config.h"

namespace zqsim {

// End-of-arm variants, from the suffix of the product version.
enum class EndVariant { B, ZF, SixF, SixFB, BV, SixFBV };

// The variant that `product_version` names; "-B" when it names none.
EndVariant end_variant_of(const std::string& product_version);

// True when the variant carries a force sensor.
bool has_force_sensor(EndVariant v);

// Fills `cfg` with the factory data of the family that `product_version` names (a generic
// six-joint arm when none matches), keeping `cfg`'s other settings.
void apply_factory_data(ArmConfig& cfg, const std::string& product_version);

// The family tags the controller knows ("ZQ41", "ZQ52", ...), in the order they are matched.
std::vector<std::string> known_families();

// True when `product_version` names one of the known families.
bool is_known_model(const std::string& product_version);

}  // namespace zqsim
