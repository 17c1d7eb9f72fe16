#include "ik/ik_mode.h"

#include "zq_algo.h"

namespace zq {
namespace {

int g_mode = 1;
float g_step = kTrackingStep;
bool g_pristine = true;

}  // namespace

int redundancy_mode() {
    return g_mode;
}
float redundancy_step() {
    return g_step;
}
bool traversal_mode_pristine() {
    return g_pristine;
}

void set_redundancy_step(float step) {
    g_step = step;
    g_mode = step > 1.0f ? 0 : 1;
}

void set_redundancy_mode(int mode) {
    g_mode = mode;
    g_step = mode == 1 ? kTrackingStep : kTraversalStep;
}

void clear_traversal_mode_pristine() {
    g_pristine = false;
}

}  // namespace zq

extern "C" void zq_algo_set_redundant_parameter_traversal_mode(bool mode) {
    zq::clear_traversal_mode_pristine();
    zq::set_redundancy_mode(mode ? 0 : 1);
}
